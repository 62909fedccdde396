// SPDX-License-Identifier: MIT
#include "macos/carbon/BundleVersion.h"

#include <algorithm>

#include "macos/foundation/ASCII.h"

namespace macos {

namespace {

// The digits at the start, without leading zeros: longer is greater, so no number is too large.
std::string_view takeNumber(std::string_view& text) {
  std::size_t end = 0;
  while (end < text.size() && isASCIIDigit(text[end])) ++end;
  std::string_view digits = text.substr(0, end);
  text.remove_prefix(end);
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
  return digits;
}

std::weak_ordering compareNumbers(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return a.size() <=> b.size();
  return a.compare(b) <=> 0;
}

struct Part {
  std::string_view number;
  int stage = 4;  // 0 development, 1 alpha, 2 beta, 3 final candidate, 4 released
  std::string_view stageNumber;
};

Part takePart(std::string_view& version) {
  std::string_view text = version.substr(0, version.find('.'));
  version.remove_prefix(std::min(text.size() + 1, version.size()));
  Part part;
  part.number = takeNumber(text);
  constexpr std::string_view kStages = "dabf";
  if (const std::size_t stage = text.empty() ? std::string_view::npos : kStages.find(text.front());
      stage != std::string_view::npos) {
    part.stage = static_cast<int>(stage);
    text.remove_prefix(text.starts_with("fc") ? 2 : 1);
    part.stageNumber = takeNumber(text);
  }
  return part;
}

}  // namespace

std::weak_ordering compareBundleVersions(std::string_view a, std::string_view b) {
  const bool aIsVersion = !a.empty() && isASCIIDigit(a.front());
  const bool bIsVersion = !b.empty() && isASCIIDigit(b.front());
  if (!aIsVersion || !bIsVersion) return aIsVersion <=> bIsVersion;
  while (!a.empty() || !b.empty()) {
    const Part first = takePart(a);
    const Part second = takePart(b);
    if (const auto order = compareNumbers(first.number, second.number); order != 0) return order;
    if (const auto order = first.stage <=> second.stage; order != 0) return order;
    if (const auto order = compareNumbers(first.stageNumber, second.stageNumber); order != 0) return order;
  }
  return std::weak_ordering::equivalent;
}

}  // namespace macos
