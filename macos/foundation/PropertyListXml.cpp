// SPDX-License-Identifier: MIT
//
// The reader of XML property lists: one pass over the text, which knows the few elements there are and
// no more of XML than the platform's reader. No entity is ever defined and no other file is ever read.
#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

#include "macos/foundation/ASCII.h"
#include "macos/foundation/KeyShapes.h"
#include "macos/foundation/PropertyListCodecs.h"
#include "macos/foundation/Text.h"
#include "macos/foundation/ValueStorage.h"

namespace macos {

namespace {

enum class Element { PList, Array, Dict, Key, String, Data, Date, Real, Integer, True, False, Unknown };

constexpr std::array<std::string_view, 11> kElementNames = {
    "plist", "array", "dict", "key", "string", "data", "date", "real", "integer", "true", "false"};

std::string_view nameOf(Element element) { return kElementNames[static_cast<std::size_t>(element)]; }

// The one element that can have the name, judged by its first letter.
Element candidateFor(std::string_view name) {
  switch (name.front()) {
    case 's':
      return Element::String;
    case 'k':
      return Element::Key;
    case 'd':
      if (name == nameOf(Element::Dict)) return Element::Dict;
      return name == nameOf(Element::Data) ? Element::Data : Element::Date;
    case 'a':
      return Element::Array;
    case 'i':
      return Element::Integer;
    case 't':
      return Element::True;
    case 'f':
      return Element::False;
    case 'r':
      return Element::Real;
    default:
      return Element::PList;
  }
}

Element elementWithName(std::string_view name) {
  if (name.empty()) return Element::Unknown;
  const Element candidate = candidateFor(name);
  return nameOf(candidate) == name ? candidate : Element::Unknown;
}

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The six bits of a base64 character; negative for what is none.
constexpr std::array<std::int8_t, 256> kBase64Bits = [] {
  std::array<std::int8_t, 256> bits{};
  bits.fill(-1);
  constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (std::size_t i = 0; i < alphabet.size(); ++i) {
    bits[static_cast<unsigned char>(alphabet[i])] = static_cast<std::int8_t>(i);
  }
  return bits;
}();

// The same where they stand in a group of four characters, whose 24 bits are the upper ones of 32; the
// lowest bit is set for what is none.
constexpr std::array<std::array<std::uint32_t, 256>, 4> kBase64Groups = [] {
  std::array<std::array<std::uint32_t, 256>, 4> groups{};
  for (std::size_t c = 0; c < kBase64Bits.size(); ++c) {
    for (std::size_t place = 0; place < groups.size(); ++place) {
      const std::int8_t bits = kBase64Bits[c];
      groups[place][c] = bits < 0 ? 1 : std::uint32_t{static_cast<std::uint8_t>(bits)} << (26 - 6 * place);
    }
  }
  return groups;
}();

std::uint32_t base64Group(const char* characters) {
  const auto bits = [characters](std::size_t i) {
    return kBase64Groups[i][static_cast<unsigned char>(characters[i])];
  };
  return bits(0) | bits(1) | bits(2) | bits(3);
}

// Writes the three bytes of a group and one more, which the next group replaces.
void putBase64Group(char* to, std::uint32_t group) {
  if constexpr (std::endian::native == std::endian::little) group = __builtin_bswap32(group);
  std::memcpy(to, &group, sizeof group);
}

struct Tag {
  Element element = Element::Unknown;
  bool isEmpty = false;  // "<…/>"
};

class XMLReader {
 public:
  explicit XMLReader(std::string_view text)
      : start_(text.data()), at_(text.data()), end_(text.data() + text.size()) {}

  Result<Value> read();

