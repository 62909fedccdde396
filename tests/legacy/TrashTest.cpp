// SPDX-License-Identifier: MIT
#include "legacy/Trash.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/BundleSketch.h"
#include "tests/support/LockingFileSystem.h"
#include "tests/support/References.h"
#include "tests/support/TemporaryMount.h"
#include "tests/support/TestHost.h"

using macos::FSRef;
using vennick::tests::FailingFileSystem;
using vennick::tests::ForwardingFileSystem;
using vennick::tests::LockingFileSystem;
using vennick::tests::Operations;
using vennick::tests::pathOf;
using vennick::tests::refTo;

namespace vennick {
namespace {

constexpr const char* kTrashed = "/Users/anna/Documents/a.txt";
constexpr const char* kTrash = "/Users/anna/.Trash";
using Names = std::vector<std::string>;

std::string inTrash(std::string_view name) { return std::string(kTrash) + "/" + std::string(name); }

// The names that an item gets, one after the other.
std::string copyName(const std::string& name, int number) {
  return number == 0 ? name : name + (number == 1 ? " copy" : " copy " + std::to_string(number));
}

// Nothing gets into the folder.
class ClosedFolder : public ForwardingFileSystem {
 public:
  ClosedFolder(std::shared_ptr<macos::FileSystem> inner, std::string folder)
      : ForwardingFileSystem(std::move(inner)), folder_(std::move(folder)) {}

  macos::Status rename(std::string_view from, std::string_view to, Replace replace) override {
    if (to.starts_with(folder_)) {
      ++attempts;
      return macos::Status::fromErrno(to, EACCES);
    }
    ++renames;
    return ForwardingFileSystem::rename(from, to, replace);
  }

  int attempts = 0;
  int renames = 0;

 private:
  const std::string folder_;
};

class Trash : public testing::Test {
 protected:
  Trash() {
    host_.root().writeFile(kTrashed, "text");
    host_.root().makeFolder("/Volumes/Disk");
    host_.volumes().change("/Volumes/Disk", [](macos::VolumeInfo&) {});
  }

  // A volume that has a file where its Trash would be.
  void makeVolumeWithoutTrash() { host_.root().writeFile("/Volumes/Disk/.Trashes", ""); }

