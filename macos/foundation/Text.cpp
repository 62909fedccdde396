// SPDX-License-Identifier: MIT
#include "macos/foundation/Text.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "macos/foundation/ASCII.h"

namespace macos {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDFFF; }

CodePoint malformed(std::size_t length) { return {kReplacement, length, true}; }

// How many bytes from the index on are ASCII; they are looked at eight at a time.
std::size_t asciiRun(std::string_view bytes, std::size_t index) {
  const std::size_t start = index;
  while (bytes.size() - index >= sizeof(std::uint64_t)) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes.data() + index, sizeof word);
    if ((word & 0x8080808080808080U) != 0) break;
    index += sizeof word;
  }
  while (index < bytes.size() && static_cast<unsigned char>(bytes[index]) < 0x80) ++index;
  return index - start;
}

bool isASCIISpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

std::string_view withoutLeadingSpace(std::string_view text) {
  while (!text.empty() && isASCIISpace(text.front())) text.remove_prefix(1);
  return text;
}

}  // namespace

CodePoint codePointAt(std::string_view text, std::size_t index) {
  const auto lead = static_cast<unsigned char>(text[index]);
  if (lead < 0x80) return {lead, 1, false};
  std::size_t length = 0;
  char32_t value = 0;
  // The second byte's bounds keep out overlong forms, surrogates and what lies beyond U+10FFFF.
  unsigned low = 0x80;
  unsigned high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
    value = lead & 0x1FU;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    value = lead & 0x0FU;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    value = lead & 0x07U;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return malformed(1);
  }
  for (std::size_t i = 1; i < length; ++i) {
    if (index + i >= text.size()) return malformed(i);
    const auto byte = static_cast<unsigned char>(text[index + i]);
    if (byte < low || byte > high) return malformed(i);
    value = (value << 6) | (byte & 0x3FU);
    low = 0x80;
    high = 0xBF;
  }
  return {value, length, false};
}

void appendUTF8(std::string& text, char32_t codePoint) {
  if (isSurrogate(codePoint) || codePoint > 0x10FFFF) codePoint = kReplacement;
  const auto put = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
  if (codePoint < 0x80) {
    put(codePoint);
  } else if (codePoint < 0x800) {
    put(0xC0 | (codePoint >> 6));
    put(0x80 | (codePoint & 0x3F));
  } else if (codePoint < 0x10000) {
    put(0xE0 | (codePoint >> 12));
    put(0x80 | ((codePoint >> 6) & 0x3F));
    put(0x80 | (codePoint & 0x3F));
  } else {
    put(0xF0 | (codePoint >> 18));
    put(0x80 | ((codePoint >> 12) & 0x3F));
    put(0x80 | ((codePoint >> 6) & 0x3F));
    put(0x80 | (codePoint & 0x3F));
  }
}

std::u16string utf16FromUTF8(std::string_view text) {
  std::u16string units;
  units.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const CodePoint c = codePointAt(text, i);
    if (c.value >= 0x10000) {
      units.push_back(static_cast<char16_t>(0xD7C0 + (c.value >> 10)));
      units.push_back(static_cast<char16_t>(0xDC00 + (c.value & 0x3FF)));
    } else {
      units.push_back(static_cast<char16_t>(c.value));
    }
    i += c.length;
  }
  return units;
}

std::string utf8FromUTF16(std::u16string_view units) {
  std::string text;
  text.reserve(units.size());
  for (std::size_t i = 0; i < units.size(); ++i) {
    char32_t c = units[i];
    const bool isHigh = c >= 0xD800 && c <= 0xDBFF;
    if (isHigh && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (units[i + 1] - 0xDC00U);
      ++i;
    }
    appendUTF8(text, c);
  }
  return text;
}

std::size_t utf16Length(std::string_view text) {
  std::size_t length = 0;
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t run = asciiRun(text, i);
    length += run;
    i += run;
    if (i == text.size()) break;
    const CodePoint c = codePointAt(text, i);
    length += c.value >= 0x10000 ? 2 : 1;
    i += c.length;
  }
  return length;
}

bool isASCII(std::string_view bytes) { return asciiRun(bytes, 0) == bytes.size(); }

bool isValidUTF8(std::string_view bytes) {
  for (std::size_t i = 0; i < bytes.size();) {
    i += asciiRun(bytes, i);
    if (i == bytes.size()) break;
    const CodePoint c = codePointAt(bytes, i);
    if (c.isMalformed) return false;
    i += c.length;
  }
  return true;
}

std::string validUTF8(std::string_view bytes) {
  if (isValidUTF8(bytes)) return std::string(bytes);
  std::string text;
  text.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size();) {
    const CodePoint c = codePointAt(bytes, i);
    appendUTF8(text, c.value);
    i += c.length;
  }
  return text;
}

std::string lowercaseASCII(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  }
  return result;
}

bool boolValue(std::string_view text) {
  text = withoutLeadingSpace(text);
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) text.remove_prefix(1);
  while (!text.empty() && text.front() == '0') text.remove_prefix(1);
  if (text.empty()) return false;
  constexpr std::string_view kTrueStarts = "YyTt123456789";
  return kTrueStarts.find(text.front()) != std::string_view::npos;
}

std::int64_t integerValue(std::string_view text) {
  text = withoutLeadingSpace(text);
  bool negative = false;
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
    negative = text.front() == '-';
    text.remove_prefix(1);
  }
  // Counted downwards, since the lowest number has no positive twin.
  std::int64_t value = 0;
  for (; !text.empty() && isASCIIDigit(text.front()); text.remove_prefix(1)) {
    const int digit = text.front() - '0';
    if (value < (INT64_MIN + digit) / 10) return negative ? INT64_MIN : INT64_MAX;
    value = value * 10 - digit;
  }
  if (negative) return value;
  return value == INT64_MIN ? INT64_MAX : -value;
}

}  // namespace macos
