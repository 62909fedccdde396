// SPDX-License-Identifier: MIT
#include "legacy/LegacyPreferences.h"

#include <gtest/gtest.h>

#include "macos/foundation/Preferences.h"
#include "macos/foundation/URL.h"
#include "tests/legacy/LegacyHome.h"

using macos::Array;
using macos::Dictionary;
using macos::Value;

namespace vennick {
namespace {

using LegacyPreferencesTest = LegacyHomeTest;

Value named(std::string_view name) { return Value(Dictionary{{"Name", Value(name)}}); }

Value setWithFavorite(std::string_view name) {
  return Value(Dictionary{{"Favorite", Value(Array{named(name)})}});
}

Dictionary twoSets() { return {{"A", setWithFavorite("of A")}, {"B", setWithFavorite("of B")}}; }

// What a set holds after its lists were stored away.
Dictionary storedSet(std::initializer_list<std::pair<std::string_view, Value>> lists) {
  Dictionary set = {{"Favorite", Value(Array())},         {"Recent", Value(Array())},
                    {"Rebound", Value(Dictionary())},     {"Default", Value(Dictionary())},
                    {"LastOpen", Value(Dictionary())},    {"LastSave", Value(Dictionary())},
                    {"SpotlightHistory", Value(Array())}, {"SpotlightTerms", Value(Array())}};
  for (const auto& [key, value] : lists) set.set(key, value);
  return set;
}

Array favoritesOf(const LegacyPreferences& preferences) {
  return arrayFromItemArray(preferences.favorites());
}

// ---- Loading

TEST_F(LegacyPreferencesTest, WithoutAFileLoadGivesFileNotFoundTwice) {
  LegacyPreferences preferences;
  EXPECT_FALSE(preferences.preferencesFileExists());
  EXPECT_EQ(preferences.load(), -43);
  EXPECT_EQ(preferences.load(), -43);
  EXPECT_EQ(preferences.countOfFolderSets(), 0);
  EXPECT_EQ(preferences.activeSetName(), "Default Set");
}

TEST_F(LegacyPreferencesTest, WithAFileLoadGivesZero) {
  writeDomain(kLegacyDomain, {{"Other", Value(1)}});
  LegacyPreferences preferences;
  EXPECT_TRUE(preferences.preferencesFileExists());
  EXPECT_EQ(preferences.load(), 0);
}

TEST_F(LegacyPreferencesTest, TheFilesTestMakesThePreferencesFolderForTheUserAlone) {
  host_.root().remove("/Users/anna/Library");
  LegacyPreferences preferences;
  const auto info = host_.files().info(kPreferencesFolder, macos::FollowLinks::No);
  ASSERT_TRUE(info);
  EXPECT_TRUE(info->isFolder());
  EXPECT_EQ(info->mode & 0777, 0700U);
  EXPECT_TRUE(host_.root().names(kPreferencesFolder).empty());
}

TEST_F(LegacyPreferencesTest, WithoutAHomeThereIsNoFile) {
  host_.root().remove("/Users/anna");
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.load(), -43);
  EXPECT_FALSE(host_.root().exists("/Users/anna"));
}

TEST_F(LegacyPreferencesTest, AFolderInThePlaceOfTheFileIsNoFile) {
  host_.root().makeFolder("/Users/anna/Library/Preferences/com.quorvale.Vennick.plist");
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.load(), -43);
}

TEST_F(LegacyPreferencesTest, AFileIsThereWhateverItHolds) {
  host_.root().writeFile("/Users/anna/Library/Preferences/com.quorvale.Vennick.plist", "no property list {");
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.load(), 0);
  EXPECT_EQ(preferences.countOfFolderSets(), 0);
}

