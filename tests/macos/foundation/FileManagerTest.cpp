// SPDX-License-Identifier: MIT
#include "macos/foundation/FileManager.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/Path.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryMount.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::FailingFileSystem;
using vennick::tests::Operations;
using vennick::tests::TemporaryMount;
using vennick::tests::TestHost;
using Strings = std::vector<std::string>;

NSFileManager& manager() { return NSFileManager::defaultManager(); }

NSURL fileURL(std::string_view path) { return NSURL::fileURLWithPath(path); }

int codeOf(const std::optional<NSError>& error) { return error ? error->code : 0; }

Strings textsOf(const std::vector<NSURL>& urls) {
  Strings texts;
  for (const NSURL& url : urls) texts.push_back(url.absoluteString());
  return texts;
}

TEST(FileManager, ExistenceFollowsLinks) {
  TestHost host;
  host.root().writeFile("/Users/anna/file", "");
  host.root().makeLink("/Users/anna/link", "/Library");
  host.root().makeLink("/Users/anna/dangling", "/nowhere");
  bool isDirectory = false;
  EXPECT_TRUE(manager().fileExistsAtPath("/Users/anna/link", &isDirectory));
  EXPECT_TRUE(isDirectory);
  EXPECT_TRUE(manager().fileExistsAtPath("/Users/anna/file", &isDirectory));
  EXPECT_FALSE(isDirectory);
  EXPECT_FALSE(manager().fileExistsAtPath("/Users/anna/dangling"));
  EXPECT_FALSE(manager().fileExistsAtPath(""));
  EXPECT_TRUE(manager().fileExistsAtPath("Users/anna"));
}

TEST(FileManager, StandardFoldersAreFolderURLsOfEachDomain) {
  TestHost host;
  EXPECT_EQ(textsOf(manager().URLsForDirectory(NSSearchPathDirectory::Desktop, NSUserDomainMask)),
            Strings{"file:///Users/anna/Desktop/"});
  EXPECT_EQ(textsOf(manager().URLsForDirectory(NSSearchPathDirectory::ApplicationSupport, NSUserDomainMask)),
            Strings{"file:///Users/anna/Library/Application%20Support/"});
  EXPECT_EQ(textsOf(manager().URLsForDirectory(NSSearchPathDirectory::Library, 15)),
            (Strings{"file:///Users/anna/Library/", "file:///Library/", "file:///Network/Library/",
                     "file:///System/Library/"}));
  EXPECT_EQ(textsOf(manager().URLsForDirectory(NSSearchPathDirectory::Documents, 15)),
            Strings{"file:///Users/anna/Documents/"});
}

TEST(FileManager, AFoldersContentsComeInOrderAndHiddenOnesOnRequestOnly) {
  TestHost host;
  host.root().writeFile("/d/b", "");
  host.root().makeFolder("/d/a");
  host.root().writeFile("/d/.hidden", "");
  host.root().writeFile("/d/invisible", "");
  FinderInfo info;
  info.setFlags(kIsInvisible);
  ASSERT_TRUE(setFinderInfo("/d/invisible", info).ok());
  const auto visible =
      manager().contentsOfDirectoryAtURL(fileURL("/d"), NSDirectoryEnumerationSkipsHiddenFiles);
  ASSERT_TRUE(visible.has_value());
  EXPECT_EQ(textsOf(*visible), (Strings{"file:///d/a/", "file:///d/b"}));
  const auto all = manager().contentsOfDirectoryAtURL(fileURL("/d"), 0);
  ASSERT_TRUE(all.has_value());
  EXPECT_EQ(textsOf(*all), (Strings{"file:///d/._invisible", "file:///d/.hidden", "file:///d/a/",
                                    "file:///d/b", "file:///d/invisible"}));
  EXPECT_FALSE(manager().contentsOfDirectoryAtURL(fileURL("/d/b"), 0).has_value());
  EXPECT_FALSE(manager().contentsOfDirectoryAtURL(fileURL("/none"), 0).has_value());
}

