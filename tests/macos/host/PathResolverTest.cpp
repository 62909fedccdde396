// SPDX-License-Identifier: MIT
//
// Whether paths are looked up as chroot(2) would look them up: in trees and with operations made from a
// seed, beside a child process that really is in a chroot, for both ways of looking up.
#include "macos/host/PathResolver.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "macos/host/PosixFileSystem.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryRoot.h"

namespace macos {
namespace {

using vennick::tests::expectInChild;
using vennick::tests::TemporaryRoot;
using Way = PathResolver::Way;

class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}
  unsigned below(unsigned count) { return static_cast<unsigned>(engine_() % count); }
  template <std::size_t N>
  std::string oneOf(const char* const (&list)[N]) {
    return list[below(N)];
  }

 private:
  std::mt19937 engine_;
};

// Few names, so that paths often meet what is there.
std::string randomPath(Dice& dice, unsigned most) {
  const char* const parts[] = {"a", "b", "c", "a", "b", "l", "m", "l", "n", "..", "..", ".", "f", "missing"};
  std::string path;
  const unsigned count = dice.below(most) + 1;
  for (unsigned i = 0; i < count; ++i) {
    path += dice.below(12) == 0 ? "//" : "/";
    path += dice.oneOf(parts);
  }
  if (dice.below(8) == 0) path += "/";
  if (dice.below(40) == 0) path = "/";
  return path;
}

std::string randomTarget(Dice& dice, const std::string& hostRoot) {
  switch (dice.below(10)) {
    case 0:
      return "../../../../../../../../etc/passwd";
    case 1:
      return hostRoot + "/a";  // the machine's path, which is none inside
    case 2:
      return "/..";
    case 3:
      return ".";
    case 4:
    case 5:
      return randomPath(dice, 4);
    default:
      return randomPath(dice, 4).substr(1).empty() ? ".." : randomPath(dice, 4).substr(1);
  }
}

// What cannot be made, because something is in the way, is left out.
void growTree(const TemporaryRoot& root, unsigned seed, const std::string& hostRoot) {
  Dice dice(seed);
  for (int i = 0; i < 40; ++i) {
    const char* const folders[] = {"", "/a", "/b", "/a/b", "/c", "/a/b/c", "/b/a"};
    const char* const names[] = {"a", "b", "c", "l", "m", "n", "f"};
    const std::string path = root.hostPath(dice.oneOf(folders) + "/" + dice.oneOf(names));
    const std::string target = randomTarget(dice, hostRoot);
    switch (dice.below(5)) {
      case 0:
      case 1:
        ::mkdir(path.c_str(), 0755);
        break;
      case 2:
        std::ofstream(path) << "content of " << i;
        break;
      default:
        if (::symlink(target.c_str(), path.c_str()) != 0) continue;
    }
  }
}

std::string outcome(int error, std::uint64_t inode) {
  return error != 0 ? "error " + std::to_string(error) : "item " + std::to_string(inode);
}

// Asked of plain system calls, in a process whose root is the tree.
std::string plainAnswer(const std::string& path) {
  std::ostringstream answer;
  struct stat found {};
  int error = ::lstat(path.c_str(), &found) == 0 ? 0 : errno;
  const bool isLink = error == 0 && S_ISLNK(found.st_mode);
  answer << "itself " << outcome(error, found.st_ino);
  error = ::stat(path.c_str(), &found) == 0 ? 0 : errno;
  answer << ", followed " << outcome(error, found.st_ino);
  char text[PATH_MAX] = {};
  if (isLink && ::readlink(path.c_str(), text, sizeof text - 1) > 0) answer << ", link to " << text;
  if (char* const real = ::realpath(path.c_str(), nullptr)) {
    answer << ", really " << real;
    std::free(real);
  }
  return answer.str();
}

std::string ourAnswer(FileSystem& files, const std::string& path) {
  std::ostringstream answer;
  const Result<FileInfo> itself = files.info(path, FollowLinks::No);
  answer << "itself " << (itself.ok() ? outcome(0, itself->inode) : outcome(itself.status().errnoValue(), 0));
  const Result<FileInfo> target = files.info(path, FollowLinks::Yes);
  answer << ", followed "
         << (target.ok() ? outcome(0, target->inode) : outcome(target.status().errnoValue(), 0));
  const Result<std::string> link = files.readLink(path);
  if (link.ok()) answer << ", link to " << *link;
  const Result<std::string> real = files.realPath(path);
  if (real.ok()) answer << ", really " << *real;
  return answer.str();
}

