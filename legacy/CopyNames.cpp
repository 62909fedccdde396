// SPDX-License-Identifier: MIT
#include "legacy/CopyNames.h"

#include <string>
#include <string_view>

#include "macos/foundation/Bundle.h"
#include "macos/foundation/StringFormat.h"
#include "macos/foundation/Text.h"

namespace vennick {

namespace {

std::optional<macos::HFSUniStr255> localized(std::string_view key, const macos::HFSUniStr255& name,
                                             int number) {
  const std::string format = macos::NSLocalizedString(key);
  if (format.empty()) {
    return std::nullopt;
  }
  return macos::utf16FromUTF8(
      macos::stringWithFormat(format, {{'@', macos::utf8FromUTF16(name)}, {'d', std::to_string(number)}}));
}

}  // namespace

std::optional<macos::HFSUniStr255> nameWithNumber(const macos::HFSUniStr255& name, int number) {
  return localized("%@ (%d)", name, number);
}

std::optional<macos::HFSUniStr255> nameOfCopy(const macos::HFSUniStr255& name, int number) {
  return localized(number == 1 ? "%@ copy" : "%@ copy %d", name, number);
}

}  // namespace vennick
