// SPDX-License-Identifier: MIT
#include "macos/foundation/ItemCopying.h"

#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/Path.h"

namespace macos {

namespace {

constexpr std::uint32_t kFolderModeWhileFilling = 0700;

void copyAttributes(FileSystem& files, const std::string& from, const std::string& to) {
  for (const std::string& name : files.attributeNames(from)) {
    if (!name.starts_with("user.")) continue;
    // A volume without attributes is no reason to lose the rest.
    if (const auto value = files.attribute(from, name)) (void)files.setAttribute(to, name, *value);
  }
}

Status copyTree(FileSystem& files, const std::string& from, const std::string& to);

Status copyFolder(FileSystem& files, const std::string& from, const std::string& to, const FileInfo& info) {
  const auto entries = files.list(from);
  if (!entries.ok()) return entries.status();
  if (Status made = files.makeFolder(to, kFolderModeWhileFilling); !made.ok()) return made;
  for (const FolderEntry& entry : *entries) {
    Status copied =
        copyTree(files, pathByAppendingComponent(from, entry.name), pathByAppendingComponent(to, entry.name));
    if (!copied.ok()) return copied;
  }
  copyAttributes(files, from, to);
  if (Status status = files.setMode(to, info.mode & 07777U); !status.ok()) return status;
  return files.setModified(to, info.modified);
}

Status copyTree(FileSystem& files, const std::string& from, const std::string& to) {
  const auto info = files.info(from, FollowLinks::No);
  if (!info.ok()) return info.status();
  switch (info->kind) {
    case FileKind::File:
      return files.copyFile(from, to);
    case FileKind::Folder:
      return copyFolder(files, from, to, *info);
    case FileKind::Link: {
      const auto target = files.readLink(from);
      return target.ok() ? files.makeLink(to, *target) : target.status();
    }
    case FileKind::Other:
      break;
  }
  return {ErrorCode::Unsupported, from, "neither a file, a folder nor a link"};
}

bool liesInside(FileSystem& files, const std::string& path, const std::string& folder) {
  const auto parent = files.realPath(pathByDeletingLastPathComponent(path));
  const auto real = files.realPath(folder);
  if (!parent.ok() || !real.ok()) return false;
  return *parent == *real || parent->starts_with(*real == "/" ? *real : *real + "/");
}

Status removeTree(FileSystem& files, const std::string& path) {
  const auto info = files.info(path, FollowLinks::No);
  if (!info.ok()) return info.status();
  if (!info->isFolder()) return files.removeFile(path);
  const auto entries = files.list(path);
  if (!entries.ok()) return entries.status();
  for (const FolderEntry& entry : *entries) {
    Status removed = removeTree(files, pathByAppendingComponent(path, entry.name));
    if (!removed.ok()) return removed;
  }
  return files.removeFolder(path);
}

}  // namespace

std::string existingPartner(FileSystem& files, const std::string& path) {
  std::string partner = partnerPath(path);
  if (partner.empty()) return partner;
  const auto info = files.info(partner, FollowLinks::No);
  return info.ok() && info->kind == FileKind::File ? partner : "";
}

Status copyWithPartner(FileSystem& files, const std::string& from, const std::string& to) {
  const auto info = files.info(from, FollowLinks::No);
  if (info.ok() && info->isFolder() && liesInside(files, to, from)) {
    return {ErrorCode::InvalidArgument, from, "a folder cannot be copied into itself"};
  }
  if (Status copied = copyTree(files, from, to); !copied.ok()) return copied;
  const std::string partner = existingPartner(files, from);
  return partner.empty() ? Status() : files.copyFile(partner, partnerPath(to));
}

Status removeWithPartner(FileSystem& files, const std::string& path) {
  if (Status removed = removeTree(files, path); !removed.ok()) return removed;
  const std::string partner = existingPartner(files, path);
  return partner.empty() ? Status() : files.removeFile(partner);
}

}  // namespace macos