// The lines that the function prints in a process whose root is the tree.
std::vector<std::string> linesFromChroot(const TemporaryRoot& root,
                                         const std::function<void(std::ostream&)>& print) {
  const TemporaryRoot scratch;
  const std::string file = scratch.hostPath("/lines");
  expectInChild([&] {
    std::ofstream output(file);
    ASSERT_EQ(::chroot(root.path().c_str()), 0);
    ASSERT_EQ(::chdir("/"), 0);
    print(output);
  });
  std::ifstream input(file);
  std::vector<std::string> lines;
  for (std::string line; std::getline(input, line);) lines.push_back(line);
  return lines;
}

bool mayChangeRoot() { return ::geteuid() == 0; }

std::vector<Way> waysOfThisMachine(const TemporaryRoot& root) {
  std::vector<Way> ways = {Way::Walk};
  if (PosixFileSystem(root.path(), Way::Kernel).way() == Way::Kernel) ways.push_back(Way::Kernel);
  return ways;
}

const char* nameOf(Way way) { return way == Way::Walk ? "walking" : "the kernel"; }

class PathResolverOnRandomTrees : public testing::TestWithParam<unsigned> {};

TEST_P(PathResolverOnRandomTrees, AnswersAsAProcessInThatRoot) {
  if (!mayChangeRoot()) GTEST_SKIP() << "only the superuser may change its root";
  const TemporaryRoot root;
  growTree(root, GetParam(), root.path());
  Dice dice(GetParam() + 1000);
  std::vector<std::string> paths;
  for (int i = 0; i < 300; ++i) paths.push_back(randomPath(dice, 6));

  const std::vector<std::string> expected = linesFromChroot(root, [&](std::ostream& output) {
    for (const std::string& path : paths) output << plainAnswer(path) << "\n";
  });
  ASSERT_EQ(expected.size(), paths.size());
  for (const Way way : waysOfThisMachine(root)) {
    PosixFileSystem files(root.path(), way);
    ASSERT_EQ(files.way(), way);
    for (std::size_t i = 0; i < paths.size(); ++i) {
      EXPECT_EQ(ourAnswer(files, paths[i]), expected[i]) << paths[i] << " by " << nameOf(way);
    }
  }
}

TEST_P(PathResolverOnRandomTrees, BothWaysAnswerAlike) {
  const TemporaryRoot root;
  growTree(root, GetParam(), root.path());
  PosixFileSystem walking(root.path(), Way::Walk);
  PosixFileSystem kernel(root.path(), Way::Kernel);
  if (kernel.way() != Way::Kernel) GTEST_SKIP() << "this kernel has no restricted look-up";
  Dice dice(GetParam() + 2000);
  for (int i = 0; i < 300; ++i) {
    const std::string path = randomPath(dice, 6);
    EXPECT_EQ(ourAnswer(walking, path), ourAnswer(kernel, path)) << path;
  }
}

// One change of the tree.
struct Change {
  unsigned kind;
  std::string path;
  std::string other;
};

std::vector<Change> randomChanges(unsigned seed) {
  Dice dice(seed);
  std::vector<Change> changes;
  for (int i = 0; i < 150; ++i) changes.push_back({dice.below(8), randomPath(dice, 5), randomPath(dice, 5)});
  return changes;
}

int errnoOf(int result) { return result == 0 ? 0 : errno; }

int writePlainly(const char* path, int flags) {
  const int file = ::open(path, flags | O_WRONLY | O_CREAT, 0644);
  if (file < 0) return errno;
  const int error = ::write(file, "text", 4) == 4 ? 0 : EIO;
  ::close(file);
  return error;
}

int changePlainly(const Change& change) {
  const char* const path = change.path.c_str();
  switch (change.kind) {
    case 0:
      return errnoOf(::mkdir(path, 0755));
    case 1:
      return errnoOf(::symlink(change.other.c_str(), path));
    case 2:
      return writePlainly(path, O_EXCL);
    case 3:
      return writePlainly(path, O_APPEND);
    case 4:
      return errnoOf(::unlink(path));
    case 5:
      return errnoOf(::rmdir(path));
    case 6:
      return errnoOf(::renameat2(AT_FDCWD, path, AT_FDCWD, change.other.c_str(), RENAME_NOREPLACE));
    default:
      return errnoOf(::rename(path, change.other.c_str()));
  }
}