 private:
  bool readDocument(Value& value);
  bool readPList(Value& value);
  bool readElement(const Tag& tag, Value& value);
  bool readArray(Value& value);
  bool readDictionary(Value& value);
  // The keys of the dictionary under way: a shape as long as it has one, else keys of its own.
  struct Keys {
    KeyShapes::Shape shape = KeyShapes::kEmpty;
    std::size_t firstLoose = 0;
    std::size_t count = 0;
  };
  bool readKey(Keys& keys);
  bool readExpectedKey(Keys& keys);
  void addKey(Keys& keys, std::string_view text);
  bool readString(Element element, Value& value);
  bool readText(Element element, std::string_view& text);
  bool readTextWithMarkup(Element element, const char* from);
  bool readCDATA();
  bool readEntity();
  bool readCharacterReference(std::string_view digits);
  bool readBoolean(const Tag& tag, Value& value);
  bool readInteger(Value& value);
  bool readReal(Value& value);
  bool readDate(Value& value);
  bool readDigits(std::size_t count, int& number);
  bool readData(Value& value);
  void decodeWholeGroups(const char* end, char*& out, unsigned& padding);

  bool startsWith(std::string_view text) const {
    return static_cast<std::size_t>(end_ - at_) >= text.size() &&
           std::memcmp(at_, text.data(), text.size()) == 0;
  }
  bool take(char c) {
    if (at_ == end_ || *at_ != c) return false;
    ++at_;
    return true;
  }
  void skipSpace() {
    while (at_ != end_ && isSpace(*at_)) ++at_;
  }
  bool skipPast(std::string_view mark);
  // To the next tag, past space, comments and processing instructions; leaves at_ behind its "<".
  bool findTag();
  bool skipDocumentType();
  bool readTag(Tag& tag);
  bool readEndTag(Element element);
  bool fail(const char* cause) {
    cause_ = cause;
    return false;
  }

