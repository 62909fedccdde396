// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

#include "tests/settings/StoreTest.h"

namespace vennick {
namespace {

using macos::Array;
using macos::Dictionary;
using macos::Value;
using Names = std::vector<std::string>;

class FolderSets : public tests::StoreTest {
 protected:
  FolderSets() : store(makeStore()) { host.log().clear(); }

  // A set with a folder on disk and one favorite.
  void makeSet(const std::string& name) {
    ASSERT_TRUE(store->createSet(name, std::nullopt));
    store->setCurrentSet(name);
    host.root().makeFolder("/Users/anna/" + name);
    store->addFavorite(folder("/Users/anna/" + name), std::nullopt, std::nullopt);
    ASSERT_TRUE(store->saveSet(name));
  }

  std::string onlyFavorite() const {
    return store->favorites()->count() == 1 ? store->favorites()->lastItem()->name().value_or("") : "?";
  }

  std::shared_ptr<VKSettings> store;
};

// --- Making

TEST_F(FolderSets, AreListedInPlainOrder) {
  for (const char* name : {"beta", "Alpha", "gamma", "Beta"}) {
    EXPECT_TRUE(store->createSet(name, std::nullopt));
  }
  EXPECT_EQ(setNames(*store), (Names{"Alpha", "Beta", "Default Set", "beta", "gamma"}));
}

TEST_F(FolderSets, WhoseNamesAreTheSameToTheOrderStandInTheOrderOfTheirMaking) {
  // The accent as one character and as two.
  const std::string composed = "Caf\u00E9";
  const std::string decomposed = "Cafe\u0301";
  for (const std::string& name : {decomposed, std::string("Cafz"), composed, std::string("Cafe")}) {
    EXPECT_TRUE(store->createSet(name, std::nullopt));
  }
  EXPECT_EQ(setNames(*store), (Names{"Cafe", decomposed, composed, "Cafz", "Default Set"}));
}

TEST_F(FolderSets, OfAListInDisorderAreAllSortedWithTheNextOne) {
  store->defaults()->setObject(
      Value(Array{Value("gamma"), Value("Cafe\u0301"), Value("Caf\u00E9"), Value("Alpha")}), "folderSets");
  EXPECT_TRUE(store->createSet("beta", std::nullopt));
  EXPECT_EQ(setNames(*store), (Names{"Alpha", "Cafe\u0301", "Caf\u00E9", "beta", "gamma"}));
}

TEST_F(FolderSets, AreSortedAlsoAfterAListThatSomebodyElseStored) {
  EXPECT_TRUE(store->createSet("beta", std::nullopt));
  store->defaults()->setObject(Value(Array{Value("beta"), Value("alpha"), Value("Default Set")}),
                               "folderSets");
  EXPECT_TRUE(store->createSet("gamma", std::nullopt));
  EXPECT_EQ(setNames(*store), (Names{"Default Set", "alpha", "beta", "gamma"}));
}

TEST_F(FolderSets, AreMadeWithoutAFolder) {
  store->setDirty(false);
  EXPECT_TRUE(store->createSet("Work", std::nullopt));
  EXPECT_FALSE(host.root().exists(storePath("Work")));
  EXPECT_TRUE(store->dirty());
}

TEST_F(FolderSets, RefuseANameThatIsTakenOrReserved) {
  store->setDirty(false);
  EXPECT_FALSE(store->createSet("Default Set", std::nullopt));
  EXPECT_FALSE(store->createSet("Scripts", std::nullopt));
  EXPECT_FALSE(store->dirty());
  EXPECT_EQ(setNames(*store), Names{"Default Set"});
}

TEST_F(FolderSets, ThatDifferOnlyInLetterCaseAreTwo) {
  EXPECT_TRUE(store->createSet("work", std::nullopt));
  EXPECT_TRUE(store->createSet("Work", std::nullopt));
  EXPECT_EQ(setNames(*store).size(), 3U);
}

TEST_F(FolderSets, AreClonedFromATemplatesFolder) {
  makeSet("Work");
  EXPECT_TRUE(store->createSet("Home", "Work"));
  EXPECT_EQ(propertyList(storePath("Home/Favorites.plist")), propertyList(storePath("Work/Favorites.plist")));
}

TEST_F(FolderSets, AreClonedAsTheTemplateIsOnDisk) {
  makeSet("Work");
  host.root().makeFolder("/Users/anna/unsaved");
  store->addFavorite(folder("/Users/anna/unsaved"), std::nullopt, std::nullopt);
  EXPECT_TRUE(store->createSet("Home", "Work"));
  EXPECT_EQ(entryCount(storePath("Home/Favorites.plist")), 1U);
}

TEST_F(FolderSets, CannotBeClonedFromATemplateThatWasNeverWritten) {
  ASSERT_TRUE(store->createSet("Empty", std::nullopt));
  store->setDirty(false);
  EXPECT_FALSE(store->createSet("Copy", "Empty"));
  EXPECT_EQ(setNames(*store), (Names{"Default Set", "Empty"}));
  EXPECT_TRUE(store->dirty()) << "the attempt alone makes the store dirty";
}

TEST_F(FolderSets, AFailedCloneIsLoggedAndLeavesNothing) {
  makeSet("Work");
  host.root().makeFolder(storePath("Home"));
  EXPECT_FALSE(store->createSet("Home", "Work"));
  ASSERT_EQ(host.log().messages().size(), 1U);
  EXPECT_TRUE(host.log().messages()[0].starts_with("Unable to copy file://")) << host.log().messages()[0];
  EXPECT_TRUE(host.root().names(storePath("Home")).empty());
  EXPECT_EQ(host.root().names(kSettingsFolder), (Names{"Default Set", "Home", "Work"}));
}

TEST_F(FolderSets, ACloneThatFailsMidwayLeavesNothing) {
  makeSet("Work");
  ASSERT_TRUE(store->save());
  for (const char* const name : {"Home", "Clients/North/Home"}) {
    const auto before = host.root().snapshot(kSettingsFolder);
    long nth = 1;
    for (;; ++nth) {
      ASSERT_LT(nth, 100);
      const auto failing = host.interpose<tests::FailingFileSystem>(nth, ENOSPC, tests::Operations::Changes);
      const bool isMade = store->createSet(name, "Work");
      host.removeInterposed();
      if (isMade) {
        EXPECT_FALSE(failing->hasFailed()) << name << " at change " << nth;
        break;
      }
      EXPECT_EQ(host.root().snapshot(kSettingsFolder), before) << name << " at change " << nth;
      const Names listed = setNames(*store);
      EXPECT_EQ(std::count(listed.begin(), listed.end(), name), 0);
    }
    EXPECT_GT(nth, 9) << "nine files are copied";
    EXPECT_EQ(host.root().names(storePath(name)), host.root().names(storePath("Work")));
  }
}

TEST_F(FolderSets, ARenameThatFailsLeavesNothing) {
  makeSet("Work");
  ASSERT_TRUE(store->save());
  const auto before = host.root().snapshot(kSettingsFolder);
  for (long nth = 1;; ++nth) {
    ASSERT_LT(nth, 100);
    const auto failing = host.interpose<tests::FailingFileSystem>(nth, EIO, tests::Operations::Changes);
    const bool isRenamed = store->renameSet("Work", "Clients/North/Work");
    host.removeInterposed();
    if (isRenamed) {
      EXPECT_GT(nth, 3) << "two folders are made and one is moved";
      break;
    }
    EXPECT_EQ(host.root().snapshot(kSettingsFolder), before) << "at change " << nth;
    EXPECT_EQ(setNames(*store), (Names{"Default Set", "Work"}));
  }
}

TEST_F(FolderSets, AFolderThatWasThereStaysWhenACloneFails) {
  makeSet("Work");
  host.root().makeFolder(storePath("Clients"));
  host.interpose<tests::FailingFileSystem>(3, ENOSPC, tests::Operations::Changes);
  EXPECT_FALSE(store->createSet("Clients/North/Home", "Work"));
  EXPECT_TRUE(host.root().exists(storePath("Clients")));
  EXPECT_FALSE(host.root().exists(storePath("Clients/North")));
}

TEST_F(FolderSets, CannotBeClonedIntoTheirOwnFolder) {
  makeSet("Work");
  const auto before = host.root().snapshot(kSettingsFolder);
  EXPECT_FALSE(store->createSet("Work/Copy", "Work"));
  EXPECT_FALSE(store->createSet("Work/Deep/Copy", "Work"));
  EXPECT_FALSE(store->renameSet("Work", "Work/Copy"));
  EXPECT_EQ(host.root().snapshot(kSettingsFolder), before);
}

TEST_F(FolderSets, CopyLinksOfATemplateAsLinks) {
  makeSet("Work");
  host.root().makeLink(storePath("Work/link"), "/Users/anna");
  EXPECT_TRUE(store->createSet("Home", "Work"));
  EXPECT_EQ(host.root().snapshot(storePath("Home")).at("link"), "link /Users/anna");
}

TEST_F(FolderSets, TakeOverALeftoverFolder) {
  makeSet("Work");
  makeSet("Other");
  std::filesystem::rename(host.root().hostPath(storePath("Work")), host.root().hostPath(storePath("New")));
  EXPECT_TRUE(store->createSet("New", std::nullopt));
  store->setCurrentSet("New");
  EXPECT_EQ(onlyFavorite(), "Work");
}

TEST_F(FolderSets, WithASlashInTheNameAreNestedFolders) {
  makeSet("Clients/North");
  EXPECT_TRUE(host.root().exists(storePath("Clients/North/Favorites.plist")));
  EXPECT_TRUE(store->createSet("Clients/South/Deep", "Clients/North"));
  EXPECT_TRUE(host.root().exists(storePath("Clients/South/Deep/Favorites.plist")));
  EXPECT_TRUE(store->renameSet("Clients/North", "Customers/North"));
  EXPECT_TRUE(host.root().exists(storePath("Customers/North/Favorites.plist")));
}

TEST_F(FolderSets, MayNotLeadOutOfTheSettingsFolder) {
  makeSet("Work");
  host.log().clear();
  store->setDirty(false);
  for (const char* name : {"", ".", "..", "../x", "a/../../x", "/x", "x//y", "x/"}) {
    EXPECT_FALSE(store->createSet(name, std::nullopt)) << name;
    EXPECT_FALSE(store->createSet("Fine", name)) << name;
    EXPECT_FALSE(store->renameSet("Work", name)) << name;
  }
  EXPECT_FALSE(store->dirty());
  EXPECT_EQ(host.log().messages().size(), 24U) << "each is logged";
  EXPECT_TRUE(host.log().contains("\"../x\" cannot be the name of a folder set"));
  EXPECT_EQ(setNames(*store), (Names{"Default Set", "Work"}));
}

TEST_F(FolderSets, ABadNameThatIsListedIsNeverOpenedAsAFolder) {
  makeSet("Work");
  store->defaults()->setObject(Value(Array{Value("Work"), Value("../Preferences"), Value("..")}),
                               "folderSets");
  const auto before = host.root().snapshot("/Users/anna/Library");
  store->setCurrentSet("../Preferences");
  EXPECT_EQ(store->currentSet(), "Work");
  EXPECT_TRUE(store->deleteSet("../Preferences"));
  EXPECT_TRUE(store->deleteSet(".."));
  EXPECT_EQ(setNames(*store), Names{"Work"});
  EXPECT_EQ(host.root().snapshot("/Users/anna/Library"), before);
}

// --- Switching

TEST_F(FolderSets, SwitchToAListedSetAndLoadIt) {
  makeSet("Work");
  makeSet("Home");
  EXPECT_EQ(onlyFavorite(), "Home");
  store->setDirty(false);
  store->setCurrentSet("Work");
  EXPECT_EQ(store->currentSet(), "Work");
  EXPECT_EQ(onlyFavorite(), "Work");
  EXPECT_EQ(store->defaults()->stringForKey("currentSet"), "Work");
  EXPECT_TRUE(store->dirty());
}

TEST_F(FolderSets, SaveTheOldSetBeforeASwitch) {
  makeSet("Work");
  makeSet("Home");
  host.root().makeFolder("/Users/anna/late");
  store->addFavorite(folder("/Users/anna/late"), std::nullopt, std::nullopt);
  store->setCurrentSet("Work");
  EXPECT_EQ(entryCount(storePath("Home/Favorites.plist")), 2U);
}

TEST_F(FolderSets, AnUnknownNameSavesTheCurrentSetAndKeepsIt) {
  makeSet("Work");
  host.root().makeFolder("/Users/anna/late");
  store->addFavorite(folder("/Users/anna/late"), std::nullopt, std::nullopt);
  store->setCurrentSet("Nowhere");
  EXPECT_EQ(store->currentSet(), "Work");
  EXPECT_EQ(store->defaults()->stringForKey("currentSet"), "Work");
  EXPECT_EQ(entryCount(storePath("Work/Favorites.plist")), 2U);
  store->setCurrentSet(std::nullopt);
  EXPECT_EQ(store->currentSet(), "Work");
}

TEST_F(FolderSets, SwitchingToTheCurrentSetDoesNothing) {
  makeSet("Work");
  store->setDirty(false);
  host.root().makeFolder("/Users/anna/late");
  store->favorites()->addURL({.url = folder("/Users/anna/late"), .type = kItemTypeFolder});
  store->setCurrentSet("Work");
  EXPECT_FALSE(store->dirty());
  EXPECT_EQ(entryCount(storePath("Work/Favorites.plist")), 1U) << "nothing is saved";
}

// --- Renaming

TEST_F(FolderSets, MoveTheirFolderWhenTheyAreRenamed) {
  makeSet("Work");
  makeSet("Home");
  store->setDirty(false);
  EXPECT_TRUE(store->renameSet("Work", "Office"));
  EXPECT_FALSE(host.root().exists(storePath("Work")));
  EXPECT_TRUE(host.root().exists(storePath("Office/Favorites.plist")));
  EXPECT_EQ(setNames(*store), (Names{"Default Set", "Home", "Office"}));
  EXPECT_EQ(store->currentSet(), "Home");
  EXPECT_TRUE(store->dirty());
}

TEST_F(FolderSets, RenamingTheCurrentSetLoadsItFromItsNewFolderWithoutSaving) {
  makeSet("Work");
  host.root().makeFolder("/Users/anna/unsaved");
  store->addFavorite(folder("/Users/anna/unsaved"), std::nullopt, std::nullopt);
  EXPECT_TRUE(store->renameSet("Work", "Office"));
  EXPECT_EQ(store->currentSet(), "Office");
  EXPECT_EQ(store->defaults()->stringForKey("currentSet"), "Office");
  EXPECT_EQ(onlyFavorite(), "Work") << "what was not saved is gone";
  EXPECT_FALSE(host.root().exists(storePath("Work")));
}

TEST_F(FolderSets, WithoutAFolderCannotBeRenamed) {
  ASSERT_TRUE(store->createSet("Empty", std::nullopt));
  store->setDirty(false);
  EXPECT_FALSE(store->renameSet("Empty", "Full"));
  EXPECT_EQ(setNames(*store), (Names{"Default Set", "Empty"}));
  EXPECT_FALSE(store->dirty());
  EXPECT_TRUE(host.log().messages().empty());
}

TEST_F(FolderSets, RefuseToBeRenamedToATakenOrReservedName) {
  makeSet("Work");
  makeSet("Home");
  EXPECT_FALSE(store->renameSet("Work", "Home"));
  EXPECT_FALSE(store->renameSet("Work", "Work"));
  EXPECT_FALSE(store->renameSet("Work", "Scripts"));
  EXPECT_FALSE(store->renameSet("Nowhere", "Anywhere"));
}

TEST_F(FolderSets, ARenameNeverReplacesAFolderThatExists) {
  makeSet("Work");
  host.root().makeFolder(storePath("Office"));
  EXPECT_FALSE(store->renameSet("Work", "Office"));
  ASSERT_EQ(host.log().messages().size(), 1U);
  EXPECT_TRUE(host.log().messages()[0].starts_with("Unable to move file://"));
  EXPECT_TRUE(host.log().contains("516"));
  EXPECT_TRUE(host.root().exists(storePath("Work/Favorites.plist")));
  EXPECT_EQ(setNames(*store), (Names{"Default Set", "Work"}));
}

TEST_F(FolderSets, RenamingALinkedSetMovesTheLinksTarget) {
  host.root().makeFolder("/Users/anna/Elsewhere");
  host.root().makeLink(storePath("Linked"), "/Users/anna/Elsewhere");
  makeSet("Linked");
  ASSERT_TRUE(host.root().exists("/Users/anna/Elsewhere/Favorites.plist"));
  EXPECT_TRUE(store->renameSet("Linked", "Plain"));
  EXPECT_FALSE(host.root().exists("/Users/anna/Elsewhere"));
  EXPECT_TRUE(host.root().exists(storePath("Plain/Favorites.plist")));
}

// --- Deleting

TEST_F(FolderSets, DeletingTheCurrentSetInTheMiddleMakesItsSuccessorCurrent) {
  makeSet("a");
  makeSet("c");
  makeSet("b");
  EXPECT_EQ(setNames(*store), (Names{"Default Set", "a", "b", "c"}));
  EXPECT_TRUE(store->deleteSet("b"));
  EXPECT_EQ(store->currentSet(), "c");
  EXPECT_EQ(onlyFavorite(), "c");
  EXPECT_FALSE(host.root().exists(storePath("b")));
}

TEST_F(FolderSets, DeletingTheCurrentSetThatStandsLastMakesTheNewLastCurrent) {
  makeSet("a");
  makeSet("b");
  EXPECT_TRUE(store->deleteSet("b"));
  EXPECT_EQ(store->currentSet(), "a");
  EXPECT_EQ(onlyFavorite(), "a");
}

TEST_F(FolderSets, DeletingAnotherSetDoesNotMakeTheStoreDirty) {
  makeSet("a");
  makeSet("b");
  store->setDirty(false);
  EXPECT_TRUE(store->deleteSet("a"));
  EXPECT_FALSE(store->dirty());
  EXPECT_EQ(store->currentSet(), "b");
}

TEST_F(FolderSets, TheLastSetCannotBeDeleted) {
  EXPECT_FALSE(store->deleteSet("Default Set"));
  EXPECT_FALSE(store->deleteSet("Nowhere"));
  EXPECT_EQ(setNames(*store), Names{"Default Set"});
}

TEST_F(FolderSets, DeletingRemovesOneNameAndKeepsTheOrder) {
  store->defaults()->setObject(Value(Array{Value("z"), Value(7), Value("a"), Value("z"), Value("m")}),
                               "folderSets");
  EXPECT_TRUE(store->deleteSet("z"));
  EXPECT_EQ(setNames(*store), (Names{"a", "z", "m"})) << "what is no string is dropped";
}

TEST_F(FolderSets, DeletingALinkedSetRemovesTheLinksTarget) {
  host.root().makeFolder("/Users/anna/Elsewhere");
  host.root().makeLink(storePath("Linked"), "/Users/anna/Elsewhere");
  makeSet("Linked");
  EXPECT_TRUE(store->deleteSet("Linked"));
  EXPECT_FALSE(host.root().exists("/Users/anna/Elsewhere"));
}

TEST_F(FolderSets, AFolderThatCannotBeRemovedKeepsItsSet) {
  makeSet("Work");
  makeSet("Home");
  host.interpose<tests::FailingFileSystem>(1, EACCES, tests::Operations::Changes,
                                           tests::FailingFileSystem::Lasting::Yes);
  host.log().clear();
  EXPECT_FALSE(store->deleteSet("Work"));
  EXPECT_EQ(setNames(*store), (Names{"Default Set", "Home", "Work"}));
  EXPECT_TRUE(host.log().contains("Unable to remove file://"));
}

// --- The list itself

TEST_F(FolderSets, ThatAreNoTextAreIgnoredAndDroppedWhenTheListIsWritten) {
  store->defaults()->setObject(
      Value(Array{Value(std::int64_t{7}), Value("A"), Value(Dictionary()), Value("B"), Value(true)}),
      "folderSets");
  store->setCurrentSet("B");
  EXPECT_EQ(store->currentSet(), "B");
  EXPECT_EQ(store->defaults()->arrayForKey("folderSets")->size(), 5U) << "reading writes nothing";
  EXPECT_TRUE(store->createSet("C", std::nullopt));
  EXPECT_EQ(store->defaults()->arrayForKey("folderSets"), (Array{Value("A"), Value("B"), Value("C")}));
}

TEST_F(FolderSets, ThatAreListedTwiceAreDeletedOneAtATime) {
  store->defaults()->setObject(Value(Array{Value("A"), Value("B"), Value("A")}), "folderSets");
  EXPECT_TRUE(store->deleteSet("A"));
  EXPECT_EQ(store->defaults()->arrayForKey("folderSets"), (Array{Value("B"), Value("A")}));
  EXPECT_TRUE(store->deleteSet("A"));
  EXPECT_EQ(store->defaults()->arrayForKey("folderSets"), (Array{Value("B")}));
}

TEST_F(FolderSets, WorkWithTenThousandNames) {
  Array names;
  for (int i = 0; i < 10000; ++i) {
    names.append(Value("set " + std::to_string(i)));
  }
  store->defaults()->setObject(Value(names), "folderSets");
  EXPECT_TRUE(store->createSet("another", std::nullopt));
  EXPECT_EQ(setNames(*store).size(), 10001U);
  EXPECT_TRUE(store->deleteSet("set 5000"));
  EXPECT_EQ(setNames(*store).size(), 10000U);
}

}  // namespace
}  // namespace vennick