TEST(FileManager, EveryItemBelowAFolderIsVisitedButNoLinkFollowed) {
  TestHost host;
  host.root().writeFile("/d/P.app/Contents/x", "");
  host.root().writeFile("/d/.h/y", "");
  host.root().makeLink("/d/up", "/d");
  Strings paths;
  manager().enumerateItemsBelowPath("/d", [&](const std::string& path, FileKind) { paths.push_back(path); });
  EXPECT_EQ(paths,
            (Strings{"/d/.h", "/d/.h/y", "/d/P.app", "/d/P.app/Contents", "/d/P.app/Contents/x", "/d/up"}));
}

TEST(FileManager, MakesFoldersWithThoseBetweenOnRequest) {
  TestHost host;
  EXPECT_EQ(codeOf(manager().createDirectoryAtURL(fileURL("/Users/anna/a/b/c"), false)),
            NSFileNoSuchFileError);
  EXPECT_EQ(codeOf(manager().createDirectoryAtURL(fileURL("/Users/anna/a/b/c"), true)), 0);
  EXPECT_TRUE(host.root().exists("/Users/anna/a/b/c"));
  EXPECT_EQ(codeOf(manager().createDirectoryAtURL(fileURL("/Users/anna/a/b/c"), true)), 0);
  EXPECT_EQ(codeOf(manager().createDirectoryAtURL(fileURL("/Users/anna/a/b/c"), false)),
            NSFileWriteFileExistsError);
  host.root().writeFile("/Users/anna/file", "");
  EXPECT_EQ(codeOf(manager().createDirectoryAtURL(fileURL("/Users/anna/file"), true)),
            NSFileWriteFileExistsError);
  EXPECT_NE(codeOf(manager().createDirectoryAtURL(fileURL("/Users/anna/file/x"), true)), 0);
  host.root().makeLink("/Users/anna/link", "a");
  EXPECT_EQ(codeOf(manager().createDirectoryAtURL(fileURL("/Users/anna/link"), true)), 0);
  EXPECT_EQ(codeOf(manager().createDirectoryAtURL(*NSURL::URLWithString("http://h/x"), true)),
            NSFileWriteUnsupportedSchemeError);
}

TEST(FileManager, AFolderIsMadeAsTheUmaskSays) {
  TestHost host;
  const mode_t old = umask(022);
  EXPECT_EQ(codeOf(manager().createDirectoryAtURL(fileURL("/Users/anna/a"), true)), 0);
  umask(old);
  EXPECT_EQ(itemInfo("/Users/anna/a", FollowLinks::No)->mode & 0777U, 0755U);
}

TEST(FileManager, CopiesAFolderWithAllThatIsInIt) {
  TestHost host;
  host.root().writeFile("/from/sub/file", "content");
  host.root().makeLink("/from/link", "sub/file");
  host.root().makeLink("/from/dangling", "/nowhere");
  host.root().makeFolder("/from/closed");
  ASSERT_TRUE(host.files().setMode("/from/closed", 0500).ok());
  ASSERT_TRUE(host.files().setMode("/from/sub/file", 0640).ok());
  ASSERT_TRUE(host.files().setModified("/from/sub/file", 1'000'000'000'000'000'000).ok());
  ASSERT_TRUE(host.files().setModified("/from/sub", 1'100'000'000'000'000'000).ok());
  EXPECT_EQ(codeOf(manager().copyItemAtURL(fileURL("/from"), fileURL("/to"))), 0);
  EXPECT_EQ(host.root().snapshot("/to"), host.root().snapshot("/from"));
  EXPECT_EQ(itemInfo("/to/sub/file", FollowLinks::No)->modified, 1'000'000'000'000'000'000);
  EXPECT_EQ(itemInfo("/to/sub", FollowLinks::No)->modified, 1'100'000'000'000'000'000);
  EXPECT_EQ(itemInfo("/to/closed", FollowLinks::No)->mode & 0777U, 0500U);
  ASSERT_TRUE(host.files().setMode("/from/closed", 0700).ok());
  ASSERT_TRUE(host.files().setMode("/to/closed", 0700).ok());
}

