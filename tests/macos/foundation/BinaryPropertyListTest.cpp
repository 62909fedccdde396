// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <bit>
#include <chrono>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/PropertyList.h"
#include "macos/foundation/URL.h"
#include "tests/support/ProcessorTime.h"
#include "tests/support/PropertyListTesting.h"

namespace macos {
namespace {

using namespace std::string_literals;
using vennick::tests::dump;

std::string bigEndian(std::uint64_t number, unsigned width) {
  std::string bytes;
  for (unsigned i = 0; i < width; ++i) {
    const unsigned shift = 8 * (width - 1 - i);
    bytes += static_cast<char>(shift < 64 ? number >> shift : 0);
  }
  return bytes;
}

// A binary property list put together by hand, so that each of its parts can be wrong.
struct BinaryFile {
  std::string magic = "bplist00";
  std::vector<std::string> objects;
  unsigned offsetWidth = 1;
  unsigned referenceWidth = 1;
  std::uint64_t top = 0;
  std::optional<std::uint64_t> count;
  std::optional<std::uint64_t> table;
  std::vector<std::uint64_t> offsets;  // of the objects, when they are not the true ones
  std::string beforeTrailer;

  std::string bytes() const {
    std::string file = magic;
    std::vector<std::uint64_t> places;
    for (const std::string& object : objects) {
      places.push_back(file.size());
      file += object;
    }
    const std::uint64_t tableOffset = file.size();
    const std::vector<std::uint64_t>& entries = offsets.empty() ? places : offsets;
    for (const std::uint64_t place : entries) file += bigEndian(place, offsetWidth);
    file += beforeTrailer + bigEndian(0, 6);
    file += static_cast<char>(offsetWidth);
    file += static_cast<char>(referenceWidth);
    return file + bigEndian(count.value_or(entries.size()), 8) + bigEndian(top, 8) +
           bigEndian(table.value_or(tableOffset), 8);
  }
};

BinaryFile fileOf(std::vector<std::string> objects) {
  BinaryFile file;
  file.objects = std::move(objects);
  return file;
}

std::string real(double number) { return "\x23" + bigEndian(std::bit_cast<std::uint64_t>(number), 8); }
std::string date(double number) { return "\x33" + bigEndian(std::bit_cast<std::uint64_t>(number), 8); }

// The value as a text, or the reason why there is none.
std::string read(std::string_view bytes) {
  const auto reading = NSPropertyListSerialization::propertyListWithData(bytes);
  if (!reading.ok()) {
    EXPECT_EQ(reading.status().code(), ErrorCode::Corrupt);
    return "refused: " + reading.status().message();
  }
  EXPECT_EQ(reading->format, NSPropertyListFormat::Binary);
  return dump(reading->value);
}

std::string read(const BinaryFile& file) { return read(file.bytes()); }

void expectRefused(std::string_view bytes, std::string_view cause = "") {
  const std::string answer = read(bytes);
  EXPECT_TRUE(answer.starts_with("refused: ")) << dump(Value::fromData(bytes)) << answer;
  EXPECT_NE(answer.find(cause), std::string::npos) << answer;
}

void expectRefused(const BinaryFile& file, std::string_view cause = "") {
  expectRefused(file.bytes(), cause);
}

std::string write(const Value& value) {
  auto bytes = NSPropertyListSerialization::dataWithPropertyList(value, NSPropertyListFormat::Binary);
  EXPECT_TRUE(bytes.ok()) << (bytes.ok() ? "" : bytes.status().message());
  return bytes.ok() ? *bytes : "";
}

std::string roundTrip(const Value& value) { return read(write(value)); }

TEST(BinaryPropertyList, ReadsEveryKindOfObject) {
  const auto one = [](std::string object) { return read(fileOf({std::move(object)})); };
  EXPECT_EQ(one("\0"s), "n");
  EXPECT_EQ(one("\x08"), "F");
  EXPECT_EQ(one("\x09"), "T");
  EXPECT_EQ(one("\x10\xFF"), "i255");
  EXPECT_EQ(one("\x11\xFF\xFF"), "i65535");
  EXPECT_EQ(one("\x12\xFF\xFF\xFF\xFF"), "i4294967295");
  EXPECT_EQ(one("\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE"), "i-2");
  EXPECT_EQ(one("\x14" + bigEndian(0, 8) + bigEndian(UINT64_MAX - 1, 8)), "i18446744073709551614");
  EXPECT_EQ(one("\x22" + bigEndian(0x3F000000, 4)), dump(Value(0.5)));
  EXPECT_EQ(one(real(0.1)), dump(Value(0.1)));
  EXPECT_EQ(one(date(1.5)), dump(Value(NSDate{1.5})));
  EXPECT_EQ(one("\x42\xFF\x01"), "xff01");
  EXPECT_EQ(one("\x53"s + "abc"), "s\"abc\"");
  EXPECT_EQ(one("\x62" + bigEndian(0x00E920AC, 4)), "s\"\xC3\xA9\xE2\x82\xAC\"");
  EXPECT_EQ(one("\x62" + bigEndian(0xD83DDE00, 4)), "s\"\xF0\x9F\x98\x80\"");
  EXPECT_EQ(one("\x80\x05"), "{\"CF$UID\":i5}");
  EXPECT_EQ(one("\x84" + bigEndian(0xFFFFFFFF, 5)), "{\"CF$UID\":i4294967295}");
  EXPECT_EQ(read(fileOf({"\xA2\x01\x02", "\x08", "\x09"})), "[F,T]");
  EXPECT_EQ(read(fileOf({"\xD2\x01\x02\x03\x04", "\x51z", "\x51y", "\x08", "\x09"})), "{\"y\":T,\"z\":F}");
}

TEST(BinaryPropertyList, ReadsASetAsAnArray) {
  EXPECT_EQ(read(fileOf({"\xC2\x01\x02", "\x08", "\x09"})), "[F,T]");
}

TEST(BinaryPropertyList, ReadsCountsOfEveryWidth) {
  const std::string text(20, 'a');
  for (unsigned exponent = 0; exponent <= 4; ++exponent) {
    const std::string count = static_cast<char>(0x10 + exponent) + bigEndian(20, 1U << exponent);
    EXPECT_EQ(read(fileOf({"\x5F" + count + text})), "s\"" + text + "\"") << exponent;
    EXPECT_EQ(read(fileOf({"\x4F" + count + text})).size(), 41U) << exponent;
  }
}

TEST(BinaryPropertyList, TakesAnyEighthByteAndNoOtherMagic) {
  BinaryFile file = fileOf({"\x09"});
  file.magic = "bplist0?";
  EXPECT_EQ(read(file), "T");
  file.magic = "bplist10";
  expectRefused(file);
}

TEST(BinaryPropertyList, ReadsOffsetsAndReferencesOfEveryWidth) {
  for (unsigned width = 1; width <= 10; ++width) {
    BinaryFile file = fileOf({"\xA2" + bigEndian(1, width) + bigEndian(2, width), "\x08", "\x09"});
    file.referenceWidth = width;
    EXPECT_EQ(read(file), "[F,T]") << width;
    file = fileOf({"\xA2\x01\x02", "\x08", "\x09"});
    file.offsetWidth = width;
    EXPECT_EQ(read(file), "[F,T]") << width;
  }
}

TEST(BinaryPropertyList, KeepsTheFirstOfTwoEqualKeys) {
  EXPECT_EQ(read(fileOf({"\xD2\x01\x02\x03\x04", "\x51z", "\x51z", "\x08", "\x09"})), "{\"z\":F}");
  EXPECT_EQ(read(fileOf({"\xD2\x01\x01\x02\x03", "\x51z", "\x08", "\x09"})), "{\"z\":F}");
}

TEST(BinaryPropertyList, ReplacesSurrogatesThatStandAlone) {
  EXPECT_EQ(read(fileOf({"\x61" + bigEndian(0xD800, 2)})), "s\"\xEF\xBF\xBD\"");
  EXPECT_EQ(read(fileOf({"\x62" + bigEndian(0xDE00D83D, 4)})), "s\"\xEF\xBF\xBD\xEF\xBF\xBD\"");
  EXPECT_EQ(read(fileOf({"\x63" + bigEndian(0xD83DD83DDE00, 6)})), "s\"\xEF\xBF\xBD\xF0\x9F\x98\x80\"");
}

TEST(BinaryPropertyList, RejectsAFileTooShortForItsTrailer) {
  for (std::size_t length = 7; length < 41; ++length) {
    expectRefused(fileOf({"\x09"}).bytes().substr(0, length), "too short");
  }
}

TEST(BinaryPropertyList, RejectsATruncatedFileAtEveryLength) {
  const std::string bytes = write(
      Value(Dictionary{{"a list", Value(Array{Value(1), Value(2.5), Value("text that is not short at all")})},
                       {"data", Value(NSData{"bytes"})}}));
  // Below the magic's length the bytes are an old-style string.
  for (std::size_t length = 7; length < bytes.size(); ++length) expectRefused(bytes.substr(0, length));
}

TEST(BinaryPropertyList, RejectsATopObjectBeyondTheLast) {
  BinaryFile file = fileOf({"\x09"});
  file.top = 1;
  expectRefused(file, "no top object");
  file.top = UINT64_MAX;
  expectRefused(file, "no top object");
}

TEST(BinaryPropertyList, RejectsACountOfNoObjects) {
  BinaryFile file = fileOf({"\x09"});
  file.count = 0;
  expectRefused(file, "no top object");
}

TEST(BinaryPropertyList, RejectsWidthsOfZero) {
  BinaryFile file = fileOf({"\x09"});
  file.offsetWidth = 0;
  expectRefused(file, "a width of zero");
  file = fileOf({"\x09"});
  file.referenceWidth = 0;
  expectRefused(file, "a width of zero");
}

TEST(BinaryPropertyList, RejectsAnOffsetTableInTheHeaderOrBeyondTheEnd) {
  for (const std::uint64_t table : {std::uint64_t{0}, std::uint64_t{8}, std::uint64_t{10},
                                    std::uint64_t{1000}, std::uint64_t{1} << 60, UINT64_MAX}) {
    BinaryFile file = fileOf({"\x09"});
    file.table = table;
    expectRefused(file, "offset table");
  }
}

TEST(BinaryPropertyList, RejectsBytesBetweenTheTableAndTheTrailer) {
  BinaryFile file = fileOf({"\x09"});
  file.beforeTrailer = "xx";
  expectRefused(file, "an offset table of another size");
}

TEST(BinaryPropertyList, RejectsACountOfObjectsThatDoesNotFit) {
  for (const std::uint64_t count : {std::uint64_t{2}, std::uint64_t{1} << 60, UINT64_MAX}) {
    BinaryFile file = fileOf({"\x09"});
    file.count = count;
    expectRefused(file, "an offset table of another size");
  }
  // A product that comes out right when it overflows.
  BinaryFile file = fileOf({"\x09"});
  file.offsetWidth = 16;
  file.count = (std::uint64_t{1} << 60) + 1;
  expectRefused(file, "an offset table of another size");
}

TEST(BinaryPropertyList, RejectsReferencesTooNarrowForTheObjects) {
  BinaryFile file;
  file.objects.assign(256, "\x09");
  file.offsetWidth = 2;
  expectRefused(file, "references too narrow");
  file.objects.pop_back();
  EXPECT_EQ(read(file), "T");
}

TEST(BinaryPropertyList, RejectsOffsetsTooNarrowForTheSize) {
  BinaryFile file = fileOf({"\x5F\x10\xF5" + std::string(0xF5, 'a')});
  ASSERT_EQ(file.bytes().size(), 0x100U + 1 + 32);
  expectRefused(file, "offsets too narrow");
  file.objects[0] = "\x5F\x10\xF4" + std::string(0xF4, 'a');
  EXPECT_EQ(read(file), "s\"" + std::string(0xF4, 'a') + "\"");
}

TEST(BinaryPropertyList, RejectsOffsetsOutsideTheObjectsEvenOfObjectsThatNobodyUses) {
  BinaryFile file = fileOf({"\x09", "\x08"});
  file.offsets = {8, 10};
  expectRefused(file, "an offset outside");
  file.offsets = {8, 200};
  expectRefused(file, "an offset outside");
  file.offsets = {7, 8};
  expectRefused(file, "inside the header");
}

TEST(BinaryPropertyList, RejectsObjectsCutShort) {
  for (const char* object : {"\x10", "\x11\x01", "\x12\x01\x01\x01", "\x13\x01", "\x14\x01", "\x22\x01",
                             "\x23\x01", "\x33\x01", "\x42x", "\x52x", "\x61x", "\x81x", "\xA1", "\xD1\x01",
                             "\x4F", "\x4F\x10", "\x5F\x10\x0F", "\x6F\x11\x01"}) {
    expectRefused(fileOf({object}));
  }
}

TEST(BinaryPropertyList, RejectsObjectsOfUnknownKind) {
  const std::string rest(32, 'x');
  for (const int marker : {0x01, 0x07, 0x0A, 0x0C, 0x0D, 0x0E, 0x0F, 0x15, 0x20, 0x21, 0x24, 0x30, 0x32, 0x71,
                           0x90, 0xB0, 0xE0, 0xF0, 0xFF}) {
    expectRefused(fileOf({static_cast<char>(marker) + rest}));
  }
}

TEST(BinaryPropertyList, RejectsCountsThatAreNoIntegers) {
  expectRefused(fileOf({"\x5F\x51" + std::string(20, 'x')}), "a count that is no integer");
  expectRefused(fileOf({"\x5F\x15" + std::string(60, 'x')}), "a count that is no integer");
}

TEST(BinaryPropertyList, NeverBelievesADeclaredCount) {
  const auto started = vennick::tests::processorTime();
  for (const char kind : {'\x4F', '\x5F', '\x6F', '\xAF', '\xCF', '\xDF'}) {
    for (const std::uint64_t count : {std::uint64_t{100}, std::uint64_t{1} << 31, std::uint64_t{1} << 60,
                                      std::uint64_t{1} << 62, std::uint64_t{1} << 63, UINT64_MAX}) {
      expectRefused(fileOf({kind + "\x13"s + bigEndian(count, 8) + "\x01\x01\x01\x01", "\x09"}));
    }
  }
  EXPECT_LT(vennick::tests::processorTime() - started, std::chrono::seconds(1));
}

TEST(BinaryPropertyList, RejectsReferencesToNoObject) {
  expectRefused(fileOf({"\xA1\x01"}), "a reference to no object");
  expectRefused(fileOf({"\xD1\x01\x02", "\x51k"}), "a reference to no object");
  expectRefused(fileOf({"\xD1\x02\x01", "\x51k"}), "a reference to no object");
}

TEST(BinaryPropertyList, RejectsKeysThatAreNoStrings) {
  expectRefused(fileOf({"\xD1\x01\x02", "\x09", "\x09"}), "a key that is no string");
  expectRefused(fileOf({"\xD1\x01\x02", "\x10\x01", "\x09"}), "a key that is no string");
  expectRefused(fileOf({"\xD1\x01\x02", "\x80\x01", "\x09"}), "a key that is no string");
  expectRefused(fileOf({"\xD1\x01\x02", "\xA0", "\x09"}), "a key that is a container");
  expectRefused(fileOf({"\xD1\x01\x02", "\xD0", "\x09"}), "a key that is a container");
}

TEST(BinaryPropertyList, RejectsBytesThatAreNotASCIIInAnASCIIString) {
  expectRefused(fileOf({"\x53"s + "a\xFF" + "b"}), "not ASCII");
  expectRefused(fileOf({"\x5F\x10\x14"s + std::string(19, 'a') + "\x80"}), "not ASCII");
}

TEST(BinaryPropertyList, RejectsDatesThatNoCalendarHolds) {
  for (const double seconds :
       {std::nan(""), double{INFINITY}, -double{INFINITY}, 1e300, 252423993600.0, -378683424001.0}) {
    expectRefused(fileOf({date(seconds)}), "a date out of range");
  }
  EXPECT_EQ(read(fileOf({date(252423993599.0)})), dump(Value(NSDate{252423993599.0})));
  EXPECT_EQ(read(fileOf({date(-378683424000.0)})), dump(Value(NSDate{-378683424000.0})));
}

TEST(BinaryPropertyList, ReadsADateThatNoCalendarHoldsAsNullBesideOthers) {
  for (const double seconds : {std::nan(""), double{INFINITY}, 1e300, 252423993600.0, -378683424001.0}) {
    EXPECT_EQ(read(fileOf({"\xA3\x01\x02\x03", date(seconds), date(1), "\x09"})),
              "[n," + dump(Value(NSDate{1})) + ",T]");
  }
}

TEST(BinaryPropertyList, RejectsIdentifiersOfMoreThan32Bits) {
  expectRefused(fileOf({"\x84" + bigEndian(0x100000000, 5)}), "more than 32 bits");
}

TEST(BinaryPropertyList, RejectsObjectsThatContainThemselves) {
  expectRefused(fileOf({"\xA1\0"s}), "contains itself");
  expectRefused(fileOf({"\xA1\x01"s, "\xA1\x02"s, "\xA1\0"s}), "contains itself");
  expectRefused(fileOf({"\xD1\x01\0"s, "\x51k"}), "contains itself");
  expectRefused(fileOf({"\xD1\0\x01"s, "\x51k"}), "a key that is a container");
}

TEST(BinaryPropertyList, ReadsWhatIsSharedWithoutBeingACycle) {
  EXPECT_EQ(read(fileOf({"\xA3\x01\x01\x01", "\xA1\x02", "\x09"})), "[[T],[T],[T]]");
  const std::string text(40, 'a');
  const std::string quoted = "s\"" + text + "\"";
  EXPECT_EQ(read(fileOf({"\xA4\x01\x01\x01\x01", "\x5F\x10\x28" + text})),
            "[" + quoted + "," + quoted + "," + quoted + "," + quoted + "]");
}

BinaryFile nestedArrays(std::size_t levels) {
  BinaryFile file;
  file.referenceWidth = 4;
  file.offsetWidth = 4;
  for (std::size_t i = 0; i + 1 < levels; ++i) file.objects.push_back("\xA1" + bigEndian(i + 1, 4));
  file.objects.push_back("\xA0");
  return file;
}

TEST(BinaryPropertyList, LimitsTheDepthTo512) {
  EXPECT_EQ(read(nestedArrays(512)), std::string(512, '[') + std::string(512, ']'));
  expectRefused(nestedArrays(513), "nested too deep");
}

TEST(BinaryPropertyList, RefusesAMillionLevelsAtOnce) {
  const std::string bytes = nestedArrays(1000000).bytes();
  const auto started = vennick::tests::processorTime();
  const std::string answer = read(bytes);
  EXPECT_LT(vennick::tests::processorTime() - started, std::chrono::seconds(1));
  EXPECT_NE(answer.find("nested too deep"), std::string::npos) << answer;
}

TEST(BinaryPropertyList, RefusesAFewBytesThatStandForTwoToTheFortiethObjects) {
  BinaryFile file;
  for (int level = 1; level <= 40; ++level) {
    const char next = static_cast<char>(level);
    file.objects.push_back("\xA2"s + next + next);
  }
  file.objects.push_back("\x09");
  const std::string bytes = file.bytes();
  ASSERT_LT(bytes.size(), 500U);
  const auto started = vennick::tests::processorTime();
  expectRefused(bytes, "stand for too much");
  EXPECT_LT(vennick::tests::processorTime() - started, std::chrono::milliseconds(50));

  BinaryFile dictionaries;
  for (int level = 1; level <= 40; ++level) {
    const char next = static_cast<char>(level);
    dictionaries.objects.push_back("\xD2\x29\x2A"s + next + next);
  }
  dictionaries.objects.insert(dictionaries.objects.end(), {"\x09", "\x51x", "\x51y"});
  // The last level's values are the boolean; the keys stand behind it.
  ASSERT_LT(dictionaries.bytes().size(), 500U);
  expectRefused(dictionaries, "stand for too much");
}

TEST(BinaryPropertyList, RefusesALongTextThatIsSharedAHundredThousandTimes) {
  BinaryFile file;
  file.offsetWidth = 4;
  file.objects = {"\xAF\x12" + bigEndian(100000, 4) + std::string(100000, '\x01'),
                  "\x5F\x12" + bigEndian(100000, 4) + std::string(100000, 'a')};
  expectRefused(file, "stand for too much");
}

TEST(BinaryPropertyList, RefusesObjectsThatOverlap) {
  // Two thousand offsets lead into one array of four thousand references to the boolean.
  BinaryFile file;
  file.offsetWidth = 4;
  file.referenceWidth = 2;
  constexpr std::size_t kArrays = 2000;
  std::string top = "\xAF\x11" + bigEndian(kArrays, 2);
  for (std::size_t i = 0; i < kArrays; ++i) top += bigEndian(i + 2, 2);
  std::string body = "\xAF\x11" + bigEndian(4000, 2);
  for (std::size_t i = 0; i < 4000; ++i) body += bigEndian(1, 2);
  file.objects = {top, body, "\x09"};
  file.offsets = {8, 8 + top.size() + body.size()};
  for (std::size_t i = 0; i < kArrays; ++i) file.offsets.push_back(8 + top.size());
  expectRefused(file, "objects that overlap");
}

// In UTF-8 it is half as long again as in the file: read twice it comes to more than twice the file, and
// still nothing overlaps.
TEST(BinaryPropertyList, ReadsALongTextThatIsUsedTwice) {
  std::string object = "\x6F\x10\x64";
  std::string text;
  for (int i = 0; i < 100; ++i) {
    object += "\x65\xE5";
    text += "日";
  }
  EXPECT_EQ(read(fileOf({"\xA2\x01\x01", object})), dump(Value(Array{Value(text), Value(text)})));
  EXPECT_EQ(read(fileOf({"\xD1\x01\x01", object})), dump(Value(Dictionary{{text, Value(text)}})));
}

TEST(BinaryPropertyList, IsNoStringWhenItIsCutShortInItsHeader) {
  // As old-style text these bytes would be the string "bplist00".
  expectRefused("bplist00", "too short");
  expectRefused("bplist00 \n", "too short");
}

TEST(BinaryPropertyList, TextThatBeginsLikeItIsStillReadAsText) {
  const auto reading = NSPropertyListSerialization::propertyListWithData("bplist0 = yes;");
  ASSERT_TRUE(reading.ok());
  EXPECT_EQ(reading->format, NSPropertyListFormat::OpenStep);
  EXPECT_EQ(dump(reading->value), "{\"bplist0\":s\"yes\"}");
}

TEST(BinaryPropertyList, ReadsDictionariesOfMoreShapesThanItShares) {
  Array records;
  std::string expected = "[";
  for (int i = 0; i < 6000; ++i) {
    Dictionary record;
    record.set("key " + std::to_string(i), Value(i));
    record.set("common", Value(true));
    if (i % 1000 == 0) {
      for (int k = 0; k < 100; ++k) record.set("wide " + std::to_string(k), Value(k));
    }
    expected += (i == 0 ? "" : ",") + dump(Value(record));
    records.append(Value(std::move(record)));
  }
  EXPECT_TRUE(roundTrip(Value(std::move(records))) == expected + "]");
}

// ---- Writing

TEST(BinaryPropertyListWriter, WritesTheBytesOfTheFormat) {
  // Worked out by hand: the objects are dictionary, "a", "b", array, 1, "text", true.
  const Value value(Dictionary{{"a", Value(Array{Value(1), Value("text"), Value("a")})}, {"b", Value(true)}});
  const std::string objects = "\xD2\x01\x02\x03\x06\x51"s + "a\x51" + "b\xA3\x04\x05\x01\x10\x01\x54text\x09";
  const std::string offsets = "\x08\x0D\x0F\x11\x15\x17\x1C";
  const std::string expected = "bplist00" + objects + offsets + bigEndian(0, 6) + "\x01\x01" +
                               bigEndian(7, 8) + bigEndian(0, 8) + bigEndian(0x1D, 8);
  EXPECT_EQ(dump(Value::fromData(write(value))), dump(Value::fromData(expected)));
}

// The bytes of the only object.
std::string objectBytes(const Value& value) {
  const std::string bytes = write(value);
  return bytes.substr(8, bytes.size() - 8 - 1 - 32);
}

TEST(BinaryPropertyListWriter, WritesEachLeafInItsSmallestForm) {
  EXPECT_EQ(objectBytes(Value(0)), "\x10" + bigEndian(0, 1));
  EXPECT_EQ(objectBytes(Value(255)), "\x10\xFF");
  EXPECT_EQ(objectBytes(Value(256)), "\x11" + bigEndian(256, 2));
  EXPECT_EQ(objectBytes(Value(65536)), "\x12" + bigEndian(65536, 4));
  EXPECT_EQ(objectBytes(Value(std::uint64_t{1} << 32)), "\x13" + bigEndian(std::uint64_t{1} << 32, 8));
  EXPECT_EQ(objectBytes(Value(INT64_MAX)), "\x13" + bigEndian(INT64_MAX, 8));
  EXPECT_EQ(objectBytes(Value(-1)), "\x13" + bigEndian(UINT64_MAX, 8));
  EXPECT_EQ(objectBytes(Value(UINT64_MAX)), "\x14" + bigEndian(0, 8) + bigEndian(UINT64_MAX, 8));
  EXPECT_EQ(objectBytes(Value(0.5)), "\x23" + bigEndian(0x3FE0000000000000, 8));
  EXPECT_EQ(objectBytes(Value(NSDate{1})), "\x33" + bigEndian(0x3FF0000000000000, 8));
  EXPECT_EQ(objectBytes(Value("")), "\x50");
  EXPECT_EQ(objectBytes(Value("\xC3\xA9")), "\x61" + bigEndian(0xE9, 2));
  EXPECT_EQ(objectBytes(Value("\xF0\x9F\x98\x80")), "\x62" + bigEndian(0xD83DDE00, 4));
  EXPECT_EQ(objectBytes(Value(std::string(14, 'a'))), "\x5E" + std::string(14, 'a'));
  EXPECT_EQ(objectBytes(Value(std::string(15, 'a'))), "\x5F\x10\x0F" + std::string(15, 'a'));
  EXPECT_EQ(objectBytes(Value(NSData{"x"})), "\x41x");
  EXPECT_EQ(objectBytes(Value(Array())), "\xA0");
  EXPECT_EQ(objectBytes(Value(Dictionary())), "\xD0");
}

TEST(BinaryPropertyListWriter, WritesIdentifiersAsSuch) {
  const auto uid = [](std::uint64_t number) { return Value(Dictionary{{"CF$UID", Value(number)}}); };
  EXPECT_EQ(objectBytes(uid(5)), "\x80\x05");
  EXPECT_EQ(objectBytes(uid(0x100)), "\x81" + bigEndian(0x100, 2));
  EXPECT_EQ(objectBytes(uid(0xFFFFFFFF)), "\x83\xFF\xFF\xFF\xFF");
  EXPECT_EQ(roundTrip(uid(0xFFFFFFFF)), "{\"CF$UID\":i4294967295}");
  // None of these is one.
  EXPECT_EQ(write(uid(0x100000000))[8], '\xD1');
  EXPECT_EQ(write(Value(Dictionary{{"CF$UID", Value(-1)}}))[8], '\xD1');
  EXPECT_EQ(write(Value(Dictionary{{"CF$UID", Value(5.0)}}))[8], '\xD1');
  EXPECT_EQ(write(Value(Dictionary{{"CF$UID", Value(5)}, {"other", Value(5)}}))[8], '\xD2');
}

std::uint64_t objectCount(const std::string& bytes) {
  std::uint64_t count = 0;
  for (std::size_t i = bytes.size() - 24; i < bytes.size() - 16; ++i) {
    count = count << 8 | static_cast<unsigned char>(bytes[i]);
  }
  return count;
}

TEST(BinaryPropertyListWriter, WritesEqualLeavesOnceAndDifferentKindsApart) {
  const Value numbers(
      Array{Value(1), Value(1.0), Value(true), Value(NSDate{1}), Value("1"), Value(NSData{"1"})});
  EXPECT_EQ(objectCount(write(numbers)), 7U);
  EXPECT_EQ(roundTrip(numbers), dump(numbers));
  const Value zeros(Array{Value(0.0), Value(-0.0)});
  EXPECT_EQ(objectCount(write(zeros)), 3U);
  EXPECT_EQ(roundTrip(zeros), dump(zeros));
  Array twice;
  for (int i = 0; i < 2; ++i) {
    for (const Value& value : *numbers.ifArray()) twice.append(value);
    twice.append(Value("a text that is longer than fourteen bytes"));
  }
  EXPECT_EQ(objectCount(write(Value(twice))), 8U);
}

TEST(BinaryPropertyListWriter, NumbersObjectsInTheOrderInWhichTheyAreMet) {
  // Forty texts, an empty array behind each, and all of it again: the texts keep their numbers, the arrays
  // are further objects.
  constexpr std::size_t kCount = 40;
  Array array;
  std::string texts;
  BinaryFile file;
  file.offsetWidth = 2;
  file.objects = {"\xAF\x10" + bigEndian(4 * kCount, 1)};
  for (std::size_t i = 0; i < 2 * kCount; ++i) {
    const std::string text = "text " + std::to_string(i % kCount);
    array.append(Value(text));
    array.append(Value(Array()));
    const std::size_t textIndex = 1 + 2 * (i % kCount);
    const std::size_t arrayIndex = i < kCount ? textIndex + 1 : 1 + kCount + i;
    file.objects[0] += bigEndian(textIndex, 1) + bigEndian(arrayIndex, 1);
    if (i < kCount) file.objects.push_back(static_cast<char>(0x50 + text.size()) + text);
    file.objects.push_back("\xA0");
  }
  EXPECT_EQ(dump(Value::fromData(write(Value(array)))), dump(Value::fromData(file.bytes())));
}

TEST(BinaryPropertyListWriter, WritesEqualLeavesOnceHoweverNearTheyAre) {
  const std::string tail(200, 'x');
  for (std::size_t distance = 1; distance <= 40; ++distance) {
    Array array;
    for (std::size_t i = 0; i < 3 * distance; ++i) {
      const std::string number = std::to_string(i % distance);
      array.append(Value(number));
      array.append(Value(number + tail));
      array.append(Value::fromData(number));
      array.append(Value(i % distance));
    }
    EXPECT_EQ(objectCount(write(Value(array))), 1 + 4 * distance);
    EXPECT_TRUE(roundTrip(Value(array)) == dump(Value(array))) << distance;
  }
}

TEST(BinaryPropertyListWriter, WritesTheKeysThatDictionariesShareOnce) {
  for (const std::size_t keyCount : {1, 2, 9, 16, 40}) {
    Dictionary dictionary;
    BinaryFile file;
    file.offsetWidth = keyCount < 40 ? 1 : 2;
    file.objects = {"\xA3\x01" + bigEndian(keyCount + 3, 1) + bigEndian(keyCount + 4, 1)};
    std::string content = keyCount < 15 ? std::string(1, static_cast<char>(0xD0 + keyCount))
                                        : "\xDF\x10" + bigEndian(keyCount, 1);
    for (std::size_t i = 0; i < keyCount; ++i) {
      const std::string key = "k" + std::to_string(10 + i);
      dictionary.set(key, Value(true));
      content += bigEndian(2 + i, 1);
    }
    content += std::string(keyCount, static_cast<char>(keyCount + 2));  // true, which follows the keys
    file.objects.push_back(content);
    for (std::size_t i = 0; i < keyCount; ++i) file.objects.push_back("\x53k" + std::to_string(10 + i));
    file.objects.insert(file.objects.end(), {"\x09", content, content});
    const Value value = NSPropertyListSerialization::propertyListWithData(file.bytes())->value;
    ASSERT_EQ(dump(value), dump(Value(Array{Value(dictionary), Value(dictionary), Value(dictionary)})));
    EXPECT_EQ(dump(Value::fromData(write(value))), dump(Value::fromData(file.bytes()))) << keyCount;
  }
}

TEST(BinaryPropertyListWriter, FindsSharedKeysWithinTheValueOfOne) {
  // The outer dictionary's only key is that of the inner one, which is met right behind it.
  Dictionary inner{{"key", Value(true)}};
  BinaryFile file = fileOf({"\xD1\x01\x02", "\x53key", "\xD1\x01\x03", "\x09"});
  const Value value = NSPropertyListSerialization::propertyListWithData(file.bytes())->value;
  ASSERT_EQ(dump(value), dump(Value(Dictionary{{"key", Value(inner)}})));
  EXPECT_EQ(dump(Value::fromData(write(value))), dump(Value::fromData(file.bytes())));
}

TEST(BinaryPropertyListWriter, WritesContentOfEverySizeWhole) {
  Array array;
  for (const std::size_t size : {0, 1, 15, 255, 256, 16383, 16384, 16385, 40000, 65536, 6000000}) {
    std::string content(size, '\0');
    for (std::size_t i = 0; i < size; ++i) content[i] = static_cast<char>('a' + i % 23);
    for (int i = 0; i < 300; ++i) array.append(Value(static_cast<double>(size) + i));
    array.append(Value(content));
    array.append(Value::fromData(content));
    array.append(Value("\xC3\xA9" + content));
  }
  const Value value(std::move(array));
  const auto reading = NSPropertyListSerialization::propertyListWithData(write(value));
  ASSERT_TRUE(reading.ok());
  EXPECT_TRUE(reading->value == value);
}

TEST(BinaryPropertyListWriter, CountsAnIdentifierAsNoContainer) {
  Value nested(Dictionary{{"CF$UID", Value(5)}});
  for (int i = 0; i < 512; ++i) nested = Value(Array{nested});
  EXPECT_EQ(objectCount(write(nested)), 513U);
}

TEST(BinaryPropertyListWriter, LongTextsThatLookAlikeStayApart) {
  // They differ in one character only, somewhere between the beginning and the end.
  Array texts;
  for (std::size_t i = 0; i < 200; ++i) {
    std::string text(200, 'a');
    text[i] = 'b';
    texts.append(Value(text));
    texts.append(Value::fromData(text));
  }
  const Value once(texts);
  EXPECT_EQ(roundTrip(once), dump(once));
  Array twice = texts;
  for (const Value& text : texts) twice.append(text);
  EXPECT_EQ(roundTrip(Value(twice)), dump(Value(twice)));
}

TEST(BinaryPropertyListWriter, ManyNumbersKeepTheirKindsAndSigns) {
  Array numbers;
  for (int i = -20000; i < 20000; ++i) {
    numbers.append(Value(i));
    numbers.append(Value(static_cast<double>(i)));
    numbers.append(Value(NSDate{static_cast<double>(i)}));
    numbers.append(Value(static_cast<std::uint64_t>(i)));
    numbers.append(Value(i % 2 == 0));
  }
  const Value value(std::move(numbers));
  EXPECT_TRUE(roundTrip(value) == dump(value));
}

TEST(BinaryPropertyListWriter, WritesContainersEachTime) {
  const Value inner(Array{Value(1)});
  const Value outer(Array{inner, inner});
  EXPECT_EQ(objectCount(write(outer)), 4U);
}

TEST(BinaryPropertyListWriter, RefusesWhatTheFormatCannotHold) {
  const auto refuses = [](const Value& value) {
    const auto bytes = NSPropertyListSerialization::dataWithPropertyList(value, NSPropertyListFormat::Binary);
    return !bytes.ok() && bytes.status().code() == ErrorCode::InvalidArgument;
  };
  EXPECT_TRUE(refuses(Value()));
  EXPECT_TRUE(refuses(Value(Array{Value()})));
  EXPECT_TRUE(refuses(Value(Dictionary{{"key", Value(NSURL::fileURLWithPathIsDirectory("/", true))}})));
  EXPECT_TRUE(refuses(Value(NSDate{std::nan("")})));
  Value nested(Array{});
  for (int i = 1; i < 512; ++i) nested = Value(Array{nested});
  EXPECT_FALSE(refuses(nested));
  EXPECT_EQ(roundTrip(nested), dump(nested));
  EXPECT_TRUE(refuses(Value(Array{nested})));
}

TEST(BinaryPropertyListWriter, ReadsBackWhatItWroteForRandomTrees) {
  std::mt19937_64 random(20260101);
  vennick::tests::TreeOptions options;
  options.hasControlCharacters = true;
  options.hasFractionalDates = true;
  options.hasUIDs = true;
  for (int i = 0; i < 500; ++i) {
    const Value tree = vennick::tests::randomTree(random, options);
    const std::string bytes = write(tree);
    ASSERT_EQ(read(bytes), dump(tree)) << i;
    ASSERT_EQ(write(NSPropertyListSerialization::propertyListWithData(bytes)->value), bytes) << i;
  }
}

TEST(BinaryPropertyListWriter, WritesReferencesOfEveryWidthItNeeds) {
  for (const int count : {253, 254, 255, 256, 65534, 65535, 65536, 70000}) {
    Array array;
    for (int i = 0; i < count; ++i) array.append(Value(i));
    const Value value(std::move(array));
    EXPECT_TRUE(roundTrip(value) == dump(value)) << count;
  }
}

}  // namespace
}  // namespace macos
