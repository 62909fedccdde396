// SPDX-License-Identifier: MIT
#include "platform/FileSizeText.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include "macos/foundation/Bundle.h"
#include "macos/foundation/StringFormat.h"

namespace vennick {

namespace {

constexpr std::array<std::string_view, 5> kUnits = {"bytes", "KB", "MB", "GB", "TB"};
constexpr std::uint64_t kLargestInBytes = 1000;
constexpr float kStep = 1000.0F;

// As printf's %g writes it, in any locale.
std::string generalNumber(float number) {
  std::array<char, 32> text{};
  const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), static_cast<double>(number),
                                          std::chars_format::general, 6);
  return error == std::errc() ? std::string(text.data(), end) : "";
}

}  // namespace

std::optional<std::string> stringForFileSize(std::uint64_t byteCount) {
  const auto bundle = macos::NSBundle::mainBundle();
  const std::string format = bundle->localizedStringForKey("%g %@", "");
  std::array<std::string, kUnits.size()> words;
  bool isComplete = !format.empty();
  for (std::size_t i = 0; i < kUnits.size(); ++i) {
    words[i] = bundle->localizedStringForKey(kUnits[i], "");
    isComplete = isComplete && !words[i].empty();
  }
  if (!isComplete) return std::nullopt;

  // Every step in single precision.
  auto number = static_cast<float>(byteCount);
  std::size_t unit = 0;
  if (byteCount > kLargestInBytes) {
    do {
      number /= kStep;
      ++unit;
    } while (number > kStep && unit + 1 < kUnits.size());
  }
  number = std::trunc(number * 100.0F) / 100.0F;
  return macos::stringWithFormat(format, {{'g', generalNumber(number)}, {'@', words[unit]}});
}

}  // namespace vennick
