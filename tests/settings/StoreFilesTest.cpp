// SPDX-License-Identifier: MIT
//
// What the store does with files that are not as it left them, and with a disk that fails.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>

#include "platform/FileQueries.h"
#include "tests/settings/StoreTest.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Python.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/TemporaryMount.h"

namespace vennick {
namespace {

using macos::Array;
using macos::Dictionary;
using macos::Value;

struct StoreFile {
  const char* name;
  Value::Kind kind;
};

constexpr StoreFile kFiles[] = {
    {"DialogSizes.plist", Value::Kind::Dictionary},
    {"SidebarSizes.plist", Value::Kind::Dictionary},
    {"Statistics.plist", Value::Kind::Dictionary},
    {"SaveActions.plist", Value::Kind::Dictionary},
    {"Default Set/Favorites.plist", Value::Kind::Array},
    {"Default Set/RecentFiles.plist", Value::Kind::Array},
    {"Default Set/RecentFolders.plist", Value::Kind::Array},
    {"Default Set/RecentFinderFolders.plist", Value::Kind::Array},
    {"Default Set/RecentApplications.plist", Value::Kind::Array},
    {"Default Set/DefaultFolders.plist", Value::Kind::Array},
    {"Default Set/DroppedItems.plist", Value::Kind::Array},
    {"Default Set/LastFolders.plist", Value::Kind::Dictionary},
    {"Default Set/Rebound.plist", Value::Kind::Dictionary},
};

class StoreFilesOfAUser : public tests::StoreTest {
 protected:
  static Array arrayContent(int number) {
    return {Value(Dictionary{{"name", Value("entry " + std::to_string(number))}})};
  }
  static Dictionary dictionaryContent(int number) { return {{"com.x", Value(arrayContent(number))}}; }
  static Value content(const StoreFile& file, int number) {
    return file.kind == Value::Kind::Array ? Value(arrayContent(number)) : Value(dictionaryContent(number));
  }

  void writeAll(int number) {
    for (const StoreFile& file : kFiles) {
      writePropertyList(storePath(file.name), content(file, number));
    }
  }

  void setAll(VKSettings& store, int number) {
    const Dictionary dictionary = dictionaryContent(number);
    store.setFramesForApps(dictionary);
    store.setSidebarWidthsForApps(dictionary);
    store.setUsageStatistics(dictionary);
    store.setSaveActions(EntryTable(dictionary, "test"));
    store.setLastFolders(dictionary);
    store.setRebound(dictionary);
    for (const CollectionNames& names : kCollections) {
      auto list = std::make_shared<ItemList>();
      const SharedEntries entries = entriesFromArray(arrayContent(number), "test");
      list->entries.assign(entries.begin(), entries.end());
      store.setItemList(names.collection, list);
    }
  }

