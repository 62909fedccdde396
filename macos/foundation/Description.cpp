// SPDX-License-Identifier: MIT
//
// Values as %@ shows them (declared in Log.h).
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "macos/foundation/Log.h"
#include "macos/foundation/Text.h"
#include "macos/foundation/URL.h"

namespace macos {

namespace {

constexpr std::size_t kIndentation = 4;
// Deeper containers are shown as "...", because indentation makes the text grow with the depth.
constexpr std::size_t kDeepest = 64;

bool isBareWord(std::string_view text) {
  if (text.empty()) return false;
  for (const char c : text) {
    const bool isWordCharacter = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    if (!isWordCharacter) return false;
  }
  return true;
}

void appendEscaped(std::string& out, char16_t unit) {
  char text[8];
  switch (unit) {
    case '"':
      out += "\\\"";
      return;
    case '\\':
      out += "\\\\";
      return;
    case '\a':
      out += "\\a";
      return;
    case '\b':
      out += "\\b";
      return;
    case '\f':
      out += "\\f";
      return;
    case '\n':
      out += "\\n";
      return;
    case '\r':
      out += "\\r";
      return;
    case '\t':
      out += "\\t";
      return;
    case '\v':
      out += "\\v";
      return;
    default:
      break;
  }
  if (unit >= 0x20 && unit < 0x7F) {
    out += static_cast<char>(unit);
  } else if (unit < 0x80) {
    std::snprintf(text, sizeof text, "\\%03o", static_cast<unsigned>(unit));
    out += text;
  } else {
    std::snprintf(text, sizeof text, "\\U%04x", static_cast<unsigned>(unit));
    out += text;
  }
}

void appendQuoted(std::string& out, std::string_view text) {
  if (isBareWord(text)) {
    out += text;
    return;
  }
  out += '"';
  for (const char16_t unit : utf16FromUTF8(text)) appendEscaped(out, unit);
  out += '"';
}

// The fewest digits that read back as the same number, never an exponent where %g would write none.
std::string realDescription(double real) {
  if (std::isnan(real)) return "nan";
  if (std::isinf(real)) return real < 0 ? "-inf" : "inf";
  char text[40];
  char* end = text;
  for (int digits = 15; digits <= 17; ++digits) {
    end = std::to_chars(text, text + sizeof text, real, std::chars_format::general, digits).ptr;
    double readBack = 0;
    std::from_chars(text, end, readBack);
    if (readBack == real) break;
  }
  return {text, end};
}

std::string dateDescription(NSDate date) {
  const double seconds = std::floor(date.secondsSinceReferenceDate + kReferenceDateSince1970);
  // Years that the calendar functions take.
  if (!(std::fabs(seconds) < 6e16)) return "(invalid date)";
  const auto time = static_cast<std::time_t>(seconds);
  std::tm utc{};
  gmtime_r(&time, &utc);
  char text[64];
  const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S +0000", &utc);
  return {text, length};
}

std::string dataDescription(std::string_view bytes, DataDescription style) {
  std::string out = "{length = " + std::to_string(bytes.size());
  if (style == DataDescription::Bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    out += ", bytes = 0x";
    for (const char c : bytes) {
      const auto byte = static_cast<unsigned char>(c);
      out += kDigits[byte >> 4];
      out += kDigits[byte & 15];
    }
  }
  return out + "}";
}

class Describer {
 public:
  explicit Describer(DataDescription data) : data_(data) {}

  void appendArray(const Array& array, std::size_t level) {
    out_ += "(\n";
    for (std::size_t i = 0; i < array.size(); ++i) {
      indent(level + 1);
      appendInside(array[i], level + 1);
      out_ += i + 1 < array.size() ? ",\n" : "\n";
    }
    indent(level);
    out_ += ')';
  }

  void appendDictionary(const Dictionary& dictionary, std::size_t level) {
    out_ += "{\n";
    for (const auto& entry : dictionary) {
      indent(level + 1);
      appendQuoted(out_, entry.key());
      out_ += " = ";
      appendInside(entry.value(), level + 1);
      out_ += ";\n";
    }
    indent(level);
    out_ += '}';
  }

  std::string take() { return std::move(out_); }

 private:
  void indent(std::size_t level) { out_.append(level * kIndentation, ' '); }

  void appendInside(const Value& value, std::size_t level) {
    const Array* array = value.ifArray();
    const Dictionary* dictionary = value.ifDictionary();
    if (array == nullptr && dictionary == nullptr) {
      appendScalar(value);
      return;
    }
    if (level >= kDeepest) {
      out_ += "...";
      return;
    }
    // The platform indents a container once more where it begins, though not where it goes on.
    indent(level);
    array != nullptr ? appendArray(*array, level) : appendDictionary(*dictionary, level);
  }

  void appendScalar(const Value& value) {
    if (const auto data = value.ifData()) {
      out_ += dataDescription(*data, data_);
    } else if (value.isNull()) {
      out_ += "\"<null>\"";
    } else {
      appendQuoted(out_, description(value, data_));
    }
  }

  const DataDescription data_;
  std::string out_;
};

}  // namespace

std::string description(const Value& value, DataDescription data) {
  switch (value.kind()) {
    case Value::Kind::Null:
      return "(null)";
    case Value::Kind::Boolean:
      return *value.ifBoolean() ? "1" : "0";
    case Value::Kind::Integer:
      return value.ifInteger()->toString();
    case Value::Kind::Real:
      return realDescription(*value.ifReal());
    case Value::Kind::Date:
      return dateDescription(*value.ifDate());
    case Value::Kind::Data:
      return dataDescription(*value.ifData(), data);
    case Value::Kind::String:
      return std::string(*value.ifString());
    case Value::Kind::URL:
      return value.ifURL()->absoluteString();
    case Value::Kind::Array:
    case Value::Kind::Dictionary:
      break;
  }
  Describer describer(data);
  if (const Array* array = value.ifArray()) {
    describer.appendArray(*array, 0);
  } else {
    describer.appendDictionary(*value.ifDictionary(), 0);
  }
  return describer.take();
}

}  // namespace macos