TEST(FileManager, CopyingReplacesNothing) {
  TestHost host;
  host.root().writeFile("/a", "1");
  host.root().writeFile("/b", "2");
  host.root().makeLink("/dangling", "/nowhere");
  EXPECT_EQ(codeOf(manager().copyItemAtURL(fileURL("/a"), fileURL("/b"))), NSFileWriteFileExistsError);
  EXPECT_EQ(codeOf(manager().copyItemAtURL(fileURL("/a"), fileURL("/dangling"))), NSFileWriteFileExistsError);
  EXPECT_EQ(host.root().readFile("/b"), "2");
  EXPECT_EQ(codeOf(manager().copyItemAtURL(fileURL("/none"), fileURL("/c"))), NSFileReadNoSuchFileError);
  EXPECT_EQ(codeOf(manager().copyItemAtURL(fileURL("/a"), fileURL("/none/c"))), NSFileNoSuchFileError);
  EXPECT_FALSE(host.root().exists("/c"));
}

TEST(FileManager, AFolderCannotBeCopiedIntoItself) {
  TestHost host;
  host.root().writeFile("/from/x", "");
  host.root().makeLink("/from/inner", "/from");
  EXPECT_NE(codeOf(manager().copyItemAtURL(fileURL("/from"), fileURL("/from/copy"))), 0);
  EXPECT_NE(codeOf(manager().copyItemAtURL(fileURL("/from"), fileURL("/from/inner/copy"))), 0);
  EXPECT_EQ(host.root().names("/from"), (Strings{"inner", "x"}));
}

TEST(FileManager, AFailedCopyLeavesWhatItHadButNotInPlace) {
  TestHost host;
  host.root().writeFile("/from/a", "1");
  host.root().writeFile("/from/b", "2");
  for (long nth = 1;; ++nth) {
    ASSERT_LT(nth, 100);
    const auto failing = host.interpose<FailingFileSystem>(nth, ENOSPC, Operations::Changes);
    const auto error = manager().copyItemIntoPlace(fileURL("/from"), fileURL("/Users/anna/to"));
    host.removeInterposed();
    if (!failing->hasFailed()) {
      EXPECT_EQ(codeOf(error), 0);
      break;
    }
    // Attributes and the removal of the rest may fail without harm.
    if (!error) {
      host.root().remove("/Users/anna/to");
      continue;
    }
    EXPECT_EQ(error->code, NSFileWriteOutOfSpaceError) << nth;
    EXPECT_FALSE(host.root().exists("/Users/anna/to")) << nth;
    EXPECT_EQ(host.root().names("/Users/anna"), Strings{"Library"}) << nth;
  }
  EXPECT_EQ(host.root().snapshot("/Users/anna/to"), host.root().snapshot("/from"));
}

TEST(FileManager, MovingNeverReplacesAnything) {
  TestHost host;
  host.root().writeFile("/a", "1");
  host.root().writeFile("/b", "2");
  host.root().makeFolder("/empty");
  host.root().makeFolder("/other");
  EXPECT_EQ(codeOf(manager().moveItemAtURL(fileURL("/a"), fileURL("/b"))), 516);
  EXPECT_EQ(codeOf(manager().moveItemAtURL(fileURL("/other"), fileURL("/empty"))), 516);
  EXPECT_EQ(codeOf(manager().moveItemAtURL(fileURL("/a"), fileURL("/a"))), 516);
  EXPECT_EQ(codeOf(manager().moveItemAtURL(fileURL("/none"), fileURL("/c"))), NSFileNoSuchFileError);
  EXPECT_EQ(codeOf(manager().moveItemAtURL(fileURL("/a"), fileURL("/none/c"))), NSFileNoSuchFileError);
  EXPECT_EQ(host.root().readFile("/a"), "1");
  EXPECT_EQ(host.root().readFile("/b"), "2");
  EXPECT_EQ(codeOf(manager().moveItemAtURL(fileURL("/a"), fileURL("/c"))), 0);
  EXPECT_EQ(host.root().readFile("/c"), "1");
  EXPECT_FALSE(host.root().exists("/a"));
}

TEST(FileManager, AMoveFindsWhatStandsUnderAnotherSpelling) {
  TestHost host;
  host.root().makeFolder("/sets/\u00DCbung");
  host.root().makeFolder("/sets/Neu");
  EXPECT_EQ(codeOf(manager().moveItemAtURL(fileURL("/sets/Neu"), fileURL("/sets/U\u0308bung"))), 516);
  EXPECT_EQ(codeOf(manager().moveItemAtURL(fileURL("/sets/U\u0308bung"), fileURL("/sets/Alt"))), 0);
  EXPECT_EQ(host.root().names("/sets"), (Strings{"Alt", "Neu"}));
}