TEST_F(LegacyPreferencesTest, TheListsAreThoseOfTheActiveSet) {
  const Dictionary set = {{"Favorite", Value(Array{named("F")})},
                          {"Recent", Value(Array{named("R")})},
                          {"Rebound", Value(Dictionary{{"app", named("B")}})},
                          {"Default", Value(Dictionary{{"app", named("D")}})},
                          {"LastOpen", Value(Dictionary{{"app", named("O")}})},
                          {"LastSave", Value(Dictionary{{"app", named("S")}})},
                          {"SpotlightHistory", Value(Array{Value("query")})},
                          {"SpotlightTerms", Value(Array{Value("term")})}};
  writeSets(Dictionary{{"Work", Value(set)}, {"Home", setWithFavorite("x")}}, "Work");
  const LegacyPreferences preferences;
  EXPECT_EQ(preferences.activeSetName(), "Work");
  EXPECT_EQ(favoritesOf(preferences), Array{named("F")});
  EXPECT_EQ(arrayFromItemArray(preferences.recents()), Array{named("R")});
  EXPECT_EQ(preferences.reboundFolders(), (Dictionary{{"app", named("B")}}));
  EXPECT_EQ(preferences.defaultFolders(), (Dictionary{{"app", named("D")}}));
  EXPECT_EQ(preferences.lastOpenFolders(), (Dictionary{{"app", named("O")}}));
  EXPECT_EQ(preferences.lastSaveFolders(), (Dictionary{{"app", named("S")}}));
  EXPECT_EQ(preferences.spotlightHistory(), Array{Value("query")});
  EXPECT_EQ(preferences.spotlightTerms(), Array{Value("term")});
}

