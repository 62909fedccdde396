// SPDX-License-Identifier: MIT
//
// What the real file system changes, and what it leaves when it cannot.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "macos/host/PosixFileSystem.h"
#include "macos/host/RenameWithoutReplacing.h"
#include "tests/macos/host/FileSystemFixture.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryMount.h"

namespace macos {
namespace {

using vennick::tests::countSystemCalls;
using vennick::tests::expectAsOrdinaryUser;
using vennick::tests::expectInChild;
using vennick::tests::kOrdinaryUser;
using vennick::tests::TemporaryMount;
using vennick::tests::TemporaryRoot;
using Names = std::vector<std::string>;

class PosixFileSystemChanges : public FileSystemTest {
 protected:
  void SetUp() override {
    FileSystemTest::SetUp();
    root.makeFolder("/Users/anna/d");
  }
  // In a folder of its own, so that everything that is left can be seen.
  std::string d(const std::string& name) const { return anna("d/" + name); }
  std::string hostPath(const std::string& name) const { return root.hostPath("/Users/anna/d/" + name); }
  Names names() const { return root.names("/Users/anna/d"); }
  std::string content(const std::string& name) const { return root.readFile("/Users/anna/d/" + name); }
  mode_t modeOf(const std::string& name) const {
    struct stat found {};
    EXPECT_EQ(::lstat(hostPath(name).c_str(), &found), 0) << name;
    return found.st_mode & 07777;
  }
  void write(const std::string& name, const std::string& text, mode_t mode = 0644) const {
    root.writeFile("/Users/anna/d/" + name, text);
    ASSERT_EQ(::chmod(hostPath(name).c_str(), mode), 0);
  }
};
INSTANTIATE_TEST_SUITE_P(Ways, PosixFileSystemChanges, everyWay(), nameOfWay);

mode_t currentUmask() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return mask;
}

class Umask {
 public:
  explicit Umask(mode_t mask) : before_(::umask(mask)) {}
  ~Umask() { ::umask(before_); }

