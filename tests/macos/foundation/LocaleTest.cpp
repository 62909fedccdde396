// SPDX-License-Identifier: MIT
#include "macos/foundation/Locale.h"

#include <gtest/gtest.h>

#include "tests/support/BundleSketch.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::setLanguages;
using vennick::tests::TestHost;
using Strings = std::vector<std::string>;

TEST(Locale, TheLanguageCodeIsTheLettersAtTheStart) {
  EXPECT_EQ(NSLocale("en_US").languageCode(), "en");
  EXPECT_EQ(NSLocale("en\n").languageCode(), "en");
  EXPECT_EQ(NSLocale("zh-Hans-CN").languageCode(), "zh");
  EXPECT_EQ(NSLocale("fil_PH").languageCode(), "fil");
  EXPECT_EQ(NSLocale("DE").languageCode(), "de");
  EXPECT_EQ(NSLocale("").languageCode(), "");
  EXPECT_EQ(NSLocale("_US").languageCode(), "");
  EXPECT_EQ(NSLocale("en_US").localeIdentifier(), "en_US");
}

TEST(Locale, PreferredLanguagesAreThoseOfTheUsersSettings) {
  TestHost host;
  setLanguages(host.root(), {"de-CH", "zh-Hans", "en"});
  EXPECT_EQ(NSLocale::preferredLanguages(), (Strings{"de-CH", "zh-Hans", "en"}));
}

TEST(Locale, WithoutSettingsTheLanguageIsEnglish) {
  TestHost host;
  EXPECT_EQ(NSLocale::preferredLanguages(), Strings{"en"});
}

TEST(Locale, LanguagesThatAreNoTextsDoNotCount) {
  TestHost host;
  host.root().writeFile(
      "/Users/anna/Library/Preferences/.GlobalPreferences.plist",
      vennick::tests::infoPropertyList(
          "<key>AppleLanguages</key><array><integer>1</integer><string>fr</string></array>"));
  EXPECT_EQ(NSLocale::preferredLanguages(), Strings{"fr"});
}

TEST(Locale, LanguagesHaveEnglishNames) {
  EXPECT_EQ(englishNameOfLanguage("en"), "English");
  EXPECT_EQ(englishNameOfLanguage("aa"), "Afar");
  EXPECT_EQ(englishNameOfLanguage("zu"), "Zulu");
  EXPECT_EQ(englishNameOfLanguage("nb"), "Norwegian Bokmål");
  EXPECT_EQ(englishNameOfLanguage("xx"), std::nullopt);
  EXPECT_EQ(englishNameOfLanguage(""), std::nullopt);
  EXPECT_EQ(englishNameOfLanguage("english"), std::nullopt);
}

}  // namespace
}  // namespace macos
