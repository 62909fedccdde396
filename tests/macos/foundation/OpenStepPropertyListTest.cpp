// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>

#include "macos/foundation/PropertyList.h"
#include "macos/foundation/StringsFile.h"
#include "macos/foundation/Text.h"
#include "tests/support/ProcessorTime.h"
#include "tests/support/PropertyListTesting.h"

namespace macos {
namespace {

using namespace std::string_literals;
using vennick::tests::dump;

// The value as a text, or the reason why there is none.
std::string read(std::string_view bytes) {
  const auto reading = NSPropertyListSerialization::propertyListWithData(bytes);
  if (!reading.ok()) {
    EXPECT_EQ(reading.status().code(), ErrorCode::Corrupt);
    return "refused: " + reading.status().message();
  }
  EXPECT_EQ(reading->format, NSPropertyListFormat::OpenStep);
  return dump(reading->value);
}

void expectRefused(std::string_view bytes) {
  const std::string answer = read(bytes);
  EXPECT_TRUE(answer.starts_with("refused: ")) << bytes << "\n" << answer;
}

TEST(OpenStepPropertyList, ReadsTextDataArraysAndDictionaries) {
  EXPECT_EQ(read("text"), "s\"text\"");
  EXPECT_EQ(read("\"quoted text\""), "s\"quoted text\"");
  EXPECT_EQ(read("'quoted \"text\"'"), "s\"quoted \\22text\\22\"");
  EXPECT_EQ(read("<0fa1 FF>"), "x0fa1ff");
  EXPECT_EQ(read("<>"), "x");
  EXPECT_EQ(read("(a, \"b\", (c), {})"), "[s\"a\",s\"b\",[s\"c\"],{}]");
  EXPECT_EQ(read("()"), "[]");
  EXPECT_EQ(read("(a,)"), "[s\"a\"]");
  EXPECT_EQ(read("{ b = 1; a = (x); \"c d\" = <00>; }"), "{\"a\":[s\"x\"],\"b\":s\"1\",\"c d\":x00}");
}

TEST(OpenStepPropertyList, HasNoNumbersAndNoBooleans) {
  EXPECT_EQ(read("{a = 1; b = YES; c = -1.5; d = true;}"),
            "{\"a\":s\"1\",\"b\":s\"YES\",\"c\":s\"-1.5\",\"d\":s\"true\"}");
  // The extensions of another implementation are none of the platform's.
  for (const char* text : {"<*I5>", "<*R1.5>", "<*BY>", "<*D2001-01-01 00:00:00 +0000>", "<[AQID]>"}) {
    expectRefused(text);
  }
}

TEST(OpenStepPropertyList, TakesTheseCharactersWithoutQuotes) {
  EXPECT_EQ(read("azAZ09_$/:.-"), "s\"azAZ09_$/:.-\"");
  for (const char* text : {"a+b", "a@b", "a*b", "a#b", "a\xC3\xA9", "=", ";", ",", ")", "}", ">"}) {
    expectRefused(text);
  }
}

TEST(OpenStepPropertyList, AKeyAloneStandsForItself) {
  EXPECT_EQ(read("{a; \"b c\";}"), "{\"a\":s\"a\",\"b c\":s\"b c\"}");
  EXPECT_EQ(read("\"key\";"), "{\"key\":s\"key\"}");
}

TEST(OpenStepPropertyList, NeedsTheLastSemicolon) {
  expectRefused("{a = 1}");
  expectRefused("{a = 1; b = 2}");
  expectRefused("{a}");
  expectRefused("a = 1");
}

TEST(OpenStepPropertyList, KeepsTheLastOfTwoEqualKeys) {
  EXPECT_EQ(read("{a = 1; b = 2; a = 3;}"), "{\"a\":s\"3\",\"b\":s\"2\"}");
}

TEST(OpenStepPropertyList, NothingButSpaceAndCommentsIsAnEmptyDictionary) {
  EXPECT_EQ(read(" \t\r\n\v\f"), "{}");
  EXPECT_EQ(read("// only a comment"), "{}");
  EXPECT_EQ(read("/* only a comment */\n"), "{}");
  EXPECT_EQ(read("/* without an end"), "{}");
  EXPECT_EQ(read("\xE2\x80\xA8\xE2\x80\xA9"), "{}");
  expectRefused("");
}

TEST(OpenStepPropertyList, SkipsCommentsOnlyWhereATokenMayStart) {
  EXPECT_EQ(read("{ // one\n a /* two */ = /**/ 1 // three\n ; }"), "{\"a\":s\"1\"}");
  EXPECT_EQ(read("a//b"), "s\"a//b\"");
  EXPECT_EQ(read("(a/*b, c)"),
            "refused: XML property list, byte 0: text outside an element: "
            "old-style property list, byte 3: an array without an end");
  EXPECT_EQ(read("(/a/b, /c)"), "[s\"/a/b\",s\"/c\"]");
  EXPECT_EQ(read("// line separator\xE2\x80\xA8text"), "s\"text\"");
}

TEST(OpenStepPropertyList, ReadsEscapes) {
  EXPECT_EQ(read(R"("\a\b\f\n\r\t\v\"\'\\")"), R"(s"\07\08\0c\0a\0d\09\0b\22'\5c")");
  EXPECT_EQ(read(R"('\'')"), "s\"'\"");
  EXPECT_EQ(read("\"a\\\nb\""), "s\"a\\0ab\"");
  EXPECT_EQ(read(R"("\101\60\7z")"), R"(s"A0\07z")");
  EXPECT_EQ(read(R"("\1234")"), "s\"S4\"");
  EXPECT_EQ(read(R"("\U00e9\U20AC")"), "s\"\xC3\xA9\xE2\x82\xAC\"");
  EXPECT_EQ(read(R"("\Ue9z\U")"), "s\"\xC3\xA9z\\00\"");
  EXPECT_EQ(read(R"("\ud83d\z\\")"), R"(s"ud83dz\5c")");
  EXPECT_EQ(read("\"\\\xC3\xA9\""), "s\"\xC3\xA9\"");
}

TEST(OpenStepPropertyList, TwoEscapedSurrogatesAreOneCharacter) {
  EXPECT_EQ(read(R"("\Ud83d\Ude00")"), "s\"\xF0\x9F\x98\x80\"");
  EXPECT_EQ(read(R"("\Ud83dx\Ude00")"), "s\"\xEF\xBF\xBDx\xEF\xBF\xBD\"");
  EXPECT_EQ(read(R"("\Ud83d")"), "s\"\xEF\xBF\xBD\"");
  EXPECT_EQ(read(R"("\Ud83d\Ud83d\Ude00")"), "s\"\xEF\xBF\xBD\xF0\x9F\x98\x80\"");
}

TEST(OpenStepPropertyList, OctalEscapesAreNeXTSTEPLatin) {
  EXPECT_EQ(read(R"("\200\220\256\301\341\376\377")"),
            "s\"\xC2\xA0\xC3\x90\xEF\xAC\x81\xCB\x8B\xC3\x86\xEF\xBF\xBD\xEF\xBF\xBD\"");
}

TEST(OpenStepPropertyList, RejectsWhatIsNotComplete) {
  for (const char* text : {"(",     "(a",      "(a,",       "(a b)",  "(,)",        "{",         "{a",
                           "{a =",  "{a = }",  "{a = 1; b", "{= 1;}", "{(a) = 1;}", "\"a",       "'a",
                           "\"a\\", "\"\\U12", "<0",        "<0>",    "<0g>",       "<0 1>",     "<01",
                           "(a) b", "{} x",    "<00> x",    "a b",    "a = 1; }",   "{a = 1;};", ")"}) {
    expectRefused(text);
  }
}

TEST(OpenStepPropertyList, ReadsUTF16) {
  const std::string text = "{ \"\xC3\xA9\" = \"\xF0\x9F\x98\x80\"; }";
  for (const bool hasMark : {true, false}) {
    std::string bigEndian;
    std::string littleEndian;
    for (const char16_t unit : utf16FromUTF8((hasMark ? "\xEF\xBB\xBF" : "") + text)) {
      bigEndian += {static_cast<char>(unit >> 8), static_cast<char>(unit)};
      littleEndian += {static_cast<char>(unit), static_cast<char>(unit >> 8)};
    }
    EXPECT_EQ(read(bigEndian), "{\"\xC3\xA9\":s\"\xF0\x9F\x98\x80\"}");
    EXPECT_EQ(read(littleEndian), "{\"\xC3\xA9\":s\"\xF0\x9F\x98\x80\"}");
  }
}

TEST(OpenStepPropertyList, LimitsTheDepthTo512) {
  EXPECT_EQ(read(std::string(512, '(') + std::string(512, ')')),
            std::string(512, '[') + std::string(512, ']'));
  expectRefused(std::string(513, '(') + std::string(513, ')'));
}

TEST(OpenStepPropertyList, RefusesAMillionLevelsAtOnce) {
  std::string dictionaries;
  for (int i = 0; i < 1000000; ++i) dictionaries += "{a=";
  const std::string arrays(1000000, '(');
  const auto started = vennick::tests::processorTime();
  const std::string answers = read(arrays) + read(dictionaries);
  EXPECT_LT(vennick::tests::processorTime() - started, std::chrono::seconds(2));
  EXPECT_NE(answers.find("nested too deep"), std::string::npos);
  EXPECT_NE(answers.rfind("nested too deep"), answers.find("nested too deep"));
}

// ---- String tables

std::string table(std::string_view bytes) {
  const auto entries = stringsTableWithData(bytes);
  if (!entries.ok()) {
    EXPECT_EQ(entries.status().code(), ErrorCode::Corrupt);
    return "refused: " + entries.status().message();
  }
  return dump(Value(*entries));
}

TEST(StringsFile, ReadsPairsWithComments) {
  EXPECT_EQ(
      table("/* A comment. */\n\"Save %@\" = \"Sichern\\n%@\";\n\n// Another.\nkey = value;\n\"alone\";\n"),
      "{\"Save %@\":s\"Sichern\\0a%@\",\"alone\":s\"alone\",\"key\":s\"value\"}");
}

TEST(StringsFile, ReadsUTF8AndUTF16WithAndWithoutAMark) {
  const std::string text = "\"caf\xC3\xA9\" = \"\xE2\x82\xAC\";\n";
  const std::string expected = "{\"caf\xC3\xA9\":s\"\xE2\x82\xAC\"}";
  EXPECT_EQ(table(text), expected);
  EXPECT_EQ(table("\xEF\xBB\xBF" + text), expected);
  for (const char* mark : {"", "\xEF\xBB\xBF"}) {
    std::string bigEndian;
    std::string littleEndian;
    for (const char16_t unit : utf16FromUTF8(mark + text)) {
      bigEndian += {static_cast<char>(unit >> 8), static_cast<char>(unit)};
      littleEndian += {static_cast<char>(unit), static_cast<char>(unit >> 8)};
    }
    EXPECT_EQ(table(bigEndian), expected);
    EXPECT_EQ(table(littleEndian), expected);
  }
}

TEST(StringsFile, ReadsCompiledTables) {
  const Value entries(Dictionary{{"a", Value("1")}, {"b", Value("2")}});
  for (const auto format : {NSPropertyListFormat::Binary, NSPropertyListFormat::XML}) {
    EXPECT_EQ(table(*NSPropertyListSerialization::dataWithPropertyList(entries, format)), dump(entries));
  }
}

TEST(StringsFile, LeavesOutWhatIsNoText) {
  EXPECT_EQ(table("a = 1; b = (x); c = {y = z;}; d = <00>;"), "{\"a\":s\"1\"}");
  EXPECT_EQ(table("<plist><dict><key>a</key><string>1</string><key>b</key><true/></dict></plist>"),
            "{\"a\":s\"1\"}");
}

TEST(StringsFile, ATableOfCommentsIsEmpty) { EXPECT_EQ(table("/* nothing yet */\n"), "{}"); }

TEST(StringsFile, RejectsWhatIsNoTable) {
  for (const char* text : {"", "\"a\"", "(a, b)", "<00>", "\"a\" = \"b\"", "\"a\" \"b\";", "a = b; \xFF = c;",
                           "<plist><array/></plist>"}) {
    EXPECT_TRUE(table(text).starts_with("refused: ")) << text;
  }
}

TEST(StringsFile, ReadsEveryTableThatIsShipped) {
  int tables = 0;
  for (const auto& item : std::filesystem::recursive_directory_iterator(VENNICK_SOURCE "/resources")) {
    if (item.path().extension() != ".strings") continue;
    const auto entries = stringsTableWithData(vennick::tests::readTestFile(item.path()));
    ASSERT_TRUE(entries.ok()) << item.path() << (entries.ok() ? "" : entries.status().message());
    EXPECT_FALSE(entries->empty()) << item.path();
    ++tables;
  }
  EXPECT_GT(tables, 0);
}

}  // namespace
}  // namespace macos
