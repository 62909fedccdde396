// SPDX-License-Identifier: MIT
#include "items/StoredNumber.h"

#include <cmath>

namespace vennick {

std::optional<std::uint32_t> number32(const macos::Dictionary& dictionary, std::string_view key) {
  const macos::Value* value = dictionary.find(key);
  if (value == nullptr) {
    return std::nullopt;
  }
  if (auto integer = value->ifInteger()) {
    return static_cast<std::uint32_t>(integer->bits());
  }
  if (auto boolean = value->ifBoolean()) {
    return *boolean ? 1U : 0U;
  }
  if (auto real = value->ifReal()) {
    // Outside the range of a 64-bit integer the cut has no meaning.
    const bool convertible = std::isfinite(*real) && std::fabs(*real) < 9.2e18;
    return convertible ? static_cast<std::uint32_t>(static_cast<std::int64_t>(*real)) : 0U;
  }
  return std::nullopt;
}

}  // namespace vennick