  const char* start_;
  const char* at_;
  const char* end_;
  const char* cause_ = "";
  std::size_t depth_ = 0;
  KeyShapes shapes_{Duplicates::LastStays};
  std::vector<Value> stack_;      // elements and values of the containers under way
  std::vector<Value> looseKeys_;  // keys of those dictionaries under way that have no shape
  std::vector<char> bytes_;       // of the data under way; never shrinks
  std::string text_;              // of the element under way, when it is not a piece of the input
};

Result<Value> XMLReader::read() {
  Value value;
  if (readDocument(value)) return value;
  return corruptPropertyList("XML property list", static_cast<std::size_t>(at_ - start_), cause_);
}

// What follows the first complete element is not looked at.
bool XMLReader::readDocument(Value& value) {
  while (findTag()) {
    if (take('!')) {
      if (!skipDocumentType()) return false;
      continue;
    }
    Tag tag;
    if (!readTag(tag)) return false;
    if (tag.element != Element::PList) return readElement(tag, value);
    return tag.isEmpty ? fail("an empty plist") : readPList(value);
  }
  return false;
}

bool XMLReader::readPList(Value& value) {
  Tag tag;
  if (!findTag()) return false;
  if (at_ != end_ && *at_ == '/') return fail("an empty plist");
  if (!readTag(tag) || !readElement(tag, value) || !findTag()) return false;
  return readEndTag(Element::PList) || fail("more than one object in a plist");
}

bool XMLReader::skipPast(std::string_view mark) {
  const char* found = std::search(at_, end_, mark.begin(), mark.end());
  if (found == end_) return fail("the end within a comment or an instruction");
  at_ = found + mark.size();
  return true;
}

bool XMLReader::findTag() {
  while (true) {
    skipSpace();
    if (!take('<')) {
      return fail(at_ == end_ ? "the end before the end of the list" : "text outside an element");
    }
    if (startsWith("!--")) {
      at_ += 3;
      if (!skipPast("-->")) return false;
    } else if (take('?')) {
      if (!skipPast("?>")) return false;
    } else {
      return true;
    }
  }
}

bool XMLReader::skipDocumentType() {
  if (!startsWith("DOCTYPE")) return fail("a declaration that is no DOCTYPE");
  at_ = std::find_if(at_, end_, [](char c) { return c == '[' || c == '>'; });
  if (at_ == end_) return fail("the end within a DOCTYPE");
  if (*at_ == '[') return fail("a DOCTYPE with declarations of its own");
  ++at_;
  return true;
}

// Attributes are passed over up to the next ">", even one in quotes, as the platform's reader does.
bool XMLReader::readTag(Tag& tag) {
  const char* name = at_;
  while (at_ != end_ && !isSpace(*at_) && *at_ != '>' && *at_ != '/') ++at_;
  tag.element = elementWithName({name, static_cast<std::size_t>(at_ - name)});
  if (at_ != end_ && *at_ != '>') at_ = std::find(at_, end_, '>');
  if (at_ == end_) return fail("the end within a tag");
  tag.isEmpty = at_[-1] == '/';
  ++at_;
  return tag.element != Element::Unknown || fail("an element of unknown name");
}

// From behind its "<".
bool XMLReader::readEndTag(Element element) {
  if (!take('/') || !startsWith(nameOf(element))) return fail("an end tag that does not match");
  at_ += nameOf(element).size();
  skipSpace();
  return take('>') || fail("an end tag that does not match");
}

bool XMLReader::readElement(const Tag& tag, Value& value) {
  switch (tag.element) {
    case Element::Array:
      value = Value(Array());
      return tag.isEmpty || readArray(value);
    case Element::Dict:
      value = Value(Dictionary());
      return tag.isEmpty || readDictionary(value);
    case Element::String:
      value = Value(std::string_view());
      return tag.isEmpty || readString(tag.element, value);
    case Element::True:
    case Element::False:
      return readBoolean(tag, value);
    case Element::Integer:
      return tag.isEmpty ? fail("an empty integer") : readInteger(value);
    case Element::Real:
      return tag.isEmpty ? fail("an empty real") : readReal(value);
    case Element::Date:
      return tag.isEmpty ? fail("an empty date") : readDate(value);
    case Element::Data:
      return tag.isEmpty ? fail("an empty data") : readData(value);
    case Element::Key:
      return fail("a key that is in no place for one");
    case Element::PList:
    case Element::Unknown:
      break;
  }
  return fail("a plist within a plist");
}

bool XMLReader::readArray(Value& value) {
  if (++depth_ > kPropertyListMaximumDepth) return fail("containers nested too deep");
  const std::size_t first = stack_.size();
  while (true) {
    if (!findTag()) return false;
    if (at_ != end_ && *at_ == '/') break;
    Tag tag;
    Value element;
    if (!readTag(tag) || !readElement(tag, element)) return false;
    stack_.push_back(std::move(element));
  }
  if (!readEndTag(Element::Array)) return false;
  value = Value(ValueStorage::array(stack_.data() + first, stack_.size() - first));
  stack_.resize(first);
  --depth_;
  return true;
}

bool XMLReader::readDictionary(Value& value) {
  if (++depth_ > kPropertyListMaximumDepth) return fail("containers nested too deep");
  const std::size_t first = stack_.size();
  Keys keys;
  keys.firstLoose = looseKeys_.size();
  while (true) {
    if (!findTag()) return false;
    if (at_ != end_ && *at_ == '/') break;
    Tag tag;
    Value element;
    if (!readKey(keys) || !findTag() || !readTag(tag) || !readElement(tag, element)) return false;
    stack_.push_back(std::move(element));
  }
  if (!readEndTag(Element::Dict)) return false;
  Value* values = stack_.data() + first;
  value = Value(keys.shape != KeyShapes::kNone ? shapes_.dictionary(keys.shape, values)
                                               : looseDictionary(looseKeys_.data() + keys.firstLoose, values,
                                                                 keys.count, Duplicates::LastStays));
  stack_.resize(first);
  looseKeys_.resize(keys.firstLoose);
  --depth_;
  return true;
}

bool XMLReader::readKey(Keys& keys) {
  ++keys.count;
  if (readExpectedKey(keys)) return true;
  Tag tag;
  if (!readTag(tag)) return false;
  if (tag.element != Element::Key) return fail("a value without a key");
  std::string_view text;
  if (!tag.isEmpty && !readText(Element::Key, text)) return false;
  addKey(keys, text);
  return true;
}

// The key that followed last time mostly follows again.
bool XMLReader::readExpectedKey(Keys& keys) {
  if (keys.shape == KeyShapes::kNone) return false;
  const KeyShapes::Shape likely = shapes_.likelyNext(keys.shape);
  if (likely == KeyShapes::kNone || !startsWith("key>")) return false;
  const std::string_view text = shapes_.lastKey(likely);
  constexpr std::string_view kEndTag = "</key>";
  const char* key = at_ + 4;
  if (static_cast<std::size_t>(end_ - key) < text.size() + kEndTag.size() ||
      std::memcmp(key, text.data(), text.size()) != 0 ||
      std::memcmp(key + text.size(), kEndTag.data(), kEndTag.size()) != 0) {
    return false;
  }
  // A key that holds markup characters stands escaped in the file.
  if (text.find_first_of("<&") != std::string_view::npos) return false;
  at_ = key + text.size() + kEndTag.size();
  keys.shape = likely;
  return true;
}

void XMLReader::addKey(Keys& keys, std::string_view text) {
  if (keys.shape != KeyShapes::kNone) {
    const std::uint64_t hash = std::hash<std::string_view>()(text);
    KeyShapes::Shape shape = shapes_.next(keys.shape, hash, text);
    if (shape == KeyShapes::kNone && shapes_.hasRoomAfter(keys.shape)) {
      shape = shapes_.add(keys.shape, hash, ValueStorage::stringFromValidUTF8(text));
    }
    if (shape == KeyShapes::kNone) {
      for (Value& key : shapes_.keys(keys.shape)) looseKeys_.push_back(std::move(key));
    }
    keys.shape = shape;
  }
  if (keys.shape == KeyShapes::kNone) looseKeys_.push_back(ValueStorage::stringFromValidUTF8(text));
}

bool XMLReader::readString(Element element, Value& value) {
  std::string_view text;
  if (!readText(element, text)) return false;
  value = ValueStorage::stringFromValidUTF8(text);
  return true;
}

// The text of an element up to and with its end tag: a piece of the input, or of text_ when it holds
// entities or CDATA sections.
bool XMLReader::readText(Element element, std::string_view& text) {
  const char* from = at_;
  const auto* end = static_cast<const char*>(std::memchr(at_, '<', static_cast<std::size_t>(end_ - at_)));
  if (end == nullptr) return fail("the end within a text");
  const std::string_view plain(from, static_cast<std::size_t>(end - from));
  const bool hasCDATA = end_ - end > 1 && end[1] == '!';
  if (hasCDATA || plain.find('&') != std::string_view::npos) {
    text_.clear();
    if (!readTextWithMarkup(element, from)) return false;
    text = text_;
    return true;
  }
  text = plain;
  at_ = end + 1;
  return readEndTag(element);
}

bool XMLReader::readTextWithMarkup(Element element, const char* from) {
  at_ = from;
  while (true) {
    const char* plain = at_;
    at_ = std::find_if(at_, end_, [](char c) { return c == '<' || c == '&'; });
    text_.append(plain, at_);
    if (take('&')) {
      if (!readEntity()) return false;
    } else if (startsWith("<![CDATA[")) {
      if (!readCDATA()) return false;
    } else if (take('<')) {
      return readEndTag(element);
    } else {
      return fail("the end within a text");
    }
  }
}

bool XMLReader::readCDATA() {
  at_ += std::string_view("<![CDATA[").size();
  const char* from = at_;
  if (!skipPast("]]>")) return false;
  text_.append(from, at_ - 3);
  return true;
}

// From behind its "&".
bool XMLReader::readEntity() {
  constexpr std::size_t kLongest = 16;
  const char* limit = end_ - at_ > static_cast<std::ptrdiff_t>(kLongest) ? at_ + kLongest : end_;
  const char* end = std::find(at_, limit, ';');
  if (end == limit) return fail("an entity without an end");
  const std::string_view name(at_, static_cast<std::size_t>(end - at_));
  if (name.starts_with('#')) {
    if (!readCharacterReference(name.substr(1))) return false;
  } else if (name == "lt") {
    text_ += '<';
  } else if (name == "gt") {
    text_ += '>';
  } else if (name == "amp") {
    text_ += '&';
  } else if (name == "apos") {
    text_ += '\'';
  } else if (name == "quot") {
    text_ += '"';
  } else {
    return fail("an entity of unknown name");
  }
  at_ = end + 1;
  return true;
}

bool XMLReader::readCharacterReference(std::string_view digits) {
  const int base = digits.starts_with('x') ? 16 : 10;
  if (base == 16) digits.remove_prefix(1);
  constexpr std::size_t kMostDigits = 8;
  std::uint32_t number = 0;
  const char* end = digits.data() + digits.size();
  const auto parsed = std::from_chars(digits.data(), end, number, base);
  if (digits.empty() || digits.size() > kMostDigits || parsed.ec != std::errc() || parsed.ptr != end) {
    return fail("a character reference that is no number");
  }
  if (number > 0x10FFFF) return fail("a character reference beyond Unicode");
  appendUTF8(text_, number);
  return true;
}

bool XMLReader::readBoolean(const Tag& tag, Value& value) {
  value = Value(tag.element == Element::True);
  if (tag.isEmpty) return true;
  return take('<') ? readEndTag(tag.element) : fail("text in a boolean");
}

// Space, a sign, space, and decimal digits, or hexadecimal ones behind "0x".
bool XMLReader::readInteger(Value& value) {
  skipSpace();
  bool isNegative = false;
  if (at_ != end_ && (*at_ == '-' || *at_ == '+')) {
    isNegative = *at_++ == '-';
    skipSpace();
  }
  const bool isHex = startsWith("0x") || startsWith("0X");
  if (isHex) at_ += 2;
  std::uint64_t magnitude = 0;
  const auto parsed = std::from_chars(at_, end_, magnitude, isHex ? 16 : 10);
  if (parsed.ec != std::errc()) return fail("an integer that is none or too large");
  at_ = parsed.ptr;
  constexpr std::uint64_t kLargestNegative = std::uint64_t{1} << 63;
  if (isNegative && magnitude > kLargestNegative) return fail("an integer that is too small");
  value = isNegative ? Value(static_cast<std::int64_t>(0 - magnitude)) : Value(magnitude);
  return take('<') ? readEndTag(Element::Integer) : fail("an integer with something behind it");
}

// Whether a decimal number that a double cannot hold is too small for it, rather than too large: judged by
// the power of ten of its first digit.
bool isTooSmall(std::string_view text) {
  const std::string_view mantissa = text.substr(0, text.find_first_of("eE"));
  const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
  const std::size_t first = mantissa.find_first_of("123456789");
  std::int64_t power = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first);
  if (mantissa.size() == text.size()) return power < 0;
  std::string_view exponent = text.substr(mantissa.size() + 1);
  const bool isNegative = exponent.starts_with('-');
  if (isNegative || exponent.starts_with('+')) exponent.remove_prefix(1);
  std::int64_t number = 0;
  if (std::from_chars(exponent.data(), exponent.data() + exponent.size(), number).ec != std::errc()) {
    return isNegative;
  }
  power += isNegative ? -number : number;
  return power < 0;
}

// A decimal number and nothing else.
bool parseReal(std::string_view text, double& number) {
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) text.remove_prefix(1);
  if (text.empty() || !(isASCIIDigit(text[0]) || text[0] == '.')) return false;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
  if (parsed.ptr != text.data() + text.size()) return false;
  if (parsed.ec == std::errc::result_out_of_range) {
    number = isTooSmall(text) ? 0.0 : std::numeric_limits<double>::infinity();
  } else if (parsed.ec != std::errc()) {
    return false;
  }
  if (isNegative) number = -number;
  return true;
}

