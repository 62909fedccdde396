// SPDX-License-Identifier: MIT
//
// The writer of XML property lists, byte for byte as the platform writes them.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "macos/foundation/PropertyListCodecs.h"

namespace macos {

namespace {

constexpr std::string_view kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
constexpr std::string_view kFoot = "</plist>\n";
constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The two characters of each twelve bits.
constexpr std::array<std::array<char, 2>, 4096> kBase64Pairs = [] {
  std::array<std::array<char, 2>, 4096> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    pairs[i] = {kBase64Alphabet[i >> 6], kBase64Alphabet[i & 0x3F]};
  }
  return pairs;
}();

struct CivilTime {
  std::int64_t year = 0;
  int month = 0;
  int day = 0;
  int secondOfDay = 0;
};

// The Gregorian calendar, continued before its introduction. What is below a second is dropped.
CivilTime civilTime(NSDate date) {
  const auto seconds = static_cast<std::int64_t>(std::floor(date.secondsSinceReferenceDate));
  const std::int64_t days = (seconds >= 0 ? seconds : seconds - 86399) / 86400;
  // Years begin in March here, so that the leap day comes last.
  constexpr std::int64_t kReferenceDay = 730791;  // from 0000-03-01 to 2001-01-01
  const std::int64_t day = days + kReferenceDay;
  const std::int64_t era = (day >= 0 ? day : day - 146096) / 146097;
  const std::int64_t dayOfEra = day - era * 146097;
  const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
  CivilTime time;
  time.day = static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
  time.month = static_cast<int>(monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9);
  time.year = yearOfEra + era * 400 + (time.month <= 2 ? 1 : 0);
  time.secondOfDay = static_cast<int>(seconds - days * 86400);
  return time;
}

class XMLWriter {
 public:
  Result<std::string> write(const Value& value);

 private:
  static std::size_t estimatedSize(const Value& value, std::size_t depth);
  bool append(const Value& value, std::size_t depth);
  bool appendArray(const Array& array, std::size_t depth);
  bool appendDictionary(const Dictionary& dictionary, std::size_t depth);
  void appendReal(double real);
  bool appendDate(NSDate date);
  void appendData(std::string_view bytes, std::size_t depth);
  void appendBase64(std::string_view bytes);
  void appendEscaped(std::string_view text);
  void appendNumber(std::int64_t number, std::size_t width);
  void indent(std::size_t depth) { text_.append(depth, '\t'); }
  bool fail(const char* cause) {
    cause_ = cause;
    return false;
  }

  std::string text_;
  const char* cause_ = "";
};

Result<std::string> XMLWriter::write(const Value& value) {
  text_.reserve(kHead.size() + estimatedSize(value, 0) + kFoot.size());
  text_ = kHead;
  if (!append(value, 0)) return Status(ErrorCode::InvalidArgument, "XML property list", cause_);
  text_ += kFoot;
  return std::move(text_);
}

// How long the text becomes, when nothing in it must be escaped and numbers are long: memory that is
// reserved and not touched costs nothing, but a text that grows is copied again and again.
std::size_t XMLWriter::estimatedSize(const Value& value, std::size_t depth) {
  constexpr std::size_t kTags = 24;
  constexpr std::size_t kNumber = 44;
  switch (value.kind()) {
    case Value::Kind::String:
      return depth + kTags + value.ifString()->size();
    case Value::Kind::Data: {
      const std::size_t tabs = std::min<std::size_t>(depth, 8);
      const std::size_t characters = value.ifData()->size() / 3 * 4 + 4;
      return 2 * depth + kTags + characters + (characters / (76 - 8 * tabs) + 1) * (tabs + 1);
    }
    case Value::Kind::Array: {
      std::size_t size = 2 * depth + kTags;
      if (depth >= kPropertyListMaximumDepth) return size;
      for (const Value& element : *value.ifArray()) size += estimatedSize(element, depth + 1);
      return size;
    }
    case Value::Kind::Dictionary: {
      std::size_t size = 2 * depth + kTags;
      if (depth >= kPropertyListMaximumDepth) return size;
      for (const auto& entry : *value.ifDictionary()) {
        size += depth + kTags + entry.key().size() + estimatedSize(entry.value(), depth + 1);
      }
      return size;
    }
    default:
      return depth + kNumber;
  }
}

bool XMLWriter::append(const Value& value, std::size_t depth) {
  indent(depth);
  switch (value.kind()) {
    case Value::Kind::Boolean:
      text_ += *value.ifBoolean() ? "<true/>\n" : "<false/>\n";
      return true;
    case Value::Kind::Integer: {
      const Integer integer = *value.ifInteger();
      std::array<char, 24> digits;
      const auto end = integer.isNegative()
                           ? std::to_chars(digits.data(), digits.data() + digits.size(), integer.low64())
                           : std::to_chars(digits.data(), digits.data() + digits.size(), integer.bits());
      text_.append("<integer>").append(digits.data(), end.ptr).append("</integer>\n");
      return true;
    }
    case Value::Kind::Real:
      appendReal(*value.ifReal());
      return true;
    case Value::Kind::Date:
      return appendDate(*value.ifDate());
    case Value::Kind::Data:
      appendData(*value.ifData(), depth);
      return true;
    case Value::Kind::String:
      text_ += "<string>";
      appendEscaped(*value.ifString());
      text_ += "</string>\n";
      return true;
    case Value::Kind::Array:
      return appendArray(*value.ifArray(), depth);
    case Value::Kind::Dictionary:
      return appendDictionary(*value.ifDictionary(), depth);
    case Value::Kind::Null:
      return fail("null has no form");
    case Value::Kind::URL:
      break;
  }
  return fail("a URL has no form");
}

bool XMLWriter::appendArray(const Array& array, std::size_t depth) {
  if (array.empty()) {
    text_ += "<array/>\n";
    return true;
  }
  if (depth >= kPropertyListMaximumDepth) return fail("containers nested too deep");
  text_ += "<array>\n";
  for (const Value& element : array) {
    if (!append(element, depth + 1)) return false;
  }
  indent(depth);
  text_ += "</array>\n";
  return true;
}

bool XMLWriter::appendDictionary(const Dictionary& dictionary, std::size_t depth) {
  if (dictionary.empty()) {
    text_ += "<dict/>\n";
    return true;
  }
  if (depth >= kPropertyListMaximumDepth) return fail("containers nested too deep");
  text_ += "<dict>\n";
  for (const auto& entry : dictionary) {
    indent(depth + 1);
    text_ += "<key>";
    appendEscaped(entry.key());
    text_ += "</key>\n";
    if (!append(entry.value(), depth + 1)) return false;
  }
  indent(depth);
  text_ += "</dict>\n";
  return true;
}

void XMLWriter::appendReal(double real) {
  text_ += "<real>";
  if (std::isnan(real)) {
    text_ += "nan";
  } else if (std::isinf(real)) {
    text_ += real < 0 ? "-infinity" : "+infinity";
  } else if (real == 0) {
    text_ += "0.0";
  } else {
    std::array<char, 32> digits;
    constexpr int kDigits = 17;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), real,
                                   std::chars_format::general, kDigits);
    text_.append(digits.data(), end.ptr);
  }
  text_ += "</real>\n";
}

