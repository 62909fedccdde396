// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cerrno>

#include "macos/host/StderrLogSink.h"
#include "platform/FileQueries.h"
#include "tests/settings/StoreTest.h"

namespace vennick {
namespace {

using macos::Array;
using macos::Dictionary;
using macos::NSDate;
using macos::NSURL;
using macos::Value;
using Names = std::vector<std::string>;

class Store : public tests::StoreTest {
 protected:
  static Dictionary frames(int x) { return {{"com.x+1", Value("{{" + std::to_string(x) + ", 0}, {1, 1}}")}}; }
};

// --- Creation

TEST_F(Store, IsTheSharedOneFromItsCreationOn) {
  EXPECT_EQ(VKSettings::sharedSettings(), nullptr);
  EXPECT_EQ(VKSettings::sharedDefaults(), nullptr);
  const auto first = makeStore();
  EXPECT_EQ(VKSettings::sharedSettings(), first);
  const auto second = makeStore();
  EXPECT_EQ(VKSettings::sharedSettings(), second);
  EXPECT_EQ(VKSettings::sharedDefaults(), second->defaults());
}

TEST_F(Store, OfAFreshUserHasTheDefaultSet) {
  const auto store = makeStore();
  EXPECT_EQ(store->currentSet(), "Default Set");
  EXPECT_EQ(setNames(*store), Names{"Default Set"});
  EXPECT_TRUE(store->dirty());
  EXPECT_FALSE(host.root().exists(storePath("Default Set")));
  EXPECT_EQ(store->lastPrefsSaveDate(), NSDate::date());
}

TEST_F(Store, OfAFreshUserMakesTheFoldersWhenItIsSaved) {
  const auto store = makeStore();
  EXPECT_TRUE(store->save());
  EXPECT_EQ(host.root().names(kSettingsFolder),
            (Names{"Default Set", "DialogSizes.plist", "SaveActions.plist", "SidebarSizes.plist",
                   "Statistics.plist"}));
  EXPECT_EQ(host.root().names(storePath("Default Set")),
            (Names{"DefaultFolders.plist", "DroppedItems.plist", "Favorites.plist", "LastFolders.plist",
                   "Rebound.plist", "RecentApplications.plist", "RecentFiles.plist",
                   "RecentFinderFolders.plist", "RecentFolders.plist"}));
  EXPECT_FALSE(store->dirty());
}

TEST_F(Store, IgnoresACurrentSetThatIsNotListed) {
  writeDomain({{"currentSet", Value("Gone")}, {"folderSets", Value(Array{Value("Work")})}});
  const auto store = makeStore();
  EXPECT_EQ(store->currentSet(), "Default Set");
  EXPECT_EQ(setNames(*store), (Names{"Default Set", "Work"}));
}

TEST_F(Store, UsesTheBundlesBuiltInDefaultsAndKeepsThemOutOfTheDomain) {
  const auto store = makeStore();
  EXPECT_EQ(store->defaults()->integerForKey("maxHistorySize"), 10);
  ASSERT_EQ(store->hotkeys().size(), 1U);
  EXPECT_EQ(store->hotkeys()[0]->string("action"), "showFavorites:");
  EXPECT_EQ(store->defaults()->arrayForKey("menuConfiguration"), Array{Value("favorites")});
  store->save();
  EXPECT_FALSE(storedDomain().contains("maxHistorySize"));
}

TEST_F(Store, StartsWithoutBuiltInResources) {
  host.root().remove("/Applications/Vennick 5.app/Contents/Resources");
  const auto store = makeStore();
  EXPECT_EQ(store->currentSet(), "Default Set");
  EXPECT_TRUE(store->hotkeys().empty());
  EXPECT_TRUE(store->save());
}

TEST_F(Store, TreatsMistypedBuiltInResourcesAsAbsent) {
  const std::string resources = "/Applications/Vennick 5.app/Contents/Resources/";
  writePropertyList(resources + "Defaults.plist", Value(Array{}));
  writePropertyList(resources + "DefaultKeyBindings.plist", Value(Dictionary{}));
  host.root().writeFile(resources + "DefaultMenuConfiguration.plist", "no property list");
  const auto store = makeStore();
  EXPECT_EQ(store->currentSet(), "Default Set");
  EXPECT_EQ(store->defaults()->objectForKey("menuConfiguration"), std::nullopt);
}

TEST_F(Store, OfABundleWithoutIdentifierUsesTheMainApplicationsName) {
  host.root().makeFolder("/Applications/Nameless.app/Contents");
  const auto store = makeStore("/Applications/Nameless.app");
  EXPECT_TRUE(store->save());
  EXPECT_TRUE(storedDomain().contains("currentSet"));
  EXPECT_TRUE(host.root().exists(storePath("Default Set/Favorites.plist")));
}

// --- Built-in defaults

TEST_F(Store, RemovesThePreferencesToolbarAtEveryStart) {
  writeDomain({{"NSToolbar Configuration CCNPreferencesMainToolbar", Value(Dictionary{{"a", Value(1)}})}});
  const auto store = makeStore();
  store->save();
  EXPECT_FALSE(storedDomain().contains("NSToolbar Configuration CCNPreferencesMainToolbar"));
}

TEST_F(Store, RenamesASetOfTheReservedName) {
  writeDomain({{"folderSets", Value(Array{Value("Scripts"), Value("Work")})}, {"currentSet", Value("Work")}});
  host.root().writeFile(storePath("Scripts/note.txt"), "x");
  const auto store = makeStore();
  EXPECT_EQ(setNames(*store), (Names{"Scripts*", "Work"}));
  EXPECT_TRUE(host.root().exists(storePath("Scripts*/note.txt")));
  EXPECT_FALSE(host.root().exists(storePath("Scripts")));
}

TEST_F(Store, KeepsASetOfTheReservedNameThatHasNoFolder) {
  writeDomain({{"folderSets", Value(Array{Value("Scripts"), Value("Work")})}, {"currentSet", Value("Work")}});
  EXPECT_EQ(setNames(*makeStore()), (Names{"Scripts", "Work"}));
}

TEST_F(Store, RenamesOnlyTheFirstOfTwoSetsOfTheReservedName) {
  writeDomain({{"folderSets", Value(Array{Value("Scripts"), Value("Scripts")})}});
  host.root().makeFolder(storePath("Scripts"));
  EXPECT_EQ(setNames(*makeStore()), (Names{"Default Set", "Scripts", "Scripts*"}));
}

TEST_F(Store, MakesTheDefaultSetCurrentWhenTheCurrentSetHadTheReservedName) {
  writeDomain({{"folderSets", Value(Array{Value("Scripts")})}, {"currentSet", Value("Scripts")}});
  host.root().makeFolder(storePath("Scripts"));
  const auto store = makeStore();
  EXPECT_EQ(store->currentSet(), "Default Set");
  EXPECT_EQ(setNames(*store), (Names{"Default Set", "Scripts*"}));
}

TEST_F(Store, AppendsTheBuiltInExcludedApplicationsThatAreMissing) {
  writeDomain({{"appsToExclude", Value(Array{Value("com.user"), Value("com.example.two")})}});
  const auto store = makeStore();
  EXPECT_EQ(store->defaults()->arrayForKey("appsToExclude"),
            (Array{Value("com.user"), Value("com.example.two"), Value("com.example.one")}));
}

TEST_F(Store, DoesNotWriteTheExcludedApplicationsWhenNoneIsMissing) {
  const Array stored{Value("com.example.two"), Value("com.user"), Value("com.example.one")};
  writeDomain({{"appsToExclude", Value(stored)}});
  int changes = 0;
  auto suite = macos::NSUserDefaults::initWithSuiteName(kDomain);
  const auto token =
      suite->addObserver("appsToExclude", 0, [&](std::string_view, const auto&) { ++changes; });
  EXPECT_EQ(makeStore()->defaults()->arrayForKey("appsToExclude"), stored);
  EXPECT_EQ(changes, 0);
}

TEST_F(Store, TakesExcludedApplicationsOfAnotherTypeForNone) {
  writeDomain({{"appsToExclude", Value("com.user")}});
  EXPECT_EQ(makeStore()->defaults()->arrayForKey("appsToExclude"), builtInExcludedApplications());
}

// --- The Setapp edition

TEST_F(Store, OfTheSetappEditionUsesTheFolderAndSuiteWithoutTheSuffix) {
  makeBundle("/Applications/Edition.app", "com.quorvale.Vennick5-setapp");
  const auto store = makeStore("/Applications/Edition.app");
  EXPECT_EQ(store->defaults()->suiteName(), kDomain);
  EXPECT_TRUE(store->save());
  EXPECT_TRUE(storedDomain().contains("currentSet"));
  EXPECT_TRUE(host.root().exists(storePath("Default Set")));
}

TEST_F(Store, OfTheSetappEditionLeavesOutTheSuffixWhereverItStands) {
  makeBundle("/Applications/Edition.app", "com.quorvale-setapp.Vennick5-setapp");
  EXPECT_TRUE(makeStore("/Applications/Edition.app")->save());
  EXPECT_TRUE(host.root().exists(storePath("Default Set")));
}

TEST_F(Store, LeavesASuffixInTheMiddleOfAnotherIdentifierAlone) {
  makeBundle("/Applications/Other.app", "com.quorvale-setapp.Vennick5");
  EXPECT_EQ(makeStore("/Applications/Other.app")->defaults()->suiteName(), "com.quorvale-setapp.Vennick5");
}

TEST_F(Store, OfTheSetappEditionMirrorsKeysWithABuiltInDefaultBothWays) {
  makeBundle("/Applications/Edition.app", "com.quorvale.Vennick5-setapp");
  writeDomain({{"maxHistorySize", Value(77)}, {"other", Value(1)}});
  const auto store = makeStore("/Applications/Edition.app");
  const auto shared = macos::NSUserDefaultsController::sharedUserDefaultsController();
  EXPECT_EQ(shared->defaults()->persistentObjectForKey("maxHistorySize"), Value(77));
  EXPECT_EQ(shared->defaults()->persistentObjectForKey("other"), std::nullopt);

  shared->setValue(Value(78), "values.maxHistorySize");
  EXPECT_EQ(store->defaults()->persistentObjectForKey("maxHistorySize"), Value(78));
  shared->setValue(Value(79), "values.other");
  EXPECT_EQ(store->defaults()->persistentObjectForKey("other"), Value(1))
      << "a key without a built-in default";
}

TEST_F(Store, OfTheSetappEditionStopsMirroringWhenItEnds) {
  makeBundle("/Applications/Edition.app", "com.quorvale.Vennick5-setapp");
  auto store = makeStore("/Applications/Edition.app");
  const auto defaults = store->defaults();
  makeStore();  // takes the place of the shared instance
  store.reset();
  macos::NSUserDefaultsController::sharedUserDefaultsController()->setValue(Value(78),
                                                                            "values.maxHistorySize");
  EXPECT_NE(defaults->persistentObjectForKey("maxHistorySize"), Value(78));
}

// --- Loading

TEST_F(Store, FindsEverythingAgainThatItSaved) {
  host.root().makeFolder("/Users/anna/Projects");
  {
    const auto store = makeStore();
    store->addFavorite(folder("/Users/anna/Projects"), NSDate{1}, Dictionary{{"keyCode", Value(1)}});
    store->addRebound("file.txt", folder("/Users/anna/Projects"), "com.x");
    store->addLastFolder(folder("/Users/anna/Projects"), "com.x", 2);
    store->saveFrame({1, 2, 3, 4}, "com.x", 2);
    store->saveSidebarWidth(120.5F, "com.x", 2);
    store->addFileAction("open", "arg", true, "com.x");
    EXPECT_TRUE(store->save());
  }
  const auto store = makeStore();
  ASSERT_EQ(store->favorites()->count(), 1U);
  EXPECT_EQ(store->favorites()->lastItem()->name(), "Projects");
  EXPECT_EQ(store->favorites()->lastItem()->date(), NSDate{1});
  EXPECT_EQ(store->reboundForURL(folder("/Users/anna/Projects"), "com.x"), "file.txt");
  EXPECT_EQ(store->lastFolderForApp("com.x", 2), folder("/Users/anna/Projects"));
  EXPECT_EQ(store->frameForApp("com.x", 2), (NSRect{1, 2, 3, 4}));
  EXPECT_EQ(store->sidebarWidthForApp("com.x", 2), 120.5F);
  EXPECT_EQ(store->fileAction("open", "com.x")->string("argument"), "arg");
}

TEST_F(Store, UsesTheOldDialogFramesAndKeepsTheirKeyWhileTheFileIsEmpty) {
  writeDomain({{"dialogFrames", Value(frames(7))}, {"usageStatistics", Value(Dictionary{{"a", Value(1)}})}});
  const auto store = makeStore();
  EXPECT_EQ(store->framesForApps(), frames(7));
  EXPECT_EQ(store->usageStatistics(), (Dictionary{{"a", Value(1)}}));
  EXPECT_TRUE(store->defaults()->persistentObjectForKey("dialogFrames"));
}

TEST_F(Store, RemovesTheOldDialogFramesAtTheSecondLoadAfterASave) {
  writeDomain({{"dialogFrames", Value(frames(7))}});
  const auto store = makeStore();
  store->save();
  EXPECT_TRUE(store->defaults()->persistentObjectForKey("dialogFrames"));
  store->load();
  EXPECT_EQ(store->framesForApps(), frames(7));
  EXPECT_FALSE(store->defaults()->persistentObjectForKey("dialogFrames"));
}

TEST_F(Store, PrefersTheFileToTheOldDialogFrames) {
  writeDomain({{"dialogFrames", Value(frames(7))}});
  writePropertyList(storePath("DialogSizes.plist"), Value(frames(8)));
  const auto store = makeStore();
  EXPECT_EQ(store->framesForApps(), frames(8));
  EXPECT_FALSE(store->defaults()->persistentObjectForKey("dialogFrames"));
}

TEST_F(Store, ASecondLoadRereadsTheGlobalFilesButNotTheCurrentSet) {
  const auto store = makeStore();
  host.root().makeFolder("/Users/anna/Projects");
  store->addFavorite(folder("/Users/anna/Projects"), std::nullopt, std::nullopt);
  writePropertyList(storePath("DialogSizes.plist"), Value(frames(9)));
  EXPECT_TRUE(store->load());
  EXPECT_EQ(store->framesForApps(), frames(9));
  EXPECT_EQ(store->favorites()->count(), 1U);
}

TEST_F(Store, ASecondLoadRereadsTheHotkeys) {
  const auto store = makeStore();
  store->addHotkey({{"keyCode", Value(1)}}, 1, "unsaved:", "Unsaved");
  store->defaults()->setObject(Value(Array{Value(Dictionary{{"action", Value("stored:")}})}), "keyBindings");
  store->load();
  ASSERT_EQ(store->hotkeys().size(), 1U);
  EXPECT_EQ(store->hotkeys()[0]->string("action"), "stored:");
}

TEST_F(Store, UsesTheOldDialogFramesAlsoWhenTheFileHoldsNothing) {
  writeDomain({{"dialogFrames", Value(frames(7))}});
  writePropertyList(storePath("DialogSizes.plist"), Value(Dictionary{}));
  const auto store = makeStore();
  EXPECT_EQ(store->framesForApps(), frames(7));
  EXPECT_TRUE(store->defaults()->persistentObjectForKey("dialogFrames"));
}

TEST_F(Store, AnnouncesEachListTwiceWhenASetIsLoaded) {
  const auto store = makeStore();
  Names announced;
  std::vector<macos::ObservationToken> tokens;
  for (const char* key : {"rebound", "lastFolders", "favorites", "recentFiles", "recentFolders",
                          "recentFinderFolders", "recentApplications", "defaultFolders", "droppedItems"}) {
    tokens.push_back(store->addObserver(
        key, macos::NSKeyValueObservingOptionNew, [&](std::string_view path, const auto& change) {
          announced.push_back(std::string(path) + (change.newValue->isNull() ? " nil" : ""));
        }));
  }
  EXPECT_TRUE(store->loadSet("Default Set"));
  const Names expected{"rebound nil",
                       "favorites nil",
                       "recentFiles nil",
                       "recentFolders nil",
                       "recentFinderFolders nil",
                       "recentApplications nil",
                       "defaultFolders nil",
                       "droppedItems nil",
                       "rebound",
                       "lastFolders",
                       "favorites",
                       "recentFiles",
                       "recentFolders",
                       "recentFinderFolders",
                       "recentApplications",
                       "defaultFolders",
                       "droppedItems"};
  EXPECT_EQ(announced, expected);
}

TEST_F(Store, AnnouncesWhatItsSettersChange) {
  const auto store = makeStore();
  std::vector<std::pair<std::string, Value>> announced;
  std::vector<macos::ObservationToken> tokens;
  for (const char* key : {"dirty", "lastPrefsSaveDate", "currentRecentFolder", "currentFinderTab",
                          "currentSet", "framesForApps", "sidebarWidthsForApps", "usageStatistics"}) {
    tokens.push_back(store->addObserver(key, macos::NSKeyValueObservingOptionNew,
                                        [&](std::string_view path, const auto& change) {
                                          announced.emplace_back(path, change.newValue.value_or(Value()));
                                        }));
  }
  store->setLastPrefsSaveDate(NSDate{5});
  store->setCurrentRecentFolder(Value("folder"));
  store->setCurrentFinderTab(Value(2));
  store->setFramesForApps(frames(1));
  store->setSidebarWidthsForApps({{"com.x+1", Value(2.5)}});
  store->setUsageStatistics({{"a", Value(1)}});
  store->addLastFolder(folder("/Users/anna"), "com.x", 1);
  EXPECT_TRUE(store->save());
  const std::vector<std::pair<std::string, Value>> expected{
      {"lastPrefsSaveDate", Value(NSDate{5})},
      {"currentRecentFolder", Value("folder")},
      {"currentFinderTab", Value(2)},
      {"framesForApps", Value(frames(1))},
      {"sidebarWidthsForApps", Value(Dictionary{{"com.x+1", Value(2.5)}})},
      {"usageStatistics", Value(Dictionary{{"a", Value(1)}})},
      {"dirty", Value(true)},
      {"dirty", Value(false)}};
  EXPECT_EQ(announced, expected);
}

TEST_F(Store, LoadingOrSavingNoSetChangesNothing) {
  const auto store = makeStore();
  const auto before = store->itemList(Collection::Favorites);
  EXPECT_FALSE(store->loadSet(std::nullopt));
  EXPECT_EQ(store->itemList(Collection::Favorites), before);
  const auto disk = host.root().snapshot("/Users/anna");
  EXPECT_FALSE(store->saveSet(std::nullopt));
  EXPECT_EQ(host.root().snapshot("/Users/anna"), disk);
}

TEST_F(Store, ItsItemArrayShowsTheVeryListThatIsSet) {
  const auto store = makeStore();
  auto list = std::make_shared<ItemList>();
  store->setItemList(Collection::RecentFiles, list);
  EXPECT_EQ(store->recentFiles()->items(), list);
}

// --- The default set's folder

// The running program is a bundle of its own, with string tables in the user's language.
class GermanStore : public testing::Test {
 protected:
  GermanStore() {
    host.root().writeFile("/Applications/Tool.app/Contents/MacOS/Tool", "");
    host.root().writeFile("/Applications/Tool.app/Contents/Resources/de.lproj/Localizable.strings",
                          "\"Default Set\" = \"Standardset\";");
    host.root().writeFile("/Users/anna/Library/Preferences/.GlobalPreferences.plist",
                          "{ AppleLanguages = (de); }");
  }