int changeThroughUs(FileSystem& files, const Change& change) {
  switch (change.kind) {
    case 0:
      return files.makeFolder(change.path, 0755).errnoValue();
    case 1:
      return files.makeLink(change.path, change.other).errnoValue();
    case 2:
      return files.create(change.path, "text", 0644).errnoValue();
    case 3:
      return files.append(change.path, "text", 0644).errnoValue();
    case 4:
      return files.removeFile(change.path).errnoValue();
    case 5:
      return files.removeFolder(change.path).errnoValue();
    case 6:
      return files.rename(change.path, change.other, FileSystem::Replace::No).errnoValue();
    default:
      return files.rename(change.path, change.other, FileSystem::Replace::Yes).errnoValue();
  }
}

// A new file at a path that can only be a folder's is refused with one or another of these.
int withoutFolderPaths(const Change& change, int error) {
  return change.kind == 2 && (error == EISDIR || error == EEXIST) ? EEXIST : error;
}

class PathResolverOnFewRandomTrees : public PathResolverOnRandomTrees {};

TEST_P(PathResolverOnFewRandomTrees, ChangesWhatAProcessInThatRootWouldChange) {
  if (!mayChangeRoot()) GTEST_SKIP() << "only the superuser may change its root";
  const std::vector<Change> changes = randomChanges(GetParam() + 3000);
  const TemporaryRoot twin;
  // The same targets in every tree, also those that name the machine's folders.
  growTree(twin, GetParam(), twin.path());
  const std::vector<std::string> expected = linesFromChroot(twin, [&](std::ostream& output) {
    for (const Change& change : changes) {
      output << withoutFolderPaths(change, changePlainly(change)) << "\n";
    }
  });
  ASSERT_EQ(expected.size(), changes.size());
  for (const Way way : waysOfThisMachine(twin)) {
    const TemporaryRoot root;
    growTree(root, GetParam(), twin.path());
    PosixFileSystem files(root.path(), way);
    for (std::size_t i = 0; i < changes.size(); ++i) {
      const int error = withoutFolderPaths(changes[i], changeThroughUs(files, changes[i]));
      EXPECT_EQ(std::to_string(error), expected[i])
          << "change " << changes[i].kind << " of " << changes[i].path << ", " << changes[i].other << " by "
          << nameOf(way);
    }
    EXPECT_EQ(root.snapshot("/"), twin.snapshot("/")) << nameOf(way);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, PathResolverOnRandomTrees, testing::Range(1U, 21U));
// Fewer, because new files are flushed to the disk.
INSTANTIATE_TEST_SUITE_P(Seeds, PathResolverOnFewRandomTrees, testing::Range(1U, 9U));

class PathResolverBothWays : public testing::TestWithParam<Way> {
 protected:
  PathResolverBothWays() : posix_(root.path(), GetParam()) {}
  void SetUp() override {
    if (posix_.way() != GetParam()) GTEST_SKIP() << "this kernel has no restricted look-up";
  }
  std::string real(const std::string& path) {
    const Result<std::string> result = files.realPath(path);
    return result.ok() ? *result : result.status().message();
  }
  std::string content(const std::string& path) {
    const Result<std::string> result = files.read(path);
    return result.ok() ? *result : "?";
  }

  TemporaryRoot root;

 private:
  PosixFileSystem posix_;

 protected:
  FileSystem& files = posix_;
};

TEST_P(PathResolverBothWays, AbsoluteLinksStartAtTheRoot) {
  root.writeFile("/Users/anna/note", "inside");
  root.makeLink("/Applications/home", "/Users/anna");
  EXPECT_EQ(content("/Applications/home/note"), "inside");
  EXPECT_EQ(real("/Volumes/Macintosh HD/Users/anna/note"), "/Users/anna/note");
}

TEST_P(PathResolverBothWays, RelativeLinksStartAtTheirFolder) {
  root.writeFile("/Users/anna/note", "inside");
  root.makeLink("/Users/anna/Library/up", "../note");
  EXPECT_EQ(content("/Users/anna/Library/up"), "inside");
}

TEST_P(PathResolverBothWays, NothingLeadsAboveTheRoot) {
  root.makeFolder("/etc");
  root.writeFile("/etc/passwd", "ours");
  root.makeLink("/Users/anna/relative", "../../../../../../../../../../etc/passwd");
  root.makeLink("/Users/anna/absolute", "/../../etc/passwd");
  EXPECT_EQ(content("/Users/anna/relative"), "ours");
  EXPECT_EQ(content("/Users/anna/absolute"), "ours");
  EXPECT_EQ(content("/../../../etc/passwd"), "ours");
  EXPECT_EQ(real("/../.."), "/");
  root.makeLink("/Users/anna/machine", root.path());
  EXPECT_FALSE(files.info("/Users/anna/machine", FollowLinks::Yes).ok());
}

TEST_P(PathResolverBothWays, ChangesThroughHostileLinksStayInside) {
  const TemporaryRoot outside;
  outside.writeFile("/victim", "untouched");
  root.makeLink("/Users/anna/out", outside.path());
  root.makeLink("/Users/anna/file", outside.hostPath("/victim"));
  EXPECT_FALSE(files.replace("/Users/anna/out/victim", "evil", 0644).ok());
  EXPECT_FALSE(files.append("/Users/anna/file", "evil", 0644).ok());
  EXPECT_FALSE(files.makeFolder("/Users/anna/out/folder", 0755).ok());
  EXPECT_FALSE(files.removeFile("/Users/anna/out/victim").ok());
  EXPECT_FALSE(files.rename("/Users/anna/out/victim", "/x", FileSystem::Replace::Yes).ok());
  EXPECT_FALSE(files.setModified("/Users/anna/out/victim", 0).ok());
  EXPECT_FALSE(files.setMode("/Users/anna/file/", 0).ok());
  EXPECT_FALSE(files.setAttribute("/Users/anna/out/victim", "user.x", "y").ok());
  EXPECT_FALSE(files.lock("/Users/anna/out/victim").ok());
  EXPECT_FALSE(files.hostPath("/Users/anna/out"));
  EXPECT_EQ(outside.readFile("/victim"), "untouched");
  EXPECT_EQ(outside.names("/"),
            (std::vector<std::string>{"Applications", "Library", "System", "Users", "Volumes", "victim"}));
}

TEST_P(PathResolverBothWays, FollowsFortyLinksAndNoMore) {
  root.writeFile("/Users/anna/0", "end");
  for (int i = 1; i <= 41; ++i) {
    root.makeLink("/Users/anna/" + std::to_string(i), std::to_string(i - 1));
  }
  EXPECT_EQ(content("/Users/anna/40"), "end");
  EXPECT_EQ(files.read("/Users/anna/41").status().errnoValue(), ELOOP);
}

TEST_P(PathResolverBothWays, RefusesLoops) {
  root.makeLink("/Users/anna/self", "self");
  root.makeLink("/Users/anna/one", "two/x");
  root.makeLink("/Users/anna/two", "/Users/anna/one");
  EXPECT_EQ(files.info("/Users/anna/self", FollowLinks::Yes).status().errnoValue(), ELOOP);
  EXPECT_EQ(files.info("/Users/anna/one/y", FollowLinks::Yes).status().errnoValue(), ELOOP);
  EXPECT_EQ(files.info("/Users/anna/self", FollowLinks::No)->kind, FileKind::Link);
}

TEST_P(PathResolverBothWays, ASlashAtTheEndFollowsTheLinkAndWantsAFolder) {
  root.makeFolder("/Users/anna/folder");
  root.writeFile("/Users/anna/file", "");
  root.makeLink("/Users/anna/toFolder", "folder");
  root.makeLink("/Users/anna/toFile", "file");
  EXPECT_EQ(files.info("/Users/anna/toFolder/", FollowLinks::No)->kind, FileKind::Folder);
  EXPECT_EQ(files.info("/Users/anna/toFile/", FollowLinks::No).status().errnoValue(), ENOTDIR);
  EXPECT_EQ(files.info("/Users/anna/file/", FollowLinks::No).status().errnoValue(), ENOTDIR);
}

TEST_P(PathResolverBothWays, TakesARelativePathAgainstTheTop) {
  root.writeFile("/Users/anna/note", "inside");
  EXPECT_EQ(content("Users/anna/note"), "inside");
  EXPECT_EQ(real("Users/anna"), "/Users/anna");
  EXPECT_EQ(real(".."), "/");
}

TEST_P(PathResolverBothWays, RefusesPathsThatNoItemCanHave) {
  EXPECT_EQ(files.info("", FollowLinks::No).status().errnoValue(), ENOENT);
  EXPECT_EQ(files.info(std::string_view("/Users\0/anna", 12), FollowLinks::No).status().code(),
            ErrorCode::InvalidArgument);
  EXPECT_EQ(files.info("/" + std::string(256, 'n'), FollowLinks::No).status().errnoValue(), ENAMETOOLONG);
  std::string longPath;
  while (longPath.size() < 5000) longPath += "/Users/..";
  EXPECT_EQ(files.info(longPath, FollowLinks::No).status().errnoValue(), ENAMETOOLONG);
  EXPECT_EQ(files.create(longPath + "/x", "", 0644).errnoValue(), ENAMETOOLONG);
  longPath.resize(4095);
  longPath.replace(4086, 9, "////Users");
  EXPECT_EQ(real(longPath), "/Users");
}

TEST_P(PathResolverBothWays, ReachesFoldersDeeperThanThereAreDescriptors) {
  constexpr int kDepth = 200;
  std::string path;
  for (int i = 0; i < kDepth; ++i) path += "/d";
  root.makeFolder(path);
  std::string back = path;
  for (int i = 0; i < kDepth / 2; ++i) back += "/..";
  expectInChild([&] {
    const rlimit few{64, 64};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    EXPECT_EQ(real(path), path);
    EXPECT_EQ(real(back), path.substr(0, path.size() / 2));
  });
}

TEST_P(PathResolverBothWays, NamesMayHoldAnyByte) {
  std::string name;
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '/') name += static_cast<char>(byte);
  }
  ASSERT_TRUE(files.create("/Users/anna/" + name, "x", 0644).ok());
  EXPECT_EQ(content("/Users/anna/" + name), "x");
  EXPECT_EQ(real("/Users/anna/" + name), "/Users/anna/" + name);
  EXPECT_EQ(files.list("/Users/anna")->front().name, name);
}