  tests::TestHost host_;
  const std::string trashOnDisk_ = "/Volumes/Disk/.Trashes/" + std::to_string(::getuid());
};

// --- On one volume

TEST_F(Trash, MovesAnItemWithItsPartnerToTheUsersTrashAndTheReferenceWithIt) {
  host_.root().writeFile("/Users/anna/Documents/._a.txt", "partner");
  FSRef ref = refTo(kTrashed);
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_EQ(pathOf(ref), inTrash("a.txt"));
  EXPECT_EQ(host_.root().names(kTrash), Names({"._a.txt", "a.txt"}));
  EXPECT_EQ(host_.root().names("/Users/anna/Documents"), Names());
  EXPECT_EQ(host_.root().readFile(inTrash("a.txt")), "text");
}

TEST_F(Trash, MovesAWholeFolder) {
  FSRef ref = refTo("/Users/anna/Documents");
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_EQ(host_.root().readFile(inTrash("Documents/a.txt")), "text");
  EXPECT_FALSE(host_.root().exists("/Users/anna/Documents"));
}

TEST_F(Trash, MovesAnItemOfAnotherVolumeToThatVolumesOwnTrash) {
  host_.root().writeFile("/Volumes/Disk/b", "b");
  FSRef ref = refTo("/Volumes/Disk/b");
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_EQ(pathOf(ref), trashOnDisk_ + "/b");
  EXPECT_FALSE(host_.root().exists(kTrash));
}

TEST_F(Trash, LeavesAnItemThatIsInTheTrashAsItIs) {
  host_.root().writeFile(inTrash("a.txt"), "in the Trash");
  const auto before = host_.root().snapshot(kTrash);
  FSRef ref = refTo(inTrash("a.txt"));
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_EQ(pathOf(ref), inTrash("a.txt"));
  EXPECT_EQ(host_.root().snapshot(kTrash), before);
}

// The extension is a part of the name.
TEST_F(Trash, GivesTheItemTheNameOfACopyWhenItsNameIsTaken) {
  host_.root().writeFile(inTrash("a.txt"), "older");
  FSRef ref = refTo(kTrashed);
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_EQ(pathOf(ref), inTrash("a.txt copy"));
  EXPECT_EQ(host_.root().readFile(inTrash("a.txt")), "older");
  EXPECT_EQ(host_.root().readFile(inTrash("a.txt copy")), "text");
}

TEST_F(Trash, NumbersFurtherCopiesOfTheNameAsItWasBeforeTheFirstAttempt) {
  for (int number = 0; number < 4; ++number) {
    host_.root().writeFile(inTrash(copyName("a.txt", number)), "older");
  }
  FSRef ref = refTo(kTrashed);
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_EQ(pathOf(ref), inTrash("a.txt copy 4"));
  EXPECT_EQ(host_.root().names("/Users/anna/Documents"), Names());
}

TEST_F(Trash, NameIsTakenByItemsOfEveryKind) {
  host_.root().makeFolder(inTrash("a.txt"));
  host_.root().makeLink(inTrash("a.txt copy"), "nowhere");
  host_.root().writeFile(inTrash("._a.txt copy 2"), "a partner without an item");
  FSRef ref = refTo(kTrashed);
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_EQ(host_.root().names(kTrash), Names({"._a.txt copy 2", "a.txt", "a.txt copy", "a.txt copy 3"}));
}

TEST_F(Trash, RenameThatFailsDoesNotEndTheAttempts) {
  host_.root().writeFile(inTrash("a.txt"), "older");
  host_.root().writeFile("/Users/anna/Documents/a.txt copy", "in the way");
  FSRef ref = refTo(kTrashed);
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_EQ(pathOf(ref), inTrash("a.txt copy 2"));
  EXPECT_EQ(host_.root().readFile("/Users/anna/Documents/a.txt copy"), "in the way");
}

TEST_F(Trash, Has999AttemptsOfWhichTheLastMayStillSucceed) {
  for (int number = 0; number < 998; ++number) host_.root().writeFile(inTrash(copyName("a", number)), "");
  host_.root().writeFile("/Users/anna/Documents/a", "the last");
  FSRef ref = refTo("/Users/anna/Documents/a");
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_EQ(host_.root().readFile(inTrash("a copy 998")), "the last");
}

TEST_F(Trash, GivesUpAfter999Attempts) {
  for (int number = 0; number < 999; ++number) host_.root().writeFile(inTrash(copyName("a", number)), "");
  host_.root().writeFile("/Users/anna/Documents/a", "stays");
  FSRef ref = refTo("/Users/anna/Documents/a");
  EXPECT_EQ(MoveToTrash(ref, false), -48);
  EXPECT_EQ(pathOf(ref), "/Users/anna/Documents/a copy 998");
  EXPECT_EQ(host_.root().readFile("/Users/anna/Documents/a copy 998"), "stays");
}

// A rename does not help against any other failure, and is tried against all of them.
TEST_F(Trash, RenamesTheItemAfterAFailureOfAnyKind) {
  host_.root().makeFolder(kTrash);
  FSRef ref = refTo(kTrashed);
  const auto closed = host_.interpose<ClosedFolder>(kTrash);
  EXPECT_EQ(MoveToTrash(ref, false), -5000);
  EXPECT_EQ(closed->attempts, 999);
  EXPECT_EQ(closed->renames, 998);
  EXPECT_EQ(host_.root().names("/Users/anna/Documents"), Names({"a.txt copy 998"}));
  EXPECT_EQ(pathOf(ref), "/Users/anna/Documents/a.txt copy 998");
}

TEST_F(Trash, LockedItemStaysAsItIs) {
  FSRef ref = refTo(kTrashed);
  host_.interpose<LockingFileSystem>(std::set<std::string>{kTrashed});
  EXPECT_EQ(MoveToTrash(ref, false), -45);
  EXPECT_EQ(host_.root().names("/Users/anna/Documents"), Names({"a.txt"}));
}

TEST_F(Trash, NameThatHasNoRoomForMoreStaysAsItIs) {
  const std::string name(253, 'x');
  host_.root().writeFile(inTrash(name), "older");
  host_.root().writeFile("/Users/anna/Documents/" + name, "stays");
  FSRef ref = refTo("/Users/anna/Documents/" + name);
  EXPECT_EQ(MoveToTrash(ref, false), -48);
  EXPECT_EQ(host_.root().readFile("/Users/anna/Documents/" + name), "stays");
}

TEST_F(Trash, CopyIsNamedInTheUsersLanguage) {
  tests::TestHostOptions options;
  options.root = host_.sharedRoot();
  options.executable = tests::makeBundle(host_.root(), "/Applications/Tool.app", "Tool");
  host_.root().writeFile("/Applications/Tool.app/Contents/Resources/de.lproj/Localizable.strings",
                         "\"%@ copy\" = \"%@ Kopie\"; \"%@ copy %d\" = \"%2$d. Kopie von %1$@\";");
  tests::setLanguages(host_.root(), {"de"});
  tests::TestHost german(options);
  host_.root().writeFile(inTrash("a.txt"), "");
  FSRef ref = refTo(kTrashed);
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_EQ(pathOf(ref), inTrash("a.txt Kopie"));
  host_.root().writeFile(kTrashed, "");
  ref = refTo(kTrashed);
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_EQ(pathOf(ref), inTrash("2. Kopie von a.txt"));
}

// --- From volume to volume

TEST_F(Trash, CopiesToTheUsersTrashWhereTheVolumesOwnCannotBeMade) {
  makeVolumeWithoutTrash();
  host_.root().writeFile("/Volumes/Disk/folder/b", "b");
  host_.root().writeFile("/Volumes/Disk/._folder", "partner");
  host_.root().makeLink("/Volumes/Disk/folder/link", "/Users/anna/Documents");
  FSRef ref = refTo("/Volumes/Disk/folder");
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_EQ(pathOf(ref), inTrash("folder"));
  EXPECT_EQ(host_.root().names(kTrash), Names({"._folder", "folder"}));
  EXPECT_EQ(host_.root().readFile(inTrash("folder/b")), "b");
  EXPECT_EQ(host_.root().snapshot(inTrash("folder")).at("link"), "link /Users/anna/Documents");
  EXPECT_EQ(host_.root().names("/Volumes/Disk"), Names({".Trashes"}));
  EXPECT_TRUE(host_.root().exists(kTrashed));
}

TEST_F(Trash, CopiesFromARealVolume) {
  const auto volume = tests::TemporaryMount::volume(host_.root(), "/Volumes/Real", 1024 * 1024);
  if (!volume) GTEST_SKIP() << "nothing can be mounted here";
  host_.root().writeFile("/Volumes/Real/.Trashes", "");
  host_.root().writeFile("/Volumes/Real/b", "b");
  FSRef ref = refTo("/Volumes/Real/b");
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_EQ(pathOf(ref), inTrash("b"));
  EXPECT_FALSE(host_.root().exists("/Volumes/Real/b"));
}

// On one volume the older item would stay; here it does not.
TEST_F(Trash, CopyTakesThePlaceOfAnOlderItemOfTheName) {
  makeVolumeWithoutTrash();
  host_.root().writeFile("/Volumes/Disk/b", "new");
  host_.root().writeFile(inTrash("b/older"), "older");
  FSRef ref = refTo("/Volumes/Disk/b");
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_EQ(host_.root().names(kTrash), Names({"b"}));
  EXPECT_EQ(host_.root().readFile(inTrash("b")), "new");
}

TEST_F(Trash, CopyThatFailsLosesNothing) {
  makeVolumeWithoutTrash();
  host_.root().writeFile("/Volumes/Disk/b", "new");
  host_.root().writeFile(inTrash("b"), "older");
  FSRef ref = refTo("/Volumes/Disk/b");
  const FSRef given = ref;
  host_.interpose<FailingFileSystem>(1, ENOSPC, Operations::Changes);
  // The Trash is there, so that copying is the first change. It is full.
  EXPECT_EQ(MoveToTrash(ref, false), -34);
  EXPECT_EQ(ref.hidden, given.hidden);
  EXPECT_EQ(host_.root().readFile("/Volumes/Disk/b"), "new");
  EXPECT_EQ(host_.root().readFile(inTrash("b")), "older");
  EXPECT_EQ(host_.root().names(kTrash), Names({"b"}));
}

TEST_F(Trash, OriginalThatCannotBeDeletedKeepsItsReference) {
  makeVolumeWithoutTrash();
  host_.root().writeFile("/Volumes/Disk/b", "b");
  FSRef ref = refTo("/Volumes/Disk/b");
  host_.interpose<LockingFileSystem>(std::set<std::string>{"/Volumes/Disk/b"},
                                     LockingFileSystem::Unlocking::Refused);
  EXPECT_EQ(MoveToTrash(ref, false), -45);
  EXPECT_EQ(pathOf(ref), "/Volumes/Disk/b");
  EXPECT_EQ(host_.root().readFile(inTrash("b")), "b");
}

TEST_F(Trash, CopyOfALockedItemIsNotLockedAndTheOriginalIsDeleted) {
  makeVolumeWithoutTrash();
  host_.root().writeFile("/Volumes/Disk/b", "b");
  FSRef ref = refTo("/Volumes/Disk/b");
  const auto locking = host_.interpose<LockingFileSystem>(std::set<std::string>{"/Volumes/Disk/b"});
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_FALSE(host_.root().exists("/Volumes/Disk/b"));
  EXPECT_FALSE(locking->isLocked(inTrash("b")));
}

// --- What fails before anything is moved

TEST_F(Trash, ThatCannotBeMadeAnywhereLeavesTheItemWhereItIs) {
  makeVolumeWithoutTrash();
  host_.root().writeFile(kTrash, "a file in its place");
  host_.root().writeFile("/Volumes/Disk/b", "b");
  for (const char* path : {kTrashed, "/Volumes/Disk/b"}) {
    FSRef ref = refTo(path);
    EXPECT_EQ(MoveToTrash(ref, false), macos::errFSNotAFolder) << path;
    EXPECT_EQ(pathOf(ref), path);
  }
  host_.root().remove(kTrash);
  FSRef ref = refTo(kTrashed);
  host_.interpose<FailingFileSystem>(1, EROFS, Operations::Changes, FailingFileSystem::Lasting::Yes);
  EXPECT_EQ(MoveToTrash(ref, false), -5000);
  EXPECT_TRUE(host_.root().exists(kTrashed));
}

TEST_F(Trash, ItemThatIsGoneIsNotFound) {
  FSRef none;
  EXPECT_EQ(MoveToTrash(none, false), -43);
  FSRef gone = refTo(kTrashed);
  host_.root().remove(kTrashed);
  EXPECT_EQ(MoveToTrash(gone, false), -43);
  EXPECT_FALSE(host_.root().exists(kTrash));
}

}  // namespace
}  // namespace vennick