TEST(FileManager, ANewLetterCaseOfTheSameNameIsAMove) {
  TestHost host;
  host.volumes().change("/", [](VolumeInfo& volume) { volume.isCaseSensitive = false; });
  host.root().makeFolder("/sets/work");
  EXPECT_EQ(codeOf(manager().moveItemAtURL(fileURL("/sets/work"),
                                           NSURL::fileURLWithPathIsDirectory("/sets/Work", true))),
            0);
  EXPECT_EQ(host.root().names("/sets"), Strings{"Work"});
}

TEST(FileManager, MovesBetweenVolumesByCopying) {
  TestHost host;
  const auto volume = TemporaryMount::volume(host.root(), "/Volumes/Disk", 1 << 20);
  if (!volume) GTEST_SKIP() << "nothing may be mounted here";
  host.root().writeFile("/from/sub/x", "content");
  const auto before = host.root().snapshot("/from");
  EXPECT_EQ(codeOf(manager().moveItemAtURL(fileURL("/from"), fileURL("/Volumes/Disk/to"))), 0);
  EXPECT_EQ(host.root().snapshot("/Volumes/Disk/to"), before);
  EXPECT_FALSE(host.root().exists("/from"));
}

TEST(FileManager, AMoveToAFullVolumeLeavesTheOriginalAlone) {
  TestHost host;
  const auto volume = TemporaryMount::volume(host.root(), "/Volumes/Disk", 64 << 10);
  if (!volume) GTEST_SKIP() << "nothing may be mounted here";
  host.root().writeFile("/from/a", "small");
  host.root().writeFile("/from/b", std::string(1 << 20, 'x'));
  const auto before = host.root().snapshot("/from");
  const auto error = manager().moveItemAtURL(fileURL("/from"), fileURL("/Volumes/Disk/to"));
  EXPECT_EQ(codeOf(error), NSFileWriteOutOfSpaceError);
  EXPECT_EQ(host.root().snapshot("/from"), before);
  EXPECT_FALSE(host.root().exists("/Volumes/Disk/to"));
}

TEST(FileManager, RemovingNeverFollowsALink) {
  TestHost host;
  host.root().writeFile("/keep/x", "");
  host.root().makeLink("/gone/link", "/keep");
  host.root().writeFile("/gone/deep/er/x", "");
  host.root().makeLink("/link", "/keep");
  EXPECT_EQ(codeOf(manager().removeItemAtURL(fileURL("/gone"))), 0);
  EXPECT_EQ(codeOf(manager().removeItemAtURL(NSURL::fileURLWithPathIsDirectory("/link", true))), 0);
  EXPECT_FALSE(host.root().exists("/gone"));
  EXPECT_FALSE(host.root().exists("/link"));
  EXPECT_TRUE(host.root().exists("/keep/x"));
  EXPECT_EQ(codeOf(manager().removeItemAtURL(fileURL("/gone"))), NSFileNoSuchFileError);
}

TEST(FileManager, AnItemTakesItsPartnerAlong) {
  TestHost host;
  host.root().writeFile("/a", "1");
  FinderInfo info;
  info.setFlags(kIsAlias);
  ASSERT_TRUE(setFinderInfo("/a", info).ok());
  ASSERT_TRUE(host.root().exists("/._a"));
  EXPECT_EQ(codeOf(manager().copyItemAtURL(fileURL("/a"), fileURL("/b"))), 0);
  EXPECT_TRUE(finderInfoAtPath("/b").isAlias());
  EXPECT_EQ(codeOf(manager().moveItemAtURL(fileURL("/a"), fileURL("/c"))), 0);
  EXPECT_TRUE(finderInfoAtPath("/c").isAlias());
  EXPECT_FALSE(host.root().exists("/._a"));
  EXPECT_EQ(codeOf(manager().removeItemAtURL(fileURL("/c"))), 0);
  EXPECT_FALSE(host.root().exists("/._c"));
}

