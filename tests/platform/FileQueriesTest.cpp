// SPDX-License-Identifier: MIT
#include "platform/FileQueries.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <mutex>
#include <set>
#include <thread>

#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/RunLoop.h"
#include "tests/support/BundleSketch.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/IndependentReader.h"
#include "tests/support/TestHost.h"

namespace vennick {
namespace {

using macos::NSDate;
using macos::NSURL;
using macos::VolumeInfo;
using tests::FailingFileSystem;
using tests::makeBundle;
using tests::TestHost;

NSURL url(std::string_view path) { return NSURL::fileURLWithPathIsDirectory(path, false); }

NSURL web(std::string_view path) { return *NSURL::URLWithString("http://h" + std::string(path)); }

void setFlags(const std::string& path, std::uint16_t flags) {
  macos::FinderInfo info;
  info.setFlags(flags);
  ASSERT_TRUE(macos::setFinderInfo(path, info).ok());
}

TEST(FileQueries, APathIsAskedThroughALinkAtItsEnd) {
  TestHost host;
  host.root().writeFile("/file", "");
  host.root().makeFolder("/P.app");
  host.root().makeLink("/toFile", "file");
  host.root().makeLink("/toFolder", "/Users");
  host.root().makeLink("/toPackage", "P.app");
  host.root().makeLink("/dangling", "/none");
  EXPECT_TRUE(pathExists("/toFile"));
  EXPECT_FALSE(pathExists("/dangling"));
  EXPECT_FALSE(pathExists(""));
  EXPECT_TRUE(pathExistsAndIsFile("/toFile"));
  EXPECT_FALSE(pathExistsAndIsFile("/toFolder"));
  EXPECT_TRUE(pathExistsAndIsFolder("/toFolder"));
  EXPECT_TRUE(pathExistsAndIsFolder("/toPackage")) << "packages are folders, too";
  EXPECT_FALSE(pathExistsAndIsFolder("/dangling"));
  EXPECT_TRUE(pathIsPackage("/toPackage"));
  EXPECT_FALSE(pathIsPackage("/toFolder"));
  EXPECT_FALSE(pathIsPackage("/dangling"));
  EXPECT_TRUE(pathExistsAndIsFileOrPackage("/toFile"));
  EXPECT_TRUE(pathExistsAndIsFileOrPackage("/toPackage"));
  EXPECT_FALSE(pathExistsAndIsFileOrPackage("/toFolder"));
  EXPECT_FALSE(pathExistsAndIsFileOrPackage("/none"));
}

TEST(FileQueries, AURLIsNotFollowedExceptForItsExistence) {
  TestHost host;
  host.root().writeFile("/file", "");
  host.root().makeFolder("/P.app");
  host.root().makeLink("/toFile", "file");
  host.root().makeLink("/toFolder", "/Users");
  host.root().makeLink("/toPackage.app", "P.app");
  EXPECT_TRUE(pathExists(url("/toFile")));
  EXPECT_FALSE(pathExistsAndIsFile(url("/toFile")));
  EXPECT_FALSE(pathExistsAndIsFolder(url("/toFolder")));
  EXPECT_FALSE(pathIsPackage(url("/toPackage.app")));
  EXPECT_FALSE(pathExistsAndIsFileOrPackage(url("/toFile")));
  EXPECT_TRUE(pathExistsAndIsFile(url("/file")));
  EXPECT_TRUE(pathExistsAndIsFolder(url("/P.app")));
  EXPECT_TRUE(pathExistsAndIsFileOrPackage(url("/P.app")));
  EXPECT_FALSE(pathExistsAndIsFileOrPackage(url("/Users")));
}

TEST(FileQueries, ExistenceAndWritabilityGoByThePathWhateverTheScheme) {
  TestHost host;
  EXPECT_TRUE(pathExists(web("/Users")));
  EXPECT_TRUE(pathIsWritable(web("/Users")));
  EXPECT_FALSE(pathExistsAndIsFolder(web("/Users")));
  EXPECT_FALSE(pathExists(*NSURL::URLWithString("mailto:x")));
  EXPECT_FALSE(pathExists(NSURL()));
}

TEST(FileQueries, WritableIsWhatTheUserMayWrite) {
  TestHost host;
  host.root().writeFile("/closed/x", "");
  host.root().makeFolder("/open");
  host.root().giveTo(tests::kOrdinaryUser);
  ASSERT_TRUE(host.files().setMode("/closed/x", 0444).ok());
  ASSERT_TRUE(host.files().setMode("/closed", 0555).ok());
  const auto result = tests::runAsOrdinaryUser([] {
    EXPECT_FALSE(pathIsWritable("/closed/x"));
    EXPECT_FALSE(pathIsWritable(url("/closed")));
    EXPECT_TRUE(pathIsWritable("/open"));
    EXPECT_FALSE(pathIsWritable("/none"));
  });
  EXPECT_TRUE(result.succeeded());
  ASSERT_TRUE(host.files().setMode("/closed", 0755).ok());
}

TEST(FileQueries, PathExistsAndIsApplicationOfAScriptAppletIsNo) {
  TestHost host;
  makeBundle(host.root(), "/Real.app", "Real");
  makeBundle(host.root(), "/Script.app", "applet");
  makeBundle(host.root(), "/Drop.app", "droplet");
  makeBundle(host.root(), "/Loud.APP", "Loud");
  makeBundle(host.root(), "/Other.bundle", "Other");
  host.root().makeFolder("/Empty.app");
  host.root().writeFile("/file.app", "");
  EXPECT_TRUE(pathExistsAndIsApplication(url("/Real.app")));
  EXPECT_FALSE(pathExistsAndIsApplication(url("/Script.app")));
  EXPECT_FALSE(pathExistsAndIsApplication(url("/Drop.app")));
  EXPECT_FALSE(pathExistsAndIsApplication(url("/Loud.APP"))) << "the extension is exactly \"app\"";
  EXPECT_FALSE(pathExistsAndIsApplication(url("/Other.bundle")));
  EXPECT_TRUE(pathExistsAndIsApplication(url("/Empty.app")))
      << "one without an executable still is an application";
  EXPECT_FALSE(pathExistsAndIsApplication(url("/file.app")));
  EXPECT_FALSE(pathExistsAndIsApplication(url("/none.app")));
}

TEST(FileQueries, AScriptAppletWhoseNameIsNotUTF8IsNoApplicationEither) {
  TestHost host;
  makeBundle(host.root(), "/caf\xE9.app", "applet");
  makeBundle(host.root(), "/th\xE9.app", "Tea");
  EXPECT_FALSE(pathExistsAndIsApplication(url("/caf\xE9.app")));
  EXPECT_TRUE(pathExistsAndIsApplication(url("/th\xE9.app")));
}

TEST(FileQueries, AliasesAndHiddenItemsAreRecognised) {
  TestHost host;
  host.root().writeFile("/alias", "");
  host.root().writeFile("/invisible", "");
  host.root().writeFile("/plain", "");
  setFlags("/alias", macos::kIsAlias);
  setFlags("/invisible", macos::kIsInvisible);
  EXPECT_TRUE(pathIsAlias(url("/alias")));
  EXPECT_FALSE(pathIsAlias(url("/plain")));
  EXPECT_FALSE(pathIsAlias(web("/alias")));
  EXPECT_TRUE(pathIsHidden(url("/invisible")));
  EXPECT_FALSE(pathIsHidden(url("/plain")));
  EXPECT_TRUE(pathIsHidden(url("/missing/.dot"))) << "the name alone is enough";
  EXPECT_FALSE(pathIsHidden(web("/.dot")));
}

TEST(FileQueries, AFlagOfTheFindersInTheFileBesideCountsToo) {
  TestHost host;
  // An AppleDouble file of nothing but the Finder's information, its invisible bit (0x4000) set.
  std::string partner("\0\5\x16\7\0\2\0\0", 8);
  partner += std::string(16, ' ') + std::string("\0\1\0\0\0\11\0\0\0\x26\0\0\0\x20", 14);
  partner += std::string(8, '\0') + std::string("\x40\0", 2) + std::string(22, '\0');
  host.root().writeFile("/seen", "");
  host.root().writeFile("/unseen", "");
  host.root().writeFile("/._unseen", partner);
  EXPECT_TRUE(pathIsHidden(url("/unseen")));
  EXPECT_FALSE(pathIsHidden(url("/seen")));
}

TEST(FileQueries, APackageHasTheFindersBitOrAnExtensionInAnyLetterCaseAndAFrameworkIsNone) {
  TestHost host;
  for (const auto* extension : {"app", "bundle", "rtfd", "plugin", "kext", "prefPane", "saver", "workflow",
                                "scptd", "mpkg", "pages", "numbers", "key", "photoslibrary", "APP", "rTfD"}) {
    const std::string path = std::string("/P.") + extension;
    host.root().makeFolder(path);
    EXPECT_TRUE(pathIsPackage(path)) << extension;
    EXPECT_TRUE(pathExistsAndIsFileOrPackage(url(path))) << extension;
  }
  host.root().makeFolder("/P.framework");
  EXPECT_FALSE(pathIsPackage("/P.framework"));
  EXPECT_FALSE(pathExistsAndIsFileOrPackage("/P.framework"));
  host.root().makeFolder("/bit");
  EXPECT_FALSE(pathIsPackage(url("/bit")));
  setFlags("/bit", 0x2000);
  EXPECT_TRUE(pathIsPackage(url("/bit")));
  EXPECT_TRUE(pathIsPackage("/bit"));
}

TEST(FileQueries, PathIsEjectableOfALocationOnAnEjectableVolumeIsNo) {
  TestHost host;
  host.root().writeFile("/Volumes/Stick/x", "");
  host.volumes().change("/Volumes/Stick", [](VolumeInfo& volume) { volume.isEjectable = true; });
  EXPECT_FALSE(pathIsEjectable(url("/Volumes/Stick/x")));
  EXPECT_TRUE(pathIsEjectable(url("/Users"))) << "deliberately the inverse of the volume's flag";
  EXPECT_FALSE(pathIsEjectable(url("/none"))) << "but not what cannot be read";
  EXPECT_FALSE(pathIsEjectable(web("/Users")));
}

TEST(FileQueries, ALocationOnAnotherComputersDiskIsOnANetworkVolume) {
  TestHost host;
  host.root().writeFile("/Volumes/Server/x", "");
  host.volumes().change("/Volumes/Server", [](VolumeInfo& volume) { volume.isLocal = false; });
  EXPECT_TRUE(pathIsOnNetworkVolume(url("/Volumes/Server/x")));
  EXPECT_TRUE(pathIsOnNetworkVolume("/Volumes/Server/x"));
  EXPECT_FALSE(pathIsOnNetworkVolume("/Users"));
  EXPECT_FALSE(pathIsOnNetworkVolume("/Volumes/Server/none"));
  EXPECT_FALSE(pathIsOnNetworkVolume(web("/Volumes/Server/x")));
}

TEST(FileQueries, IsCaseSensitiveOfAURLThatIsNoFileURLIsYes) {
  TestHost host;
  host.volumes().change("/", [](VolumeInfo& volume) { volume.isCaseSensitive = false; });
  EXPECT_TRUE(isCaseSensitive(web("/Users")));
  EXPECT_TRUE(isCaseSensitive(url("/none"))) << "and of one that cannot be read";
  EXPECT_FALSE(isCaseSensitive(url("/Users")));
}

TEST(FileQueries, TheModificationDateIsTheDistantPastWhenItCannotBeRead) {
  TestHost host;
  host.root().writeFile("/file", "");
  ASSERT_TRUE(host.files().setModified("/file", 978'307'300'000'000'000).ok());
  EXPECT_EQ(modificationDate(url("/file")).secondsSinceReferenceDate, 100);
  EXPECT_EQ(modificationDate(url("/none")), NSDate::distantPast());
  EXPECT_EQ(modificationDate(web("/file")), NSDate::distantPast());
}

TEST(FileQueries, SizeOfAFolderHoldingThreeVisibleFilesAndOneHiddenIsThree) {
  TestHost host;
  host.root().writeFile("/d/a", std::string(1000, 'x'));
  host.root().writeFile("/d/b", "");
  host.root().writeFile("/d/c", "");
  host.root().writeFile("/d/.hidden", "");
  EXPECT_EQ(size(url("/d")), 3);
  host.root().writeFile("/d/sub/deep", "");
  EXPECT_EQ(size(url("/d")), 4) << "a folder in it is one entry";
}

TEST(FileQueries, SizeOfAPackageIsTheSumOfAllThatIsInIt) {
  TestHost host;
  host.root().writeFile("/P.app/Contents/a", std::string(1000, 'x'));
  host.root().writeFile("/P.app/.hidden", std::string(200, 'x'));
  host.root().writeFile("/P.app/Inner.bundle/b", std::string(30, 'x'));
  host.root().makeLink("/P.app/link", "1234");
  host.root().makeLink("/P.app/up", "/P.app");
  EXPECT_EQ(size(url("/P.app")), 1000 + 200 + 30 + 4 + 6) << "a link counts by its own length";
}

TEST(FileQueries, SizeOfAnythingElseIsItsOwnReadAfresh) {
  TestHost host;
  host.root().writeFile("/file", "12345");
  EXPECT_EQ(size(url("/file")), 5);
  host.root().writeFile("/file", "1234567");
  EXPECT_EQ(size(url("/file")), 7);
  EXPECT_EQ(size(url("/none")), 0);
  EXPECT_EQ(size(web("/file")), 0);
  EXPECT_EQ(size(NSURL()), 0);
}

TEST(FileQueries, SizeIsDeliveredOnTheMainThreadByTheRunLoop) {
  tests::TestHostOptions options;
  options.realClock = true;
  TestHost host(options);
  host.root().writeFile("/file", "12345");
  std::int64_t delivered = -1;
  std::thread::id thread;
  sizeDeliveredToBlock(url("/file"), [&](std::int64_t bytes) {
    delivered = bytes;
    thread = std::this_thread::get_id();
  });
  EXPECT_EQ(delivered, -1) << "it returns at once";
  for (int i = 0; i < 100 && delivered < 0; ++i) {
    macos::NSRunLoop::mainRunLoop().runUntilDate(NSDate::dateWithTimeIntervalSinceNow(0.02));
  }
  EXPECT_EQ(delivered, 5);
  EXPECT_EQ(thread, std::this_thread::get_id());
}

// Notes which thread asks the disk for an item.
class ThreadNotingFileSystem : public tests::ForwardingFileSystem {
 public:
  using ForwardingFileSystem::ForwardingFileSystem;
  std::set<std::thread::id> threads() {
    const std::lock_guard lock(mutex_);
    return threads_;
  }

 protected:
  macos::Status before(const tests::FileEvent&) override {
    const std::lock_guard lock(mutex_);
    threads_.insert(std::this_thread::get_id());
    return {};
  }

 private:
  std::mutex mutex_;
  std::set<std::thread::id> threads_;
};

TEST(FileQueries, SizeToBeDeliveredIsFoundOutInTheBackground) {
  tests::TestHostOptions options;
  options.realClock = true;
  TestHost host(options);
  host.root().writeFile("/d/a", "");
  const NSURL folder = url("/d");
  std::int64_t delivered = -1;
  const auto noting = host.interpose<ThreadNotingFileSystem>();
  sizeDeliveredToBlock(folder, [&](std::int64_t entries) { delivered = entries; });
  for (int i = 0; i < 100 && delivered < 0; ++i) {
    macos::NSRunLoop::mainRunLoop().runUntilDate(NSDate::dateWithTimeIntervalSinceNow(0.02));
  }
  EXPECT_EQ(delivered, 1);
  EXPECT_EQ(noting->threads().size(), 1U);
  EXPECT_FALSE(noting->threads().contains(std::this_thread::get_id()));
}

TEST(FileQueries, AnAliasFileLeadsToWhatItWasMadeFor) {
  TestHost host;
  host.root().writeFile("/Users/anna/target", "");
  ASSERT_FALSE(createAliasFileAtURL(url("/Users/anna/target"), url("/Users/anna/alias")).has_value());
  EXPECT_TRUE(pathIsAlias(url("/Users/anna/alias")));
  EXPECT_EQ(URLByResolvingAliasFile(url("/Users/anna/alias")), url("/Users/anna/target"));
  host.root().remove("/Users/anna/target");
  EXPECT_EQ(URLByResolvingAliasFile(url("/Users/anna/alias")), url("/Users/anna/alias"))
      << "one that leads nowhere is itself";
}

TEST(FileQueries, AnAliasFileHoldsABookmarkThatAnIndependentReaderReads) {
  TestHost host;
  host.root().writeFile("/Users/anna/target", "");
  ASSERT_FALSE(createAliasFileAtURL(url("/Users/anna/target"), url("/Users/anna/alias")).has_value());
  const std::string text = readIndependently("bookmark.py", host.root().readFile("/Users/anna/alias"));
  EXPECT_TRUE(text.starts_with("file created ")) << text;
  EXPECT_NE(text.find("\n1004 ['Users', 'anna', 'target']\n"), std::string::npos) << text;
  EXPECT_NE(text.find("\nD010 s32 1024\n"), std::string::npos) << "the options that it was made with\n"
                                                               << text;
  EXPECT_EQ(readIndependently("appledouble.py", host.root().readFile("/Users/anna/._alias")),
            "finder alis MACS flags 0x8000\n");
}

TEST(FileQueries, AnAliasFileFindsItsItemAfterAMove) {
  TestHost host;
  host.root().writeFile("/Users/anna/target", "");
  ASSERT_FALSE(createAliasFileAtURL(url("/Users/anna/target"), url("/Users/anna/alias")).has_value());
  ASSERT_TRUE(
      host.files().rename("/Users/anna/target", "/Users/anna/renamed", macos::FileSystem::Replace::No).ok());
  EXPECT_EQ(URLByResolvingAliasFile(url("/Users/anna/alias")), url("/Users/anna/renamed"));
}

TEST(FileQueries, AnAliasFileIsMadeUnderTheSpellingsThatTheDiskHas) {
  TestHost host;
  host.root().writeFile("/Users/anna/target", "");
  // The URL's path is decomposed, the names on this disk are not.
  host.root().writeFile("/Users/anna/\u00DCbung/caf\u00E9", "old");
  const NSURL alias = url("/Users/anna/\u00DCbung/caf\u00E9");
  ASSERT_FALSE(createAliasFileAtURL(url("/Users/anna/target"), alias).has_value());
  EXPECT_EQ(URLByResolvingAliasFile(alias), url("/Users/anna/target"));
  EXPECT_TRUE(host.root().exists("/Users/anna/\u00DCbung/._caf\u00E9"));
  EXPECT_FALSE(host.root().exists("/Users/anna/\u00DCbung/cafe\u0301")) << "no second file beside the first";
  ASSERT_FALSE(
      createAliasFileAtURL(url("/Users/anna/target"), url("/Users/anna/\u00DCbung/new")).has_value());
  EXPECT_TRUE(host.root().exists("/Users/anna/\u00DCbung/new"));
}

TEST(FileQueries, WhatIsNoAliasFileResolvesToItself) {
  TestHost host;
  host.root().writeFile("/plain", "");
  EXPECT_EQ(URLByResolvingAliasFile(url("/plain")), url("/plain"));
  EXPECT_EQ(URLByResolvingAliasFile(url("/none")), url("/none"));
  EXPECT_EQ(URLByResolvingAliasFile(web("/plain")), web("/plain"));
}

TEST(FileQueries, AnAliasFileOfAMissingItemIsAnError) {
  TestHost host;
  const auto error = createAliasFileAtURL(url("/none"), url("/alias"));
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->code, macos::NSFileReadNoSuchFileError);
  EXPECT_FALSE(host.root().exists("/alias"));
}

TEST(FileQueries, AnAliasFileThatCannotBeWrittenIsAnError) {
  TestHost host;
  host.root().writeFile("/target", "");
  const auto error = createAliasFileAtURL(url("/target"), url("/none/alias"));
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->code, macos::NSFileNoSuchFileError);
  EXPECT_FALSE(host.root().exists("/none"));
  const auto unsupported = createAliasFileAtURL(url("/target"), web("/alias"));
  ASSERT_TRUE(unsupported.has_value());
  EXPECT_EQ(unsupported->code, macos::NSFileWriteUnsupportedSchemeError);
  EXPECT_FALSE(host.root().exists("/alias"));
}

TEST(FileQueries, NamesOfEveryByteAreFound) {
  TestHost host;
  std::string longest(255, 'n');
  for (const std::string& name : {std::string("line\nbreak"), std::string("caf\xE9"), std::string("a:b"),
                                  std::string("\x01\x7F\\"), std::string("%41?#;"), longest}) {
    const std::string path = "/d/" + name;
    host.root().writeFile(path, "1234");
    EXPECT_TRUE(pathExistsAndIsFile(path)) << name;
    EXPECT_TRUE(pathExistsAndIsFile(url(path))) << name;
    EXPECT_EQ(size(url(path)), 4) << name;
    EXPECT_FALSE(pathIsHidden(url(path))) << name;
  }
  EXPECT_FALSE(pathExists("/d/" + longest + "n"));
  EXPECT_FALSE(pathExists(std::string("/d\0/a:b", 7)));
}

TEST(FileQueries, ANameInEitherNormalizationIsFound) {
  TestHost host;
  host.root().writeFile("/d/caf\u00E9", "1234");
  host.root().writeFile("/d/U\u0308bung", "12345");
  for (const auto* path : {"/d/caf\u00E9", "/d/cafe\u0301"}) {
    EXPECT_TRUE(pathExistsAndIsFile(path)) << path;
    EXPECT_EQ(size(url(path)), 4) << path;
  }
  for (const auto* path : {"/d/\u00DCbung", "/d/U\u0308bung"}) {
    EXPECT_TRUE(pathExists(url(path))) << path;
    EXPECT_EQ(size(url(path)), 5) << path;
  }
}

TEST(FileQueries, AnEntryThatVanishesBetweenTwoCallsDoesNoHarm) {
  TestHost host;
  host.root().writeFile("/P.app/a", "12345");
  host.root().writeFile("/P.app/b", "12345");
  host.root().writeFile("/d/a", "");
  for (long nth = 1; nth < 40; ++nth) {
    const auto failing = host.interpose<FailingFileSystem>(nth, ENOENT);
    EXPECT_LE(size(url("/P.app")), 10) << nth;
    EXPECT_LE(size(url("/d")), 1) << nth;
    (void)displayName("/P.app");
    (void)pathExistsAndIsApplication(url("/P.app"));
    host.removeInterposed();
  }
  EXPECT_EQ(size(url("/P.app")), 10);
}

TEST(FileQueries, AFolderWithoutPermissionHasNoSize) {
  TestHost host;
  host.root().writeFile("/closed/x", "");
  ASSERT_TRUE(host.files().setMode("/closed", 0).ok());
  const auto result = tests::runAsOrdinaryUser([] {
    EXPECT_EQ(size(url("/closed")), 0);
    EXPECT_FALSE(pathExists("/closed/x"));
    EXPECT_TRUE(pathExistsAndIsFolder(url("/closed")));
  });
  EXPECT_TRUE(result.succeeded());
}

}  // namespace
}  // namespace vennick
