// SPDX-License-Identifier: MIT
#include "macos/foundation/FileMetadata.h"

#include <cerrno>

#include "macos/carbon/AppleDouble.h"
#include "macos/foundation/BookmarkData.h"
#include "macos/foundation/Path.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

// As tools that know the Mac name them, and as the kernel's driver for Mac disks does.
constexpr std::string_view kFinderInfoAttributes[] = {"user.com.apple.FinderInfo",
                                                      "osx.com.apple.FinderInfo"};
constexpr std::string_view kResourceForkAttributes[] = {"user.com.apple.ResourceFork",
                                                        "osx.com.apple.ResourceFork"};
// Below a file, as if it were a folder: where that driver keeps the fork.
constexpr std::string_view kResourceForkPseudoFile = "/rsrc";
constexpr std::uint64_t kLargestFork = std::uint64_t{16} * 1024 * 1024;
constexpr std::uint32_t kNewPartnerMode = 0644;
constexpr std::size_t kBookmarkStart = 16;

// NotFound when the item has none.
Result<AppleDouble> readPartner(std::string_view path) {
  const std::string partner = partnerPath(path);
  if (partner.empty()) return Status(ErrorCode::NotFound, path, "has no partner");
  const auto bytes = Host::current().files().read(partner, kLargestFork);
  if (!bytes) return bytes.status();
  return AppleDouble::decode(*bytes);
}

std::optional<std::string> firstAttribute(std::string_view path, const std::string_view (&names)[2],
                                          std::string_view* foundName = nullptr) {
  for (const std::string_view name : names) {
    auto value = Host::current().files().attribute(path, name);
    if (!value) continue;
    if (foundName != nullptr) *foundName = name;
    return value;
  }
  return std::nullopt;
}

// Whether the host has no room for the partner's name, which is longer than the item's.
bool isNameTooLong(const Status& status) { return status.errnoValue() == ENAMETOOLONG; }

// Changes the partner, or makes one. A damaged one is left as it is.
template <typename Change>
Status changePartner(std::string_view path, Change change) {
  auto partner = readPartner(path);
  if (!partner && !partner.status().isNotFound()) return partner.status();
  AppleDouble content = partner ? std::move(*partner) : AppleDouble();
  change(content);
  const auto bytes = content.encode();
  if (!bytes) return bytes.status();
  const std::string place = partnerPath(path);
  if (place.empty()) return Status(ErrorCode::InvalidArgument, path, "has no partner");
  return Host::current().files().replace(place, *bytes, kNewPartnerMode);
}

}  // namespace

std::string partnerPath(std::string_view path) {
  const std::string name = lastPathComponent(path);
  if (name.empty() || name == "/" || isPartnerName(name)) return "";
  return pathByAppendingComponent(pathByDeletingLastPathComponent(path), appleDoubleName(name));
}

bool isPartnerName(std::string_view name) { return name.size() > 2 && name.substr(0, 2) == "._"; }

FinderInfo finderInfoAtPath(std::string_view path) {
  if (const auto value = firstAttribute(path, kFinderInfoAttributes)) {
    return FinderInfo::decode(*value).value_or(FinderInfo());
  }
  const auto partner = readPartner(path);
  return partner ? partner->finderInfo : FinderInfo();
}

std::string resourceForkAtPath(std::string_view path) {
  if (auto value = firstAttribute(path, kResourceForkAttributes)) return std::move(*value);
  if (auto fork = Host::current().files().read(std::string(path) + std::string(kResourceForkPseudoFile),
                                               kLargestFork);
      fork && !fork->empty()) {
    return std::move(*fork);
  }
  auto partner = readPartner(path);
  return partner ? std::move(partner->resourceFork) : std::string();
}

Status setFinderInfo(std::string_view path, const FinderInfo& info) {
  std::string_view attribute;
  if (firstAttribute(path, kFinderInfoAttributes, &attribute)) {
    return Host::current().files().setAttribute(path, attribute, info.encode());
  }
  Status status = changePartner(path, [&](AppleDouble& partner) { partner.finderInfo = info; });
  if (!isNameTooLong(status)) return status;
  return Host::current().files().setAttribute(path, kFinderInfoAttributes[0], info.encode());
}

Status setResourceFork(std::string_view path, std::string_view fork) {
  std::string_view attribute;
  if (firstAttribute(path, kResourceForkAttributes, &attribute)) {
    return Host::current().files().setAttribute(path, attribute, fork);
  }
  Status status = changePartner(path, [&](AppleDouble& partner) { partner.resourceFork = fork; });
  if (!isNameTooLong(status)) return status;
  return Host::current().files().setAttribute(path, kResourceForkAttributes[0], fork);
}

bool isAliasFile(std::string_view path, const FileInfo& item) {
  if (item.kind != FileKind::File) return false;
  if (finderInfoAtPath(path).isAlias()) return true;
  if (item.size < kBookmarkStart) return false;
  const auto start = Host::current().files().readStart(path, kBookmarkStart);
  return start && isBookmarkFileStart(*start);
}

}  // namespace macos
