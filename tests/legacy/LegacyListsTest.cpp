// SPDX-License-Identifier: MIT
//
// The item lists of the version 4 model as a run uses them: read, repaired and resolved through lists,
// written back into their sets at each switch.
#include <gtest/gtest.h>

#include <algorithm>

#include "legacy/CFItemList.h"
#include "legacy/LegacyPreferences.h"
#include "macos/foundation/Log.h"
#include "tests/legacy/LegacyHome.h"
#include "tests/support/AliasFiles.h"

namespace vennick {
namespace {

using macos::Array;
using macos::Dictionary;
using macos::NSData;
using macos::Value;
using tests::aliasTo;

using Messages = std::vector<std::string>;

class LegacyLists : public LegacyHomeTest {
 protected:
  LegacyLists() {
    for (const char* name : {"a", "b", "c"}) host_.root().makeFolder(pathOf(name));
  }

  static std::string pathOf(const std::string& name) { return "/Users/anna/" + name; }
  static Value item(const std::string& name) {
    return Value(Dictionary{{"Name", Value(name)}, {"Alias", Value(NSData{aliasTo(pathOf(name)).bytes})}});
  }
  static Value nameless(const std::string& name) {
    return Value(Dictionary{{"Alias", Value(NSData{aliasTo(pathOf(name)).bytes})}});
  }
  static Value setOf(const Array& favorites, const Array& recents) {
    return Value(Dictionary{{"Favorite", Value(favorites)}, {"Recent", Value(recents)}});
  }
  static Array favoritesOf(const LegacyPreferences& preferences) {
    return arrayFromItemArray(preferences.favorites());
  }
  static Array arrayOfSet(const LegacyPreferences& preferences, const char* set, const char* key) {
    const Dictionary* stored = preferences.folderSets().dictionary(set);
    const Array* array = stored != nullptr ? stored->array(key) : nullptr;
    return array != nullptr ? *array : Array();
  }

  // What the conversion does with the favorites of a set.
  static std::vector<std::string> convertFavorites(const LegacyPreferences& preferences) {
    CFItemList favorites(ResolveMode::AnyTarget);
    favorites.setArray(preferences.favorites());
    std::vector<std::string> paths;
    for (std::int64_t i = 0; i < favorites.count(); ++i) {
      const auto url = favorites.urlAt(i);
      paths.push_back(url ? url->path() : "");
    }
    return paths;
  }