TEST(FileManager, ARefusalIsTheNoPermissionError) {
  TestHost host;
  host.root().writeFile("/locked/x", "");
  host.root().writeFile("/locked/sub/y", "");
  host.root().giveTo(vennick::tests::kOrdinaryUser);
  ASSERT_TRUE(host.files().setMode("/locked", 0555).ok());
  const auto result = vennick::tests::runAsOrdinaryUser([] {
    EXPECT_EQ(codeOf(manager().removeItemAtURL(fileURL("/locked/x"))), NSFileWriteNoPermissionError);
    EXPECT_EQ(codeOf(manager().moveItemAtURL(fileURL("/locked/x"), fileURL("/locked/y"))),
              NSFileWriteNoPermissionError);
    EXPECT_EQ(codeOf(manager().createDirectoryAtURL(fileURL("/locked/new"), true)),
              NSFileWriteNoPermissionError);
    EXPECT_FALSE(manager().isWritableFileAtPath("/locked"));
    EXPECT_TRUE(manager().isReadableFileAtPath("/locked"));
  });
  EXPECT_TRUE(result.succeeded());
  EXPECT_TRUE(host.root().exists("/locked/x"));
  ASSERT_TRUE(host.files().setMode("/locked", 0755).ok());
}

TEST(FileManager, ErrorsReadAsThePlatformsDo) {
  TestHost host;
  host.root().writeFile("/from/a", "");
  host.root().writeFile("/to/a", "");
  const auto error = manager().moveItemAtURL(fileURL("/from/a"), fileURL("/to/a"));
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->localizedDescription,
            "“a” couldn’t be moved to “to” because an item with the same name already exists.");
  EXPECT_EQ(error->description(),
            "Error Domain=NSCocoaErrorDomain Code=516 \"“a” couldn’t be moved to “to” because an item with "
            "the same "
            "name already exists.\" UserInfo={NSFilePath=/from/a, NSUnderlyingError={Error "
            "Domain=NSPOSIXErrorDomain "
            "Code=17 \"File exists\"}}");
  EXPECT_EQ(cocoaErrorForReading(Status::fromErrno("/x/y", ENOENT)).localizedDescription,
            "The file “y” couldn’t be opened because there is no such file.");
  EXPECT_EQ(cocoaErrorForReading(Status::fromErrno("/x/y", EACCES)).code, 257);
  EXPECT_EQ(cocoaErrorForWriting(Status::fromErrno("/x/y", EROFS)).code, 642);
  EXPECT_EQ(cocoaErrorForWriting(Status::fromErrno("/x/y", ENOSPC)).code, 640);
  EXPECT_EQ(cocoaErrorForWriting(Status::fromErrno("/x/y", EIO)).code, 512);
}

TEST(FileManager, UbiquitousIsWhatExistsBelowAnICloudFolder) {
  TestHost host;
  host.root().writeFile("/Users/anna/Library/Mobile Documents/com~apple~CloudDocs/x", "");
  host.root().writeFile("/Users/anna/Library/CloudStorage/iCloud Drive/y", "");
  host.root().writeFile("/Users/anna/Library/CloudStorage/Other/z", "");
  host.root().makeLink("/Users/anna/cloud", "Library/Mobile Documents/com~apple~CloudDocs");
  const auto isUbiquitous = [](std::string_view path) {
    return manager().isUbiquitousItemAtURL(fileURL(path));
  };
  EXPECT_TRUE(isUbiquitous("/Users/anna/Library/Mobile Documents/com~apple~CloudDocs"));
  EXPECT_TRUE(isUbiquitous("/Users/anna/Library/Mobile Documents/com~apple~CloudDocs/x"));
  EXPECT_TRUE(isUbiquitous("/Users/anna/Library/CloudStorage/iCloud Drive/y"));
  EXPECT_TRUE(isUbiquitous("/Users/anna/cloud/x"));
  EXPECT_FALSE(isUbiquitous("/Users/anna/cloud")) << "the link itself is not there";
  EXPECT_FALSE(isUbiquitous("/Users/anna/Library/CloudStorage/Other/z"));
  EXPECT_FALSE(isUbiquitous("/Users/anna/Library/Mobile Documents/none"));
  EXPECT_FALSE(isUbiquitous("/Users/anna/Library/Mobile Documents"));
}

}  // namespace
}  // namespace macos
