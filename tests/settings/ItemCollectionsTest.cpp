// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tests/settings/StoreTest.h"

namespace vennick {
namespace {

using macos::Dictionary;
using macos::NSDate;
using macos::NSURL;
using macos::Value;

class Collections : public tests::StoreTest {
 protected:
  Collections() : store(makeStore()) { store->setDirty(false); }

  NSURL makeFolder(const std::string& path) {
    host.root().makeFolder(path);
    return folder(path);
  }
  NSURL makeFile(const std::string& path) {
    host.root().writeFile(path, "x");
    return file(path);
  }
  NSURL makeApplication(const std::string& path) {
    makeBundle(path, "com.example." + path.substr(path.rfind('/') + 1));
    host.root().makeExecutable(path + "/Contents/MacOS/Vennick5", "");
    return folder(path);
  }
  std::string favoriteNames() const {
    std::string names;
    for (const SharedDictionary& entry : store->favorites()->items()->entries) {
      names += VKItem(entry).name().value_or("?") + " ";
    }
    return names;
  }
  bool takeDirty() {
    const bool dirty = store->dirty();
    store->setDirty(false);
    return dirty;
  }

  std::shared_ptr<VKSettings> store;
};

// --- Recents

TEST_F(Collections, KeepFiveTimesAsManyRecentFilesAndApplicationsAsFolders) {
  for (int i = 0; i < 60; ++i) {
    const std::string number = std::to_string(i);
    EXPECT_TRUE(store->addRecent(makeFile("/files/" + number), std::nullopt));
    EXPECT_TRUE(store->addRecent(makeApplication("/apps/" + number + ".app"), std::nullopt));
    EXPECT_TRUE(store->addRecent(makeFolder("/folders/" + number), std::nullopt));
    EXPECT_TRUE(store->addFinderRecent(folder("/folders/" + number), std::nullopt));
  }
  EXPECT_EQ(store->recentFiles()->count(), 50U);
  EXPECT_EQ(store->recentApplications()->count(), 50U);
  EXPECT_EQ(store->recentFolders()->count(), 10U);
  EXPECT_EQ(store->recentFinderFolders()->count(), 10U);
}

TEST_F(Collections, ReadTheLimitAtEachCallAndTakeLessThanOneForUnlimited) {
  store->defaults()->setInteger(2, "maxHistorySize");
  for (int i = 0; i < 5; ++i) {
    store->addRecent(makeFolder("/folders/" + std::to_string(i)), std::nullopt);
  }
  EXPECT_EQ(store->recentFolders()->count(), 2U);
  store->defaults()->setInteger(0, "maxHistorySize");
  for (int i = 0; i < 20; ++i) {
    store->addRecent(makeFolder("/more/" + std::to_string(i)), std::nullopt);
  }
  EXPECT_EQ(store->recentFolders()->count(), 22U);
}

TEST_F(Collections, PutAnApplicationAmongTheApplicationsAndAnotherPackageAmongTheFiles) {
  store->addRecent(makeApplication("/apps/Editor.app"), std::nullopt);
  store->addRecent(makeFolder("/docs/Letter.rtfd"), std::nullopt);
  EXPECT_EQ(store->recentApplications()->lastItem()->type(), kItemTypeFile);
  EXPECT_EQ(store->recentFiles()->lastItem()->name(), "Letter.rtfd");
  EXPECT_EQ(store->recentFiles()->lastItem()->type(), kItemTypeFile);
  EXPECT_EQ(store->recentFolders()->count(), 0U);
}

TEST_F(Collections, RefuseARecentThatIsGoneAndAreDirtyAllTheSame) {
  EXPECT_FALSE(store->addRecent(file("/gone"), std::nullopt));
  EXPECT_TRUE(takeDirty());
  EXPECT_FALSE(store->addFinderRecent(makeFile("/files/a"), std::nullopt));
  EXPECT_TRUE(takeDirty());
}

TEST_F(Collections, NeitherFindNorDeleteRecentApplications) {
  const NSURL application = makeApplication("/apps/Editor.app");
  store->addRecent(application, std::nullopt);
  EXPECT_FALSE(store->recentForURL(application));
  EXPECT_FALSE(store->deleteRecent(application));
  EXPECT_EQ(store->recentApplications()->count(), 1U);
}

TEST_F(Collections, FindAndDeleteRecentFoldersAndFiles) {
  const NSURL aFolder = makeFolder("/folders/a");
  const NSURL aFile = makeFile("/files/a");
  store->addRecent(aFolder, NSDate{1});
  store->addRecent(aFile, NSDate{2});
  EXPECT_EQ(store->recentForURL(aFolder)->date(), NSDate{1});
  EXPECT_EQ(store->recentForURL(aFile)->date(), NSDate{2});
  takeDirty();
  EXPECT_TRUE(store->deleteRecent(aFolder));
  EXPECT_TRUE(takeDirty());
  EXPECT_TRUE(store->deleteRecent(aFile));
  EXPECT_FALSE(store->deleteRecent(aFile));
  EXPECT_TRUE(takeDirty()) << "whether or not anything was found";
}

TEST_F(Collections, FindAndDeleteFinderRecents) {
  const NSURL aFolder = makeFolder("/folders/a");
  EXPECT_TRUE(store->addFinderRecent(aFolder, std::nullopt));
  EXPECT_TRUE(store->finderRecentForURL(aFolder));
  EXPECT_FALSE(store->recentForURL(aFolder));
  EXPECT_TRUE(store->deleteFinderRecent(aFolder));
  EXPECT_FALSE(store->deleteFinderRecent(aFolder));
}

// --- Favorites

TEST_F(Collections, TakeAFavoriteThatDoesNotExist) {
  EXPECT_TRUE(store->addFavorite(file("/gone"), std::nullopt, std::nullopt));
  EXPECT_EQ(store->favorites()->lastItem()->type(), kItemTypeFolder);
  EXPECT_TRUE(takeDirty());
}

TEST_F(Collections, GiveAFavoriteItsTypeDateAndHotkey) {
  const Dictionary hotkey{{"keyCode", Value(1)}};
  EXPECT_TRUE(store->addFavorite(makeFile("/files/a"), NSDate{5}, hotkey));
  EXPECT_EQ(store->favorites()->lastItem()->type(), kItemTypeFile);
  EXPECT_EQ(store->favorites()->lastItem()->date(), NSDate{5});
  EXPECT_EQ(store->favorites()->lastItem()->hotkey(), hotkey);
  EXPECT_TRUE(store->favoriteForURL(file("/files/a")));
  takeDirty();
  EXPECT_TRUE(store->deleteFavorite(file("/files/a")));
  EXPECT_FALSE(store->deleteFavorite(file("/files/a")));
  EXPECT_TRUE(takeDirty());
}

TEST_F(Collections, TakeASeparatorAmongTheFavoritesAndSortAllTheSame) {
  store->defaults()->setBool(true, "favoritesStaySorted");
  store->addFavorite(makeFolder("/b"), std::nullopt, std::nullopt);
  EXPECT_TRUE(store->addFavorite(std::nullopt, std::nullopt, std::nullopt));
  store->addFavorite(makeFolder("/A"), std::nullopt, std::nullopt);
  EXPECT_EQ(store->favorites()->count(), 3U);
  EXPECT_TRUE(favoriteNames().starts_with("A b "));
  EXPECT_EQ(store->favorites()->lastItem()->type(), kItemTypeSeparator);
}

TEST_F(Collections, SortFavoritesWithoutRegardToCaseAndNamelessOnesLast) {
  store->addFavorite(makeFolder("/c"), std::nullopt, std::nullopt);
  store->favorites()->lastItem()->setName(std::nullopt);
  store->addFavorite(makeFolder("/B"), std::nullopt, std::nullopt);
  store->addFavorite(makeFolder("/a"), std::nullopt, std::nullopt);
  EXPECT_EQ(favoriteNames(), "? B a ");
  store->defaults()->setBool(true, "favoritesStaySorted");
  store->addFavorite(folder("/a"), std::nullopt, std::nullopt);
  EXPECT_EQ(favoriteNames(), "a B ? ") << "sorted also when the newest entry was only refreshed";
}

// --- Dropped items

TEST_F(Collections, StampDroppedItemsAndKeepAsManyAsTheDefaultsSay) {
  for (int i = 0; i < 6; ++i) {
    EXPECT_TRUE(store->addDroppedItem(makeFile("/files/" + std::to_string(i))));
  }
  EXPECT_EQ(store->droppedItems()->count(), 4U);
  EXPECT_EQ(store->droppedItems()->lastItem()->date(), NSDate::date());
  EXPECT_TRUE(store->addDroppedItem(makeFolder("/folders/a")));
  EXPECT_EQ(store->droppedItems()->lastItem()->type(), kItemTypeFolder);
  takeDirty();
  EXPECT_FALSE(store->addDroppedItem(file("/gone")));
  EXPECT_TRUE(takeDirty());
  EXPECT_TRUE(store->droppedItemForURL(folder("/folders/a")));
  EXPECT_TRUE(store->deleteDroppedItem(folder("/folders/a")));
}

// --- Default folders

TEST_F(Collections, FindADefaultFolderThroughTheFallbacks) {
  store->addDefaultFolder(makeFolder("/any"), std::nullopt, std::nullopt);
  store->addDefaultFolder(makeFolder("/anyTxt"), std::nullopt, "txt");
  store->addDefaultFolder(makeFolder("/x"), "com.x", std::nullopt);
  store->addDefaultFolder(makeFolder("/xTxt"), "com.x", "txt");
  const auto found = [&](const std::optional<std::string>& application,
                         const std::optional<std::string>& type) {
    const auto item = store->defaultFolderForApp(application, type);
    return item ? item->url()->path() : "";
  };
  EXPECT_EQ(found("com.x", "txt"), "/xTxt");
  EXPECT_EQ(found("com.x", "rtf"), "/x");
  EXPECT_EQ(found("com.x", ""), "/x") << "an empty file type counts as none";
  EXPECT_EQ(found("com.y", "txt"), "/anyTxt");
  EXPECT_EQ(found("com.y", "rtf"), "/any");
  EXPECT_EQ(found("", ""), "/any");
}

TEST_F(Collections, WithTwoEmptyStringsFirstFindEntriesWithNeitherList) {
  store->addDefaultFolder(makeFolder("/any"), std::nullopt, std::nullopt);
  store->addDefaultFolder(file("/gone"), "com.x", "txt");  // truncated: no lists
  EXPECT_EQ(store->defaultFolderForApp("", "")->url()->path(), "/gone");
}

TEST_F(Collections, DeleteDefaultFoldersWithoutThatCourtesy) {
  store->addDefaultFolder(makeFolder("/x"), "com.x", "txt");
  takeDirty();
  EXPECT_FALSE(store->deleteDefaultFolderForApp("com.x", "")) << "an empty string is a string";
  EXPECT_FALSE(store->deleteDefaultFolderForApp("com.y", "txt")) << "and \"*\" no fallback";
  EXPECT_TRUE(takeDirty());
  EXPECT_TRUE(store->deleteDefaultFolderForApp("com.x", "txt"));
  EXPECT_EQ(store->defaultFolders()->count(), 0U);
}

TEST_F(Collections, AreDirtyAfterEveryChange) {
  const NSURL aFolder = makeFolder("/folders/a");
  const NSURL aFile = makeFile("/files/a");
  store->addRecent(makeApplication("/apps/Editor.app"), std::nullopt);
  EXPECT_TRUE(takeDirty());
  store->addRecent(aFile, std::nullopt);
  EXPECT_TRUE(takeDirty());
  store->addRecent(aFolder, std::nullopt);
  EXPECT_TRUE(takeDirty());
  store->addFinderRecent(aFolder, std::nullopt);
  EXPECT_TRUE(takeDirty());
  store->deleteFinderRecent(aFolder);
  EXPECT_TRUE(takeDirty());
  store->addDroppedItem(aFile);
  EXPECT_TRUE(takeDirty());
  store->deleteDroppedItem(aFile);
  EXPECT_TRUE(takeDirty());
  store->addDefaultFolder(aFolder, "com.x", "txt");
  EXPECT_TRUE(takeDirty());
  store->deleteDefaultFolderForApp("com.x", "txt");
  EXPECT_TRUE(takeDirty());
  store->addFavorite(std::nullopt, std::nullopt, std::nullopt);
  EXPECT_TRUE(takeDirty());
}

TEST_F(Collections, AreNotDirtyAfterALookUp) {
  const NSURL aFolder = makeFolder("/folders/a");
  store->recentForURL(aFolder);
  store->finderRecentForURL(aFolder);
  store->favoriteForURL(aFolder);
  store->droppedItemForURL(aFolder);
  store->defaultFolderForApp("com.x", "txt");
  EXPECT_FALSE(store->dirty());
}

TEST_F(Collections, AChangeMadeStraightOnAListDoesNotMakeTheStoreDirty) {
  store->favorites()->addURL({.url = makeFolder("/a"), .type = kItemTypeFolder});
  store->favorites()->lastItem()->setName("b");
  EXPECT_FALSE(store->dirty());
}

}  // namespace
}  // namespace vennick
