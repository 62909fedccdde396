// SPDX-License-Identifier: MIT
#include "legacy/CopyNames.h"

#include <string>
#include <string_view>
#include <utility>

#include "macos/foundation/Bundle.h"
#include "macos/foundation/Text.h"

namespace vennick {

namespace {

// Fills in a format whose "%@" is the name and whose "%d" is the number; a translation may name them by
// their places, "%1$@" and "%2$d", to change their order.
std::string filledIn(std::string_view format, const std::string& name, const std::string& number) {
  const std::pair<std::string_view, std::string_view> directives[] = {
      {"%@", name}, {"%1$@", name}, {"%d", number}, {"%2$d", number}, {"%%", "%"}};
  std::string text;
  while (!format.empty()) {
    std::size_t length = 0;
    for (const auto& [directive, value] : directives) {
      if (!format.starts_with(directive)) {
        continue;
      }
      text.append(value);
      length = directive.size();
      break;
    }
    if (length == 0) {
      text.push_back(format.front());
      length = 1;
    }
    format.remove_prefix(length);
  }
  return text;
}

std::optional<macos::HFSUniStr255> localized(std::string_view key, const macos::HFSUniStr255& name,
                                             int number) {
  const std::string format = macos::NSLocalizedString(key);
  if (format.empty()) {
    return std::nullopt;
  }
  return macos::utf16FromUTF8(filledIn(format, macos::utf8FromUTF16(name), std::to_string(number)));
}

}  // namespace

std::optional<macos::HFSUniStr255> nameWithNumber(const macos::HFSUniStr255& name, int number) {
  return localized("%@ (%d)", name, number);
}

std::optional<macos::HFSUniStr255> nameOfCopy(const macos::HFSUniStr255& name, int number) {
  return localized(number == 1 ? "%@ copy" : "%@ copy %d", name, number);
}

}  // namespace vennick
