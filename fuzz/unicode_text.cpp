// SPDX-License-Identifier: MIT
//
// Texts of any bytes: decoding, normalizing and comparing them. A zero byte parts two texts.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "macos/foundation/Text.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

int signOf(std::weak_ordering order) { return order < 0 ? -1 : order > 0 ? 1 : 0; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::string_view a = bytes.substr(0, bytes.find('\0'));
  const std::string_view b = bytes.substr(a.size() < bytes.size() ? a.size() + 1 : bytes.size());

  const std::string valid = macos::validUTF8(a);
  require(macos::isValidUTF8(valid));
  require(macos::isValidUTF8(a) == (valid == a));
  require(macos::utf8FromUTF16(macos::utf16FromUTF8(a)) == valid);
  require(macos::utf16Length(a) == macos::utf16FromUTF8(a).size());

  const std::string decomposed = macos::decomposedForFileSystem(a);
  require(macos::isValidUTF8(decomposed));
  require(macos::decomposedForFileSystem(decomposed) == decomposed);
  require(macos::composed(macos::composed(a)) == macos::composed(a));
  require(macos::compareNonliteral(a, macos::composed(a)) == 0);

  require(signOf(macos::compareNonliteral(a, b)) == -signOf(macos::compareNonliteral(b, a)));
  require(signOf(macos::compareCaseInsensitive(a, b)) == -signOf(macos::compareCaseInsensitive(b, a)));
  require(signOf(macos::compareCaseInsensitiveLiteral(a, b)) ==
          -signOf(macos::compareCaseInsensitiveLiteral(b, a)));
  if (macos::isSameFileName(a, b, true)) require(macos::isSameFileName(a, b, false));
  if (const auto roman = macos::macRomanFromUTF8(a)) require(macos::utf8FromMacRoman(*roman) == valid);
  (void)macos::integerValue(a);
  return 0;
}
