// SPDX-License-Identifier: MIT
#include "tests/support/PropertyListTesting.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>

namespace vennick::tests {

using macos::Array;
using macos::Dictionary;
using macos::Integer;
using macos::NSDate;
using macos::Value;

namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

std::string hex(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) {
    text += kHexDigits[static_cast<unsigned char>(c) >> 4];
    text += kHexDigits[static_cast<unsigned char>(c) & 0xF];
  }
  return text;
}

std::string hex(double number) {
  const auto bits = std::bit_cast<std::uint64_t>(number);
  std::string text;
  for (int shift = 60; shift >= 0; shift -= 4) text += kHexDigits[bits >> shift & 0xF];
  return text;
}

std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20) {
      result += "\\" + hex(std::string_view(&c, 1));
    } else {
      result += c;
    }
  }
  return result + "\"";
}

std::string dumpArray(const Array& array) {
  std::string text = "[";
  for (const Value& element : array) text += (text.size() > 1 ? "," : "") + dump(element);
  return text + "]";
}

std::string dumpDictionary(const Dictionary& dictionary) {
  std::string text = "{";
  for (const auto& entry : dictionary) {
    text += (text.size() > 1 ? "," : "") + quoted(entry.key()) + ":" + dump(entry.value());
  }
  return text + "}";
}

class TreeMaker {
 public:
  TreeMaker(std::mt19937_64& random, const TreeOptions& options) : random_(random), options_(options) {}

  Value make(int depth) {
    const bool isLeaf = depth >= options_.maximumDepth;
    switch (below(isLeaf ? 7 : 11)) {
      case 0:
        return Value(below(2) == 0);
      case 1:
      case 2:
        return Value(integer());
      case 3:
        return Value(real());
      case 4:
        return Value(date());
      case 5:
        return Value::fromData(data());
      case 6:
        return Value(text());
      case 7:
      case 8:
        return Value(array(depth));
      default:
        return Value(dictionary(depth));
    }
  }

 private:
  std::uint64_t below(std::uint64_t limit) { return random_() % limit; }

  std::size_t count() {
    constexpr std::array<std::size_t, 12> kCounts = {0, 1, 1, 2, 2, 3, 3, 4, 5, 8, 15, 20};
    return kCounts[below(kCounts.size())];
  }

  Integer integer() {
    constexpr std::array<std::uint64_t, 12> kEdges = {
        0, 1, 127, 128, 255, 256, 65535, 65536, 0x7FFFFFFF, 0xFFFFFFFF, 0x100000000, 0x7FFFFFFFFFFFFFFF};
    switch (below(4)) {
      case 0:
        return Integer(-static_cast<std::int64_t>(random_() >> (1 + below(63))));
      case 1:
        return Integer(random_() >> (1 + below(63)));
      case 2:
        return options_.hasLargeIntegers ? Integer(random_() | std::uint64_t{1} << 63) : Integer(INT64_MIN);
      default:
        return Integer(kEdges[below(kEdges.size())]);
    }
  }

  double real() {
    constexpr std::array<double, 8> kPlain = {0.0, 1.0, -1.0, 0.5, 0.1, 1e21, 1.0 / 3, 3.14159265358979};
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    if (options_.hasInfinities && below(8) == 0) return below(2) == 0 ? kInfinity : -kInfinity;
    if (options_.hasNegativeZero && below(8) == 0) return -0.0;
    if (below(8) == 0) return std::numeric_limits<double>::denorm_min();
    if (below(2) == 0) return kPlain[below(kPlain.size())];
    const double number = std::bit_cast<double>(random_());
    return std::isfinite(number) && std::isnormal(number) ? number : 2.5;
  }

  NSDate date() {
    // From the year 1000 to the year 3000.
    const double seconds = static_cast<double>(below(63113904000)) - 31588790400.0;
    return {options_.hasFractionalDates ? seconds + 0.25 : seconds};
  }

  std::string data() {
    std::string bytes;
    for (std::size_t n = below(3) == 0 ? below(200) : below(10); n > 0; --n) {
      bytes += static_cast<char>(random_());
    }
    return bytes;
  }

  std::string text() {
    constexpr std::array<const char*, 24> kPieces = {"a",
                                                     "Z",
                                                     "0",
                                                     " ",
                                                     "&",
                                                     "<",
                                                     ">",
                                                     "\"",
                                                     "'",
                                                     "\n",
                                                     "\t",
                                                     "\\",
                                                     "]]>",
                                                     "\xC3\xA9",
                                                     "e\xCC\x81",
                                                     "\xE2\x82\xAC",
                                                     "\xEF\xAC\x81",
                                                     "\xF0\x9F\x98\x80",
                                                     "/",
                                                     "CF$UID",
                                                     "=",
                                                     ";",
                                                     "longer piece of text",
                                                     "\xED\x9F\xBF"};
    constexpr std::array<const char*, 3> kControl = {"\r", "\x01", "\x7F"};
    std::string text;
    for (std::size_t n = count(); n > 0; --n) {
      if (options_.hasControlCharacters && below(8) == 0) {
        text += kControl[below(kControl.size())];
      } else {
        text += kPieces[below(kPieces.size())];
      }
    }
    return text;
  }

  Array array(int depth) {
    Array array;
    for (std::size_t n = count(); n > 0; --n) array.append(make(depth + 1));
    return array;
  }

  Dictionary dictionary(int depth) {
    Dictionary dictionary;
    if (options_.hasUIDs && below(8) == 0) {
      dictionary.set("CF$UID", Value(below(0x100000000) >> below(32)));
      return dictionary;
    }
    for (std::size_t n = count(); n > 0; --n) dictionary.set(text(), make(depth + 1));
    // Only an identifier looks like one.
    if (dictionary.size() == 1) dictionary.set("second", Value(true));
    return dictionary;
  }

  std::mt19937_64& random_;
  const TreeOptions& options_;
};

}  // namespace

std::string dump(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::Null:
      return "n";
    case Value::Kind::Boolean:
      return *value.ifBoolean() ? "T" : "F";
    case Value::Kind::Integer:
      return "i" + value.ifInteger()->toString();
    case Value::Kind::Real:
      return "r" + hex(*value.ifReal());
    case Value::Kind::Date:
      return "d" + hex(value.ifDate()->secondsSinceReferenceDate);
    case Value::Kind::Data:
      return "x" + hex(*value.ifData());
    case Value::Kind::String:
      return "s" + quoted(*value.ifString());
    case Value::Kind::URL:
      return "u";
    case Value::Kind::Array:
      return dumpArray(*value.ifArray());
    case Value::Kind::Dictionary:
      return dumpDictionary(*value.ifDictionary());
  }
  return "";
}

Value randomTree(std::mt19937_64& random, const TreeOptions& options) {
  return TreeMaker(random, options).make(0);
}

std::string readTestFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void writeTestFile(const std::filesystem::path& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::vector<std::filesystem::path> testDataFiles(std::string_view folder) {
  std::vector<std::filesystem::path> files;
  const std::filesystem::path root = std::filesystem::path(VENNICK_TEST_DATA) / folder;
  for (const auto& item : std::filesystem::recursive_directory_iterator(root)) {
    if (item.is_regular_file() && item.path().filename() != "README.md") files.push_back(item.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace vennick::tests
