// SPDX-License-Identifier: MIT
//
// The reader of old-style ASCII property lists and of the text of string tables, which are the body of a
// dictionary without its braces. All that such a list holds is text, data, arrays and dictionaries.
#include <array>
#include <utility>
#include <vector>

#include "macos/foundation/ASCII.h"
#include "macos/foundation/KeyShapes.h"
#include "macos/foundation/PropertyListCodecs.h"
#include "macos/foundation/Text.h"
#include "macos/foundation/ValueStorage.h"

namespace macos {

namespace {

// NeXTSTEP Latin from 0x80 on (the table that NeXT published as NEXTSTEP.TXT); U+FFFD where it has nothing.
constexpr std::array<char16_t, 128> kNextStepLatin = {
    0x00A0, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C7, 0x00C8, 0x00C9, 0x00CA, 0x00CB, 0x00CC,
    0x00CD, 0x00CE, 0x00CF, 0x00D0, 0x00D1, 0x00D2, 0x00D3, 0x00D4, 0x00D5, 0x00D6, 0x00D9, 0x00DA, 0x00DB,
    0x00DC, 0x00DD, 0x00DE, 0x00B5, 0x00D7, 0x00F7, 0x00A9, 0x00A1, 0x00A2, 0x00A3, 0x2044, 0x00A5, 0x0192,
    0x00A7, 0x00A4, 0x2019, 0x201C, 0x00AB, 0x2039, 0x203A, 0xFB01, 0xFB02, 0x00AE, 0x2013, 0x2020, 0x2021,
    0x00B7, 0x00A6, 0x00B6, 0x2022, 0x201A, 0x201E, 0x201D, 0x00BB, 0x2026, 0x2030, 0x00AC, 0x00BF, 0x00B9,
    0x02CB, 0x00B4, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9, 0x00A8, 0x00B2, 0x02DA, 0x00B8, 0x00B3, 0x02DD,
    0x02DB, 0x02C7, 0x2014, 0x00B1, 0x00BC, 0x00BD, 0x00BE, 0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5,
    0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB, 0x00EC, 0x00C6, 0x00ED, 0x00AA, 0x00EE, 0x00EF, 0x00F0, 0x00F1,
    0x0141, 0x00D8, 0x0152, 0x00BA, 0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00E6, 0x00F9, 0x00FA, 0x00FB,
    0x0131, 0x00FC, 0x00FD, 0x0142, 0x00F8, 0x0153, 0x00DF, 0x00FE, 0x00FF, 0xFFFD, 0xFFFD};

constexpr std::string_view kLineSeparator = "\xE2\x80\xA8";       // U+2028
constexpr std::string_view kParagraphSeparator = "\xE2\x80\xA9";  // U+2029

bool isHexDigit(char c) { return hexDigitValue(c) >= 0; }

unsigned hexValue(char c) { return static_cast<unsigned>(hexDigitValue(c)); }

bool isOctalDigit(char c) { return c >= '0' && c <= '7'; }

bool isUnquoted(char c) {
  return isASCIILetter(c) || isASCIIDigit(c) || c == '_' || c == '$' || c == '/' || c == ':' || c == '.' ||
         c == '-';
}

// Text made of pieces of UTF-8 and of single UTF-16 units, two of which may make one character.
class UnitText {
 public:
  void append(std::string_view piece) {
    if (piece.empty()) return;
    flush();
    text_.append(piece);
  }

  void appendUnit(char32_t unit) {
    const bool isLow = (unit & 0xFC00) == 0xDC00;
    if (high_ != 0 && isLow) {
      appendUTF8(text_, 0x10000 + ((std::exchange(high_, 0) - 0xD800) << 10) + (unit - 0xDC00));
      return;
    }
    flush();
    if ((unit & 0xFC00) == 0xD800) {
      high_ = unit;
    } else {
      appendUTF8(text_, unit);
    }
  }

  Value take() {
    flush();
    return ValueStorage::stringFromValidUTF8(text_);
  }

 private:
  // A half that stays alone is no character.
  void flush() {
    if (std::exchange(high_, 0) != 0) appendUTF8(text_, 0xFFFD);
  }

