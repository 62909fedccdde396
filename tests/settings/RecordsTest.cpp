// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tests/settings/StoreTest.h"

namespace vennick {
namespace {

using macos::Array;
using macos::Dictionary;
using macos::Value;

class Records : public tests::StoreTest {
 protected:
  Records() : store(makeStore()) {
    host.root().makeFolder("/a");
    host.root().makeFolder("/b");
    store->setHotkeys({});
    store->setDirty(false);
  }

  static Dictionary key(int code, int flags, const char* characters = "x") {
    return {{"keyCode", Value(code)},
            {"modifierFlags", Value(flags)},
            {"charactersIgnoringModifiers", Value(characters)}};
  }
  std::size_t reboundCount(std::string_view application) const {
    return store->rebound()->array(application)->size();
  }

  std::size_t actionCount(std::string_view application) const {
    const Dictionary actions = store->saveActions().dictionary();
    return actions.array(application)->size();
  }

  std::shared_ptr<VKSettings> store;
};

// --- Rebound history

TEST_F(Records, ReboundIsMostRecentFirstAndNeverAnswersYes) {
  EXPECT_FALSE(store->addRebound("1.txt", folder("/a"), "com.x"));
  EXPECT_FALSE(store->addRebound("2.txt", folder("/b"), "com.x"));
  EXPECT_TRUE(store->dirty());
  EXPECT_EQ(*store->rebound()->array("com.x"),
            (Array{Value(Dictionary{{"url", Value("file:///b/")}, {"name", Value("2.txt")}}),
                   Value(Dictionary{{"url", Value("file:///a/")}, {"name", Value("1.txt")}})}));
}

TEST_F(Records, ReboundRenamesAndMovesAKnownLocationToTheFront) {
  store->addRebound("1.txt", folder("/a"), "com.x");
  store->addRebound("2.txt", folder("/b"), "com.x");
  store->addRebound("3.txt", folder("/a"), "com.x");
  EXPECT_EQ(reboundCount("com.x"), 2U);
  EXPECT_EQ((*store->rebound()->array("com.x"))[0].ifDictionary()->string("name"), "3.txt");
  EXPECT_EQ(store->reboundForURL(folder("/a"), "com.x"), "3.txt");
  EXPECT_EQ(store->reboundForURL(folder("/a"), "com.y"), std::nullopt);
}

TEST_F(Records, ReboundKeepsAsManyAsTheDefaultsSayAtEachCall) {
  const auto addFiles = [&](int count) {
    for (int i = 0; i < count; ++i) {
      store->addRebound("x", file("/file " + std::to_string(i)), "com.x");
    }
  };
  addFiles(5);
  EXPECT_EQ(reboundCount("com.x"), 3U);
  store->defaults()->setInteger(1, "reboundHistorySize");
  addFiles(1);
  EXPECT_EQ(reboundCount("com.x"), 1U);
  store->defaults()->setInteger(0, "reboundHistorySize");
  addFiles(1);
  EXPECT_EQ(reboundCount("com.x"), 0U);
  store->defaults()->setInteger(-1, "reboundHistorySize");
  addFiles(9);
  EXPECT_EQ(reboundCount("com.x"), 9U);
}

TEST_F(Records, ReboundWithoutAnApplicationOrLocationChangesNothing) {
  EXPECT_FALSE(store->addRebound("x", folder("/a"), std::nullopt));
  EXPECT_FALSE(store->addRebound("x", std::nullopt, "com.x"));
  EXPECT_FALSE(store->dirty());
  EXPECT_TRUE(store->rebound()->empty());
}

TEST_F(Records, ReboundIsDeletedByItsLocation) {
  store->addRebound("1.txt", folder("/a"), "com.x");
  store->setDirty(false);
  EXPECT_FALSE(store->deleteRebound("other", folder("/a"), "com.y"));
  EXPECT_FALSE(store->dirty());
  EXPECT_FALSE(store->deleteRebound("other", folder("/b"), "com.x"));
  EXPECT_TRUE(store->dirty()) << "set as soon as the application has a list";
  EXPECT_TRUE(store->deleteRebound("not consulted", folder("/a"), "com.x"));
  EXPECT_EQ(reboundCount("com.x"), 0U);
}

TEST_F(Records, ReboundAnnouncesItsChanges) {
  int changes = 0;
  const auto token = store->addObserver("rebound", 0, [&](std::string_view, const auto&) { ++changes; });
  store->addRebound("1.txt", folder("/a"), "com.x");
  store->deleteRebound(std::nullopt, folder("/a"), "com.x");
  EXPECT_EQ(changes, 2);
}

TEST_F(Records, ReboundReplacesAMistypedValue) {
  store->setRebound(Dictionary{{"com.x", Value("no list")}});
  store->addRebound("1.txt", folder("/a"), "com.x");
  EXPECT_EQ(reboundCount("com.x"), 1U);
}

// --- Last folders

TEST_F(Records, LastFoldersAreKeptByApplicationAndDialogType) {
  EXPECT_TRUE(store->addLastFolder(folder("/a"), "com.x", 1));
  EXPECT_TRUE(store->dirty());
  EXPECT_EQ(store->lastFolders()->string("com.x+1"), "file:///a/");
  EXPECT_EQ(store->lastFolderForApp("com.x", 1), folder("/a"));
  EXPECT_EQ(store->lastFolderForApp("com.x", 2), std::nullopt);
  store->setDirty(false);
  EXPECT_TRUE(store->deleteLastFolderForApp("com.x", 1));
  EXPECT_TRUE(store->deleteLastFolderForApp("com.x", 1)) << "also when there was nothing to remove";
  EXPECT_TRUE(store->dirty());
  EXPECT_EQ(store->lastFolderForApp("com.x", 1), std::nullopt);
}

TEST_F(Records, DialogTypesMayBeNegative) {
  store->addLastFolder(folder("/a"), "com.x", -3);
  EXPECT_TRUE(store->lastFolders()->contains("com.x+-3"));
}

// --- File actions

TEST_F(Records, FileActionsKeepOneEntryForAName) {
  EXPECT_TRUE(store->addFileAction("open", "a", true, "com.x"));
  EXPECT_TRUE(store->addFileAction("open", std::nullopt, false, "com.x"));
  const auto entry = store->fileAction("open", "com.x");
  ASSERT_TRUE(entry);
  EXPECT_EQ(*entry,
            (Dictionary{{"name", Value("open")}, {"argument", Value("")}, {"enabled", Value(false)}}));
  EXPECT_EQ(actionCount("com.x"), 1U);
}

TEST_F(Records, FileActionsAreHandedOutLive) {
  store->addFileAction("open", "a", true, "com.x");
  store->fileAction("open", "com.x")->set("argument", Value("b"));
  EXPECT_EQ(store->fileAction("open", "com.x")->string("argument"), "b");
}

TEST_F(Records, DeletingTheLastFileActionKeepsTheApplicationsList) {
  store->addFileAction("open", "a", true, "com.x");
  EXPECT_FALSE(store->deleteFileAction("close", "com.x"));
  EXPECT_FALSE(store->deleteFileAction("open", "com.y"));
  EXPECT_TRUE(store->deleteFileAction("open", "com.x"));
  EXPECT_EQ(store->fileAction("open", "com.x"), nullptr);
  EXPECT_EQ(store->saveActions().dictionary(), (Dictionary{{"com.x", Value(Array{})}}));
}

TEST_F(Records, FileActionsAnnounceTheirChanges) {
  int changes = 0;
  const auto token = store->addObserver("saveActions", 0, [&](std::string_view, const auto&) { ++changes; });
  store->addFileAction("open", "a", true, "com.x");
  store->addFileAction("open", "b", true, "com.x");
  store->deleteFileAction("open", "com.x");
  EXPECT_EQ(changes, 3);
  store->deleteFileAction("open", "com.x");
  EXPECT_EQ(changes, 3) << "nothing was removed";
}

TEST_F(Records, OfActionsFramesAndWidthsDoNotMakeTheStoreDirty) {
  store->addFileAction("open", "a", true, "com.x");
  store->deleteFileAction("open", "com.x");
  store->saveFrame({1, 2, 3, 4}, "com.x", 1);
  store->saveSidebarWidth(7, "com.x", 1);
  EXPECT_FALSE(store->dirty());
}

// --- Frames and widths

TEST_F(Records, FramesAndWidthsOfAnUnknownApplicationAreZero) {
  EXPECT_EQ(store->frameForApp("com.x", 1), NSRect());
  EXPECT_EQ(store->sidebarWidthForApp("com.x", 1), 0.0F);
}

TEST_F(Records, FramesAreStoredAsTextAndWidthsAsSinglePrecisionNumbers) {
  store->saveFrame({0, -10, 100, 20.5}, "com.x", 1);
  EXPECT_EQ(store->framesForApps().string("com.x+1"), "{{0, -10}, {100, 20.5}}");
  store->saveSidebarWidth(0.1F, "com.x", 1);
  EXPECT_EQ(store->sidebarWidthsForApps().real("com.x+1"), static_cast<double>(0.1F));
  EXPECT_EQ(store->sidebarWidthForApp("com.x", 1), 0.1F);
  store->setSidebarWidthsForApps({{"com.x+1", Value(150)}});
  EXPECT_EQ(store->sidebarWidthForApp("com.x", 1), 150.0F) << "a width written as an integer";
}

// --- Hotkeys

TEST_F(Records, AddingAHotkeyForAnActionReplacesTheOldOneAtTheEnd) {
  store->addHotkey(key(1, 1), 1, "a:", "A");
  store->addHotkey(key(2, 1), 1, "b:", "B");
  EXPECT_TRUE(store->addHotkey(key(3, 1), 2, "a:", "A again"));
  ASSERT_EQ(store->hotkeys().size(), 2U);
  EXPECT_EQ(store->hotkeys()[0]->string("action"), "b:");
  EXPECT_EQ(*store->hotkeys()[1], (Dictionary{{"context", Value(2U)},
                                              {"action", Value("a:")},
                                              {"key", Value(key(3, 1))},
                                              {"name", Value("A again")}}));
  EXPECT_TRUE(store->dirty());
}

TEST_F(Records, AddingAHotkeyWithoutAnActionRemovesTheFirstEntryOfTheTable) {
  store->addHotkey(key(1, 1), 1, "a:", "A");
  store->addHotkey(key(2, 1), 1, "b:", "B");
  store->addHotkey(key(3, 1), 1, std::nullopt, "none");
  ASSERT_EQ(store->hotkeys().size(), 2U);
  EXPECT_EQ(store->hotkeys()[0]->string("action"), "b:");
}

TEST_F(Records, HotkeysMatchByKeyCodeAndModifiersAlone) {
  store->addHotkey(key(1, 1, "x"), 1, "a:", "A");
  EXPECT_TRUE(store->hotkeyEntryForHotkey(key(1, 1, "y")));
  EXPECT_FALSE(store->hotkeyEntryForHotkey(key(2, 1)));
  EXPECT_FALSE(store->hotkeyEntryForHotkey(key(1, 2)));
}

TEST_F(Records, HotkeysThatBothLackAValueAgreeOnIt) {
  store->addHotkey({{"keyCode", Value(1)}}, 1, "a:", "A");
  EXPECT_TRUE(store->hotkeyEntryForHotkey({{"keyCode", Value(1)}, {"other", Value(1)}}));
  EXPECT_FALSE(store->hotkeyEntryForHotkey(key(1, 0)));
}

TEST_F(Records, AnEntryWithoutAKeyMatchesNoHotkey) {
  store->setHotkeys({std::make_shared<Dictionary>(Dictionary{{"action", Value("a:")}})});
  EXPECT_FALSE(store->hotkeyEntryForHotkey({}));
}

TEST_F(Records, HotkeysAreDeletedByKeyByActionOrByBoth) {
  const auto fill = [&] {
    store->setHotkeys({});
    store->addHotkey(key(1, 1), 1, "a:", "A");
    store->addHotkey(key(2, 1), 1, "b:", "B");
    store->addHotkey(key(1, 1), 1, "c:", "C");
    store->setDirty(false);
  };
  const auto actions = [&] {
    std::string text;
    for (const auto& entry : store->hotkeys()) text += *entry->string("action");
    return text;
  };
  fill();
  EXPECT_TRUE(store->deleteHotkey(key(1, 1), std::nullopt));
  EXPECT_EQ(actions(), "b:c:") << "only the first";
  EXPECT_TRUE(store->dirty());
  fill();
  EXPECT_TRUE(store->deleteHotkey(key(1, 1), "c:"));
  EXPECT_EQ(actions(), "a:b:");
  fill();
  EXPECT_TRUE(store->deleteHotkey(std::nullopt, "b:"));
  EXPECT_EQ(actions(), "a:c:");
  fill();
  EXPECT_TRUE(store->deleteHotkey(std::nullopt, std::nullopt));
  EXPECT_EQ(actions(), "b:c:") << "with neither, the first entry goes";
  fill();
  EXPECT_FALSE(store->deleteHotkey(key(9, 9), std::nullopt));
  EXPECT_FALSE(store->dirty());
}

TEST_F(Records, HotkeysOfAContextShareABitWithTheMask) {
  store->addHotkey(key(1, 1), 3, "a:", "A");
  store->addHotkey(key(2, 1), 4, "b:", "B");
  store->addHotkey({{"keyCode", Value(1)}}, 2, "incomplete:", "C");
  EXPECT_TRUE(store->hotkeyEntriesForContext(0).empty());
  const auto entries = store->hotkeyEntriesForContext(2);
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0], store->hotkeys()[0]) << "the stored entry itself";
}

