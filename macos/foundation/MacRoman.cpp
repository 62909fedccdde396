// SPDX-License-Identifier: MIT
//
// The upper half of Mac Roman, as Apple publishes it (ROMAN.TXT, with the euro sign at 0xDB).
#include <array>

#include "macos/foundation/Text.h"

namespace macos {

namespace {

constexpr std::array<char16_t, 128> kUpperHalf = {
    u'Ä',   u'Å', u'Ç', u'É', u'Ñ', u'Ö', u'Ü', u'á', u'à', u'â', u'ä', u'ã', u'å', u'ç', u'é', u'è',  //
    u'ê',   u'ë', u'í', u'ì', u'î', u'ï', u'ñ', u'ó', u'ò', u'ô', u'ö', u'õ', u'ú', u'ù', u'û', u'ü',  //
    u'†',   u'°', u'¢', u'£', u'§', u'•', u'¶', u'ß', u'®', u'©', u'™', u'´', u'¨', u'≠', u'Æ', u'Ø',  //
    u'∞',   u'±', u'≤', u'≥', u'¥', u'µ', u'∂', u'∑', u'∏', u'π', u'∫', u'ª', u'º', u'Ω', u'æ', u'ø',  //
    u'¿',   u'¡', u'¬', u'√', u'ƒ', u'≈', u'∆', u'«', u'»', u'…', 0xA0, u'À', u'Ã', u'Õ', u'Œ', u'œ',  //
    u'–',   u'—', u'“', u'”', u'‘', u'’', u'÷', u'◊', u'ÿ', u'Ÿ', u'⁄', u'€', u'‹', u'›', u'ﬁ', u'ﬂ',  //
    u'‡',   u'·', u'‚', u'„', u'‰', u'Â', u'Ê', u'Á', u'Ë', u'È', u'Í', u'Î', u'Ï', u'Ì', u'Ó', u'Ô',  //
    0xF8FF, u'Ò', u'Ú', u'Û', u'Ù', u'ı', u'ˆ', u'˜', u'¯', u'˘', u'˙', u'˚', u'¸', u'˝', u'˛', u'ˇ'};
static_assert(kUpperHalf[0xBD - 0x80] == 0x03A9, "Greek omega, not the ohm sign");
static_assert(kUpperHalf[0xB5 - 0x80] == 0x00B5, "the micro sign, not Greek mu");
static_assert(kUpperHalf[0xC6 - 0x80] == 0x2206, "the increment, not Greek delta");

}  // namespace

std::optional<std::string> macRomanFromUTF8(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const CodePoint c = codePointAt(text, i);
    i += c.length;
    if (c.value < 0x80) {
      bytes.push_back(static_cast<char>(c.value));
      continue;
    }
    std::size_t place = 0;
    while (place < kUpperHalf.size() && kUpperHalf[place] != c.value) ++place;
    if (place == kUpperHalf.size()) return std::nullopt;
    bytes.push_back(static_cast<char>(0x80 + place));
  }
  return bytes;
}

std::string utf8FromMacRoman(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    appendUTF8(text, value < 0x80 ? value : kUpperHalf[value - 0x80U]);
  }
  return text;
}

}  // namespace macos
