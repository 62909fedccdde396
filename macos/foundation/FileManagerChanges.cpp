// SPDX-License-Identifier: MIT
//
// What NSFileManager does to the disk.
#include <unistd.h>
#include <cerrno>

#include "macos/foundation/FileManager.h"
#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/ItemCopying.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/StringFormat.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr std::uint32_t kNewFolderMode = 0777;

// The error of an operation that has a source and a destination; verb is "moved" or "copied".
NSError errorOf(std::string_view verb, const Status& status, const std::string& from, const std::string& to) {
  NSError error = cocoaErrorForWriting(status, from);
  const std::string folder = lastPathComponent(pathByDeletingLastPathComponent(to));
  const std::string couldNot = quotedName(lastPathComponent(from)) + " couldn’t be " + std::string(verb);
  switch (error.code) {
    case NSFileWriteFileExistsError:
      error.localizedDescription =
          couldNot + " to " + quotedName(folder) + " because an item with the same name already exists.";
      break;
    case NSFileNoSuchFileError:
      error.localizedDescription =
          couldNot + " to " + quotedName(folder) +
          " because either the former doesn’t exist, or the folder containing the latter doesn’t exist.";
      break;
    case NSFileWriteNoPermissionError:
      error.localizedDescription =
          couldNot + " because you don’t have permission to access " + quotedName(folder) + ".";
      break;
    default:
      error.localizedDescription = couldNot + " to " + quotedName(folder) + ".";
  }
  return error;
}

NSError removalError(const Status& status, const std::string& path) {
  NSError error = cocoaErrorForWriting(status, path);
  error.localizedDescription = quotedName(lastPathComponent(path)) + " couldn’t be removed";
  if (error.code == NSFileWriteNoPermissionError) {
    error.localizedDescription += " because you don’t have permission to access it";
  }
  error.localizedDescription += ".";
  return error;
}

NSError unsupportedScheme(const NSURL& url) {
  NSError error;
  error.code = NSFileWriteUnsupportedSchemeError;
  error.localizedDescription = "The file " + quotedName(url.lastPathComponent()) +
                               " couldn’t be saved because the specified URL type isn’t supported.";
  return error;
}

// A file URL's path, spelled as the disk has it and without a slash at its end; "" for any other URL.
std::string diskPath(const NSURL& url) {
  const std::string path = url.isFileURL() ? url.fileSystemRepresentation() : "";
  return path.empty() ? path : std::string(withoutTrailingSlashes(pathAsOnDisk(path)));
}

bool isFolder(FileSystem& files, const std::string& path) {
  const auto info = files.info(path, FollowLinks::Yes);
  return info.ok() && info->isFolder();
}

Status makeFolders(FileSystem& files, const std::string& path) {
  Status status = files.makeFolder(path, kNewFolderMode);
  if (status.isNotFound()) {
    const std::string parent = pathByDeletingLastPathComponent(path);
    if (parent == path) return status;
    if (Status made = makeFolders(files, parent); !made.ok()) return made;
    status = files.makeFolder(path, kNewFolderMode);
  }
  // Somebody may have made it in between.
  if (status.code() == ErrorCode::AlreadyExists && isFolder(files, path)) return {};
  return status;
}

Status moveWithPartner(FileSystem& files, const std::string& from, const std::string& to) {
  Status moved = files.rename(from, to, FileSystem::Replace::No);
  if (moved.errnoValue() == EXDEV) {
    if (Status copied = copyWithPartner(files, from, to); !copied.ok()) {
      if (copied.code() != ErrorCode::AlreadyExists) (void)removeWithPartner(files, to);
      return copied;
    }
    return removeWithPartner(files, from);
  }
  if (!moved.ok()) return moved;
  const std::string partner = existingPartner(files, from);
  return partner.empty() ? Status() : files.rename(partner, partnerPath(to), FileSystem::Replace::Yes);
}

// What copying and moving ask alike before they touch anything.
std::optional<NSError> refusal(FileSystem& files, std::string_view verb, const std::string& from,
                               const std::string& to) {
  if (files.info(to, FollowLinks::No).ok()) return errorOf(verb, Status::fromErrno(to, EEXIST), from, to);
  return std::nullopt;
}

}  // namespace

std::optional<NSError> NSFileManager::createDirectoryAtURL(const NSURL& url,
                                                           bool withIntermediateDirectories) {
  const std::string path = diskPath(url);
  if (path.empty()) return unsupportedScheme(url);
  FileSystem& files = Host::current().files();
  const Status status =
      withIntermediateDirectories ? makeFolders(files, path) : files.makeFolder(path, kNewFolderMode);
  if (status.ok()) return std::nullopt;
  return cocoaErrorForWriting(status, path);
}

std::optional<NSError> NSFileManager::copyItemAtURL(const NSURL& from, const NSURL& to) {
  const std::string source = diskPath(from);
  const std::string destination = diskPath(to);
  if (source.empty() || destination.empty()) return unsupportedScheme(source.empty() ? from : to);
  FileSystem& files = Host::current().files();
  if (const auto info = files.info(source, FollowLinks::No); !info.ok()) {
    return cocoaErrorForReading(info.status(), source);
  }
  if (auto refused = refusal(files, "copied", source, destination)) return refused;
  const Status status = copyWithPartner(files, source, destination);
  if (status.ok()) return std::nullopt;
  return errorOf("copied", status, source, destination);
}

std::optional<NSError> NSFileManager::copyItemIntoPlace(const NSURL& from, const NSURL& to) {
  const std::string destination = diskPath(to);
  if (destination.empty()) return unsupportedScheme(to);
  FileSystem& files = Host::current().files();
  if (auto refused = refusal(files, "copied", diskPath(from), destination)) return refused;
  // The name is nobody else's: the process and the time are in it.
  const std::string name =
      ".copy-" + std::to_string(getpid()) + "-" + std::to_string(Host::current().clock().monotonic());
  const std::string parent = pathByDeletingLastPathComponent(destination);
  const NSURL neighbour =
      NSURL::fileURLWithPathIsDirectory(pathByAppendingComponent(parent, name), to.hasDirectoryPath());
  auto error = copyItemAtURL(from, neighbour);
  if (!error) error = moveItemAtURL(neighbour, to);
  if (error) (void)removeItemAtURL(neighbour);
  return error;
}

std::optional<NSError> NSFileManager::moveItemAtURL(const NSURL& from, const NSURL& to) {
  const std::string source = diskPath(from);
  std::string destination = diskPath(to);
  if (source.empty() || destination.empty()) return unsupportedScheme(source.empty() ? from : to);
  FileSystem& files = Host::current().files();
  // A new spelling of the item's own name is no other item.
  const std::string exact(withoutTrailingSlashes(to.fileSystemRepresentation()));
  if (source == destination && exact != destination) destination = exact;
  if (auto refused = refusal(files, "moved", source, destination)) return refused;
  const Status status = moveWithPartner(files, source, destination);
  if (status.ok()) return std::nullopt;
  return errorOf("moved", status, source, destination);
}

std::optional<NSError> NSFileManager::removeItemAtURL(const NSURL& url) {
  const std::string path = diskPath(url);
  if (path.empty()) return unsupportedScheme(url);
  const Status status = removeWithPartner(Host::current().files(), path);
  if (status.ok()) return std::nullopt;
  return removalError(status, path);
}

}  // namespace macos
