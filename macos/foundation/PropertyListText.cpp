// SPDX-License-Identifier: MIT
//
// From the bytes of a text format to UTF-8.
#include <algorithm>

#include "macos/foundation/PropertyListCodecs.h"
#include "macos/foundation/Text.h"

namespace macos {

namespace {

enum class Encoding { UTF8, UTF16BE, UTF16LE, UTF32BE, UTF32LE, ASCII, Latin1, MacRoman, Unknown };

struct Guess {
  Encoding encoding = Encoding::UTF8;
  std::size_t markSize = 0;
};

bool beginsWith(std::string_view bytes, std::initializer_list<unsigned char> prefix) {
  return bytes.size() >= prefix.size() &&
         std::equal(prefix.begin(), prefix.end(), bytes.begin(),
                    [](unsigned char a, char b) { return a == static_cast<unsigned char>(b); });
}

Encoding encodingWithName(std::string_view name) {
  const auto is = [name](std::string_view candidate) {
    return std::equal(name.begin(), name.end(), candidate.begin(), candidate.end(), [](char a, char b) {
      return (a >= 'A' && a <= 'Z' ? static_cast<char>(a + ('a' - 'A')) : a) == b;
    });
  };
  if (is("utf-8") || is("utf8")) return Encoding::UTF8;
  if (is("us-ascii") || is("ascii")) return Encoding::ASCII;
  if (is("iso-8859-1") || is("latin1")) return Encoding::Latin1;
  if (is("macintosh") || is("mac") || is("x-mac-roman")) return Encoding::MacRoman;
  return Encoding::Unknown;
}

// The encoding that an XML declaration at the start names, UTF-8 without one.
Encoding declaredEncoding(std::string_view bytes) {
  const std::size_t start = bytes.find_first_not_of(" \t\r\n");
  if (start == std::string_view::npos || !bytes.substr(start).starts_with("<?xml")) return Encoding::UTF8;
  const std::string_view head = bytes.substr(start, 1024);
  const std::string_view declaration = head.substr(0, head.find("?>"));
  std::size_t at = declaration.find("encoding");
  if (at == std::string_view::npos) return Encoding::UTF8;
  at = declaration.find_first_not_of(" \t\r\n=", at + std::string_view("encoding").size());
  if (at == std::string_view::npos || (declaration[at] != '"' && declaration[at] != '\'')) {
    return Encoding::UTF8;
  }
  const std::size_t end = declaration.find(declaration[at], at + 1);
  if (end == std::string_view::npos) return Encoding::UTF8;
  return encodingWithName(declaration.substr(at + 1, end - at - 1));
}

Guess guessEncoding(std::string_view bytes) {
  if (beginsWith(bytes, {0xEF, 0xBB, 0xBF})) return {Encoding::UTF8, 3};
  if (beginsWith(bytes, {0x00, 0x00, 0xFE, 0xFF})) return {Encoding::UTF32BE, 4};
  if (beginsWith(bytes, {0xFF, 0xFE, 0x00, 0x00})) return {Encoding::UTF32LE, 4};
  if (beginsWith(bytes, {0xFE, 0xFF})) return {Encoding::UTF16BE, 2};
  if (beginsWith(bytes, {0xFF, 0xFE})) return {Encoding::UTF16LE, 2};
  if (bytes.size() >= 4) {
    // The first character of a property list is ASCII.
    if (beginsWith(bytes, {0, 0, 0}) && bytes[3] != 0) return {Encoding::UTF32BE, 0};
    if (bytes[0] != 0 && bytes[1] == 0 && bytes[2] == 0 && bytes[3] == 0) return {Encoding::UTF32LE, 0};
  }
  if (bytes.size() >= 2) {
    if (bytes[0] == 0 && bytes[1] != 0) return {Encoding::UTF16BE, 0};
    if (bytes[0] != 0 && bytes[1] == 0) return {Encoding::UTF16LE, 0};
  }
  return {declaredEncoding(bytes), 0};
}

// The character of a text in units of two or four bytes at an index in units.
char32_t unitAt(std::string_view bytes, std::size_t index, std::size_t width, bool bigEndian) {
  char32_t unit = 0;
  for (std::size_t i = 0; i < width; ++i) {
    const std::size_t place = index * width + (bigEndian ? i : width - 1 - i);
    unit = unit << 8 | static_cast<unsigned char>(bytes[place]);
  }
  return unit;
}

std::string fromUTF16(std::string_view bytes, bool bigEndian) {
  std::string text;
  text.reserve(bytes.size() / 2);
  const std::size_t count = bytes.size() / 2;
  for (std::size_t i = 0; i < count; ++i) {
    char32_t c = unitAt(bytes, i, 2, bigEndian);
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < count) {
      const char32_t low = unitAt(bytes, i + 1, 2, bigEndian);
      if ((low & 0xFC00) == 0xDC00) {
        c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
        ++i;
      }
    }
    appendUTF8(text, c);
  }
  return text;
}

std::string fromUTF32(std::string_view bytes, bool bigEndian) {
  std::string text;
  text.reserve(bytes.size() / 4);
  for (std::size_t i = 0; i < bytes.size() / 4; ++i) appendUTF8(text, unitAt(bytes, i, 4, bigEndian));
  return text;
}

std::string fromLatin1(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (const char c : bytes) appendUTF8(text, static_cast<unsigned char>(c));
  return text;
}

}  // namespace

Status corruptPropertyList(std::string_view format, std::size_t offset, std::string_view cause) {
  const std::string context = std::string(format) + ", byte " + std::to_string(offset);
  return {ErrorCode::Corrupt, context, cause};
}

Status decodePropertyListText(std::string_view bytes, PropertyListText& decoded) {
  if (bytes.size() > kPropertyListMaximumSize) return corruptPropertyList("property list", 0, "too large");
  const Guess guess = guessEncoding(bytes);
  const std::string_view content = bytes.substr(guess.markSize);
  const auto wide = [&](std::size_t width) { return content.size() % width == 0; };
  switch (guess.encoding) {
    case Encoding::UTF8:
      if (!isValidUTF8(content)) return corruptPropertyList("property list", 0, "text that is not UTF-8");
      decoded.text = content;
      return {};
    case Encoding::ASCII:
      if (!isASCII(content)) return corruptPropertyList("property list", 0, "text that is not ASCII");
      decoded.text = content;
      return {};
    case Encoding::UTF16BE:
    case Encoding::UTF16LE:
      if (!wide(2)) return corruptPropertyList("property list", bytes.size(), "half a UTF-16 unit");
      decoded.converted = fromUTF16(content, guess.encoding == Encoding::UTF16BE);
      break;
    case Encoding::UTF32BE:
    case Encoding::UTF32LE:
      if (!wide(4)) return corruptPropertyList("property list", bytes.size(), "part of a UTF-32 unit");
      decoded.converted = fromUTF32(content, guess.encoding == Encoding::UTF32BE);
      break;
    case Encoding::Latin1:
      decoded.converted = fromLatin1(content);
      break;
    case Encoding::MacRoman:
      decoded.converted = utf8FromMacRoman(content);
      break;
    case Encoding::Unknown:
      return corruptPropertyList("property list", 0, "text in an encoding that is not known");
  }
  decoded.text = decoded.converted;
  return {};
}

}  // namespace macos
