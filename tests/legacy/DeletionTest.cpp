// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "legacy/Trash.h"
#include "tests/support/LockingFileSystem.h"
#include "tests/support/MeddlingFileSystem.h"
#include "tests/support/References.h"
#include "tests/support/TestHost.h"

using macos::FSRef;
using macos::OSErr;
using vennick::tests::FileEvent;
using vennick::tests::FileOperation;
using vennick::tests::ForwardingFileSystem;
using vennick::tests::LockingFileSystem;
using vennick::tests::MeddlingFileSystem;
using vennick::tests::refTo;

namespace vennick {
namespace {

constexpr const char* kDeletedFolder = "/Users/anna/folder";
using Names = std::vector<std::string>;

class Deletion : public testing::Test {
 protected:
  Deletion() {
    host_.root().writeFile("/Users/anna/folder/a", "");
    host_.root().writeFile("/Users/anna/folder/b/c/d", "");
    host_.root().writeFile("/Users/anna/folder/b/e", "");
  }

  static OSErr deleteRecursively(std::string_view path) {
    const FSRef ref = refTo(path);
    return DeleteObjectRecursively(&ref);
  }
  bool exists(std::string_view path) { return host_.root().exists(path); }

  tests::TestHost host_;
};

TEST_F(Deletion, DeleteObjectRecursivelyOfNullIsAParameterError) {
  EXPECT_EQ(DeleteObjectRecursively(nullptr), -50);
}

TEST_F(Deletion, DeleteObjectRecursivelyOfAnItemThatIsGoneIsNotFound) {
  const FSRef none;
  EXPECT_EQ(DeleteObjectRecursively(&none), -43);
  const FSRef gone = refTo("/Users/anna/folder/a");
  host_.root().remove("/Users/anna/folder/a");
  EXPECT_EQ(DeleteObjectRecursively(&gone), -43);
}

TEST_F(Deletion, DeletesAFileAndNothingElse) {
  EXPECT_EQ(deleteRecursively("/Users/anna/folder/a"), 0);
  EXPECT_EQ(host_.root().names(kDeletedFolder), Names({"b"}));
}

TEST_F(Deletion, DeletesAFolderAfterAllThatIsInIt) {
  EXPECT_EQ(deleteRecursively(kDeletedFolder), 0);
  EXPECT_FALSE(exists(kDeletedFolder));
  EXPECT_TRUE(exists("/Users/anna"));
}

TEST_F(Deletion, DeletesManyItemsInADeepFolder) {
  std::string path = kDeletedFolder;
  for (int depth = 0; depth < 60; ++depth) path += "/x";
  for (int i = 0; i < 1500; ++i) host_.root().writeFile(path + "/" + std::to_string(i), "");
  EXPECT_EQ(deleteRecursively(kDeletedFolder), 0);
  EXPECT_FALSE(exists(kDeletedFolder));
}

TEST_F(Deletion, EmptiesAFolderOfPartnersWithAndWithoutTheirItems) {
  host_.root().writeFile("/Users/anna/._folder", "");
  host_.root().writeFile("/Users/anna/folder/._a", "");
  host_.root().writeFile("/Users/anna/folder/._lost", "");
  host_.root().writeFile("/Users/anna/folder/b/._c", "");
  EXPECT_EQ(deleteRecursively(kDeletedFolder), 0);
  EXPECT_FALSE(exists(kDeletedFolder));
  EXPECT_FALSE(exists("/Users/anna/._folder"));
}

TEST_F(Deletion, DeletesWhatIsNeitherFileNorFolder) {
  ASSERT_EQ(::mkfifo(host_.root().hostPath("/Users/anna/folder/pipe").c_str(), 0600), 0);
  EXPECT_EQ(deleteRecursively(kDeletedFolder), 0);
  EXPECT_FALSE(exists(kDeletedFolder));
}

TEST_F(Deletion, NeverFollowsLinks) {
  host_.root().writeFile("/Users/anna/kept/file", "");
  host_.root().makeLink("/Users/anna/folder/to folder", "/Users/anna/kept");
  host_.root().makeLink("/Users/anna/folder/to file", "../kept/file");
  host_.root().makeLink("/Users/anna/folder/to itself", "/Users/anna/folder");
  host_.root().makeLink("/Users/anna/folder/nowhere", "/none");
  EXPECT_EQ(deleteRecursively(kDeletedFolder), 0);
  EXPECT_FALSE(exists(kDeletedFolder));
  EXPECT_TRUE(exists("/Users/anna/kept/file"));
  host_.root().makeLink("/Users/anna/link", "kept");
  EXPECT_EQ(deleteRecursively("/Users/anna/link"), 0);
  EXPECT_TRUE(exists("/Users/anna/kept/file"));
}

TEST_F(Deletion, StopsAtTheFirstError) {
  const FSRef folder = refTo(kDeletedFolder);
  host_.interpose<tests::FailingFileSystem>(2, EACCES, tests::Operations::Changes);
  EXPECT_EQ(DeleteObjectRecursively(&folder), macos::afpAccessDenied);
  // In the order of the names: "a" is gone, "b/c/d" could not be deleted.
  EXPECT_FALSE(exists("/Users/anna/folder/a"));
  EXPECT_TRUE(exists("/Users/anna/folder/b/c/d"));
  EXPECT_TRUE(exists("/Users/anna/folder/b/e"));
}

TEST_F(Deletion, StopsAtAFolderThatCannotBeRead) {
  const FSRef folder = refTo(kDeletedFolder);
  class Unreadable : public ForwardingFileSystem {
    using ForwardingFileSystem::ForwardingFileSystem;
    macos::Status before(const FileEvent& event) override {
      return event.operation == FileOperation::List ? macos::Status::fromErrno(event.path, EACCES)
                                                    : macos::Status();
    }
  };
  host_.interpose<Unreadable>();
  EXPECT_EQ(DeleteObjectRecursively(&folder), macos::afpAccessDenied);
  EXPECT_TRUE(exists("/Users/anna/folder/a"));
}

TEST_F(Deletion, UnlocksLockedItems) {
  const FSRef folder = refTo(kDeletedFolder);
  host_.interpose<LockingFileSystem>(std::set<std::string>{"/Users/anna/folder/a", "/Users/anna/folder/b/e"});
  EXPECT_EQ(DeleteObjectRecursively(&folder), 0);
  EXPECT_FALSE(exists(kDeletedFolder));
}

TEST_F(Deletion, UnlocksItemsThatTheMachineItselfLocks) {
  if (!host_.files().setImmutable("/Users/anna/folder/a", true).ok()) {
    GTEST_SKIP() << "nothing can be locked here";
  }
  EXPECT_EQ(deleteRecursively(kDeletedFolder), 0);
  EXPECT_FALSE(exists(kDeletedFolder));
}

TEST_F(Deletion, StopsAtALockedItemThatCannotBeUnlocked) {
  const FSRef folder = refTo(kDeletedFolder);
  host_.interpose<LockingFileSystem>(std::set<std::string>{"/Users/anna/folder/b/c/d"},
                                     LockingFileSystem::Unlocking::Refused);
  EXPECT_EQ(DeleteObjectRecursively(&folder), -45);
  EXPECT_FALSE(exists("/Users/anna/folder/a"));
  EXPECT_TRUE(exists("/Users/anna/folder/b/c/d"));
  EXPECT_TRUE(exists("/Users/anna/folder/b/e"));
}

TEST_F(Deletion, UnlocksALockedFolderAfterItIsEmpty) {
  const FSRef empty = refTo("/Users/anna/folder/b/c");
  host_.root().remove("/Users/anna/folder/b/c/d");
  const auto locking = host_.interpose<LockingFileSystem>(
      std::set<std::string>{"/Users/anna/folder/b/c", "/Users/anna/folder"});
  EXPECT_EQ(DeleteObjectRecursively(&empty), 0);
  // A locked folder lets nothing in it be deleted, and its contents come first.
  const FSRef folder = refTo(kDeletedFolder);
  EXPECT_NE(DeleteObjectRecursively(&folder), 0);
  EXPECT_TRUE(exists("/Users/anna/folder/a"));
  EXPECT_TRUE(locking->isLocked(kDeletedFolder));
}

TEST_F(Deletion, PassesOverWhatSomebodyElseTookAwayMeanwhile) {
  const FSRef folder = refTo(kDeletedFolder);
  host_.root().writeFile("/Users/anna/folder/._b", "its folder goes first");
  host_.interpose<MeddlingFileSystem>(FileOperation::RemoveFile, "/Users/anna/folder/a",
                                      [this] { host_.root().remove("/Users/anna/folder/b"); });
  EXPECT_EQ(DeleteObjectRecursively(&folder), 0);
  EXPECT_FALSE(exists(kDeletedFolder));
}

TEST_F(Deletion, LeavesWhatSomebodyElseAddedMeanwhile) {
  const FSRef folder = refTo(kDeletedFolder);
  host_.interpose<MeddlingFileSystem>(FileOperation::RemoveFile, "/Users/anna/folder/b/c/d", [this] {
    host_.root().writeFile("/Users/anna/folder/b/c/new", "new");
  });
  EXPECT_EQ(DeleteObjectRecursively(&folder), -47);
  EXPECT_EQ(host_.root().names("/Users/anna/folder/b/c"), Names({"new"}));
}

TEST_F(Deletion, DoesNotTakeALinkForTheFolderThatItReplaced) {
  const FSRef folder = refTo(kDeletedFolder);
  host_.root().writeFile("/Users/anna/kept/file", "");
  ASSERT_TRUE(
      host_.files().rename(kDeletedFolder, "/Users/anna/kept/folder", macos::FileSystem::Replace::No).ok());
  host_.root().makeLink(kDeletedFolder, "/Users/anna/kept");
  EXPECT_EQ(DeleteObjectRecursively(&folder), -43);
  EXPECT_TRUE(exists("/Users/anna/kept/file"));
}

TEST_F(Deletion, DoesNotFollowALinkThatTakesAFoldersPlaceMeanwhile) {
  const FSRef folder = refTo(kDeletedFolder);
  host_.root().writeFile("/Users/anna/kept/e", "");
  host_.interpose<MeddlingFileSystem>(FileOperation::RemoveFile, "/Users/anna/folder/a", [this] {
    host_.root().remove("/Users/anna/folder/b");
    host_.root().makeLink("/Users/anna/folder/b", "/Users/anna/kept");
  });
  EXPECT_EQ(DeleteObjectRecursively(&folder), 0);
  EXPECT_TRUE(exists("/Users/anna/kept/e"));
}

}  // namespace
}  // namespace vennick
