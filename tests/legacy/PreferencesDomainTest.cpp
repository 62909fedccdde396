// SPDX-License-Identifier: MIT
#include "legacy/PreferencesDomain.h"

#include <gtest/gtest.h>

#include "macos/foundation/Preferences.h"
#include "tests/legacy/LegacyHome.h"

using macos::Array;
using macos::Dictionary;
using macos::Value;

namespace vennick {
namespace {

constexpr std::string_view kDomain = "com.quorvale.test";

class PreferencesDomainTest : public LegacyHomeTest {
 protected:
  PreferencesDomain domain_{kDomain};
};

TEST_F(PreferencesDomainTest, AContainerThatIsThereIsCopied) {
  writeDomain(kDomain, {{"List", Value(Array{Value("a")})}, {"Map", Value(Dictionary{{"k", Value(1)}})}});
  const auto list = domain_.copyArray("List");
  EXPECT_EQ(list.value, Array{Value("a")});
  EXPECT_FALSE(list.created);
  const auto map = domain_.copyDictionary("Map");
  EXPECT_EQ(map.value, (Dictionary{{"k", Value(1)}}));
  EXPECT_FALSE(map.created);
}

TEST_F(PreferencesDomainTest, AMissingContainerIsStoredIntoTheDomain) {
  EXPECT_TRUE(domain_.copyArray("List").created);
  EXPECT_TRUE(domain_.copyDictionary("Map").created);
  macos::CFPreferencesAppSynchronize(kDomain);
  EXPECT_EQ(readDomain(kDomain), (Dictionary{{"List", Value(Array())}, {"Map", Value(Dictionary())}}));
}

TEST_F(PreferencesDomainTest, AnEmptyContainerIsRemovedAndTheGlobalDomainShinesThrough) {
  writeDomain(kDomain, {{"Map", Value(Dictionary())}, {"Other", Value(1)}});
  writeDomain(".GlobalPreferences", {{"Map", Value(Dictionary{{"k", Value("global")}})}});
  const auto map = domain_.copyDictionary("Map");
  EXPECT_EQ(map.value, (Dictionary{{"k", Value("global")}}));
  EXPECT_FALSE(map.created);
  macos::CFPreferencesAppSynchronize(kDomain);
  EXPECT_EQ(readDomain(kDomain), (Dictionary{{"Other", Value(1)}}));
}

TEST_F(PreferencesDomainTest, AContainerOfAnotherKindIsReplaced) {
  writeDomain(kDomain, {{"List", Value("text")}});
  const auto list = domain_.copyArray("List");
  EXPECT_TRUE(list.created);
  macos::CFPreferencesAppSynchronize(kDomain);
  EXPECT_EQ(readDomain(kDomain), (Dictionary{{"List", Value(Array())}}));
}

TEST_F(PreferencesDomainTest, AStringThatIsMissingOrOfAnotherKindIsReplacedByTheDefault) {
  writeDomain(kDomain, {{"Number", Value(1)}, {"Text", Value("there")}});
  EXPECT_EQ(domain_.copyString("Text", "default"), "there");
  EXPECT_EQ(domain_.copyString("Number", "default"), "default");
  EXPECT_EQ(domain_.copyString("Missing", "default"), "default");
  macos::CFPreferencesAppSynchronize(kDomain);
  EXPECT_EQ(
      readDomain(kDomain),
      (Dictionary{{"Number", Value("default")}, {"Text", Value("there")}, {"Missing", Value("default")}}));
}

TEST_F(PreferencesDomainTest, AnEmptyStringIsAString) {
  writeDomain(kDomain, {{"Text", Value("")}});
  EXPECT_EQ(domain_.copyString("Text", "default"), "");
}

TEST_F(PreferencesDomainTest, AnIntegerIsReadWithThePlatformsConversions) {
  writeDomain(kDomain, {{"Number", Value(7)}, {"Text", Value("12")}, {"Boolean", Value(true)}});
  EXPECT_EQ(domain_.integer("Number", 42), 7);
  EXPECT_EQ(domain_.integer("Text", 42), 12);
  EXPECT_EQ(domain_.integer("Boolean", 42), 42);
  EXPECT_EQ(domain_.integer("Missing", 43), 43);
  macos::CFPreferencesAppSynchronize(kDomain);
  EXPECT_EQ(
      readDomain(kDomain),
      (Dictionary{
          {"Number", Value(7)}, {"Text", Value("12")}, {"Boolean", Value(42)}, {"Missing", Value(43)}}));
}

TEST_F(PreferencesDomainTest, SettingNothingRemovesTheKey) {
  writeDomain(kDomain, {{"Gone", Value(1)}, {"Kept", Value(2)}});
  domain_.setValue("Gone", std::nullopt);
  domain_.setInteger("New", 3);
  macos::CFPreferencesAppSynchronize(kDomain);
  EXPECT_EQ(readDomain(kDomain), (Dictionary{{"Kept", Value(2)}, {"New", Value(3)}}));
}

}  // namespace
}  // namespace vennick