void XMLWriter::appendNumber(std::int64_t number, std::size_t width) {
  std::array<char, 24> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  const auto length = static_cast<std::size_t>(end.ptr - digits.data());
  text_.append(width - std::min(width, length), '0').append(digits.data(), length);
}

bool XMLWriter::appendDate(NSDate date) {
  if (!isInCalendar(date)) return fail("a date out of range");
  const CivilTime time = civilTime(date);
  text_ += "<date>";
  if (time.year < 0) text_ += '-';
  appendNumber(std::abs(time.year), 4);
  text_ += '-';
  appendNumber(time.month, 2);
  text_ += '-';
  appendNumber(time.day, 2);
  text_ += 'T';
  appendNumber(time.secondOfDay / 3600, 2);
  text_ += ':';
  appendNumber(time.secondOfDay / 60 % 60, 2);
  text_ += ':';
  appendNumber(time.secondOfDay % 60, 2);
  text_ += "Z</date>\n";
  return true;
}

// The lines stand as deep as the tag, though never deeper than eight tabs, and are as much shorter as the
// tabs are wide.
void XMLWriter::appendData(std::string_view bytes, std::size_t depth) {
  text_ += "<data>\n";
  const std::size_t tabs = std::min<std::size_t>(depth, 8);
  const std::size_t bytesPerLine = (76 - 8 * tabs) / 4 * 3;
  for (std::size_t i = 0; i < bytes.size(); i += bytesPerLine) {
    indent(tabs);
    appendBase64(bytes.substr(i, bytesPerLine));
    text_ += '\n';
  }
  indent(depth);
  text_ += "</data>\n";
}

void XMLWriter::appendBase64(std::string_view bytes) {
  const auto byte = [&bytes](std::size_t i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i]));
  };
  std::array<char, 80> line;
  char* out = line.data();
  const auto put = [&out](std::uint32_t group) {
    std::memcpy(out, kBase64Pairs[group >> 12].data(), 2);
    std::memcpy(out + 2, kBase64Pairs[group & 0xFFF].data(), 2);
    out += 4;
  };
  std::size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) put(byte(i) << 16 | byte(i + 1) << 8 | byte(i + 2));
  if (bytes.size() - i == 1) {
    put(byte(i) << 16);
    out[-1] = out[-2] = '=';
  } else if (bytes.size() - i == 2) {
    put(byte(i) << 16 | byte(i + 1) << 8);
    out[-1] = '=';
  }
  text_.append(line.data(), out);
}

// Only what would end the text is escaped: quotes, line ends and control characters stay as they are.
void XMLWriter::appendEscaped(std::string_view text) {
  const auto isMarkup = [](char c) { return c == '&' || c == '<' || c == '>'; };
  const char* at = text.data();
  const char* end = at + text.size();
  while (true) {
    const char* markup = std::find_if(at, end, isMarkup);
    text_.append(at, markup);
    if (markup == end) return;
    text_ += *markup == '&' ? "&amp;" : *markup == '<' ? "&lt;" : "&gt;";
    at = markup + 1;
  }
}

}  // namespace

Result<std::string> writeXMLPropertyList(const Value& value) { return XMLWriter().write(value); }

}  // namespace macos