bool parseSpecialReal(std::string_view text, double& number) {
  std::string word = lowercaseASCII(text);
  const bool isNegative = word.starts_with('-');
  if (isNegative || word.starts_with('+')) word.erase(0, 1);
  if (word == "nan") {
    number = std::numeric_limits<double>::quiet_NaN();
  } else if (word == "inf" || word == "infinity") {
    number = std::numeric_limits<double>::infinity();
  } else {
    return false;
  }
  if (isNegative) number = -number;
  return true;
}

bool XMLReader::readReal(Value& value) {
  std::string_view text;
  if (!readText(Element::Real, text)) return false;
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  double number = 0;
  if (!parseReal(text, number) && !parseSpecialReal(text, number)) return fail("a real that is no number");
  value = Value(number);
  return true;
}

bool XMLReader::readDigits(std::size_t count, int& number) {
  number = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (at_ == end_ || !isASCIIDigit(*at_)) return false;
    number = number * 10 + (*at_++ - '0');
  }
  return true;
}

// Days from 2001-01-01 to a day of the Gregorian calendar, which is continued before its introduction.
std::int64_t daysSinceReferenceDate(std::int64_t year, int month, int day) {
  // Years begin in March here, so that the leap day comes last.
  const std::int64_t y = month <= 2 ? year - 1 : year;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const std::int64_t yearOfEra = y - era * 400;
  const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  constexpr std::int64_t kReferenceDay = 730791;  // from 0000-03-01 to 2001-01-01
  return era * 146097 + dayOfEra - kReferenceDay;
}