  static constexpr std::string_view kFolder = "/Users/anna/Library/Application Support/com.quorvale.Vennick5";
  static std::shared_ptr<VKSettings> makeStore() {
    return VKSettings::initWithBundle(macos::NSBundle::bundleWithURL(
        NSURL::fileURLWithPathIsDirectory("/Applications/Vennick 5.app", true)));
  }

  std::shared_ptr<tests::TemporaryRoot> root = std::make_shared<tests::TemporaryRoot>();
  tests::TestHost host{tests::TestHostOptions{
      .root = root, .executable = root->hostPath("/Applications/Tool.app/Contents/MacOS/Tool")}};
};

TEST_F(GermanStore, KeepsTheEnglishFolderNameForTheLocalizedDefaultSet) {
  host.root().makeFolder("/Applications/Vennick 5.app/Contents");
  const auto store = makeStore();
  EXPECT_EQ(store->currentSet(), "Standardset");
  EXPECT_EQ(store->defaults()->arrayForKey("folderSets"), Array{Value("Standardset")});
  EXPECT_TRUE(store->save());
  EXPECT_TRUE(host.root().exists(std::string(kFolder) + "/Default Set/Favorites.plist"));
  EXPECT_FALSE(host.root().exists(std::string(kFolder) + "/Standardset"));
}

TEST_F(GermanStore, UsesAFolderOfTheLocalizedNameThatIsThere) {
  host.root().makeFolder("/Applications/Vennick 5.app/Contents");
  host.root().makeFolder(std::string(kFolder) + "/Standardset");
  const auto store = makeStore();
  EXPECT_TRUE(store->save());
  EXPECT_TRUE(host.root().exists(std::string(kFolder) + "/Standardset/Favorites.plist"));
  EXPECT_FALSE(host.root().exists(std::string(kFolder) + "/Default Set"));
}

TEST_F(GermanStore, SharesOneFolderBetweenTheEnglishAndTheLocalizedDefaultSet) {
  host.root().makeFolder("/Applications/Vennick 5.app/Contents");
  const auto store = makeStore();
  EXPECT_EQ(store->urlForFolderSet("Default Set", false).path(),
            store->urlForFolderSet("Standardset", false).path());
}

// --- Links and alias files

TEST_F(Store, ReadsAndWritesThroughALinkInTheSettingsFoldersPlace) {
  host.root().makeFolder("/Volumes/Other/Vennick");
  host.root().makeFolder("/Users/anna/Library/Application Support");
  host.root().makeLink(kSettingsFolder, "/Volumes/Other/Vennick");
  EXPECT_TRUE(makeStore()->save());
  EXPECT_TRUE(host.root().exists("/Volumes/Other/Vennick/Default Set/Favorites.plist"));
  EXPECT_EQ(host.root().snapshot(kSettingsFolder).at(""), "link /Volumes/Other/Vennick");
}

TEST_F(Store, ReadsAndWritesThroughAnAliasFileInAFoldersPlace) {
  // Composed on the disk, decomposed in the URL.
  const std::string settings = "/Volumes/Other/R\u00E9glages";
  host.root().makeFolder(settings);
  host.root().makeFolder("/Volumes/Other/Work");
  host.root().makeFolder("/Users/anna/Library/Application Support");
  ASSERT_FALSE(createAliasFileAtURL(folder(settings), file(kSettingsFolder)));
  ASSERT_FALSE(createAliasFileAtURL(folder("/Volumes/Other/Work"), file(settings + "/Work")));
  writePropertyList("/Volumes/Other/Work/Favorites.plist",
                    Value(Array{Value(Dictionary{{"name", Value("a")}})}));
  writeDomain({{"folderSets", Value(Array{Value("Work")})}, {"currentSet", Value("Work")}});
  const auto store = makeStore();
  EXPECT_EQ(store->favorites()->count(), 1U);
  store->favorites()->removeAllItems();
  EXPECT_TRUE(store->save());
  EXPECT_EQ(propertyList("/Volumes/Other/Work/Favorites.plist"), Value(Array{}));
  EXPECT_TRUE(host.root().exists(settings + "/DialogSizes.plist"));
  EXPECT_EQ(host.root().names("/Volumes/Other"), (Names{"R\u00E9glages", "Work"}));
}

TEST_F(Store, KeepsAnAliasFileInTheSettingsFoldersPlaceThatLeadsNowhere) {
  host.root().makeFolder("/Volumes/Other/Settings");
  host.root().makeFolder("/Users/anna/Library/Application Support");
  ASSERT_FALSE(createAliasFileAtURL(folder("/Volumes/Other/Settings"), file(kSettingsFolder)));
  const std::string bytes = host.root().readFile(kSettingsFolder);
  host.root().remove("/Volumes/Other/Settings");
  EXPECT_FALSE(makeStore()->save());
  EXPECT_EQ(host.root().readFile(kSettingsFolder), bytes);
}

TEST_F(Store, ReadsAndWritesThroughAnAliasFileInAFilesPlace) {
  host.root().makeFolder("/Users/anna/Projects");
  {
    const auto store = makeStore();
    store->addFavorite(folder("/Users/anna/Projects"), std::nullopt, std::nullopt);
    ASSERT_TRUE(store->save());
  }
  const std::string favorites = storePath("Default Set/Favorites.plist");
  std::filesystem::rename(host.root().hostPath(favorites), host.root().hostPath("/Users/anna/Shared.plist"));
  ASSERT_FALSE(createAliasFileAtURL(file("/Users/anna/Shared.plist"), file(favorites)));
  const std::string aliasBytes = host.root().readFile(favorites);

  const auto store = makeStore();
  ASSERT_EQ(store->favorites()->count(), 1U) << "read from the target";
  host.root().makeFolder("/Users/anna/More");
  store->addFavorite(folder("/Users/anna/More"), std::nullopt, std::nullopt);
  EXPECT_TRUE(store->save());
  EXPECT_EQ(host.root().readFile(favorites), aliasBytes) << "not replaced by a plain file";
  EXPECT_EQ(entryCount("/Users/anna/Shared.plist"), 2U);
}

TEST_F(Store, ReadsAndWritesThroughALinkToAnAliasFile) {
  writePropertyList("/Users/anna/Shared.plist", Value(Array{Value(Dictionary{{"name", Value("a")}})}));
  ASSERT_FALSE(createAliasFileAtURL(file("/Users/anna/Shared.plist"), file("/Users/anna/alias")));
  const std::string aliasBytes = host.root().readFile("/Users/anna/alias");
  const std::string favorites = storePath("Default Set/Favorites.plist");
  host.root().makeLink(favorites, "/Users/anna/alias");
  const auto store = makeStore();
  EXPECT_EQ(store->favorites()->count(), 1U);
  store->favorites()->removeAllItems();
  EXPECT_TRUE(store->save());
  EXPECT_EQ(propertyList("/Users/anna/Shared.plist"), Value(Array{}));
  EXPECT_EQ(host.root().readFile("/Users/anna/alias"), aliasBytes);
  EXPECT_EQ(host.root().snapshot(favorites).at(""), "link /Users/anna/alias");
}

TEST_F(Store, FindsTheTargetOfAnAliasFileHoweverTheDiskSpellsIt) {
  // Composed on the disk, decomposed in the URL.
  const std::string target = "/Users/anna/R\u00E9glages.plist";
  writePropertyList(target, Value(Array{Value(Dictionary{{"name", Value("a")}})}));
  host.root().makeFolder(storePath("Default Set"));
  ASSERT_FALSE(createAliasFileAtURL(file(target), file(storePath("Default Set/Favorites.plist"))));
  const auto before = host.root().names("/Users/anna");
  const auto store = makeStore();
  EXPECT_EQ(store->favorites()->count(), 1U);
  store->favorites()->removeAllItems();
  EXPECT_TRUE(store->save());
  EXPECT_EQ(propertyList(target), Value(Array{}));
  EXPECT_EQ(host.root().names("/Users/anna"), before);
}

TEST_F(Store, LeavesAnAliasFileAloneWhoseTargetCannotBeLookedAt) {
  class Closed : public tests::ForwardingFileSystem {
   public:
    using ForwardingFileSystem::ForwardingFileSystem;

   protected:
    macos::Status before(const tests::FileEvent& event) override {
      const bool isInside = event.path.starts_with("/Users/berta/");
      return isInside ? macos::Status::fromErrno(event.path, EACCES) : macos::Status();
    }
  };
  const std::string favorites = storePath("Default Set/Favorites.plist");
  writePropertyList("/Users/berta/Shared.plist", Value(Array{Value(Dictionary{{"name", Value("a")}})}));
  host.root().makeFolder(storePath("Default Set"));
  ASSERT_FALSE(createAliasFileAtURL(file("/Users/berta/Shared.plist"), file(favorites)));
  const std::string aliasBytes = host.root().readFile(favorites);
  host.interpose<Closed>();
  const auto store = makeStore();
  EXPECT_EQ(store->favorites()->count(), 0U);
  EXPECT_FALSE(store->save());
  EXPECT_EQ(host.root().readFile(favorites), aliasBytes);
  EXPECT_TRUE(host.log().contains("/Users/berta/Shared.plist"));
  host.removeInterposed();
  EXPECT_EQ(entryCount("/Users/berta/Shared.plist"), 1U);
}

TEST_F(Store, ReadsAndWritesThroughALinkInAFilesPlace) {
  writePropertyList("/Users/anna/Shared.plist", Value(Array{Value(Dictionary{{"name", Value("a")}})}));
  const std::string favorites = storePath("Default Set/Favorites.plist");
  host.root().makeLink(favorites, "/Users/anna/Shared.plist");
  const auto store = makeStore();
  EXPECT_EQ(store->favorites()->count(), 1U);
  store->favorites()->removeAllItems();
  EXPECT_TRUE(store->save());
  EXPECT_EQ(propertyList("/Users/anna/Shared.plist"), Value(Array{}));
  EXPECT_EQ(host.root().snapshot(favorites).at(""), "link /Users/anna/Shared.plist");
}

TEST_F(Store, ReplacesALinkWhoseTargetIsMissing) {
  const std::string favorites = storePath("Default Set/Favorites.plist");
  host.root().makeLink(favorites, "/Users/anna/Gone.plist");
  const auto store = makeStore();
  EXPECT_EQ(store->favorites()->count(), 0U);
  EXPECT_TRUE(store->save());
  EXPECT_EQ(propertyList(favorites), Value(Array{}));
  EXPECT_FALSE(host.root().exists("/Users/anna/Gone.plist"));
}

TEST_F(Store, ReplacesAnAliasFileWhoseTargetIsMissing) {
  const std::string favorites = storePath("Default Set/Favorites.plist");
  host.root().makeFolder(storePath("Default Set"));
  host.root().writeFile("/Users/anna/Gone.plist", "x");
  ASSERT_FALSE(createAliasFileAtURL(file("/Users/anna/Gone.plist"), file(favorites)));
  host.root().remove("/Users/anna/Gone.plist");
  const auto store = makeStore();
  EXPECT_TRUE(store->save());
  EXPECT_EQ(propertyList(favorites), Value(Array{}));
}

// --- Saving

TEST_F(Store, SavesEverythingElseWhenOneFileCannotBeWritten) {
  host.root().makeFolder("/Users/anna/Projects");
  const auto store = makeStore();
  store->addFavorite(folder("/Users/anna/Projects"), std::nullopt, std::nullopt);
  host.root().makeFolder(storePath("Default Set/RecentFiles.plist"));
  EXPECT_FALSE(store->save());
  EXPECT_TRUE(store->dirty());
  EXPECT_TRUE(host.log().contains("RecentFiles.plist"));
  EXPECT_EQ(entryCount(storePath("Default Set/Favorites.plist")), 1U);
  EXPECT_TRUE(host.root().exists(storePath("Default Set/Rebound.plist")));
  host.root().remove(storePath("Default Set/RecentFiles.plist"));
  EXPECT_TRUE(store->save());
  EXPECT_FALSE(store->dirty());
}

TEST_F(Store, IsNotSavedWhenTheDefaultsCannotBeWritten) {
  class NoDefaults : public tests::ForwardingFileSystem {
   public:
    using ForwardingFileSystem::ForwardingFileSystem;

   protected:
    macos::Status before(const tests::FileEvent& event) override {
      const bool isDomain = tests::isChange(event.operation) &&
                            event.path.find("/Library/Preferences/") != std::string_view::npos;
      return isDomain ? macos::Status::fromErrno(event.path, EIO) : macos::Status();
    }
  };
  host.root().makeFolder("/Users/anna/Projects");
  const auto store = makeStore();
  store->addFavorite(folder("/Users/anna/Projects"), std::nullopt, std::nullopt);
  host.interpose<NoDefaults>();
  EXPECT_FALSE(store->save());
  EXPECT_TRUE(store->dirty());
  EXPECT_EQ(entryCount(storePath("Default Set/Favorites.plist")), 1U) << "the files are written all the same";
  host.removeInterposed();
  EXPECT_TRUE(store->save());
  EXPECT_FALSE(store->dirty());
}

TEST_F(Store, SavesWhateverBecomesOfAGlobalFile) {
  const auto store = makeStore();
  host.root().makeFolder(storePath("Statistics.plist"));
  EXPECT_TRUE(store->save());
  EXPECT_FALSE(store->dirty());
}

TEST_F(Store, ASetNamedLikeAGlobalFileCollidesWithIt) {
  const auto store = makeStore();
  ASSERT_TRUE(store->save());
  ASSERT_TRUE(store->createSet("Statistics.plist", std::nullopt));
  store->setCurrentSet("Statistics.plist");
  EXPECT_FALSE(store->save());
  EXPECT_EQ(propertyList(storePath("Statistics.plist")), Value(Dictionary{}));
}

TEST_F(Store, EndsTheProcessWhenADomainHasNoFolderForIt) {
  tests::TestHostOptions options;
  options.root = host.sharedRoot();
  options.adjust = [](macos::Host::Parts& parts) { parts.log = std::make_shared<macos::StderrLogSink>(); };
  EXPECT_DEATH(
      {
        const tests::TestHost loud(options);
        makeStore()->urlForSettingsFolderInDomain(0, false);
      },
      "dirs\\.count > 0");
}

TEST_F(Store, WritesAndReadsTheFilesOfASetAndOfTheSettingsFolder) {
  auto store = makeStore();
  const Array array = {Value("one"), Value(std::int64_t{2})};
  const Dictionary dictionary = {{"key", Value(true)}};
  EXPECT_TRUE(store->writeArray(array, "Array.plist", "Work"));
  EXPECT_TRUE(store->writeDictionary(dictionary, "Dictionary.plist", std::nullopt));
  EXPECT_EQ(propertyList(storePath("Work/Array.plist")), Value(array));
  EXPECT_EQ(propertyList(storePath("Dictionary.plist")), Value(dictionary));
  EXPECT_EQ(store->readArrayFromFilename("Array.plist", "Work"), array);
  EXPECT_EQ(store->readDictionaryFromFilename("Dictionary.plist", std::nullopt), dictionary);
  EXPECT_EQ(store->readArrayFromFilename("Dictionary.plist", std::nullopt), Array()) << "of another type";
}

TEST_F(Store, LosesNeitherSidesKeysWhenAnotherProcessWritesTheSameDomain) {
  writeDomain({{"theirs", Value(1)}});
  const auto store = makeStore();
  store->defaults()->setObject(Value(2), "ours");
  Dictionary meanwhile = storedDomain();
  meanwhile.set("theirs", Value(10));
  meanwhile.set("new", Value(3));
  writeDomain(meanwhile);
  EXPECT_TRUE(store->save());
  const Dictionary stored = storedDomain();
  EXPECT_EQ(stored.integer("theirs"), macos::Integer(10));
  EXPECT_EQ(stored.integer("new"), macos::Integer(3));
  EXPECT_EQ(stored.integer("ours"), macos::Integer(2));
}

// --- The periodic save

class PeriodicSave : public Store {
 protected:
  PeriodicSave() : store(makeStore()) { store->save(); }
  static void turn(int seconds) {
    macos::NSRunLoop::mainRunLoop().runUntilDate(NSDate::dateWithTimeIntervalSinceNow(seconds));
  }
  std::shared_ptr<VKSettings> store;
};

TEST_F(PeriodicSave, SavesAChangedStoreEveryFiveMinutes) {
  store->setDirty(true);
  turn(299);
  EXPECT_TRUE(store->dirty());
  turn(12);
  EXPECT_FALSE(store->dirty());
  EXPECT_GT(store->lastPrefsSaveDate().timeIntervalSinceNow(), -12);
}

TEST_F(PeriodicSave, NotesTheTickAlsoWhenNothingChanged) {
  const NSDate before = store->lastPrefsSaveDate();
  turn(311);
  EXPECT_GT(store->lastPrefsSaveDate(), before);
}

TEST_F(PeriodicSave, SavesAtATickThatComesUpTo350SecondsAfterTheOneBefore) {
  store->setDirty(true);
  host.clock().advance(std::chrono::seconds(348));
  turn(1);
  EXPECT_FALSE(store->dirty());
}

TEST_F(PeriodicSave, SkipsATickThatComesOneSecondTooLate) {
  store->setDirty(true);
  host.clock().advance(std::chrono::seconds(351));
  turn(1);
  EXPECT_TRUE(store->dirty());
}

// Or a save shortly before a late tick would let that tick save.
TEST_F(PeriodicSave, IsTheOnlySaveThatNotesItsTime) {
  const NSDate before = store->lastPrefsSaveDate();
  host.clock().advance(std::chrono::seconds(100));
  store->setDirty(true);
  EXPECT_TRUE(store->save());
  EXPECT_EQ(store->lastPrefsSaveDate(), before);
}

TEST_F(PeriodicSave, SkipsATickThatComesMoreThan350SecondsAfterTheOneBefore) {
  store->setDirty(true);
  host.clock().advance(std::chrono::seconds(400));
  turn(1);
  EXPECT_TRUE(store->dirty()) << "the late tick only notes its time";
  // The ticks missed in sleep are one; the next comes at the next multiple of five minutes.
  turn(211);
  EXPECT_FALSE(store->dirty());
}

TEST_F(PeriodicSave, EndsWithTheStore) {
  const std::weak_ptr<VKSettings> weak = store;
  store->setDirty(true);
  store.reset();
  makeStore();
  EXPECT_TRUE(weak.expired());
  turn(700);
}

}  // namespace
}  // namespace vennick
