// SPDX-License-Identifier: MIT
#include "macos/foundation/Text.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/ProcessorTime.h"
#include "tests/support/Python.h"
#include "tests/support/Sanitizers.h"

namespace macos {
namespace {

using std::string_view_literals::operator""sv;

// The facts that unicode_expectations.py prints, by their first word.
using Facts = std::map<std::string, std::vector<std::vector<std::string>>>;

std::string bytesOfHex(const std::string& hex) {
  std::string bytes;
  if (hex == "-") return bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

const Facts& pythonsFacts() {
  static const Facts facts = [] {
    Facts found;
    const std::string command = std::string(vennick::tests::kPython) +
                                " -S " VENNICK_SOURCE
                                "/tests/macos/foundation/unicode_expectations.py 20260721";
    FILE* pipe = popen(command.c_str(), "r");
    std::string output;
    std::array<char, 65536> buffer{};
    while (pipe != nullptr) {
      const std::size_t count = fread(buffer.data(), 1, buffer.size(), pipe);
      if (count == 0) break;
      output.append(buffer.data(), count);
    }
    if (pipe != nullptr) pclose(pipe);
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
      std::istringstream words(line);
      std::string kind;
      words >> kind;
      std::vector<std::string> fields;
      for (std::string field; words >> field;) fields.push_back(field);
      found[kind].push_back(fields);
    }
    return found;
  }();
  return facts;
}

const std::vector<std::vector<std::string>>& factsOf(const std::string& kind) {
  static const std::vector<std::vector<std::string>> none;
  const auto found = pythonsFacts().find(kind);
  return found == pythonsFacts().end() ? none : found->second;
}

template <typename Ordering>
int signOf(Ordering order) {
  return order < 0 ? -1 : order > 0 ? 1 : 0;
}

TEST(Text, DecomposesAndComposesAsAnIndependentTableSays) {
  ASSERT_GT(factsOf("forms").size(), 5000U);
  for (const auto& fact : factsOf("forms")) {
    const std::string text = bytesOfHex(fact[0]);
    EXPECT_EQ(decomposedForFileSystem(text), bytesOfHex(fact[1])) << fact[0];
    EXPECT_EQ(composed(text), bytesOfHex(fact[2])) << fact[0];
  }
}

TEST(Text, ComparesAsAnIndependentTableSays) {
  ASSERT_GT(factsOf("order").size(), 5000U);
  for (const auto& fact : factsOf("order")) {
    const std::string a = bytesOfHex(fact[0]);
    const std::string b = bytesOfHex(fact[1]);
    SCOPED_TRACE(fact[0] + " " + fact[1]);
    EXPECT_EQ(signOf(compareLiteral(a, b)), std::stoi(fact[2]));
    EXPECT_EQ(signOf(compareCaseInsensitiveLiteral(a, b)), std::stoi(fact[3]));
    EXPECT_EQ(signOf(compareNonliteral(a, b)), std::stoi(fact[4]));
    EXPECT_EQ(signOf(compareCaseInsensitive(a, b)), std::stoi(fact[5]));
    EXPECT_EQ(signOf(compareLiteral(b, a)), -std::stoi(fact[2]));
  }
}

TEST(Text, ReplacesMalformedBytesAsAnIndependentDecoderDoes) {
  ASSERT_GT(factsOf("valid").size(), 3000U);
  for (const auto& fact : factsOf("valid")) {
    const std::string bytes = bytesOfHex(fact[0]);
    const std::string expected = bytesOfHex(fact[1]);
    EXPECT_EQ(validUTF8(bytes), expected) << fact[0];
    EXPECT_EQ(isValidUTF8(bytes), bytes == expected) << fact[0];
    EXPECT_EQ(utf8FromUTF16(utf16FromUTF8(bytes)), expected) << fact[0];
    EXPECT_EQ(utf16Length(bytes), utf16FromUTF8(bytes).size()) << fact[0];
  }
}

TEST(Text, MacRomanIsApplesTable) {
  ASSERT_EQ(factsOf("roman").size(), 256U);
  for (const auto& fact : factsOf("roman")) {
    const std::string byte = bytesOfHex(fact[0]);
    const std::string character = bytesOfHex(fact[1]);
    EXPECT_EQ(utf8FromMacRoman(byte), character) << fact[0];
    EXPECT_EQ(macRomanFromUTF8(character), byte) << fact[0];
  }
}

TEST(Text, ACharacterOutsideMacRomanHasNoBytes) {
  EXPECT_EQ(macRomanFromUTF8("ab\xE6\xBC\xA2"), std::nullopt);
  EXPECT_EQ(macRomanFromUTF8("e\xCC\x81"), std::nullopt) << "a combining mark has no place of its own";
  EXPECT_EQ(macRomanFromUTF8("\xFF"), std::nullopt);
  EXPECT_EQ(macRomanFromUTF8(""), "");
}

TEST(Text, FileSystemDecompositionLeavesThreeRangesWhole) {
  EXPECT_EQ(decomposedForFileSystem("\u00E9"), "e\u0301");
  EXPECT_EQ(decomposedForFileSystem("\uAC01"), "\u1100\u1161\u11A8");
  EXPECT_EQ(decomposedForFileSystem("\u212B"), "\u212B");
  EXPECT_EQ(decomposedForFileSystem("\u2260"), "\u2260");
  EXPECT_EQ(decomposedForFileSystem("\uF900"), "\uF900");
  EXPECT_EQ(decomposedForFileSystem("\U0002F800"), "\U0002F800");
  EXPECT_EQ(decomposedForFileSystem("a\u0301\u0323"), "a\u0323\u0301");
}

TEST(Text, LiteralOrderIsByUTF16Units) {
  EXPECT_EQ(compareLiteral("Z", "a"), std::strong_ordering::less);
  EXPECT_EQ(compareLiteral("10", "9"), std::strong_ordering::less);
  EXPECT_EQ(compareLiteral("a", "ab"), std::strong_ordering::less);
  EXPECT_EQ(compareLiteral("\uFB01", "\U0001F600"), std::strong_ordering::greater);
  EXPECT_EQ(compareLiteral("\u00E9", "e\u0301"), std::strong_ordering::greater);
  EXPECT_EQ(compareLiteral("a\0b"sv, "a\0c"sv), std::strong_ordering::less);
}

TEST(Text, CaseInsensitiveLiteralOrderIsByFoldedCodePoints) {
  EXPECT_EQ(compareCaseInsensitiveLiteral("\uFB03", "\U0001F600"), std::weak_ordering::less);
  EXPECT_EQ(compareCaseInsensitiveLiteral("STRASSE", "stra\u00DFe"), std::weak_ordering::equivalent);
  EXPECT_EQ(compareCaseInsensitiveLiteral("\u00C9", "\u00E9"), std::weak_ordering::equivalent);
  EXPECT_NE(compareCaseInsensitiveLiteral("\u00E9", "e\u0301"), std::weak_ordering::equivalent);
  EXPECT_NE(compareCaseInsensitiveLiteral("\u0130", "i"), std::weak_ordering::equivalent);
  EXPECT_EQ(compareCaseInsensitiveLiteral("_", "A"), std::weak_ordering::less)
      << "a capital counts as its small letter";
}

TEST(Text, ComposedAndDecomposedSpellingsAreTheSameWithoutLiteralSearch) {
  EXPECT_EQ(compareNonliteral("\u00E9", "e\u0301"), std::weak_ordering::equivalent);
  EXPECT_EQ(compareCaseInsensitive("\u00C9", "e\u0301"), std::weak_ordering::equivalent);
  EXPECT_NE(compareNonliteral("\u00C9", "e\u0301"), std::weak_ordering::equivalent);
  EXPECT_EQ(compareNonliteral("\u00E9", "f"), std::weak_ordering::less);
}

TEST(Text, FileNamesAreTheSameUpToNormalizationAndCaseWhereTheDiskSaysSo) {
  EXPECT_TRUE(isSameFileName("\u00DCbung", "U\u0308bung", true));
  EXPECT_FALSE(isSameFileName("\u00DCbung", "u\u0308bung", true));
  EXPECT_TRUE(isSameFileName("\u00DCbung", "u\u0308BUNG", false));
  EXPECT_TRUE(isSameFileName("Read Me", "READ ME", false));
  EXPECT_FALSE(isSameFileName("Read Me", "READ ME", true));
  EXPECT_TRUE(isSameFileName("a\xFF", "a\xFF", true));
  EXPECT_FALSE(isSameFileName("a\xFF", "a\xFE", false)) << "two malformed names would both read as U+FFFD";
}

TEST(Text, AMillionCombiningMarksAreNoTrap) {
#ifdef VENNICK_SANITIZED
  // Each takes several times as long; the other builds take them all.
  constexpr int kPairs = 100'000;
#else
  constexpr int kPairs = 500'000;
#endif
  std::string text = "a";
  for (int i = 0; i < kPairs; ++i) text += "\u0301\u0323";
  const auto start = vennick::tests::processorTime();
  EXPECT_EQ(decomposedForFileSystem(text).size(), text.size());
  EXPECT_EQ(compareNonliteral(text, composed(text)), std::weak_ordering::equivalent);
  EXPECT_LT(vennick::tests::processorTime() - start, std::chrono::seconds(20));
}

TEST(Text, BoolValueReadsTheStartOfAText) {
  for (const auto* text : {"YES", "yes", "true", "T", "1", "2abc", "  +0009", "-1", "y"}) {
    EXPECT_TRUE(boolValue(text)) << text;
  }
  for (const auto* text : {"", "NO", "on", "0", "0x1", "false", "- 1", "00"}) {
    EXPECT_FALSE(boolValue(text)) << text;
  }
}

TEST(Text, IntegerValueReadsTheNumberAtTheStartAndSaturates) {
  EXPECT_EQ(integerValue("42abc"), 42);
  EXPECT_EQ(integerValue(" \t-7"), -7);
  EXPECT_EQ(integerValue("+5.9"), 5);
  EXPECT_EQ(integerValue("x1"), 0);
  EXPECT_EQ(integerValue("- 1"), 0);
  EXPECT_EQ(integerValue("9223372036854775807"), INT64_MAX);
  EXPECT_EQ(integerValue("9223372036854775808"), INT64_MAX);
  EXPECT_EQ(integerValue("-9223372036854775808"), INT64_MIN);
  EXPECT_EQ(integerValue("-99999999999999999999999"), INT64_MIN);
}

TEST(Text, LoneSurrogatesBecomeTheReplacementCharacter) {
  const std::u16string units = {
      u'a', char16_t{0xD83D}, u'b', char16_t{0xDE00}, char16_t{0xD83D}, char16_t{0xDE00}};
  EXPECT_EQ(utf8FromUTF16(units), "a\uFFFDb\uFFFD\U0001F600");
}

TEST(CaseInsensitiveSearch, FindsAWordInAnyLetterCaseAndSpelling) {
  EXPECT_TRUE(containsCaseInsensitive("com.example.Editor", "EDITOR"));
  EXPECT_TRUE(containsCaseInsensitive("Caf\u00E9", "cafe\u0301"));
  EXPECT_FALSE(containsCaseInsensitive("editor", "editors"));
  EXPECT_FALSE(containsCaseInsensitive("editor", ""));
}

}  // namespace
}  // namespace macos