  Messages messages() {
    Messages texts;
    for (const auto& [priority, text] : host_.log().systemMessages()) texts.push_back(text);
    host_.log().clear();
    return texts;
  }
};

TEST_F(LegacyLists, OfASetAreWrittenBackIntoItRepairedAndWithoutLocations) {
  writeSets({{"A", setOf({item("a"), nameless("b"), item("c")}, {item("b")})}, {"B", setOf({}, {})}}, "A");
  openReadOnly();
  LegacyPreferences preferences;
  EXPECT_EQ(convertFavorites(preferences), (std::vector<std::string>{pathOf("a"), pathOf("c")}));
  EXPECT_EQ(favoritesOf(preferences).size(), 2U) << "the model's own array was repaired";
  EXPECT_TRUE(favoritesOf(preferences)[0].ifDictionary()->contains("URL"));
  preferences.switchToSet("B");

  const Array stored = arrayOfSet(preferences, "A", "Favorite");
  ASSERT_EQ(stored.size(), 2U);
  for (const Value& value : stored) {
    const Dictionary& favorite = *value.ifDictionary();
    EXPECT_TRUE(favorite.contains("Name") && favorite.contains("Alias"));
    EXPECT_TRUE(favorite.contains("AliasChecksum")) << "what resolving stored stays";
    EXPECT_FALSE(favorite.contains("URL") || favorite.contains("FSRef") || favorite.contains("ResolveError"));
  }
  EXPECT_EQ(arrayOfSet(preferences, "A", "Recent"), Array{item("b")});
}

TEST_F(LegacyLists, EachDeletionIsLoggedOnceARun) {
  writeSets({{"A", setOf({nameless("a")}, {})}, {"B", setOf({nameless("b"), item("c")}, {})}}, "A");
  openReadOnly();
  LegacyPreferences preferences;
  Messages all;
  for (const char* const set : {"A", "B", "A", "B"}) {
    preferences.switchToSet(set);
    convertFavorites(preferences);
  }
  EXPECT_EQ(messages(), (Messages{"** No name for item 0 **", "** Deleting item 0 **",
                                  "** No name for item 0 **", "** Deleting item 0 **"}));
}

// The lists of a switch and of a save only clear locations.
TEST_F(LegacyLists, SwitchAndSaveRepairNothingAndLogNothing) {
  const Dictionary damaged{{"Name", Value("x")},
                           {"Alias", Value(NSData{"alis"})},
                           {"AliasChecksum", Value(NSData{"xy"})},
                           {"ResolveError", Value(NSData{"zz"})}};
  Dictionary cleared = damaged;
  cleared.remove("ResolveError");
  const Array before{nameless("a"), Value(damaged), Value("no dictionary")};
  const Array after{nameless("a"), Value(cleared), Value("no dictionary")};
  writeSets({{"A", setOf(before, before)}}, "A");
  LegacyPreferences preferences;
  preferences.switchToSet("B");
  EXPECT_EQ(arrayOfSet(preferences, "A", "Favorite"), after);
  EXPECT_EQ(arrayOfSet(preferences, "A", "Recent"), after);
  preferences.switchToSet("A");
  EXPECT_EQ(preferences.save(), 0);
  EXPECT_EQ(arrayFromItemArray(preferences.recents()), after);
  EXPECT_EQ(messages(), Messages());
}

TEST_F(LegacyLists, RecentsAreNeverRepairedAndNeverLogged) {
  writeSets({{"A", setOf({item("a")}, {nameless("b")})}, {"B", setOf({}, {})}}, "A");
  openReadOnly();
  LegacyPreferences preferences;
  convertFavorites(preferences);
  preferences.switchToSet("B");
  preferences.switchToSet("A");
  EXPECT_EQ(arrayFromItemArray(preferences.recents()), Array{nameless("b")});
  EXPECT_EQ(messages(), Messages());
}

TEST_F(LegacyLists, EveryListOfASetIsWrittenBack) {
  const Dictionary full{{"Favorite", Value(Array{item("a")})},
                        {"Recent", Value(Array{item("b")})},
                        {"Rebound", Value(Dictionary{{"r", Value(1)}})},
                        {"Default", Value(Dictionary{{"d", Value(2)}})},
                        {"LastOpen", Value(Dictionary{{"o", Value(3)}})},
                        {"LastSave", Value(Dictionary{{"s", Value(4)}})},
                        {"SpotlightHistory", Value(Array{Value("h")})},
                        {"SpotlightTerms", Value(Array{Value("t")})}};
  // The favorites domain's list overrides the active set's.
  writeSets({{"A", Value(full)}, {"B", setOf({}, {})}}, "A");
  writeDomain(kLegacyFavoritesDomain, {{"Favorite", Value(Array{item("c")})}});
  openReadOnly();
  LegacyPreferences preferences;
  preferences.switchToSet("B");
  Dictionary expected = full;
  expected.set("Favorite", Value(Array{item("c")}));
  EXPECT_EQ(*preferences.folderSets().dictionary("A"), expected);
  preferences.switchToSet("A");
  EXPECT_EQ(favoritesOf(preferences), Array{item("c")});
  EXPECT_EQ(arrayFromItemArray(preferences.recents()), Array{item("b")});
}

TEST_F(LegacyLists, ARenamedSetKeepsItsLists) {
  writeSets({{"A", setOf({item("a"), nameless("b")}, {item("b")})}, {"B", setOf({}, {})}}, "A");
  openReadOnly();
  LegacyPreferences preferences;
  convertFavorites(preferences);
  preferences.renameSet("A", "New");
  const Array stored = arrayOfSet(preferences, "New", "Favorite");
  ASSERT_EQ(stored.size(), 1U);
  EXPECT_FALSE(stored[0].ifDictionary()->contains("URL"));
  EXPECT_EQ(arrayOfSet(preferences, "New", "Recent"), Array{item("b")});
}

TEST_F(LegacyLists, ASaveStoresThemRepairedAndWithoutLocations) {
  writeSets({{"A", setOf({item("a"), nameless("b")}, {item("b")})}}, "A");
  LegacyPreferences preferences;
  convertFavorites(preferences);
  ASSERT_EQ(preferences.save(), 0);
  const Dictionary favorites = readDomain(kLegacyFavoritesDomain);
  ASSERT_EQ(favorites.array("Favorite")->size(), 1U);
  const Dictionary& favorite = *(*favorites.array("Favorite"))[0].ifDictionary();
  EXPECT_EQ(favorite.string("Name"), "a");
  EXPECT_TRUE(favorite.contains("Alias") && favorite.contains("AliasChecksum"));
  EXPECT_FALSE(favorite.contains("URL") || favorite.contains("FSRef") || favorite.contains("ResolveError"));
}

TEST_F(LegacyLists, AreShownInADump) {
  writeSets({{"A", setOf({item("a")}, {item("b")})}}, "A");
  const LegacyPreferences preferences;
  preferences.dump("Title");
  const std::vector<std::string> lines = host_.log().lines();
  const auto shownAfter = [&](const char* heading) {
    const auto found = std::find(lines.begin(), lines.end(), heading);
    return found == lines.end() || found + 1 == lines.end() ? "" : *(found + 1);
  };
  EXPECT_EQ(shownAfter("** FAVORITES **"), macos::description(Value(Array{item("a")})));
  EXPECT_EQ(shownAfter("** RECENTS **"), macos::description(Value(Array{item("b")})));
}

// What a run repairs and writes back stays in memory.
TEST_F(LegacyLists, TheDomainsFilesStayAsTheyAre) {
  writeSets({{"A", setOf({item("a"), nameless("b")}, {item("b")})}, {"B", setOf({item("c")}, {})}}, "A");
  writeDomain(kLegacyFavoritesDomain, {{"Favorite", Value(Array{item("a"), nameless("c")})}});
  writeDomain(kLegacySettingsDomain, {{"Settings", Value(Dictionary{{"ActiveSet", Value("A")}})}});
  const std::vector<std::string> names = host_.root().names(std::string(kPreferencesFolder));
  std::vector<std::string> before;
  for (const std::string& name : names) {
    before.push_back(host_.root().readFile(std::string(kPreferencesFolder) + "/" + name));
  }
  {
    openReadOnly();
    LegacyPreferences preferences;
    for (const char* const set : {"A", "B", "New", "A"}) {
      preferences.switchToSet(set);
      convertFavorites(preferences);
    }
    for (const std::string_view domain : {kLegacyDomain, kLegacyFavoritesDomain, kLegacySettingsDomain}) {
      macos::CFPreferencesAppSynchronize(domain);
    }
  }
  EXPECT_EQ(host_.root().names(std::string(kPreferencesFolder)), names);
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(host_.root().readFile(std::string(kPreferencesFolder) + "/" + names[i]), before[i]) << names[i];
  }
}

}  // namespace
}  // namespace vennick
