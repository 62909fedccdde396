// SPDX-License-Identifier: MIT
//
// What the compiler makes of well-formed tables is checked by check_layouts.py; here are the tables that
// it must refuse, and the forms of a word.
#include "tools/layout-compiler/LayoutTable.h"

#include <gtest/gtest.h>

using layout_compiler::LayoutTable;
using layout_compiler::parseLayoutTable;

namespace {

constexpr std::string_view kHead = "name A Layout\nidentifier com.example.A\n";

macos::Result<LayoutTable> parsed(std::string_view text, std::string_view specialKeys = {}) {
  std::string whole(kHead);
  whole.append(text);
  return parseLayoutTable(specialKeys, whole);
}

}  // namespace

TEST(LayoutTable, ReadsNamesWithBlanks) {
  const auto table = parsed("");
  ASSERT_TRUE(table.ok());
  EXPECT_EQ(table->name, "A Layout");
  EXPECT_EQ(table->identifier, "com.example.A");
}

TEST(LayoutTable, ReadsCharactersNumbersDeadKeysAndNothing) {
  const auto table = parsed("dead acute \xC2\xB4 e\xC3\xA9\n14 e U+00A0 (acute) none caps=( control=#\n");
  ASSERT_TRUE(table.ok()) << table.status().message();
  ASSERT_EQ(table->deadKeys.size(), 1U);
  EXPECT_EQ(table->deadKeys[0].accent, u'\u00B4');
  EXPECT_EQ(table->deadKeys[0].combinations.at(u'e'), u'\u00E9');
  EXPECT_EQ(table->deadKeys[0].combinations.at(u' '), u'\u00B4');
  ASSERT_TRUE(table->keys[14].has_value());
  EXPECT_EQ(table->keys[14]->plain.character, u'e');
  EXPECT_EQ(table->keys[14]->shift.character, u'\u00A0');
  EXPECT_EQ(table->keys[14]->option.deadKeyState, 1);
  EXPECT_TRUE(table->keys[14]->shiftOption.isNothing());
  EXPECT_EQ(table->keys[14]->caps->character, u'(');
  EXPECT_EQ(table->keys[14]->control->character, u'#');
  EXPECT_FALSE(table->keys[15].has_value());
}

TEST(LayoutTable, LetsALayoutReplaceASpecialKey) {
  const auto table = parsed("any 65 ,\n", "any 65 .\nany 36 U+000D\n");
  ASSERT_TRUE(table.ok());
  EXPECT_EQ(table->keys[65]->plain.character, u',');
  EXPECT_EQ(table->keys[36]->control->character, u'\r');
}

TEST(LayoutTable, RefusesWhatIsNotAStatement) {
  for (const char* text : {"14 e E\n",
                           "14 e E x\n",
                           "128 e E x X\n",
                           "-1 e E x X\n",
                           "fourteen e E x X\n",
                           "14 ee E x X\n",
                           "14 e E (acute) X\n",
                           "14 e E x X caps\n",
                           "14 e E x X caps=\n",
                           "14 e E x X option=e\n",
                           "dead acute\n",
                           "dead acute '' a\n",
                           "dead acute ' aaa\n",
                           "dead acute ' ab ac\n",
                           "any 65\n",
                           "any 65 , .\n",
                           "any x ,\n",
                           "14 U+0000 E x X\n",
                           "14 U+FFFF E x X\n",
                           "14 U+4000 E x X\n",
                           "14 U+BFFF E x X\n",
                           "14 U+D800 E x X\n",
                           "14 \xF0\x9F\x98\x80 E x X\n",
                           "name\n"}) {
    EXPECT_FALSE(parsed(text).ok()) << text;
  }
}

TEST(LayoutTable, NamesTheLineThatItRefuses) {
  const auto table = parsed("\n# a comment\n14 e E\n");
  ASSERT_FALSE(table.ok());
  EXPECT_NE(table.status().message().find("line 5"), std::string::npos) << table.status().message();
}

TEST(LayoutTable, RefusesALayoutWithoutAName) {
  EXPECT_FALSE(parseLayoutTable("", "identifier com.example.A\n").ok());
  EXPECT_FALSE(parseLayoutTable("", "name A\n").ok());
}
