// SPDX-License-Identifier: MIT
#include "macos/carbon/Gestalt.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>

#include "macos/foundation/PropertyList.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

using Version = std::array<std::int32_t, 3>;  // major, minor, bug fix

// What a Mac without a readable version is taken to run.
constexpr Version kCurrentVersion{26, 1, 0};
constexpr std::int32_t kLargestNumber = 99;
constexpr std::string_view kVersionFile = "/System/Library/CoreServices/SystemVersion.plist";
constexpr std::uint64_t kLargestVersionFile = std::uint64_t{1} << 20;

std::optional<Version> parseVersion(std::string_view text) {
  Version version{};
  const char* at = text.data();
  const char* const end = at + text.size();
  for (std::int32_t& number : version) {
    const auto [next, error] = std::from_chars(at, end, number);
    if (error != std::errc{} || number < 0 || number > kLargestNumber) return std::nullopt;
    if (next == end) return version;
    if (*next != '.') return std::nullopt;
    at = next + 1;
  }
  return std::nullopt;
}

struct SystemVersion {
  SystemVersion() {
    const auto bytes = Host::current().files().read(kVersionFile, kLargestVersionFile);
    if (!bytes.ok()) return;
    const auto list = NSPropertyListSerialization::propertyListWithData(*bytes);
    const Dictionary* facts = list.ok() ? list->value.ifDictionary() : nullptr;
    const auto text = facts != nullptr ? facts->string("ProductVersion") : std::nullopt;
    if (text) numbers = parseVersion(*text).value_or(kCurrentVersion);
  }
  Version numbers = kCurrentVersion;
};

std::int32_t packedVersion(const Version& version) {
  const auto digit = [](std::int32_t number) { return std::min(number, 9); };
  return (version[0] / 10) << 12 | (version[0] % 10) << 8 | digit(version[1]) << 4 | digit(version[2]);
}

}  // namespace

OSErr Gestalt(OSType selector, std::int32_t* response) {
  const Version& version = hostLocal<SystemVersion>().numbers;
  switch (selector) {
    case gestaltSystemVersion:
      *response = packedVersion(version);
      return noErr;
    case gestaltSystemVersionMajor:
      *response = version[0];
      return noErr;
    case gestaltSystemVersionMinor:
      *response = version[1];
      return noErr;
    case gestaltSystemVersionBugFix:
      *response = version[2];
      return noErr;
    default:
      return gestaltUndefSelectorErr;
  }
}

}  // namespace macos