TEST_P(PathResolverBothWays, LeavesTheKernelsLinksToOpenFilesAlone) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs a mount";
  root.makeFolder("/proc");
  const std::string proc = root.hostPath("/proc");
  expectInChild([&] {
    // In a mount table of our own, so that nobody else sees it.
    if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("proc", proc.c_str(), "proc", 0, nullptr) != 0) {
      std::puts("[  SKIPPED ] nothing may be mounted here");
      return;
    }
    PosixFileSystem here(root.path(), GetParam());
    EXPECT_EQ(here.info("/proc/self/root", FollowLinks::Yes).status().errnoValue(), EXDEV);
    EXPECT_EQ(here.info("/proc/self/cwd/x", FollowLinks::Yes).status().errnoValue(), EXDEV);
    EXPECT_TRUE(here.info("/proc/self/status", FollowLinks::Yes).ok());
    EXPECT_EQ(here.info("/proc/self/root", FollowLinks::No)->kind, FileKind::Link);
  });
}

INSTANTIATE_TEST_SUITE_P(Ways, PathResolverBothWays, testing::Values(Way::Walk, Way::Kernel),
                         [](const auto& way) { return way.param == Way::Walk ? "Walk" : "Kernel"; });

TEST(PathResolver, WalkingNeverLeavesThroughAFolderThatIsMovedMeanwhile) {
  // The folder swings between the inside and the outside while ".." is taken in it. Only the inside may
  // ever be seen.
  const TemporaryRoot around;
  around.makeFolder("/root/inside/folder");
  around.makeFolder("/outside");
  around.writeFile("/outside/secret", "secret");
  PosixFileSystem walking(around.hostPath("/root"), Way::Walk);
  FileSystem& files = walking;
  const std::string inside = around.hostPath("/root/inside/folder");
  const std::string outside = around.hostPath("/outside/folder");
  std::atomic<bool> isOver{false};
  std::thread mover([&] {
    while (!isOver) {
      static_cast<void>(::rename(inside.c_str(), outside.c_str()));
      static_cast<void>(::rename(outside.c_str(), inside.c_str()));
    }
  });
  for (int i = 0; i < 3000; ++i) {
    EXPECT_NE(files.read("/inside/folder/../secret").valueOr(""), "secret");
  }
  isOver = true;
  mover.join();
}

}  // namespace
}  // namespace macos
