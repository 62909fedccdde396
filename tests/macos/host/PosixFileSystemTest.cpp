// SPDX-License-Identifier: MIT
//
// What the real file system tells of files.
#include "macos/host/PosixFileSystem.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>

#include "gtest/gtest.h"
#include "tests/macos/host/FileSystemFixture.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Sanitizers.h"

namespace macos {
namespace {

using vennick::tests::countSystemCalls;
using vennick::tests::expectAsOrdinaryUser;
using vennick::tests::expectInChild;
using vennick::tests::kOrdinaryUser;

class PosixFileSystemQueries : public FileSystemTest {};
INSTANTIATE_TEST_SUITE_P(Ways, PosixFileSystemQueries, everyWay(), nameOfWay);

void makeSocket(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.size(), sizeof address.sun_path);
  std::strcpy(address.sun_path, path.c_str());
  const int made = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(::bind(made, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ::close(made);
}

TEST_P(PosixFileSystemQueries, ReadsAWholeFile) {
  std::string content(300'000, '\0');
  for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 7);
  root.writeFile("/Users/anna/large", content);
  root.writeFile("/Users/anna/empty", "");
  root.makeLink("/Users/anna/link", "large");
  EXPECT_TRUE(files.read(anna("large")).valueOr("") == content);
  EXPECT_TRUE(files.read(anna("link")).valueOr("") == content);
  EXPECT_EQ(files.read(anna("empty")).valueOr("?"), "");
}

TEST_P(PosixFileSystemQueries, RefusesAFileThatIsLargerThanTheLimit) {
  root.writeFile("/Users/anna/ten", "0123456789");
  EXPECT_EQ(files.read(anna("ten"), 10).valueOr(""), "0123456789");
  EXPECT_EQ(files.read(anna("ten"), 9).status().errnoValue(), EFBIG);
  EXPECT_EQ(files.read(anna("ten"), 0).status().errnoValue(), EFBIG);
  root.writeFile("/Users/anna/empty", "");
  EXPECT_EQ(files.read(anna("empty"), 0).valueOr("?"), "");
}

TEST_P(PosixFileSystemQueries, RefusesAFileOfHolesThatClaimsToBeVast) {
  root.writeFile("/Users/anna/holes", "");
  ASSERT_EQ(::truncate(root.hostPath("/Users/anna/holes").c_str(), off_t{1} << 40), 0);
  EXPECT_EQ(files.read(anna("holes")).status().errnoValue(), EFBIG);
  EXPECT_EQ(files.readStart(anna("holes"), 3).valueOr(""), std::string(3, '\0'));
}

// A sanitizer reserves more memory than a limit would leave it.
#ifndef VENNICK_SANITIZED
TEST_P(PosixFileSystemQueries, SaysWhenThereIsNoMemoryForAFile) {
  root.writeFile("/Users/anna/holes", "");
  ASSERT_EQ(::truncate(root.hostPath("/Users/anna/holes").c_str(), off_t{1} << 40), 0);
  expectInChild([&] {
    const rlimit memory{rlim_t{1} << 30, rlim_t{1} << 30};
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &memory), 0);
    EXPECT_EQ(files.read(anna("holes"), UINT64_MAX).status().errnoValue(), ENOMEM);
  });
}
#endif

TEST_P(PosixFileSystemQueries, ReadsTheFirstBytes) {
  root.writeFile("/Users/anna/ten", "0123456789");
  EXPECT_EQ(files.readStart(anna("ten"), 4).valueOr(""), "0123");
  EXPECT_EQ(files.readStart(anna("ten"), 10).valueOr(""), "0123456789");
  EXPECT_EQ(files.readStart(anna("ten"), 1000).valueOr(""), "0123456789");
  EXPECT_EQ(files.readStart(anna("ten"), 0).valueOr("?"), "");
  EXPECT_TRUE(files.readStart(anna("none"), 4).status().isNotFound());
}

TEST_P(PosixFileSystemQueries, NeverWaitsForTheOtherEndOfAPipe) {
  ASSERT_EQ(::mkfifo(root.hostPath("/Users/anna/pipe").c_str(), 0644), 0);
  root.makeLink("/Users/anna/link", "pipe");
  // A wait would last for ever, so a child that hangs is what fails here.
  expectInChild([&] {
    EXPECT_EQ(files.read(anna("pipe")).status().code(), ErrorCode::Unsupported);
    EXPECT_EQ(files.read(anna("link")).status().code(), ErrorCode::Unsupported);
    EXPECT_EQ(files.readStart(anna("pipe"), 1).status().code(), ErrorCode::Unsupported);
    EXPECT_FALSE(files.append(anna("pipe"), "x", 0644).ok());
    EXPECT_FALSE(files.copyFile(anna("pipe"), anna("copy")).ok());
    EXPECT_EQ(files.info(anna("pipe"), FollowLinks::No)->kind, FileKind::Other);
  });
}

TEST_P(PosixFileSystemQueries, ReadsNoFolderAndNoSocketButSaysThatTheyAreThere) {
  makeSocket(root.hostPath("/Users/anna/s"));
  for (const std::string& path : {anna("s"), anna("Library")}) {
    const Status status = files.read(path).status();
    EXPECT_FALSE(status.ok());
    EXPECT_FALSE(status.isNotFound()) << status.message();
  }
  EXPECT_EQ(files.read(anna("Library")).status().errnoValue(), EISDIR);
}

TEST_P(PosixFileSystemQueries, SaysThePathInItsMessages) {
  EXPECT_EQ(files.read(anna("none")).status().message(), anna("none") + ": No such file or directory");
  root.writeFile("/Users/anna/file", "");
  EXPECT_TRUE(files.info(anna("file/below"), FollowLinks::Yes).status().isNotFound());
}

TEST_P(PosixFileSystemQueries, TellsWhatAnItemIs) {
  root.writeFile("/Users/anna/file", "12345");
  root.makeLink("/Users/anna/link", "file");
  root.makeLink("/Users/anna/dangling", "nothing");
  const std::string hostFile = root.hostPath("/Users/anna/file");
  ASSERT_EQ(::chmod(hostFile.c_str(), 0640), 0);
  const timespec times[] = {{1, 2}, {1'234'567'890, 123'456'789}};
  ASSERT_EQ(::utimensat(AT_FDCWD, hostFile.c_str(), times, 0), 0);
  struct stat expected {};
  ASSERT_EQ(::stat(hostFile.c_str(), &expected), 0);

  const FileInfo info = *files.info(anna("file"), FollowLinks::No);
  EXPECT_EQ(info.kind, FileKind::File);
  EXPECT_EQ(info.device, expected.st_dev);
  EXPECT_EQ(info.inode, expected.st_ino);
  EXPECT_EQ(info.size, 5U);
  EXPECT_EQ(info.mode, expected.st_mode);
  EXPECT_EQ(info.userID, ::geteuid());
  EXPECT_EQ(info.modified, 1'234'567'890'123'456'789);
  EXPECT_FALSE(info.immutable);
  EXPECT_FALSE(info.isFolder());
  EXPECT_TRUE(files.info(anna(""), FollowLinks::No)->isFolder());
  EXPECT_EQ(files.info(anna("link"), FollowLinks::No)->kind, FileKind::Link);
  EXPECT_TRUE(files.info(anna("link"), FollowLinks::Yes)->isSameItem(info));
  EXPECT_FALSE(files.info(anna("link"), FollowLinks::No)->isSameItem(info));
  EXPECT_EQ(files.info(anna("dangling"), FollowLinks::No)->kind, FileKind::Link);
  EXPECT_TRUE(files.info(anna("dangling"), FollowLinks::Yes).status().isNotFound());
}

TEST_P(PosixFileSystemQueries, TellsTheBirthTimeWhereThereIsOne) {
  root.writeFile("/Users/anna/file", "");
  struct statx found {};
  ASSERT_EQ(::statx(AT_FDCWD, root.hostPath("/Users/anna/file").c_str(), 0, STATX_BTIME, &found), 0);
  ASSERT_TRUE(files.setModified(anna("file"), 5'000'000'000).ok());
  const FileInfo info = *files.info(anna("file"), FollowLinks::No);
  EXPECT_EQ(info.modified, 5'000'000'000);
  if ((found.stx_mask & STATX_BTIME) == 0) {
    EXPECT_EQ(info.created, info.modified);
    GTEST_SKIP() << "the temporary folder's volume records no birth time";
  }
  EXPECT_EQ(info.created, found.stx_btime.tv_sec * 1'000'000'000 + found.stx_btime.tv_nsec);
}

TEST_P(PosixFileSystemQueries, ReadsTheTextOfALink) {
  root.makeLink("/Users/anna/link", "../any text at all/");
  root.writeFile("/Users/anna/file", "");
  EXPECT_EQ(files.readLink(anna("link")).valueOr(""), "../any text at all/");
  EXPECT_EQ(files.readLink(anna("file")).status().code(), ErrorCode::InvalidArgument);
  EXPECT_TRUE(files.readLink(anna("none")).status().isNotFound());
}

TEST_P(PosixFileSystemQueries, ListsAFolderInTheOrderOfBytes) {
  for (const char* const name : {"b", "a", "B", "\xC3\xA9", "e\xCC\x81", ".hidden", "\xFF", "a b"}) {
    root.writeFile(std::string("/Users/anna/list/") + name, "");
  }
  root.makeFolder("/Users/anna/list/folder");
  root.makeLink("/Users/anna/list/link", "nowhere");
  const std::vector<FolderEntry> entries = *files.list(anna("list"));
  std::vector<std::string> names;
  for (const FolderEntry& entry : entries) names.push_back(entry.name);
  EXPECT_EQ(names, (std::vector<std::string>{".hidden", "B", "a", "a b", "b", "e\xCC\x81", "folder", "link",
                                             "\xC3\xA9", "\xFF"}));
  EXPECT_EQ(entries[1].kind, FileKind::File);
  EXPECT_EQ(entries[1].inode, files.info(anna("list/B"), FollowLinks::No)->inode);
  EXPECT_EQ(entries[6].kind, FileKind::Folder);
  EXPECT_EQ(entries[7].kind, FileKind::Link);
}

TEST_P(PosixFileSystemQueries, ListsOnlyFolders) {
  root.writeFile("/Users/anna/file", "");
  root.makeFolder("/Users/anna/empty");
  root.makeLink("/Users/anna/link", "empty");
  EXPECT_TRUE(files.list(anna("empty"))->empty());
  EXPECT_TRUE(files.list(anna("link"))->empty());
  EXPECT_EQ(files.list(anna("file")).status().errnoValue(), ENOTDIR);
  EXPECT_TRUE(files.list(anna("none")).status().isNotFound());
}

TEST_P(PosixFileSystemQueries, ResolvesEveryLinkOfAPath) {
  root.writeFile("/Users/anna/real/file", "");
  root.makeLink("/Users/anna/one", "real");
  root.makeLink("/Users/anna/two", "one/./../one/file");
  const std::string expected = anna("real/file");
  EXPECT_EQ(files.realPath(anna("two")).valueOr(""), expected);
  EXPECT_EQ(files.realPath(anna("one//file")).valueOr(""), expected);
  EXPECT_EQ(files.realPath("/").valueOr(""), "/");
  EXPECT_TRUE(files.realPath(anna("one/none")).status().isNotFound());
}

TEST_P(PosixFileSystemQueries, ResolvesNamesThatLookLikeTheKernelsRemarks) {
  root.writeFile("/Users/anna/x (deleted)", "");
  root.makeLink("/Users/anna/link", "x (deleted)");
  EXPECT_EQ(files.realPath(anna("link")).valueOr(""), anna("x (deleted)"));
}

TEST_P(PosixFileSystemQueries, GivesThePathOutsideTheRootAndBack) {
  const std::string program = "/Applications/A.app/Contents/MacOS/A";
  root.writeFile(program, "");
  root.makeLink("/Users/anna/tool", at(program));
  EXPECT_EQ(files.hostPath(anna("tool")), root.hostPath(program));
  EXPECT_EQ(files.pathInRoot(root.hostPath(program)), at(program));
  EXPECT_EQ(files.hostPath(anna("none")), std::nullopt);
  EXPECT_EQ(files.pathInRoot(root.hostPath(program) + "none"), std::nullopt);
}

TEST_P(PosixFileSystemQueries, TellsTheOutsideFromTheInside) {
  if (isPlain()) GTEST_SKIP() << "nothing is outside the machine's own root";
  EXPECT_EQ(files.hostPath("/"), root.path());
  EXPECT_EQ(files.pathInRoot(root.path()), "/");
  EXPECT_EQ(files.pathInRoot("/"), std::nullopt);
  // A neighbour whose name begins like the root's.
  const std::string neighbour = root.path() + "2";
  ASSERT_EQ(::mkdir(neighbour.c_str(), 0755), 0);
  EXPECT_EQ(files.pathInRoot(neighbour), std::nullopt);
  ::rmdir(neighbour.c_str());
}

TEST_P(PosixFileSystemQueries, TellsWhatAnOrdinaryUserMayDo) {
  root.writeFile("/Users/anna/open", "x");
  root.writeFile("/Users/anna/closed", "x");
  root.makeLink("/Users/anna/link", "closed");
  root.makeFolder("/Users/anna/folder");
  root.giveTo(kOrdinaryUser);
  ASSERT_EQ(::chmod(root.hostPath("/Users/anna/closed").c_str(), 0000), 0);
  ASSERT_EQ(::chmod(root.hostPath("/Users/anna/folder").c_str(), 0500), 0);
  expectAsOrdinaryUser([&] {
    EXPECT_TRUE(files.isAccessible(anna("open"), R_OK | W_OK));
    EXPECT_FALSE(files.isAccessible(anna("open"), X_OK));
    EXPECT_FALSE(files.isAccessible(anna("closed"), R_OK));
    EXPECT_FALSE(files.isAccessible(anna("link"), R_OK));
    EXPECT_TRUE(files.isAccessible(anna("folder"), R_OK | X_OK));
    EXPECT_FALSE(files.isAccessible(anna("folder"), W_OK));
    EXPECT_FALSE(files.isAccessible(anna("none"), R_OK));
    EXPECT_EQ(files.read(anna("closed")).status().code(), ErrorCode::PermissionDenied);
    EXPECT_EQ(files.create(anna("folder/x"), "", 0644).code(), ErrorCode::PermissionDenied);
  });
}

TEST_P(PosixFileSystemQueries, ReadsAttributesAndTheirNames) {
  root.writeFile("/Users/anna/file", "");
  root.makeLink("/Users/anna/link", "file");
  EXPECT_EQ(files.attribute(anna("file"), "user.none"), std::nullopt);
  if (!files.setAttribute(anna("file"), "user.com.apple.FinderInfo", std::string(32, '\x01')).ok()) {
    GTEST_SKIP() << "the temporary folder's volume has no extended attributes";
  }
  const std::string large(3000, 'v');
  ASSERT_TRUE(files.setAttribute(anna("file"), "user.a large one", large).ok());
  ASSERT_TRUE(files.setAttribute(anna("file"), "user.empty", "").ok());
  EXPECT_EQ(files.attribute(anna("file"), "user.com.apple.FinderInfo"), std::string(32, '\x01'));
  EXPECT_EQ(files.attribute(anna("file"), "user.a large one"), large);
  EXPECT_EQ(files.attribute(anna("file"), "user.empty"), "");
  EXPECT_EQ(files.attributeNames(anna("file")),
            (std::vector<std::string>{"user.a large one", "user.com.apple.FinderInfo", "user.empty"}));
  char raw[64];
  EXPECT_EQ(
      ::getxattr(root.hostPath("/Users/anna/file").c_str(), "user.com.apple.FinderInfo", raw, sizeof raw),
      32);
  // A link's own, of which it has none.
  EXPECT_EQ(files.attribute(anna("link"), "user.empty"), std::nullopt);
  EXPECT_TRUE(files.attributeNames(anna("link")).empty());
  EXPECT_EQ(files.attribute(anna("none"), "user.empty"), std::nullopt);
  EXPECT_EQ(files.attribute(anna("file"), std::string_view("user.empty\0x", 12)), std::nullopt);
}

TEST_P(PosixFileSystemQueries, CostFewSystemCalls) {
  root.writeFile("/Users/anna/file", "content");
  const std::string file = anna("file");
  const auto calls = [](const std::function<void()>& function) {
    const auto counted = countSystemCalls(function);
    return counted ? counted->total : -1;
  };
  const long info = calls([&] { static_cast<void>(files.info(file, FollowLinks::Yes)); });
  if (info < 0) GTEST_SKIP() << "processes may not be traced here";
  if (GetParam() == PathResolver::Way::Walk) {
    // Two components and the file itself, each opened, looked at and closed, after the top.
    EXPECT_LE(info, 4 * 3 + 1);
    return;
  }
  const long query = isPlain() ? 1 : 3;
  EXPECT_EQ(info, query);
  EXPECT_EQ(calls([&] { files.isAccessible(file, R_OK); }), query);
  EXPECT_EQ(calls([&] { files.attribute(file, "user.x"); }), query);
  EXPECT_EQ(calls([&] { static_cast<void>(files.realPath(file)); }), 3);
  // Open, the size, the content, its end, close.
  EXPECT_EQ(calls([&] { static_cast<void>(files.read(file)); }), 5);
}

}  // namespace
}  // namespace macos