 private:
  mode_t before_;
};

TEST_P(PosixFileSystemChanges, ReplaceMakesANewFileWithItsModeLessTheUmask) {
  const Umask mask(0027);
  ASSERT_TRUE(files.replace(d("new"), "content", 0666).ok());
  EXPECT_EQ(content("new"), "content");
  EXPECT_EQ(modeOf("new"), 0640U);
  EXPECT_EQ(names(), Names{"new"});
}

TEST_P(PosixFileSystemChanges, ReplaceKeepsTheModeOfTheOldFileWhateverTheUmask) {
  const Umask mask(0077);
  write("old", "before", 0664);
  ASSERT_TRUE(files.replace(d("old"), "after", 0600).ok());
  EXPECT_EQ(content("old"), "after");
  EXPECT_EQ(modeOf("old"), 0664U);
  write("tool", "before", 0751);
  ASSERT_TRUE(files.replace(d("tool"), "", 0600).ok());
  EXPECT_EQ(content("tool"), "");
  EXPECT_EQ(modeOf("tool"), 0751U);
  EXPECT_EQ(names(), (Names{"old", "tool"}));
}

TEST_P(PosixFileSystemChanges, ReplaceReplacesALinkAndLeavesItsTarget) {
  write("target", "target");
  root.makeLink("/Users/anna/d/link", "target");
  ASSERT_TRUE(files.replace(d("link"), "new", 0600).ok());
  EXPECT_EQ(content("target"), "target");
  EXPECT_EQ(files.info(d("link"), FollowLinks::No)->kind, FileKind::File);
  EXPECT_EQ(content("link"), "new");
}

TEST_P(PosixFileSystemChanges, ReplaceLeavesAnotherNameOfTheOldFileAlone) {
  write("one", "before");
  ASSERT_EQ(::link(hostPath("one").c_str(), hostPath("two").c_str()), 0);
  ASSERT_TRUE(files.replace(d("one"), "after", 0644).ok());
  EXPECT_EQ(content("one"), "after");
  EXPECT_EQ(content("two"), "before");
}

TEST_P(PosixFileSystemChanges, ReplaceTakesNamesAsLongAsTheHostAllows) {
  const std::string plain(255, 'n');
  std::string accented;
  for (int i = 0; i < 127; ++i) accented += "\xC3\xA9";
  for (const std::string& name : {plain, accented, std::string("x") + accented}) {
    ASSERT_TRUE(files.replace(d(name), "one", 0644).ok()) << name.size();
    ASSERT_TRUE(files.replace(d(name), "two", 0644).ok()) << name.size();
    EXPECT_EQ(content(name), "two");
    ASSERT_TRUE(files.removeFile(d(name)).ok());
  }
  EXPECT_EQ(files.replace(d(plain + "n"), "x", 0644).errnoValue(), ENAMETOOLONG);
  EXPECT_EQ(names(), Names{});
}

TEST_P(PosixFileSystemChanges, ReplaceRefusesAFolderAndLeavesNothing) {
  root.makeFolder("/Users/anna/d/folder");
  EXPECT_EQ(files.replace(d("folder"), "x", 0644).errnoValue(), EISDIR);
  EXPECT_EQ(files.replace(d("folder/"), "x", 0644).errnoValue(), EISDIR);
  EXPECT_EQ(files.replace(d("."), "x", 0644).errnoValue(), EISDIR);
  EXPECT_EQ(files.replace(d("folder/.."), "x", 0644).errnoValue(), EISDIR);
  EXPECT_TRUE(files.replace(d("none/x"), "x", 0644).isNotFound());
  write("file", "");
  EXPECT_TRUE(files.replace(d("file/x"), "x", 0644).isNotFound());
  EXPECT_EQ(names(), (Names{"file", "folder"}));
}

TEST_P(PosixFileSystemChanges, ReplaceAllReplacesEachByItself) {
  write("old", "before", 0604);
  root.makeFolder("/Users/anna/d/folder");
  root.makeFolder("/Users/anna/elsewhere");
  const auto results = files.replaceAll({{d("old"), "after"},
                                         {d("folder"), "x"},
                                         {d("new"), "new"},
                                         {d("none/x"), "x"},
                                         {anna("elsewhere/y"), ""},
                                         {"", "x"}},
                                        0640);
  ASSERT_EQ(results.size(), 6U);
  EXPECT_TRUE(results[0].ok());
  EXPECT_EQ(results[1].errnoValue(), EISDIR);
  EXPECT_TRUE(results[2].ok());
  EXPECT_TRUE(results[3].isNotFound());
  EXPECT_NE(results[3].message().find(d("none/x")), std::string::npos);
  EXPECT_TRUE(results[4].ok());
  EXPECT_FALSE(results[5].ok());
  EXPECT_EQ(content("old"), "after");
  EXPECT_EQ(modeOf("old"), 0604U);
  EXPECT_EQ(content("new"), "new");
  EXPECT_EQ(modeOf("new"), 0640U & ~currentUmask());
  EXPECT_EQ(names(), (Names{"folder", "new", "old"}));
  EXPECT_EQ(root.names("/Users/anna/elsewhere"), Names{"y"});
  EXPECT_TRUE(files.replaceAll({}, 0644).empty());
}

TEST_P(PosixFileSystemChanges, ReplaceAllGivesAFileThatIsNamedTwiceTheLastContent) {
  const auto results = files.replaceAll({{d("a"), "first"}, {d("b"), "b"}, {d("a"), "last"}}, 0644);
  for (const Status& result : results) EXPECT_TRUE(result.ok());
  EXPECT_EQ(content("a"), "last");
  EXPECT_EQ(names(), (Names{"a", "b"}));
}

TEST_P(PosixFileSystemChanges, EveryReplacedFileIsFlushedOnce) {
  const std::vector<NewContent> contents = {{d("a"), "a"}, {d("b"), "b"}, {d("folder"), "x"}};
  root.makeFolder("/Users/anna/d/folder");
  const auto all = countSystemCalls([&] { files.replaceAll(contents, 0644); });
  const auto one = countSystemCalls([&] { (void)files.replace(d("a"), "again", 0644); });
  if (!all || !one) GTEST_SKIP() << "no process may be traced here";
  EXPECT_EQ(all->byNumber.at(SYS_fsync), 2);
  EXPECT_EQ(all->byNumber.at(SYS_renameat), 2);
  EXPECT_EQ(one->byNumber.at(SYS_fsync), 1);
}

// Between the first write and the first flush the disk may put them in the order that it likes best, and no
// file is replaced before all that can fail has been done for every one.
TEST_P(PosixFileSystemChanges, ReplaceAllWritesAllThenFlushesAllThenRenamesAll) {
  write("b", "old");
  const std::vector<NewContent> contents = {{d("a"), "a"}, {d("b"), "b"}, {d("c"), "c"}};
  const auto calls = countSystemCalls([&] { files.replaceAll(contents, 0644); });
  if (!calls) GTEST_SKIP() << "no process may be traced here";
  std::string order;
  for (const long call : calls->inOrder) {
    if (call == SYS_write) order += "write ";
    if (call == SYS_fsync) order += "flush ";
    if (call == SYS_renameat) order += "rename ";
  }
  EXPECT_EQ(order, "write write write flush flush flush rename rename rename ");
}

TEST_P(PosixFileSystemChanges, ReplaceWorksWhereTheOldFileMayNotBeWritten) {
  write("readonly", "before", 0400);
  root.giveTo(kOrdinaryUser);
  expectAsOrdinaryUser([&] {
    EXPECT_TRUE(files.replace(d("readonly"), "after", 0600).ok());
    EXPECT_EQ(modeOf("readonly"), 0400U);
  });
  EXPECT_EQ(content("readonly"), "after");
}

TEST_P(PosixFileSystemChanges, ReplaceLeavesEverythingWhereItIsNotAllowed) {
  write("old", "before");
  root.giveTo(kOrdinaryUser);
  ASSERT_EQ(::chmod(hostPath("").c_str(), 0500), 0);
  expectAsOrdinaryUser([&] {
    EXPECT_EQ(files.replace(d("old"), "after", 0600).code(), ErrorCode::PermissionDenied);
    EXPECT_EQ(files.replace(d("new"), "after", 0600).code(), ErrorCode::PermissionDenied);
  });
  EXPECT_EQ(content("old"), "before");
  EXPECT_EQ(names(), Names{"old"});
}

TEST_P(PosixFileSystemChanges, ALockedFileCannotBeReplacedAndNothingIsLeft) {
  write("locked", "before");
  if (!files.setImmutable(d("locked"), true).ok()) GTEST_SKIP() << "nothing can be locked here";
  EXPECT_TRUE(files.info(d("locked"), FollowLinks::No)->immutable);
  EXPECT_EQ(files.replace(d("locked"), "after", 0644).code(), ErrorCode::PermissionDenied);
  EXPECT_EQ(files.removeFile(d("locked")).code(), ErrorCode::PermissionDenied);
  EXPECT_EQ(names(), Names{"locked"});
  ASSERT_TRUE(files.setImmutable(d("locked"), false).ok());
  EXPECT_FALSE(files.info(d("locked"), FollowLinks::No)->immutable);
  EXPECT_TRUE(files.replace(d("locked"), "after", 0644).ok());
  EXPECT_EQ(content("locked"), "after");
}

TEST_P(PosixFileSystemChanges, OnlyFilesAndFoldersCanBeLocked) {
  root.makeLink("/Users/anna/d/link", "nowhere");
  ASSERT_EQ(::mkfifo(hostPath("pipe").c_str(), 0644), 0);
  EXPECT_EQ(files.setImmutable(d("link"), true).code(), ErrorCode::Unsupported);
  EXPECT_EQ(files.setImmutable(d("pipe"), true).code(), ErrorCode::Unsupported);
  EXPECT_TRUE(files.setImmutable(d("none"), true).isNotFound());
}

TEST_P(PosixFileSystemChanges, OnAFullDiskEveryFileIsTheOldOneAndNothingIsLeft) {
  const auto tiny = TemporaryMount::volume(root, "/Users/anna/d/tiny", 64 * 1024);
  if (!tiny) GTEST_SKIP() << "nothing may be mounted here";
  root.writeFile("/Users/anna/d/tiny/old", "before");
  const std::string large(200 * 1024, 'x');
  const Status status = files.replace(d("tiny/old"), large, 0644);
  EXPECT_EQ(status.errnoValue(), ENOSPC);
  EXPECT_EQ(status.code(), ErrorCode::Io);
  EXPECT_EQ(files.create(d("tiny/new"), large, 0644).errnoValue(), ENOSPC);
  write("large", large);
  EXPECT_EQ(files.copyFile(d("large"), d("tiny/copy")).errnoValue(), ENOSPC);
  EXPECT_EQ(root.names("/Users/anna/d/tiny"), Names{"old"});
  EXPECT_EQ(root.readFile("/Users/anna/d/tiny/old"), "before");
}

TEST_P(PosixFileSystemChanges, ReplaceAllNeedsRoomForOneFileOnly) {
  const auto small = TemporaryMount::volume(root, "/Users/anna/d/small", 88 * 1024);
  if (!small) GTEST_SKIP() << "nothing may be mounted here";
  const std::string before(24 * 1024, 'x');
  const std::string after(24 * 1024, 'y');
  std::vector<NewContent> contents;
  for (const char* const name : {"small/a", "small/b", "small/c"}) {
    write(name, before);
    contents.push_back({d(name), after});
  }
  ASSERT_EQ(files.create(d("small/fourth"), before, 0644).errnoValue(), ENOSPC);
  // So of new files beside two there is room for one.
  write("small/c", "");
  for (const Status& result : files.replaceAll(contents, 0644)) EXPECT_TRUE(result.ok()) << result.message();
  for (const char* const name : {"small/a", "small/b", "small/c"}) {
    EXPECT_TRUE(content(name) == after) << name;
  }
  EXPECT_EQ(root.names("/Users/anna/d/small"), (Names{"a", "b", "c"}));
}

TEST_P(PosixFileSystemChanges, AtALimitOfTheFileSizeEveryFileIsTheOldOneAndNothingIsLeft) {
  write("old", "before");
  expectInChild([&] {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{4096, 4096};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    const std::string large(10'000, 'x');
    EXPECT_EQ(files.replace(d("old"), large, 0644).errnoValue(), EFBIG);
    EXPECT_EQ(files.create(d("new"), large, 0644).errnoValue(), EFBIG);
  });
  EXPECT_EQ(content("old"), "before");
  EXPECT_EQ(names(), Names{"old"});
}

TEST_P(PosixFileSystemChanges, ReplaceIsSeenWholeByThoseWhoReadMeanwhile) {
  const std::string one(50'000, '1');
  const std::string two(90'000, '2');
  ASSERT_TRUE(files.replace(d("file"), one, 0644).ok());
  std::atomic<bool> isOver{false};
  std::atomic<int> wrong{0};
  std::thread reader([&] {
    while (!isOver) {
      const std::string seen = files.read(d("file")).valueOr("");
      if (seen != one && seen != two) ++wrong;
    }
  });
  std::vector<std::thread> writers;
  for (int i = 0; i < 2; ++i) {
    writers.emplace_back([&] {
      for (int j = 0; j < 15; ++j) {
        EXPECT_TRUE(files.replace(d("file"), two, 0644).ok());
        EXPECT_TRUE(files.replace(d("file"), one, 0644).ok());
      }
    });
  }
  for (std::thread& writer : writers) writer.join();
  isOver = true;
  reader.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(names(), Names{"file"});
}

TEST_P(PosixFileSystemChanges, AKillAtAnyMomentOfAReplaceLeavesTheOldOrTheNewFile) {
  const std::string before(100'000, 'b');
  const std::string after(120'000, 'a');
  for (int delay = 0; delay < 24; ++delay) {
    ASSERT_TRUE(files.replace(d("file"), before, 0644).ok());
    const pid_t child = ::fork();
    if (child == 0) {
      for (;;) static_cast<void>(files.replace(d("file"), after, 0644));
    }
    std::this_thread::sleep_for(std::chrono::microseconds(delay * 300));
    ::kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    const std::string seen = content("file");
    EXPECT_TRUE(seen == before || seen == after);
    for (const std::string& name : names()) {
      // A neighbour that the kill left behind is hidden, and the next replacement does not mind it.
      EXPECT_TRUE(name == "file" || name.rfind(".file.", 0) == 0) << name;
    }
  }
}

TEST_P(PosixFileSystemChanges, ReplaceRemovesWhatAKilledProcessLeftBesideTheFileADayAgo) {
  constexpr UnixNanoseconds kHour = UnixNanoseconds{3'600'000'000'000};
  ASSERT_TRUE(files.replace(d("file"), "before", 0644).ok());
  const UnixNanoseconds now = files.info(d("file"), FollowLinks::No)->modified;
  const auto leave = [&](const std::string& name, int hours) {
    write(name, "half");
    ASSERT_TRUE(files.setModified(d(name), now - hours * kHour).ok());
  };
  leave(".file.0123456789abcdef", 25);
  leave(".file.fedcba9876543210", 24 * 365);
  const std::string longName(120, 'n');
  // What another process may be writing now, and what no replacement of this file can have left.
  Names kept = {".file.0000000000000001"};
  leave(kept[0], 23);
  for (const std::string& name :
       {std::string(".other.0123456789abcdef"), std::string(".file.0123456789ABCDEF"),
        std::string(".file.0123456789abcde"), std::string(".file.0123456789abcdef0"),
        std::string(".file.lock"), std::string(".file.damaged"), std::string("file.0123456789abcdef"),
        std::string(".file-0123456789abcdef"), std::string("..0123456789abcdef"),
        "." + longName.substr(0, 100) + ".0123456789abcdef"}) {
    leave(name, 48);
    kept.push_back(name);
  }
  root.makeFolder("/Users/anna/d/.file.00000000000000ff");
  root.makeLink("/Users/anna/d/.file.00000000000000fe", "file");
  kept.insert(kept.end(), {".file.00000000000000fe", ".file.00000000000000ff", "file", longName});
  ASSERT_TRUE(files.setModified(d(".file.00000000000000ff"), now - 48 * kHour).ok());
  ASSERT_TRUE(files.replace(d("file"), "after", 0644).ok());
  ASSERT_TRUE(files.replace(d(longName), "after", 0644).ok());
  std::sort(kept.begin(), kept.end());
  EXPECT_EQ(names(), kept);
  EXPECT_EQ(content("file"), "after");
}

TEST_P(PosixFileSystemChanges, ReplaceAllRemovesWhatAKilledProcessLeftBesideEachFile) {
  constexpr UnixNanoseconds kTwoDays = UnixNanoseconds{2} * 24 * 3600 * 1'000'000'000;
  root.makeFolder("/Users/anna/d/x");
  root.makeFolder("/Users/anna/d/y");
  root.makeFolder("/Users/anna/d/y/folder");
  ASSERT_TRUE(files.replace(d("x/a"), "before", 0644).ok());
  const UnixNanoseconds now = files.info(d("x/a"), FollowLinks::No)->modified;
  for (const char* const name : {"x/.a.0123456789abcdef", "x/.b.0123456789abcdef", "x/.c.0123456789abcdef",
                                 "y/.a.0123456789abcdef", "y/.folder.0123456789abcdef"}) {
    write(name, "half");
    ASSERT_TRUE(files.setModified(d(name), now - kTwoDays).ok());
  }
  const auto results = files.replaceAll(
      {{d("x/a"), "a"}, {d("none/x"), "x"}, {d("x/b"), "b"}, {d("y/folder"), "x"}, {d("y/a"), "a"}}, 0644);
  EXPECT_EQ(std::count_if(results.begin(), results.end(), [](const Status& each) { return each.ok(); }), 3);
  EXPECT_EQ(root.names("/Users/anna/d/x"), (Names{".c.0123456789abcdef", "a", "b"}));
  EXPECT_EQ(root.names("/Users/anna/d/y"), (Names{".folder.0123456789abcdef", "a", "folder"}));
}

TEST_P(PosixFileSystemChanges, WhatTheSuperuserMakesInAUsersFolderIsTheUsers) {
  if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can make something for another user";
  root.giveTo(kOrdinaryUser);
  ASSERT_TRUE(files.replace(d("replaced"), "x", 0600).ok());
  ASSERT_TRUE(files.create(d("created"), "x", 0600).ok());
  ASSERT_TRUE(files.append(d("appended"), "x", 0600).ok());
  ASSERT_TRUE(files.copyFile(d("created"), d("copied")).ok());
  ASSERT_TRUE(files.makeFolder(d("folder"), 0700).ok());
  ASSERT_TRUE(files.makeLink(d("link"), "x").ok());
  for (const char* const name : {"replaced", "created", "appended", "copied", "folder", "link"}) {
    struct stat found {};
    ASSERT_EQ(::lstat(hostPath(name).c_str(), &found), 0);
    EXPECT_EQ(found.st_uid, kOrdinaryUser) << name;
    EXPECT_EQ(found.st_gid, kOrdinaryUser) << name;
  }
  // A file keeps its owner also in a folder of somebody else.
  ASSERT_EQ(::chown(hostPath("").c_str(), 0, 0), 0);
  ASSERT_TRUE(files.replace(d("replaced"), "y", 0600).ok());
  EXPECT_EQ(files.info(d("replaced"), FollowLinks::No)->userID, kOrdinaryUser);
  EXPECT_EQ(modeOf("replaced"), 0600U);
}

TEST_P(PosixFileSystemChanges, CreateMakesNewFilesOnly) {
  ASSERT_TRUE(files.create(d("new"), "content", 0600).ok());
  EXPECT_EQ(content("new"), "content");
  EXPECT_EQ(modeOf("new"), 0600U);
  root.makeLink("/Users/anna/d/dangling", "nowhere");
  root.makeFolder("/Users/anna/d/folder");
  for (const char* const name : {"new", "dangling", "folder", "folder/", ".", "folder/.."}) {
    EXPECT_EQ(files.create(d(name), "other", 0600).code(), ErrorCode::AlreadyExists) << name;
  }
  EXPECT_EQ(content("new"), "content");
  EXPECT_EQ(names(), (Names{"dangling", "folder", "new"}));
}

TEST_P(PosixFileSystemChanges, AppendAddsToTheEnd) {
  ASSERT_TRUE(files.append(d("log"), "one\n", 0600).ok());
  ASSERT_TRUE(files.append(d("log"), "two\n", 0644).ok());
  root.makeLink("/Users/anna/d/link", "log");
  ASSERT_TRUE(files.append(d("link"), "three\n", 0644).ok());
  EXPECT_EQ(content("log"), "one\ntwo\nthree\n");
  EXPECT_EQ(modeOf("log"), 0600U);
  EXPECT_FALSE(files.append(anna(""), "x", 0644).ok());
}

TEST_P(PosixFileSystemChanges, CopyFileTakesContentModeTimeAndAttributesAlong) {
  std::string large(3'000'000, '\0');
  for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>(i * 31 / 7);
  write("original", large, 0751);
  const bool hasAttributes = files.setAttribute(d("original"), "user.com.apple.x", "value").ok();
  ASSERT_TRUE(files.setModified(d("original"), 1'000'000'000'500'000'000).ok());
  const Umask mask(0077);
  ASSERT_TRUE(files.copyFile(d("original"), d("copy")).ok());
  EXPECT_TRUE(content("copy") == large);
  EXPECT_EQ(modeOf("copy"), 0751U);
  EXPECT_EQ(files.info(d("copy"), FollowLinks::No)->modified, 1'000'000'000'500'000'000);
  if (!hasAttributes) GTEST_SKIP() << "the temporary folder's volume has no extended attributes";
  EXPECT_EQ(files.attribute(d("copy"), "user.com.apple.x"), "value");
}

TEST_P(PosixFileSystemChanges, CopyFileCopiesFilesOnlyAndReplacesNothing) {
  write("original", "original");
  write("there", "there");
  root.makeLink("/Users/anna/d/link", "original");
  root.makeFolder("/Users/anna/d/folder");
  EXPECT_EQ(files.copyFile(d("original"), d("there")).code(), ErrorCode::AlreadyExists);
  EXPECT_EQ(files.copyFile(d("link"), d("x")).code(), ErrorCode::Unsupported);
  EXPECT_EQ(files.copyFile(d("folder"), d("x")).errnoValue(), EISDIR);
  EXPECT_TRUE(files.copyFile(d("none"), d("x")).isNotFound());
  EXPECT_TRUE(files.copyFile(d("original"), d("none/x")).isNotFound());
  EXPECT_EQ(content("there"), "there");
  EXPECT_EQ(names(), (Names{"folder", "link", "original", "there"}));
}

TEST_P(PosixFileSystemChanges, CopyFileReadsFilesWhoseSizeIsNotTold) {
  if (!isPlain()) GTEST_SKIP() << "/proc is in the machine's own root only";
  ASSERT_TRUE(files.copyFile("/proc/version", d("version")).ok());
  EXPECT_EQ(content("version"), files.read("/proc/version").valueOr("?"));
  EXPECT_EQ(content("version").substr(0, 5), "Linux");
}

TEST_P(PosixFileSystemChanges, MakesFoldersAndLinks) {
  const Umask mask(0022);
  ASSERT_TRUE(files.makeFolder(d("folder"), 0777).ok());
  EXPECT_EQ(modeOf("folder"), 0755U);
  ASSERT_TRUE(files.makeFolder(d("slash/"), 0700).ok());
  EXPECT_EQ(modeOf("slash"), 0700U);
  EXPECT_EQ(files.makeFolder(d("folder"), 0755).code(), ErrorCode::AlreadyExists);
  EXPECT_TRUE(files.makeFolder(d("none/x"), 0755).isNotFound());
  EXPECT_EQ(files.makeFolder("/", 0755).code(), ErrorCode::AlreadyExists);
  ASSERT_TRUE(files.makeLink(d("link"), "../anything").ok());
  EXPECT_EQ(files.readLink(d("link")).valueOr(""), "../anything");
  EXPECT_EQ(files.makeLink(d("link"), "x").code(), ErrorCode::AlreadyExists);
  EXPECT_FALSE(files.makeLink(d("nul"), std::string_view("a\0b", 3)).ok());
}

TEST_P(PosixFileSystemChanges, RenameWithoutReplacingLeavesWhatIsThere) {
  write("file", "file");
  write("there", "there");
  root.makeFolder("/Users/anna/d/empty");
  root.makeLink("/Users/anna/d/dangling", "nowhere");
  for (const char* const name : {"there", "empty", "dangling"}) {
    EXPECT_EQ(files.rename(d("file"), d(name), FileSystem::Replace::No).code(), ErrorCode::AlreadyExists)
        << name;
  }
  root.makeFolder("/Users/anna/d/folder");
  EXPECT_EQ(files.rename(d("folder"), d("empty"), FileSystem::Replace::No).code(), ErrorCode::AlreadyExists);
  EXPECT_EQ(content("there"), "there");
  ASSERT_TRUE(files.rename(d("file"), d("empty/moved"), FileSystem::Replace::No).ok());
  EXPECT_EQ(root.readFile("/Users/anna/d/empty/moved"), "file");
  EXPECT_TRUE(files.rename(d("none"), d("x"), FileSystem::Replace::No).isNotFound());
  EXPECT_FALSE(files.rename(d("folder"), d("folder/below"), FileSystem::Replace::No).ok());
  EXPECT_EQ(names(), (Names{"dangling", "empty", "folder", "there"}));
}

TEST_P(PosixFileSystemChanges, RenameWithReplacingTakesThePlaceOfAFile) {
  write("file", "file");
  write("there", "there");
  root.makeFolder("/Users/anna/d/full/x");
  ASSERT_TRUE(files.rename(d("file"), d("there"), FileSystem::Replace::Yes).ok());
  EXPECT_EQ(content("there"), "file");
  root.makeFolder("/Users/anna/d/folder");
  EXPECT_EQ(files.rename(d("folder"), d("full"), FileSystem::Replace::Yes).errnoValue(), ENOTEMPTY);
  EXPECT_EQ(names(), (Names{"folder", "full", "there"}));
}

TEST_P(PosixFileSystemChanges, RenameMovesALinkItself) {
  write("target", "target");
  root.makeLink("/Users/anna/d/link", "target");
  ASSERT_TRUE(files.rename(d("link"), d("moved"), FileSystem::Replace::No).ok());
  EXPECT_EQ(files.readLink(d("moved")).valueOr(""), "target");
  EXPECT_EQ(names(), (Names{"moved", "target"}));
}

TEST_P(PosixFileSystemChanges, RenameDoesNotMoveBetweenVolumes) {
  const auto other = TemporaryMount::volume(root, "/Users/anna/d/other", 64 * 1024);
  if (!other) GTEST_SKIP() << "nothing may be mounted here";
  write("file", "file");
  for (const auto replace : {FileSystem::Replace::No, FileSystem::Replace::Yes}) {
    const Status status = files.rename(d("file"), d("other/file"), replace);
    EXPECT_EQ(status.errnoValue(), EXDEV);
    EXPECT_EQ(status.code(), ErrorCode::Io);
  }
  EXPECT_EQ(content("file"), "file");
}

TEST_P(PosixFileSystemChanges, RemovesFilesLinksAndEmptyFolders) {
  write("file", "");
  write("target", "");
  root.makeLink("/Users/anna/d/link", "target");
  root.makeFolder("/Users/anna/d/empty");
  root.makeFolder("/Users/anna/d/full/x");
  EXPECT_TRUE(files.removeFile(d("file")).ok());
  EXPECT_TRUE(files.removeFile(d("link")).ok());
  EXPECT_TRUE(files.removeFolder(d("empty")).ok());
  EXPECT_FALSE(files.removeFolder(d("full")).ok());
  EXPECT_FALSE(files.removeFile(d("full")).ok());
  EXPECT_TRUE(files.removeFolder(d("target")).isNotFound());
  EXPECT_TRUE(files.removeFile(d("none")).isNotFound());
  EXPECT_FALSE(files.removeFolder("/").ok());
  EXPECT_EQ(names(), (Names{"full", "target"}));
}

TEST_P(PosixFileSystemChanges, SetsTimesBeforeAndAfterNineteenSeventy) {
  write("file", "");
  root.makeLink("/Users/anna/d/link", "file");
  for (const UnixNanoseconds time : {UnixNanoseconds{1'700'000'000'123'456'789}, UnixNanoseconds{0},
                                     UnixNanoseconds{-1}, UnixNanoseconds{-86'400'500'000'000}}) {
    ASSERT_TRUE(files.setModified(d("file"), time).ok());
    EXPECT_EQ(files.info(d("file"), FollowLinks::No)->modified, time);
  }
  const UnixNanoseconds before = files.info(d("file"), FollowLinks::No)->modified;
  ASSERT_TRUE(files.setModified(d("link"), 42'000'000'000).ok());
  EXPECT_EQ(files.info(d("link"), FollowLinks::No)->modified, 42'000'000'000);
  EXPECT_EQ(files.info(d("file"), FollowLinks::No)->modified, before);
}

TEST_P(PosixFileSystemChanges, SetsModesOfAllButLinks) {
  write("file", "", 0644);
  root.makeLink("/Users/anna/d/link", "file");
  ASSERT_TRUE(files.setMode(d("file"), 0600).ok());
  EXPECT_EQ(modeOf("file"), 0600U);
  EXPECT_EQ(files.setMode(d("link"), 0777).code(), ErrorCode::Unsupported);
  EXPECT_EQ(modeOf("file"), 0600U);
}

// What is done where the kernel or the volume cannot do it.
class RenameByLinking : public testing::Test {
 protected:
  RenameByLinking() : folder_(::open(root.hostPath("/Users/anna").c_str(), O_PATH | O_DIRECTORY)) {
    root.remove("/Users/anna/Library");
  }
  int rename(const char* from, const char* to) {
    return renameByLinking(folder_.get(), from, folder_.get(), to);
  }

  TemporaryRoot root;

 private:
  Descriptor folder_;
};

TEST_F(RenameByLinking, MovesFilesLinksAndFolders) {
  root.writeFile("/Users/anna/file", "file");
  root.makeLink("/Users/anna/link", "nowhere");
  root.makeFolder("/Users/anna/folder");
  EXPECT_EQ(rename("file", "file2"), 0);
  EXPECT_EQ(rename("link", "link2"), 0);
  EXPECT_EQ(rename("folder", "folder2"), 0);
  EXPECT_EQ(root.names("/Users/anna"), (Names{"file2", "folder2", "link2"}));
  EXPECT_EQ(root.readFile("/Users/anna/file2"), "file");
}

TEST_F(RenameByLinking, LeavesWhatIsThere) {
  root.writeFile("/Users/anna/file", "file");
  root.makeFolder("/Users/anna/folder");
  root.makeLink("/Users/anna/dangling", "nowhere");
  EXPECT_EQ(rename("file", "folder"), EEXIST);
  EXPECT_EQ(rename("file", "dangling"), EEXIST);
  EXPECT_EQ(rename("folder", "file"), EEXIST);
  EXPECT_EQ(rename("none", "x"), ENOENT);
  EXPECT_EQ(root.names("/Users/anna"), (Names{"dangling", "file", "folder"}));
}

}  // namespace
}  // namespace macos