  // The names beside a file that begin like its own.
  std::vector<std::string> damagedCopies(const StoreFile& file) {
    std::vector<std::string> copies;
    const std::string path = storePath(file.name);
    const std::size_t slash = path.rfind('/');
    for (const std::string& name : host.root().names(path.substr(0, slash))) {
      if (name.starts_with(path.substr(slash + 1) + ".damaged")) {
        copies.push_back(name);
      }
    }
    return copies;
  }
};

TEST_F(StoreFilesOfAUser, AreWrittenAsThePlatformWritesThem) {
  makeStore()->save();
  EXPECT_EQ(host.root().readFile(storePath("Default Set/Favorites.plist")),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
            "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
            "<plist version=\"1.0\">\n"
            "<array/>\n"
            "</plist>\n");
}

TEST_F(StoreFilesOfAUser, AreReadByAnIndependentReader) {
  const auto store = makeStore();
  setAll(*store, 1);
  ASSERT_TRUE(store->save());
  const std::string script =
      "import plistlib, pathlib, sys\n"
      "files = sorted(pathlib.Path(sys.argv[1]).rglob('*.plist'))\n"
      "for file in files:\n"
      "    value = plistlib.loads(file.read_bytes())\n"
      "    entry = value[0] if isinstance(value, list) else value['com.x'][0]\n"
      "    assert entry == {'name': 'entry 1'}, (file, value)\n"
      "assert len(files) == 13, files\n";
  host.root().writeFile("/check.py", script);
  const std::string command = std::string(tests::kPython) + " -S '" + host.root().hostPath("/check.py") +
                              "' '" + host.root().hostPath(kSettingsFolder) + "'";
  EXPECT_EQ(std::system(command.c_str()), 0);
}

TEST_F(StoreFilesOfAUser, AreWrittenWithoutWhatNoPropertyListCanHold) {
  const auto store = makeStore();
  setAll(*store, 1);
  store->setFramesForApps({{"gone", Value()}, {"kept", Value(1)}});
  auto list = std::make_shared<ItemList>();
  list->entries.push_back(
      std::make_shared<Dictionary>(Dictionary{{"name", Value("n")}, {"date", Value(macos::NSDate{1e300})}}));
  store->setItemList(Collection::Favorites, list);
  EXPECT_TRUE(store->save());
  EXPECT_EQ(propertyList(storePath("DialogSizes.plist")), Value(Dictionary{{"kept", Value(1)}}));
  EXPECT_EQ(propertyList(storePath("Default Set/Favorites.plist")),
            Value(Array{Value(Dictionary{{"name", Value("n")}})}));
  EXPECT_TRUE(host.log().contains("Favorites.plist: what no property list can hold is left out"));
}

TEST_F(StoreFilesOfAUser, ReadAsEmptyWhenTheyAreMissing) {
  const auto store = makeStore();
  EXPECT_EQ(store->favorites()->count(), 0U);
  EXPECT_TRUE(store->framesForApps().empty());
  EXPECT_TRUE(store->save());
}

TEST_F(StoreFilesOfAUser, ThatMakeNoSenseReadAsEmptyAndAreKeptBesideThemselves) {
  const std::string whole = "<plist><array><dict/></array></plist>";
  for (const std::string& bytes :
       {std::string(), whole.substr(0, 20), std::string("bplist00"), std::string(300, '\xFF')}) {
    for (const StoreFile& file : kFiles) {
      host.root().writeFile(storePath(file.name), bytes);
    }
    auto store = makeStore();
    EXPECT_TRUE(store->save());
    for (const StoreFile& file : kFiles) {
      EXPECT_EQ(propertyList(storePath(file.name)).kind(), file.kind) << file.name;
      const auto copies = damagedCopies(file);
      ASSERT_FALSE(copies.empty()) << file.name;
      EXPECT_TRUE(host.log().contains(file.name)) << file.name;
    }
  }
  EXPECT_EQ(damagedCopies(kFiles[0]).size(), 4U) << "each under a number of its own";
}

TEST_F(StoreFilesOfAUser, OfAnotherTypeAreKeptBesideThemselves) {
  for (const StoreFile& file : kFiles) {
    writePropertyList(storePath(file.name), Value("text"));
  }
  const auto store = makeStore();
  EXPECT_TRUE(store->save());
  for (const StoreFile& file : kFiles) {
    ASSERT_EQ(damagedCopies(file).size(), 1U) << file.name;
    EXPECT_EQ(propertyList(storePath(file.name) + ".damaged"), Value("text")) << file.name;
  }
  EXPECT_TRUE(store->save());
  EXPECT_EQ(damagedCopies(kFiles[0]).size(), 1U) << "what was written since is good";
}

TEST_F(StoreFilesOfAUser, AreNotOverwrittenWhenTheDamagedContentCannotBeKept) {
  host.root().writeFile(storePath("Default Set/Favorites.plist"), "no property list");
  const auto store = makeStore();
  class NoNewFiles : public tests::ForwardingFileSystem {
   public:
    using ForwardingFileSystem::ForwardingFileSystem;

   protected:
    macos::Status before(const tests::FileEvent& event) override {
      const bool makesCopy = event.path.find(".damaged") != std::string_view::npos;
      return makesCopy ? macos::Status::fromErrno(event.path, ENOSPC) : macos::Status();
    }
  };
  host.interpose<NoNewFiles>();
  EXPECT_FALSE(store->save());
  EXPECT_EQ(host.root().readFile(storePath("Default Set/Favorites.plist")), "no property list");
}

TEST_F(StoreFilesOfAUser, ThatBecameDamagedAfterTheyWereReadAreKeptToo) {
  writeAll(1);
  const auto store = makeStore();
  host.root().writeFile(storePath("Default Set/Favorites.plist"), "overwritten by somebody");
  EXPECT_TRUE(store->save());
  EXPECT_EQ(host.root().readFile(storePath("Default Set/Favorites.plist.damaged")),
            "overwritten by somebody");
}

// The second finds what the first wrote, which is no content for it, and keeps it.
TEST_F(StoreFilesOfAUser, ThatLeadToOneFileLoseNothing) {
  writeAll(1);
  const auto store = makeStore();
  setAll(*store, 2);
  host.root().remove(storePath("Default Set/Rebound.plist"));
  host.root().makeLink(storePath("Default Set/Rebound.plist"), "Favorites.plist");
  EXPECT_TRUE(store->save());
  EXPECT_EQ(propertyList(storePath("Default Set/Favorites.plist.damaged")), content(kFiles[4], 2));
}

TEST_F(StoreFilesOfAUser, DropEntriesThatAreNoDictionariesWithOneLogLine) {
  writePropertyList(storePath("Default Set/Favorites.plist"),
                    Value(Array{Value(1), Value(Dictionary{{"name", Value("a")}}), Value("text")}));
  const auto store = makeStore();
  EXPECT_EQ(store->favorites()->count(), 1U);
  int lines = 0;
  for (const std::string& message : host.log().messages()) {
    lines += message.find("Favorites.plist: dropped 2 entries that are no dictionaries") != std::string::npos;
  }
  EXPECT_EQ(lines, 1);
}

TEST_F(StoreFilesOfAUser, ThatCannotBeReadAreNeverReplaced) {
  writeAll(1);
  class Unreadable : public tests::ForwardingFileSystem {
   public:
    using ForwardingFileSystem::ForwardingFileSystem;

   protected:
    macos::Status before(const tests::FileEvent& event) override {
      const bool reads =
          event.operation == tests::FileOperation::Read && event.path.ends_with("Favorites.plist");
      return reads ? macos::Status::fromErrno(event.path, EIO) : macos::Status();
    }
  };
  host.interpose<Unreadable>();
  const auto store = makeStore();
  EXPECT_EQ(store->favorites()->count(), 0U);
  EXPECT_EQ(store->recentFiles()->count(), 1U) << "the others are read";
  EXPECT_FALSE(store->save());
  EXPECT_TRUE(store->dirty());
  EXPECT_EQ(propertyList(storePath("Default Set/Favorites.plist")), content(kFiles[4], 1));
  EXPECT_TRUE(host.log().contains("Favorites.plist: is left alone, since it could not be read"));
}

TEST_F(StoreFilesOfAUser, InAFoldersPlaceOrALinkLoopAreNeverReplaced) {
  host.root().makeFolder(storePath("Default Set/Favorites.plist"));
  host.root().makeLink(storePath("Default Set/Rebound.plist"), "Rebound.plist");
  const auto store = makeStore();
  EXPECT_FALSE(store->save());
  EXPECT_EQ(host.root().snapshot(storePath("Default Set/Favorites.plist")).at(""), "folder");
  EXPECT_EQ(host.root().snapshot(storePath("Default Set/Rebound.plist")).at(""), "link Rebound.plist");
  EXPECT_EQ(propertyList(storePath("Default Set/RecentFiles.plist")), Value(Array{}));
}

// What stands in each file's place is there after a save as it was before.
TEST_F(StoreFilesOfAUser, OfWhateverNameAreNeverReplacedWhenTheyCannotBeRead) {
  writeAll(1);
  class NothingToRead : public tests::ForwardingFileSystem {
   public:
    using ForwardingFileSystem::ForwardingFileSystem;

   protected:
    macos::Status before(const tests::FileEvent& event) override {
      const bool reads =
          event.operation == tests::FileOperation::Read && event.path.starts_with(kSettingsFolder);
      return reads ? macos::Status::fromErrno(event.path, EIO) : macos::Status();
    }
  };
  host.interpose<NothingToRead>();
  const auto before = host.root().snapshot(kSettingsFolder);
  EXPECT_FALSE(makeStore()->save());
  EXPECT_EQ(host.root().snapshot(kSettingsFolder), before);
}

TEST_F(StoreFilesOfAUser, OfWhateverNameAreNeverReplacedWhenAFolderOrALinkLoopIsInTheirPlace) {
  for (const bool isFolder : {true, false}) {
    for (const StoreFile& file : kFiles) {
      const std::string path = storePath(file.name);
      if (isFolder) {
        host.root().makeFolder(path);
      } else {
        host.root().remove(path);
        host.root().makeLink(path, path.substr(path.rfind('/') + 1));
      }
    }
    const auto before = host.root().snapshot(kSettingsFolder);
    EXPECT_FALSE(makeStore()->save());
    EXPECT_EQ(host.root().snapshot(kSettingsFolder), before) << isFolder;
  }
}

TEST_F(StoreFilesOfAUser, OfWhateverNameReplaceAnAliasFileWhoseTargetIsMissing) {
  host.root().makeFolder(storePath("Default Set"));
  host.root().writeFile("/Users/anna/Gone.plist", "x");
  for (const StoreFile& file : kFiles) {
    ASSERT_FALSE(createAliasFileAtURL(StoreTest::file("/Users/anna/Gone.plist"),
                                      StoreTest::file(storePath(file.name))));
  }
  host.root().remove("/Users/anna/Gone.plist");
  EXPECT_TRUE(makeStore()->save());
  for (const StoreFile& file : kFiles) {
    EXPECT_EQ(propertyList(storePath(file.name)).kind(), file.kind) << file.name;
    EXPECT_TRUE(damagedCopies(file).empty()) << file.name;
  }
}

TEST_F(StoreFilesOfAUser, AreNotWrittenIntoASettingsFolderThatIsAFile) {
  host.root().writeFile(kSettingsFolder, "a file");
  const auto store = makeStore();
  EXPECT_FALSE(store->save());
  EXPECT_TRUE(store->dirty());
  EXPECT_EQ(host.root().readFile(kSettingsFolder), "a file");
}

TEST_F(StoreFilesOfAUser, AreReadFromASettingsFolderThatCannotBeWritten) {
  const auto volume = tests::TemporaryMount::volume(host.root(), kSettingsFolder, 1 << 20);
  if (!volume) {
    GTEST_SKIP() << "nothing may be mounted here";
  }
  writeAll(1);
  ASSERT_TRUE(volume->makeReadOnly());
  const auto store = makeStore();
  EXPECT_EQ(store->favorites()->count(), 1U);
  setAll(*store, 2);
  EXPECT_FALSE(store->save());
  EXPECT_TRUE(store->dirty());
  for (const StoreFile& file : kFiles) {
    EXPECT_EQ(propertyList(storePath(file.name)), content(file, 1)) << file.name;
    EXPECT_TRUE(host.log().contains(storePath(file.name))) << file.name;
  }
}

TEST_F(StoreFilesOfAUser, StayAsTheyAreOnADiskThatIsFull) {
  constexpr std::uint64_t kSmall = std::uint64_t{160} << 10;
  const auto volume = tests::TemporaryMount::volume(host.root(), kSettingsFolder, kSmall);
  if (!volume) {
    GTEST_SKIP() << "nothing may be mounted here";
  }
  writeAll(1);
  const auto store = makeStore();
  Dictionary large = dictionaryContent(2);
  large.set("com.y", Value(std::string(kSmall, 'y')));
  store->setLastFolders(large);
  EXPECT_FALSE(store->save());
  EXPECT_TRUE(store->dirty());
  EXPECT_EQ(propertyList(storePath("Default Set/LastFolders.plist")), content(kFiles[11], 1));
  EXPECT_EQ(host.root().names(storePath("Default Set")).size(), 9U) << "nothing is left beside the files";
  EXPECT_TRUE(host.log().contains("LastFolders.plist: "));
  store->setLastFolders(dictionaryContent(2));
  EXPECT_TRUE(store->save()) << "there is room again";
}

TEST_F(StoreFilesOfAUser, MayVanishWithTheApplicationBetweenLoadAndSave) {
  const auto store = makeStore();
  host.root().remove("/Applications/Vennick 5.app");
  EXPECT_TRUE(store->save());
  EXPECT_TRUE(host.root().exists(storePath("Default Set/Favorites.plist")));
}

// --- A disk that fails

// Every file of the store is whole: with the old content or with the new.
class SaveCampaign : public StoreFilesOfAUser {
 protected:
  void expectEveryFileWhole(long nth) {
    for (const StoreFile& file : kFiles) {
      const Value value = propertyList(storePath(file.name));
      EXPECT_TRUE(value == content(file, 1) || value == content(file, 2))
          << file.name << " at operation " << nth;
    }
  }
  void expectNothingLeftBeside(long nth) {
    EXPECT_EQ(host.root().names(kSettingsFolder).size(), 5U) << nth;
    EXPECT_EQ(host.root().names(storePath("Default Set")).size(), 9U) << nth;
  }
};

TEST_F(SaveCampaign, AFailureAtAnyOperationLeavesEveryFileWholeAndTheNextSaveSucceeds) {
#ifdef VENNICK_SANITIZED
  // Each operation fails once, with one of the errors in turn; in the other builds with each of them.
  constexpr long kStride = 4;
#else
  constexpr long kStride = 1;
#endif
  long first = 0;
  for (const int error : {ENOSPC, EIO, EACCES, EINTR}) {
    SCOPED_TRACE(error);
    first = first % kStride + 1;
    for (long nth = first;; nth += kStride) {
      writeAll(1);
      const auto store = makeStore();
      ASSERT_EQ(store->favorites()->count(), 1U);
      setAll(*store, 2);
      const auto failing = host.interpose<tests::FailingFileSystem>(nth, error);
      const bool saved = store->save();
      const bool hasFailed = failing->hasFailed();
      host.removeInterposed();
      expectEveryFileWhole(nth);
      expectNothingLeftBeside(nth);
      if (!saved) {
        EXPECT_TRUE(store->dirty()) << nth;
      }
      ASSERT_TRUE(store->save()) << "after a failure at operation " << nth;
      for (const StoreFile& file : kFiles) {
        EXPECT_EQ(propertyList(storePath(file.name)), content(file, 2)) << file.name << " after " << nth;
      }
      if (!hasFailed) {
        EXPECT_GT(nth, 13);
        break;
      }
    }
  }
}

TEST_F(SaveCampaign, AKillAtAnyOperationLeavesEveryFileWholeAndTheNextSaveSucceeds) {
  using tests::KillingFileSystem;
  for (const auto moment : {KillingFileSystem::Moment::Before, KillingFileSystem::Moment::Midway,
                            KillingFileSystem::Moment::After}) {
    for (long nth = 1;; ++nth) {
      writeAll(1);
      const auto result = tests::runInChild([&] {
        const auto store = makeStore();
        setAll(*store, 2);
        host.interpose<KillingFileSystem>(nth, moment, tests::Operations::Changes);
        store->save();
      });
      expectEveryFileWhole(nth);
      if (result.succeeded()) {
        EXPECT_GT(nth, 13);
        break;
      }
      ASSERT_EQ(result.exitCode, KillingFileSystem::kExitCode) << nth;
      const auto store = makeStore();
      setAll(*store, 2);
      ASSERT_TRUE(store->save()) << "after a kill at change " << nth;
    }
  }
}

}  // namespace
}  // namespace vennick