TEST_F(LegacyPreferencesTest, AnEmptyFolderSetsDictionaryIsRemovedAndReplacedByANewEmptyOne) {
  writeDomain(kLegacyDomain, {{"FolderSets", Value(Dictionary())}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.countOfFolderSets(), 0);
  EXPECT_EQ(macos::CFPreferencesCopyAppValue("FolderSets", kLegacyDomain), Value(Dictionary()));
}

TEST_F(LegacyPreferencesTest, AfterAnEmptySettingsDictionaryTheGlobalDomainShinesThrough) {
  writeDomain(kLegacyDomain, {{"Settings", Value(Dictionary())}});
  writeDomain(".GlobalPreferences", {{"Settings", Value(Dictionary{{"MaxRecentFolders", Value(77)}})}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.readSetting(LegacySettings::MaxRecentFolders), 77);
}

TEST_F(LegacyPreferencesTest, DomainsOfThisHostAloneAreNotSearched) {
  host_.root().makeFolder("/Users/anna/Library/Preferences/ByHost");
  writeDomain("ByHost/com.quorvale.Vennick.01234567-89AB-CDEF-0123-456789ABCDEF",
              {{"Settings", Value(Dictionary{{"MaxRecentFolders", Value(77)}})}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.readSetting(LegacySettings::MaxRecentFolders), 10);
}

TEST_F(LegacyPreferencesTest, AnActiveSetThatNamesNoSetCreatesAnEmptySetOfThatName) {
  writeSets(Dictionary{{"Home", setWithFavorite("x")}}, "Work");
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.countOfFolderSets(), 2);
  EXPECT_EQ(preferences.sortedSetNames(), (std::vector<std::string>{"Home", "Work"}));
  EXPECT_TRUE(favoritesOf(preferences).empty());
}

TEST_F(LegacyPreferencesTest, WithoutAnActiveSetTheDefaultNameAddsNoSet) {
  writeDomain(kLegacyDomain, {{"FolderSets", Value(Dictionary{{"Home", setWithFavorite("x")}})}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.activeSetName(), "Default Set");
  EXPECT_EQ(preferences.countOfFolderSets(), 1);
  EXPECT_EQ(preferences.load(), 0);
  EXPECT_EQ(preferences.countOfFolderSets(), 1);
}

TEST_F(LegacyPreferencesTest, WithoutAnActiveSetASetOfTheDefaultNameIsActive) {
  writeDomain(kLegacyDomain, {{"FolderSets", Value(Dictionary{{"Default Set", setWithFavorite("x")}})}});
  const LegacyPreferences preferences;
  EXPECT_EQ(favoritesOf(preferences), Array{named("x")});
}

TEST_F(LegacyPreferencesTest, AnActiveSetThatIsEmptyOrNoStringCountsAsAbsent) {
  for (const Value& activeSet : {Value(""), Value(7), Value(Array{Value("Work")})}) {
    writeDomain(kLegacyDomain, {{"Settings", Value(Dictionary{{"ActiveSet", activeSet}})}});
    macos::CFPreferencesAppSynchronize(kLegacyDomain);
    const LegacyPreferences preferences;
    EXPECT_EQ(preferences.activeSetName(), "Default Set");
    EXPECT_EQ(preferences.countOfFolderSets(), 0);
  }
}

TEST_F(LegacyPreferencesTest, BothLoadsOfARunCountTheSameSets) {
  writeDomain(kLegacyDomain, {{"Settings", Value(Dictionary{{"MaxRecentFolders", Value(5)}})}});
  openReadOnly();
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.countOfFolderSets(), 0);
  macos::CFPreferencesAppSynchronize(kLegacyDomain);
  EXPECT_EQ(preferences.load(), 0);
  EXPECT_EQ(preferences.countOfFolderSets(), 0);
}

TEST_F(LegacyPreferencesTest, AFolderSetThatIsNoDictionaryIsReplacedByAnEmptySet) {
  writeSets(Dictionary{{"Work", Value("text")}}, "Work");
  const LegacyPreferences preferences;
  EXPECT_EQ(preferences.countOfFolderSets(), 1);
  EXPECT_EQ(preferences.folderSets(), (Dictionary{{"Work", Value(Dictionary())}}));
}

TEST_F(LegacyPreferencesTest, AListOfAnotherKindIsEmpty) {
  const Dictionary set = {{"Favorite", Value("text")}, {"Default", Value(Array{Value(1)})}};
  writeSets(Dictionary{{"Work", Value(set)}}, "Work");
  const LegacyPreferences preferences;
  EXPECT_TRUE(favoritesOf(preferences).empty());
  EXPECT_TRUE(preferences.defaultFolders().empty());
}

// ---- The repairs of loading

TEST_F(LegacyPreferencesTest, FinderClickOptionsWithoutBit16AreRepairedAndTheKeyIsReset) {
  writeSettings({{"FinderClickOptions", Value(35)}, {"FinderClickKey", Value(0x0100)}});
  const LegacyPreferences preferences;
  EXPECT_EQ(preferences.settings().integer("FinderClickOptions"), macos::Integer(35 | 16));
  EXPECT_EQ(preferences.settings().integer("FinderClickKey"), macos::Integer(0));
}

TEST_F(LegacyPreferencesTest, FinderClickOptionsWithBit16KeepTheirKey) {
  writeSettings({{"FinderClickOptions", Value(16)}, {"FinderClickKey", Value(0x0100)}});
  const LegacyPreferences preferences;
  EXPECT_EQ(preferences.settings().integer("FinderClickOptions"), macos::Integer(16));
  EXPECT_EQ(preferences.settings().integer("FinderClickKey"), macos::Integer(0x0100));
}

TEST_F(LegacyPreferencesTest, TheDefaultFinderClickOptionsAreRepairedToo) {
  const LegacyPreferences preferences;
  EXPECT_EQ(preferences.settings().integer("FinderClickOptions"), macos::Integer(39 | 16));
}

// Looks like a mistake and is kept.
TEST_F(LegacyPreferencesTest, TheRepairStoresBit64IntoFinderClickOptions) {
  writeSettings({{"FinderClickOptions", Value(1)}, {"ShowHiddenFinderWindows", Value(1)}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.settings().integer("FinderClickOptions"), macos::Integer(1 | 16 | 64));
}

TEST_F(LegacyPreferencesTest, TheOptionKeyIsRemovedFromTheFinderClickKey) {
  writeSettings({{"FinderClickOptions", Value(16)}, {"FinderClickKey", Value(0x0900)}});
  const LegacyPreferences preferences;
  EXPECT_EQ(preferences.settings().integer("FinderClickKey"), macos::Integer(0x0100));
}

TEST_F(LegacyPreferencesTest, BelowPrefsVersion2Bit4OfSpotlightOptionsIsForcedOn) {
  writeSettings({{"PrefsVersion", Value(1)}, {"SpotlightOptions", Value(1)}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.spotlightOptions(), 5);
}

TEST_F(LegacyPreferencesTest, FromPrefsVersion2OnSpotlightOptionsStay) {
  writeSettings({{"PrefsVersion", Value(2)}, {"SpotlightOptions", Value(1)}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.spotlightOptions(), 1);
}

TEST_F(LegacyPreferencesTest, OnASlowMachineOnlyTheForcedBitIsSet) {
  EXPECT_EQ(defaultSpotlightOptions(599), 0);
  EXPECT_EQ(defaultSpotlightOptions(600), 5);
  EXPECT_EQ(defaultSpotlightOptions(std::nullopt), 5);
  writeSettings({{"SpotlightOptions", Value(0)}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.spotlightOptions(), 4);
}

TEST_F(LegacyPreferencesTest, AMachineThatDoesNotTellItsClockCountsAsFast) {
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.spotlightOptions(), 5);
}

TEST_F(LegacyPreferencesTest, ReboundOptionsAreCachedAtLoad) {
  writeSettings({{"ReboundOptions", Value(6)}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.reboundOptions(), 6);
}

// ---- The two other domains

TEST_F(LegacyPreferencesTest, TheFavoritesDomainWinsForTheActiveSetOnly) {
  writeSets(twoSets(), "A");
  writeDomain(kLegacyFavoritesDomain, {{"Favorite", Value(Array{named("global")})}});
  openReadOnly();
  LegacyPreferences preferences;
  EXPECT_EQ(favoritesOf(preferences), Array{named("global")});
  preferences.switchToSet("B");
  EXPECT_EQ(favoritesOf(preferences), Array{named("of B")});
  preferences.switchToSet("A");
  EXPECT_EQ(favoritesOf(preferences), Array{named("global")});
}

TEST_F(LegacyPreferencesTest, AnEmptyArrayInTheFavoritesDomainEmptiesTheActiveSet) {
  writeSets(Dictionary{{"A", setWithFavorite("of A")}}, "A");
  writeDomain(kLegacyFavoritesDomain, {{"Favorite", Value(Array())}});
  const LegacyPreferences preferences;
  EXPECT_TRUE(favoritesOf(preferences).empty());
}

TEST_F(LegacyPreferencesTest, AFavoriteOfAnotherKindInTheFavoritesDomainIsIgnored) {
  writeSets(Dictionary{{"A", setWithFavorite("of A")}}, "A");
  writeDomain(kLegacyFavoritesDomain, {{"Favorite", Value(Dictionary{{"Name", Value("x")}})}});
  const LegacyPreferences preferences;
  EXPECT_EQ(favoritesOf(preferences), Array{named("of A")});
}

TEST_F(LegacyPreferencesTest, TheSettingsDomainReplacesTheSettingsAndIsNotRepaired) {
  writeSettings({{"MaxRecentFolders", Value(5)}});
  writeDomain(
      kLegacySettingsDomain,
      {{"Settings", Value(Dictionary{{"FinderClickOptions", Value(1)}, {"FinderClickKey", Value(0x0800)}})}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.settings(),
            (Dictionary{{"FinderClickOptions", Value(1)}, {"FinderClickKey", Value(0x0800)}}));
  EXPECT_EQ(preferences.readSetting(LegacySettings::MaxRecentFolders), 10);
  EXPECT_EQ(preferences.spotlightOptions(), 5);
}

TEST_F(LegacyPreferencesTest, TheActiveSetNameComesFromTheMainDomain) {
  writeSets(twoSets(), "A");
  writeDomain(kLegacySettingsDomain, {{"Settings", Value(Dictionary{{"ActiveSet", Value("B")}})}});
  const LegacyPreferences preferences;
  EXPECT_EQ(preferences.activeSetName(), "A");
  EXPECT_EQ(favoritesOf(preferences), Array{named("of A")});
}

TEST_F(LegacyPreferencesTest, SettingsOfAnotherKindInTheSettingsDomainAreIgnored) {
  writeSettings({{"MaxRecentFolders", Value(5)}});
  writeDomain(kLegacySettingsDomain, {{"Settings", Value("text")}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.readSetting(LegacySettings::MaxRecentFolders), 5);
}

TEST_F(LegacyPreferencesTest, AnEmptyDictionaryInTheSettingsDomainReplacesTheSettings) {
  writeSettings({{"MaxRecentFolders", Value(5)}});
  writeDomain(kLegacySettingsDomain, {{"Settings", Value(Dictionary())}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.readSetting(LegacySettings::MaxRecentFolders), 10);
}

// ---- Sets

TEST_F(LegacyPreferencesTest, SetNamesAreSortedWithoutRegardToCase) {
  writeDomain(kLegacyDomain, {{"FolderSets", Value(Dictionary{{"beta", setWithFavorite("x")},
                                                              {"Alpha", setWithFavorite("x")},
                                                              {"gamma", setWithFavorite("x")}})}});
  const LegacyPreferences preferences;
  EXPECT_EQ(preferences.sortedSetNames(), (std::vector<std::string>{"Alpha", "beta", "gamma"}));
}

TEST_F(LegacyPreferencesTest, TheFirstSwitchPutsTheUnnamedDefaultSetIntoTheFolderSets) {
  writeDomain(kLegacyDomain, {{"FolderSets", Value(Dictionary{{"A", setWithFavorite("of A")}})}});
  openReadOnly();
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.countOfFolderSets(), 1);
  preferences.switchToSet("A");
  EXPECT_EQ(preferences.countOfFolderSets(), 2);
  EXPECT_EQ(preferences.folderSets().dictionary("Default Set")
                ? *preferences.folderSets().dictionary("Default Set")
                : Dictionary(),
            storedSet({}));
}

TEST_F(LegacyPreferencesTest, ASwitchStoresTheListsIntoTheSetAndTheSetIntoTheFolderSets) {
  writeSets(twoSets(), "A");
  openReadOnly();
  LegacyPreferences preferences;
  std::get<LegacyItem>((*preferences.favorites())[0])->set("Name", Value("changed"));
  EXPECT_EQ(preferences.folderSets().find("A") ? *preferences.folderSets().find("A") : Value(),
            setWithFavorite("of A"));
  preferences.switchToSet("B");
  EXPECT_EQ(*preferences.folderSets().dictionary("A"),
            storedSet({{"Favorite", Value(Array{named("changed")})}}));
  EXPECT_EQ(preferences.activeSetName(), "B");
  EXPECT_EQ(preferences.settings().string("ActiveSet"), "B");
  EXPECT_EQ(favoritesOf(preferences), Array{named("of B")});
}

TEST_F(LegacyPreferencesTest, ASwitchToASetThatIsNotThereCreatesIt) {
  writeSets(Dictionary{{"A", setWithFavorite("of A")}}, "A");
  openReadOnly();
  LegacyPreferences preferences;
  preferences.switchToSet("New");
  EXPECT_EQ(preferences.sortedSetNames(), (std::vector<std::string>{"A", "New"}));
  EXPECT_TRUE(favoritesOf(preferences).empty());
}

TEST_F(LegacyPreferencesTest, RenamingTheActiveSetKeepsItActiveUnderItsNewName) {
  writeSets(twoSets(), "A");
  openReadOnly();
  LegacyPreferences preferences;
  preferences.renameSet("A", "New");
  EXPECT_EQ(preferences.sortedSetNames(), (std::vector<std::string>{"B", "New"}));
  EXPECT_EQ(preferences.activeSetName(), "New");
  EXPECT_EQ(favoritesOf(preferences), Array{named("of A")});
}

TEST_F(LegacyPreferencesTest, RenamingAnotherSetMovesItsEntry) {
  writeSets(twoSets(), "A");
  openReadOnly();
  LegacyPreferences preferences;
  preferences.renameSet("B", "New");
  EXPECT_EQ(preferences.sortedSetNames(), (std::vector<std::string>{"A", "New"}));
  EXPECT_EQ(*preferences.folderSets().find("New"), setWithFavorite("of B"));
  EXPECT_EQ(preferences.activeSetName(), "A");
}

TEST_F(LegacyPreferencesTest, RenamingToAnExistingNameReplacesThatSet) {
  writeSets(
      Dictionary{
          {"A", setWithFavorite("of A")}, {"B", setWithFavorite("of B")}, {"C", setWithFavorite("of C")}},
      "A");
  openReadOnly();
  LegacyPreferences preferences;
  preferences.renameSet("B", "C");
  EXPECT_EQ(preferences.sortedSetNames(), (std::vector<std::string>{"A", "C"}));
  EXPECT_EQ(*preferences.folderSets().find("C"), setWithFavorite("of B"));
  preferences.renameSet("A", "C");
  EXPECT_EQ(preferences.sortedSetNames(), (std::vector<std::string>{"C"}));
  EXPECT_EQ(favoritesOf(preferences), Array{named("of A")});
}

TEST_F(LegacyPreferencesTest, RenamingAnUnknownSetOrToTheSameNameDoesNothing) {
  writeSets(twoSets(), "A");
  openReadOnly();
  LegacyPreferences preferences;
  const Dictionary before = preferences.folderSets();
  preferences.renameSet("Unknown", "B");
  preferences.renameSet("B", "B");
  preferences.renameSet("A", "A");
  EXPECT_EQ(preferences.folderSets(), before);
}

// ---- Saving

TEST_F(LegacyPreferencesTest, SaveWritesAllThreeDomains) {
  writeDomain(kLegacyDomain, {{"FolderSets", Value(Dictionary{{"A", setWithFavorite("of A")}})},
                              {"Settings", Value(Dictionary{{"ActiveSet", Value("A")}})},
                              {"Other", Value("kept")}});
  LegacyPreferences preferences;
  std::get<LegacyItem>((*preferences.favorites())[0])->set("Name", Value("changed"));
  preferences.writeSetting(LegacySettings::MaxRecentFolders, 33);
  preferences.setReboundOptions(9);
  EXPECT_EQ(preferences.save(), 0);

  const Dictionary main = readDomain(kLegacyDomain);
  EXPECT_EQ(*main.dictionary("FolderSets"),
            (Dictionary{{"A", Value(storedSet({{"Favorite", Value(Array{named("changed")})}}))}}));
  EXPECT_EQ(main.string("Other"), "kept");
  const Dictionary settings = *main.dictionary("Settings");
  EXPECT_EQ(settings.integer("MaxRecentFolders"), macos::Integer(33));
  EXPECT_EQ(settings.integer("ReboundOptions"), macos::Integer(9));
  EXPECT_EQ(settings.integer("PrefsVersion"), macos::Integer(2));
  EXPECT_EQ(settings.string("ActiveSet"), "A");
  EXPECT_EQ(readDomain(kLegacyFavoritesDomain), (Dictionary{{"Favorite", Value(Array{named("changed")})}}));
  EXPECT_EQ(readDomain(kLegacySettingsDomain), (Dictionary{{"Settings", Value(settings)}}));
}

TEST_F(LegacyPreferencesTest, SaveKeepsAPrefsVersionAbove2) {
  writeSettings({{"PrefsVersion", Value(3)}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.save(), 0);
  const Dictionary saved = readDomain(kLegacyDomain);
  EXPECT_EQ(saved.dictionary("Settings")->integer("PrefsVersion"), macos::Integer(3));
}

TEST_F(LegacyPreferencesTest, SaveWithoutAFileMakesOne) {
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.save(), 0);
  EXPECT_TRUE(preferences.preferencesFileExists());
  const Dictionary saved = readDomain(kLegacyDomain);
  EXPECT_EQ(*saved.dictionary("FolderSets"), (Dictionary{{"Default Set", Value(storedSet({}))}}));
}

TEST_F(LegacyPreferencesTest, SaveReadsAgainWhatItWrote) {
  writeSets(Dictionary{{"A", setWithFavorite("of A")}}, "A");
  LegacyPreferences preferences;
  const LegacyItemArray before = preferences.favorites();
  EXPECT_EQ(preferences.save(), 0);
  EXPECT_NE(preferences.favorites(), before);
  EXPECT_EQ(favoritesOf(preferences), Array{named("of A")});
}

// Looks like a mistake and is kept.
TEST_F(LegacyPreferencesTest,
       ASaveAfterTheFileWasDeletedHasRewrittenTheOtherDomainsAndTheReloadBringsThemBack) {
  writeDomain(
      kLegacyDomain,
      {{"FolderSets", Value(Dictionary{{"A", setWithFavorite("of A")}, {"B", setWithFavorite("of B")}})},
       {"Settings", Value(Dictionary{{"ActiveSet", Value("A")}, {"MaxRecentFolders", Value(33)}})}});
  LegacyPreferences preferences;
  host_.root().remove("/Users/anna/Library/Preferences/com.quorvale.Vennick.plist");
  EXPECT_EQ(preferences.save(), -43);
  EXPECT_EQ(host_.log().systemMessages(),
            (std::vector<std::pair<int, std::string>>{
                {1, "Have data in memory, but prefs file has been deleted.  Loading default prefs."}}));
  EXPECT_FALSE(preferences.preferencesFileExists());
  EXPECT_EQ(preferences.countOfFolderSets(), 0);
  EXPECT_EQ(preferences.activeSetName(), "Default Set");
  EXPECT_EQ(favoritesOf(preferences), Array{named("of A")});
  EXPECT_EQ(preferences.readSetting(LegacySettings::MaxRecentFolders), 33);
}

TEST_F(LegacyPreferencesTest, WithDomainsOpenedForReadingNothingIsWritten) {
  writeDomain(kLegacyDomain, {{"FolderSets", Value(Dictionary())}, {"Settings", Value(Dictionary())}});
  const std::string before =
      host_.root().readFile("/Users/anna/Library/Preferences/com.quorvale.Vennick.plist");
  openReadOnly();
  LegacyPreferences preferences;
  preferences.switchToSet("New");
  macos::CFPreferencesAppSynchronize(kLegacyDomain);
  EXPECT_EQ(host_.root().readFile("/Users/anna/Library/Preferences/com.quorvale.Vennick.plist"), before);
  EXPECT_EQ(host_.root().names("/Users/anna/Library/Preferences"),
            std::vector<std::string>{"com.quorvale.Vennick.plist"});
}

TEST_F(LegacyPreferencesTest, DumpShowsEverySectionUnderItsTitle) {
  writeSets(Dictionary{{"A", setWithFavorite("of A")}}, "A");
  const LegacyPreferences preferences;
  preferences.dump("After loading");
  const std::vector<std::string> lines = host_.log().lines();
  std::vector<std::string> headings;
  for (const std::string& line : lines) {
    if (line.starts_with("** ") || line.starts_with("---") || line == "After loading") {
      headings.push_back(line);
    }
  }
  EXPECT_EQ(headings, (std::vector<std::string>{
                          "-------------- Preferences ----------------", "After loading",
                          "-------------------------------------------", "** SETTINGS **", "** FAVORITES **",
                          "** RECENTS **", "** SPOTLIGHT HISTORY **", "** SPOTLIGHT TERMS **", "** SETS **",
                          "-------------------------------------------"}));
}

}  // namespace
}  // namespace vennick