TEST_F(Records, AContextIsComparedAs32BitsAndAMistypedOneIsZero) {
  store->addHotkey(key(1, 1), 1, "a:", "A");
  store->hotkeys()[0]->set("context", Value(std::int64_t{0x1'0000'0002}));
  EXPECT_EQ(store->hotkeyEntriesForContext(2).size(), 1U);
  store->hotkeys()[0]->set("context", Value(2.0));
  EXPECT_EQ(store->hotkeyEntriesForContext(2).size(), 1U) << "a number of another kind";
  store->hotkeys()[0]->set("context", Value(true));
  EXPECT_EQ(store->hotkeyEntriesForContext(1).size(), 1U);
  store->hotkeys()[0]->set("context", Value("2"));
  EXPECT_TRUE(store->hotkeyEntriesForContext(0xFFFFFFFF).empty());
}

TEST_F(Records, HotkeyForAnActionPassesOverIncompleteEntries) {
  store->setHotkeys(
      {std::make_shared<Dictionary>(
           Dictionary{{"action", Value("a:")}, {"key", Value(Dictionary{{"keyCode", Value(1)}})}}),
       std::make_shared<Dictionary>(Dictionary{{"action", Value("a:")}, {"key", Value(key(2, 2))}})});
  store->setDirty(false);
  EXPECT_EQ(store->hotkeyEntryForAction("a:"), store->hotkeys()[1]);
  EXPECT_EQ(store->hotkeyEntryForAction("b:"), nullptr);
  EXPECT_EQ(store->hotkeyEntryForAction(std::nullopt), nullptr);
  EXPECT_FALSE(store->dirty()) << "looking up rewrites keys without making the store dirty";
}

TEST_F(Records, HotkeysAnnounceIndexedChanges) {
  std::vector<std::string> notices;
  const auto token = store->addObserver("hotkeys", 0, [&](std::string_view, const auto& change) {
    notices.push_back(std::to_string(static_cast<int>(change.kind)) + "@" +
                      std::to_string(change.indexes.at(0)));
  });
  store->addHotkey(key(1, 1), 1, "a:", "A");
  store->addHotkey(key(2, 1), 1, "b:", "B");
  store->deleteHotkey(std::nullopt, "a:");
  EXPECT_EQ(notices, (std::vector<std::string>{"2@0", "2@1", "3@0"}));
}

TEST_F(Records, HotkeysGoIntoTheDefaultsWhenTheStoreIsSaved) {
  store->addHotkey(key(1, 1), 1, "a:", "A");
  store->save();
  const Dictionary domain = storedDomain();
  EXPECT_EQ(domain.array("keyBindings")->size(), 1U);
}

}  // namespace
}  // namespace vennick