  std::string text_;
  char32_t high_ = 0;
};

class OpenStepReader {
 public:
  explicit OpenStepReader(std::string_view text) : text_(text) {}

  Result<Value> read();

 private:
  bool readDocument(Value& value);
  bool readStringsFile(Value& value);
  bool readObject(Value& value);
  bool readString(Value& value);
  bool readQuoted(char quote, Value& value);
  bool readEscape(UnitText& text);
  bool readData(Value& value);
  bool readArray(Value& value);
  bool readDictionary(Value& value);
  // Pairs up to the closing brace or the end, neither of which is taken.
  bool readPairs(Value& value);
  bool readPair();

  bool atEnd() const { return at_ == text_.size(); }
  bool take(char c) {
    if (atEnd() || text_[at_] != c) return false;
    ++at_;
    return true;
  }
  bool isAt(std::string_view piece) const { return text_.substr(at_).starts_with(piece); }
  bool skipSpaceCharacter();
  // Past space and comments, to where a token starts.
  void skipSpace();
  bool fail(const char* cause) {
    cause_ = cause;
    return false;
  }

  std::string_view text_;
  std::size_t at_ = 0;
  const char* cause_ = "";
  std::size_t depth_ = 0;
  std::vector<Value> keys_;    // of the dictionaries under way
  std::vector<Value> values_;  // of the containers under way
};

Result<Value> OpenStepReader::read() {
  Value value;
  if (readDocument(value)) return value;
  return corruptPropertyList("old-style property list", at_, cause_);
}

bool OpenStepReader::readDocument(Value& value) {
  skipSpace();
  if (atEnd()) {
    value = Value(Dictionary());
    return true;
  }
  if (!readObject(value)) return false;
  skipSpace();
  if (atEnd()) return true;
  if (value.kind() == Value::Kind::String) return readStringsFile(value);
  return fail("something behind the end of the list");
}

bool OpenStepReader::readStringsFile(Value& value) {
  at_ = 0;
  if (!readPairs(value)) return false;
  return atEnd() || fail("something that is no pair");
}

bool OpenStepReader::skipSpaceCharacter() {
  const char c = text_[at_];
  if (c == ' ' || (c >= '\t' && c <= '\r')) {
    ++at_;
    return true;
  }
  if (!isAt(kLineSeparator) && !isAt(kParagraphSeparator)) return false;
  at_ += kLineSeparator.size();
  return true;
}

void OpenStepReader::skipSpace() {
  while (!atEnd()) {
    if (skipSpaceCharacter()) continue;
    if (isAt("//")) {
      while (!atEnd() && text_[at_] != '\n' && text_[at_] != '\r' && !isAt(kLineSeparator) &&
             !isAt(kParagraphSeparator)) {
        ++at_;
      }
    } else if (isAt("/*")) {
      // A comment without an end runs to the end of the text.
      const std::size_t end = text_.find("*/", at_ + 2);
      at_ = end == std::string_view::npos ? text_.size() : end + 2;
    } else {
      return;
    }
  }
}

// REQUIRES: not at the end
bool OpenStepReader::readObject(Value& value) {
  switch (text_[at_]) {
    case '{':
      return readDictionary(value);
    case '(':
      return readArray(value);
    case '<':
      return readData(value);
    default:
      return readString(value);
  }
}

bool OpenStepReader::readString(Value& value) {
  if (take('"')) return readQuoted('"', value);
  if (take('\'')) return readQuoted('\'', value);
  const std::size_t start = at_;
  while (!atEnd() && isUnquoted(text_[at_])) ++at_;
  if (at_ == start) return fail("a character that begins nothing");
  value = ValueStorage::stringFromValidUTF8(text_.substr(start, at_ - start));
  return true;
}

// From behind the opening quote.
bool OpenStepReader::readQuoted(char quote, Value& value) {
  UnitText text;
  while (true) {
    const std::size_t start = at_;
    while (!atEnd() && text_[at_] != quote && text_[at_] != '\\') ++at_;
    text.append(text_.substr(start, at_ - start));
    if (atEnd()) return fail("a string without an end");
    if (take(quote)) {
      value = text.take();
      return true;
    }
    ++at_;
    if (!readEscape(text)) return false;
  }
}

// From behind the backslash.
bool OpenStepReader::readEscape(UnitText& text) {
  if (atEnd()) return fail("a string without an end");
  const char c = text_[at_];
  if (isOctalDigit(c)) {
    unsigned byte = 0;
    for (int digits = 0; digits < 3 && !atEnd() && isOctalDigit(text_[at_]); ++digits) {
      byte = byte * 8 + static_cast<unsigned>(text_[at_++] - '0');
    }
    byte &= 0xFFU;
    text.appendUnit(byte < 0x80 ? byte : kNextStepLatin[byte - 0x80]);
    return true;
  }
  if (c == 'U') {
    ++at_;
    char32_t unit = 0;
    for (int digits = 0; digits < 4 && !atEnd() && isHexDigit(text_[at_]); ++digits) {
      unit = unit * 16 + hexValue(text_[at_++]);
    }
    text.appendUnit(unit);
    return true;
  }
  constexpr std::string_view kNames = "abfnrtv";
  constexpr std::string_view kCharacters = "\a\b\f\n\r\t\v";
  if (const std::size_t i = kNames.find(c); i != std::string_view::npos) {
    ++at_;
    text.append(kCharacters.substr(i, 1));
    return true;
  }
  // Any other character stands for itself; it may take several bytes.
  const std::size_t length = codePointAt(text_, at_).length;
  text.append(text_.substr(at_, length));
  at_ += length;
  return true;
}

bool OpenStepReader::readData(Value& value) {
  ++at_;
  std::string bytes;
  while (true) {
    while (!atEnd() && skipSpaceCharacter()) continue;
    if (take('>')) break;
    if (text_.size() - at_ < 2 || !isHexDigit(text_[at_]) || !isHexDigit(text_[at_ + 1])) {
      return fail("data that is not pairs of hexadecimal digits");
    }
    bytes += static_cast<char>(hexValue(text_[at_]) << 4 | hexValue(text_[at_ + 1]));
    at_ += 2;
  }
  value = Value::fromData(bytes);
  return true;
}

bool OpenStepReader::readArray(Value& value) {
  if (++depth_ > kPropertyListMaximumDepth) return fail("containers nested too deep");
  ++at_;
  const std::size_t first = values_.size();
  while (true) {
    skipSpace();
    if (take(')')) break;
    if (atEnd()) return fail("an array without an end");
    Value element;
    if (!readObject(element)) return false;
    values_.push_back(std::move(element));
    skipSpace();
    if (take(',')) continue;
    if (take(')')) break;
    return fail("an array without an end");
  }
  value = Value(ValueStorage::array(values_.data() + first, values_.size() - first));
  values_.resize(first);
  --depth_;
  return true;
}

bool OpenStepReader::readDictionary(Value& value) {
  if (++depth_ > kPropertyListMaximumDepth) return fail("containers nested too deep");
  ++at_;
  if (!readPairs(value)) return false;
  if (!take('}')) return fail("a dictionary without an end");
  --depth_;
  return true;
}

bool OpenStepReader::readPairs(Value& value) {
  const std::size_t first = values_.size();
  const std::size_t firstKey = keys_.size();
  skipSpace();
  while (!atEnd() && text_[at_] != '}') {
    if (!readPair()) return false;
    skipSpace();
  }
  Value* keys = keys_.data() + firstKey;
  value = Value(looseDictionary(keys, values_.data() + first, values_.size() - first, Duplicates::LastStays));
  values_.resize(first);
  keys_.resize(firstKey);
  return true;
}

// A key alone stands for itself.
bool OpenStepReader::readPair() {
  Value key;
  if (!readString(key)) return false;
  keys_.push_back(key);
  Value value = std::move(key);
  skipSpace();
  if (take('=')) {
    skipSpace();
    if (atEnd()) return fail("a key without a value");
    if (!readObject(value)) return false;
    skipSpace();
  }
  if (!take(';')) return fail("a pair without its semicolon");
  values_.push_back(std::move(value));
  return true;
}

}  // namespace

Result<Value> readOpenStepPropertyList(std::string_view text) { return OpenStepReader(text).read(); }

}  // namespace macos