bool XMLReader::readDate(Value& value) {
  const bool isNegative = take('-');
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  const bool isRead = readDigits(4, year) && take('-') && readDigits(2, month) && take('-') &&
                      readDigits(2, day) && take('T') && readDigits(2, hour) && take(':') &&
                      readDigits(2, minute) && take(':') && readDigits(2, second) && take('Z') && take('<');
  if (!isRead || month < 1 || month > 12 || day < 1 || day > 31 || hour > 24 || minute > 59 || second > 60) {
    return fail("a date that is none");
  }
  const int secondOfDay = (hour * 60 + minute) * 60 + second;
  const std::int64_t days = daysSinceReferenceDate(isNegative ? -year : year, month, day);
  value = Value(NSDate{static_cast<double>(days * 86400 + secondOfDay)});
  return readEndTag(Element::Date);
}

// Characters outside the alphabet are passed over, and so is a last group of less than four.
bool XMLReader::readData(Value& value) {
  const auto* end = static_cast<const char*>(std::memchr(at_, '<', static_cast<std::size_t>(end_ - at_)));
  if (end == nullptr) return fail("the end within data");
  // One byte more than there can be: what putBase64Group() writes too much.
  const std::size_t most = static_cast<std::size_t>(end - at_) / 4 * 3 + 1;
  if (bytes_.size() < most) bytes_.resize(most);
  char* out = bytes_.data();
  std::uint32_t group = 0;
  unsigned inGroup = 0;
  unsigned padding = 0;
  while (at_ != end) {
    if (inGroup == 0) {
      skipSpace();  // there is a tag at the end
      decodeWholeGroups(end, out, padding);
    }
    if (at_ == end) break;
    const auto c = static_cast<unsigned char>(*at_);
    if (c >= 0x80) return fail("data that is not base64");
    ++at_;
    if (c == '=') {
      ++padding;
    } else if (!isSpace(static_cast<char>(c))) {
      padding = 0;
    }
    const int bits = c == '=' ? 0 : kBase64Bits[c];
    if (bits < 0) continue;
    group = group << 6 | static_cast<std::uint32_t>(bits);
    if (++inGroup < 4) continue;
    inGroup = 0;
    *out++ = static_cast<char>(group >> 16 & 0xFF);
    if (padding < 2) *out++ = static_cast<char>(group >> 8 & 0xFF);
    if (padding < 1) *out++ = static_cast<char>(group & 0xFF);
  }
  ++at_;
  if (!readEndTag(Element::Data)) return false;
  value = Value::fromData({bytes_.data(), static_cast<std::size_t>(out - bytes_.data())});
  return true;
}

// As many groups as there are without anything between their characters and without padding.
void XMLReader::decodeWholeGroups(const char* end, char*& out, unsigned& padding) {
  // Local copies: bytes that are written could otherwise be the pointers themselves.
  const char* at = at_;
  char* to = out;
  for (; end - at >= 8; at += 8, to += 6) {
    const std::uint32_t first = base64Group(at);
    const std::uint32_t second = base64Group(at + 4);
    if (((first | second) & 1) != 0) break;
    putBase64Group(to, first);
    putBase64Group(to + 3, second);
  }
  for (; end - at >= 4; at += 4, to += 3) {
    const std::uint32_t group = base64Group(at);
    if ((group & 1) != 0) break;
    putBase64Group(to, group);
  }
  if (at != at_) padding = 0;
  at_ = at;
  out = to;
}

}  // namespace

Result<Value> readXMLPropertyList(std::string_view text) { return XMLReader(text).read(); }

}  // namespace macos
