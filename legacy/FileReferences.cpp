// SPDX-License-Identifier: MIT
#include "legacy/FileReferences.h"

#include <algorithm>
#include <array>

#include "macos/carbon/PathStyles.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace vennick {

namespace {

using macos::CFURLPathStyle;
using macos::FSRef;

constexpr std::size_t kLongestURLString = 2047;
constexpr std::string_view kNetworkURL = "file://localhost/Network/";

// The one place that all answers of URLStringForRef go to.
struct URLStringBuffer {
  std::array<char, kLongestURLString + 1> bytes{};
};

std::optional<FSRef> parentOf(const FSRef& item) {
  FSRef parent;
  const auto code = macos::FSGetCatalogInfo(item, macos::kFSCatInfoNone, nullptr, nullptr, &parent);
  return code == macos::noErr ? std::optional(parent) : std::nullopt;
}

std::optional<std::string> converted(std::string_view path, CFURLPathStyle from, CFURLPathStyle to) {
  const auto url = macos::CFURLCreateWithFileSystemPath(path, from, false);
  return url ? macos::CFURLCopyFileSystemPath(*url, to) : std::nullopt;
}

}  // namespace

bool IsParentOf(const FSRef& parent, const FSRef& item) {
  const auto actual = parentOf(item);
  return actual && macos::FSCompareFSRefs(*actual, parent) == macos::noErr;
}

bool IsAncestorOf(const FSRef& ancestor, const FSRef& item) {
  // The root of a volume has a parent that is none, of which no parent can be read.
  for (auto parent = parentOf(item); parent; parent = parentOf(*parent)) {
    if (macos::FSCompareFSRefs(*parent, ancestor) == macos::noErr) {
      return true;
    }
  }
  return false;
}

bool IsRootOrNetwork(const FSRef& item) {
  macos::FSCatalogInfo info;
  const auto code = macos::FSGetCatalogInfo(item, macos::kFSCatInfoNodeID, &info, nullptr, nullptr);
  return (code == macos::noErr && info.nodeID == macos::fsRtDirID) || URLStringForRef(item) == kNetworkURL;
}

const char* URLStringForRef(const FSRef& ref) {
  auto& buffer = macos::hostLocal<URLStringBuffer>().bytes;
  const auto url = macos::CFURLCreateFromFSRef(ref);
  const std::string text =
      url ? macos::macRomanFromUTF8(url->absoluteString()).value_or("").substr(0, kLongestURLString) : "";
  *std::copy(text.begin(), text.end(), buffer.begin()) = '\0';
  return buffer.data();
}

std::optional<std::string> HFSPathToPOSIX(std::string_view path) {
  return converted(path, CFURLPathStyle::HFS, CFURLPathStyle::POSIX);
}

std::optional<std::string> POSIXPathToHFS(std::string_view path) {
  return converted(path, CFURLPathStyle::POSIX, CFURLPathStyle::HFS);
}

bool RefForPath(std::string_view path, bool isDirectory, FSRef* ref) {
  const auto url = macos::CFURLCreateWithFileSystemPath(path, CFURLPathStyle::POSIX, isDirectory);
  return url && macos::CFURLGetFSRef(*url, ref);
}

std::optional<std::string> PathForRef(const FSRef& ref) {
  std::string path;
  return macos::FSRefMakePath(ref, &path) == macos::noErr ? std::optional(std::move(path)) : std::nullopt;
}

}  // namespace vennick
