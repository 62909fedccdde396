// SPDX-License-Identifier: MIT
#include "legacy/AliasResolution.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

#include "macos/carbon/Gestalt.h"
#include "macos/foundation/Dispatch.h"
#include "tests/support/AliasFiles.h"
#include "tests/support/IndependentReader.h"

namespace vennick {
namespace {

using macos::AliasHandle;
using macos::AliasRecord;
using macos::AliasTag;
using macos::FSRef;
using macos::OSErr;
using macos::VolumeInfo;
using tests::aliasTo;
using tests::BlockingFileSystem;
using tests::changedAlias;
using tests::pathOf;
using tests::refTo;
using tests::TestHost;
using tests::TestHostOptions;
using tests::writeAliasFile;
using tests::writeClassicAliasFile;

constexpr const char* kReport = "/Users/anna/Documents/report.txt";
constexpr const char* kDocuments = "/Users/anna/Documents";
constexpr unsigned kNoUI = macos::kResolveAliasFileNoUI | macos::kResolveAliasTryFileIDFirst;
constexpr unsigned kWithUI = macos::kResolveAliasTryFileIDFirst;

AliasHandle withoutPath(const AliasHandle& alias) {
  return changedAlias(alias, [](AliasRecord& record) {
    record.removeField(AliasTag::PosixPath);
    record.removeField(AliasTag::CarbonPath);
  });
}

AliasHandle onVolumeNamed(const AliasHandle& alias, std::u16string_view name) {
  return changedAlias(alias,
                      [&](AliasRecord& record) { record.setUnicodeName(AliasTag::UnicodeVolumeName, name); });
}

void move(TestHost& host, std::string_view from, std::string_view to) {
  ASSERT_TRUE(host.files().rename(from, to, macos::FileSystem::Replace::No).ok());
}

void setSystemVersion(TestHost& host, const std::string& version) {
  host.root().writeFile("/System/Library/CoreServices/SystemVersion.plist",
                        "<plist version=\"1.0\"><dict><key>ProductVersion</key><string>" + version +
                            "</string></dict></plist>");
}

struct Answer {
  OSErr code = 0;
  std::string path;
  bool isFolder = false;
  std::string name;
  bool aliasChanged = false;
};

Answer resolveItem(AliasHandle alias, ResolveMode mode = ResolveMode::AnyTarget,
                   AllowUI allowUI = AllowUI::No) {
  ItemAliasTarget target;
  Answer answer;
  answer.code = ResolveItemAlias(alias, &target, {.name = true, .isFolder = true}, mode, allowUI,
                                 UseDisplayName::Yes, &answer.aliasChanged);
  answer.path = pathOf(target.ref);
  answer.isFolder = target.isFolder;
  answer.name = target.name;
  return answer;
}

Answer resolveChecked(AliasHandle alias, unsigned flags) {
  FSRef ref;
  Answer answer;
  answer.code = ResolveAliasChecked(alias, &ref, flags, &answer.aliasChanged);
  answer.path = pathOf(ref);
  return answer;
}

Answer resolveFile(std::string_view path) {
  FSRef target;
  Answer answer;
  answer.code = ResolveAliasFileWithTimeout(refTo(path), &target, &answer.isFolder, nullptr, kNoUI);
  answer.path = pathOf(target);
  return answer;
}

class Resolution : public testing::Test {
 protected:
  Resolution() { host.root().writeFile(kReport, "text"); }
  TestHost host;
};

// --- ResolveAliasChecked

TEST_F(Resolution, OfNoAliasIsAParameterError) {
  EXPECT_EQ(resolveChecked(AliasHandle(), kNoUI).code, -50);
  EXPECT_EQ(resolveItem(AliasHandle()).code, -50);
}

TEST_F(Resolution, OfARecordThatIsNoneIsAParameterError) {
  const std::string whole = aliasTo(kReport).bytes;
  EXPECT_EQ(resolveItem({"1234567"}).code, -50);
  EXPECT_EQ(resolveItem({whole.substr(0, whole.size() - 1)}).code, -50);
}

TEST_F(Resolution, WithoutUIOfAPathThatCannotBeReachedIsVolumeGoneBeforeAnyAttempt) {
  const AliasHandle alias = aliasTo(kReport);
  move(host, kReport, "/Users/anna/Documents/renamed.txt");
  EXPECT_EQ(resolveChecked(alias, kNoUI).code, -124);  // renamed
  EXPECT_EQ(resolveChecked(alias, kWithUI).path, "/Users/anna/Documents/renamed.txt");
  host.root().remove("/Users/anna/Documents/renamed.txt");
  EXPECT_EQ(resolveChecked(alias, kNoUI).code, -124);  // deleted
  EXPECT_EQ(resolveChecked(alias, kWithUI).code, -43);
  const AliasHandle foreign{testData("alias-records/macos-alias_rawData_v2.alias")};
  EXPECT_EQ(resolveChecked(foreign, kNoUI).code, -124);  // not mounted
  EXPECT_EQ(resolveChecked(foreign, kWithUI).code, -35);
}

TEST_F(Resolution, OfARecordWithoutAPathGoesByIdentifiers) {
  const AliasHandle alias = withoutPath(aliasTo(kReport));
  move(host, kReport, "/Users/anna/Documents/renamed.txt");
  EXPECT_EQ(resolveChecked(alias, kNoUI).path, "/Users/anna/Documents/renamed.txt");
  host.root().remove("/Users/anna/Documents/renamed.txt");
  EXPECT_EQ(resolveChecked(alias, kNoUI).code, -43);
}

TEST_F(Resolution, ToAnotherVolumeOfTheNameIsAccepted) {
  host.root().writeFile("/Volumes/Stick/a.txt", "");
  EXPECT_EQ(resolveChecked(aliasTo("/Volumes/Stick/a.txt"), kNoUI).path, "/Volumes/Stick/a.txt");
}

// Of names of one length, as little-endian UTF-16, as many bytes are compared as the name has units. It
// looks like a mistake and is kept.
TEST_F(Resolution, ComparesTheFirstHalfOfVolumeNamesOnly) {
  host.root().writeFile("/Volumes/V/a.txt", "");
  const AliasHandle alias = aliasTo("/Volumes/V/a.txt");
  const auto isAccepted = [&](std::u16string_view recorded, const std::string& found) {
    host.volumes().change("/Volumes/V", [=](VolumeInfo& volume) { volume.name = found; });
    const Answer answer = resolveChecked(onVolumeNamed(alias, recorded), kNoUI);
    EXPECT_EQ(answer.path, answer.code == 0 ? "/Volumes/V/a.txt" : "");
    EXPECT_TRUE(answer.code == 0 || answer.code == -43) << answer.code;
    return answer.code == 0;
  };
  EXPECT_TRUE(isAccepted(u"Data", "Dart"));
  EXPECT_FALSE(isAccepted(u"Data", "Dota"));
  EXPECT_TRUE(isAccepted(u"Disks", "Disko"));
  EXPECT_FALSE(isAccepted(u"Disks", "Dirks"));
  EXPECT_TRUE(isAccepted(u"AB", "AC"));
  EXPECT_FALSE(isAccepted(u"A", "B"));
  EXPECT_TRUE(isAccepted(u"A", "Ł"));
  EXPECT_FALSE(isAccepted(u"Data", "Dat"));
  EXPECT_TRUE(isAccepted(u"", "Data"));
  EXPECT_TRUE(isAccepted(u"Ä/b", "Ä:b"));
  EXPECT_TRUE(isAccepted(u"Ä", "A\u0308"));
}

TEST_F(Resolution, OfAMacRomanVolumeNameComparesItConverted) {
  host.root().writeFile("/Volumes/Größe/a.txt", "");
  const AliasHandle alias = changedAlias(aliasTo("/Volumes/Größe/a.txt"), [](AliasRecord& record) {
    record.removeField(AliasTag::UnicodeVolumeName);
  });
  EXPECT_EQ(resolveChecked(alias, kNoUI).path, "/Volumes/Größe/a.txt");
  std::string tooLong = alias.bytes;
  tooLong[10] = 28;
  EXPECT_EQ(resolveChecked({tooLong}, kNoUI).code, 0) << "a length byte above 27 counts as no name";
}

TEST_F(Resolution, StandsWhateverTheNameWhenTheBootVolumeHasNone) {
  const AliasHandle alias = onVolumeNamed(aliasTo(kReport), u"Elsewhere");
  EXPECT_EQ(resolveChecked(alias, kNoUI).code, -43);
  host.root().remove("/Volumes/Macintosh HD");
  const Answer answer = resolveChecked(alias, kNoUI);
  EXPECT_EQ(answer.path, kReport);
  EXPECT_FALSE(answer.aliasChanged) << "not refreshed when the volume cannot be asked";
}

TEST_F(Resolution, RefreshesTheCallersRecordWhenItChanged) {
  AliasHandle alias = aliasTo(kReport);
  const AliasHandle before = alias;
  FSRef ref;
  bool wasChanged = true;
  ASSERT_EQ(ResolveAliasChecked(alias, &ref, kWithUI, &wasChanged), 0);
  EXPECT_FALSE(wasChanged);
  EXPECT_EQ(alias, before);
  move(host, kReport, "/Users/anna/Documents/renamed.txt");
  ASSERT_EQ(ResolveAliasChecked(alias, &ref, kWithUI, &wasChanged), 0);
  EXPECT_TRUE(wasChanged);
  EXPECT_EQ(alias, aliasTo("/Users/anna/Documents/renamed.txt"));
}

TEST_F(Resolution, AnIdentifierOutranksAnExistingPath) {
  const AliasHandle alias = aliasTo(kReport);
  move(host, kReport, "/Users/anna/Documents/renamed.txt");
  host.root().writeFile(kReport, "another");
  EXPECT_EQ(resolveChecked(alias, kNoUI).path, "/Users/anna/Documents/renamed.txt");
}

// --- ResolveItemAlias

TEST_F(Resolution, GivesNameKindAndReference) {
  const Answer file = resolveItem(aliasTo(kReport));
  EXPECT_EQ(file.code, 0);
  EXPECT_EQ(file.path, kReport);
  EXPECT_EQ(file.name, "report.txt");
  EXPECT_FALSE(file.isFolder);
  const Answer folder = resolveItem(aliasTo("/Users/anna"));
  EXPECT_EQ(folder.name, "anna");
  EXPECT_TRUE(folder.isFolder);
}

TEST_F(Resolution, HasNoOutputThatMustBeAskedFor) {
  AliasHandle alias = aliasTo(kReport);
  AliasHandle none;
  EXPECT_EQ(ResolveItemAlias(alias, nullptr, {.name = false}, ResolveMode::AnyTarget, AllowUI::No,
                             UseDisplayName::Yes, nullptr),
            0);
  EXPECT_EQ(
      ResolveItemAlias(none, nullptr, {}, ResolveMode::AnyTarget, AllowUI::No, UseDisplayName::Yes, nullptr),
      -50);
  EXPECT_EQ(ResolveAliasChecked(alias, nullptr, kNoUI, nullptr), 0);
  writeAliasFile("/Users/anna/alias", kDocuments);
  EXPECT_EQ(ResolveAliasFileWithTimeout(refTo("/Users/anna/alias"), nullptr, nullptr, nullptr, kNoUI), 0);
}

TEST_F(Resolution, ClearsItsOutputsAfterAFailure) {
  ItemAliasTarget target{.name = "before", .ref = refTo(kReport), .isFolder = true};
  AliasHandle alias = aliasTo(kReport);
  bool wasChanged = true;
  host.root().remove(kReport);
  EXPECT_EQ(ResolveItemAlias(alias, &target, {}, ResolveMode::AnyTarget, AllowUI::No, UseDisplayName::Yes,
                             &wasChanged),
            -124);
  EXPECT_EQ(target.name, "");
  EXPECT_EQ(target.ref.hidden, FSRef().hidden);
  EXPECT_FALSE(target.isFolder || wasChanged);
  FSRef ref = refTo(kDocuments);
  wasChanged = true;
  EXPECT_EQ(ResolveAliasChecked(alias, &ref, kWithUI, &wasChanged), -43);
  EXPECT_EQ(ref.hidden, FSRef().hidden);
  EXPECT_FALSE(wasChanged);
}

// Where a user may be asked, what is not at its path is looked for.
TEST_F(Resolution, WithUIFindsARenamedTargetAndTellsOfTheChange) {
  const AliasHandle alias = aliasTo(kReport);
  move(host, kReport, "/Users/anna/Documents/renamed.txt");
  EXPECT_EQ(resolveItem(alias, ResolveMode::AnyTarget, AllowUI::No).code, -124);
  const Answer answer = resolveItem(alias, ResolveMode::AnyTarget, AllowUI::Yes);
  EXPECT_EQ(answer.path, "/Users/anna/Documents/renamed.txt");
  EXPECT_EQ(answer.name, "renamed.txt");
  EXPECT_TRUE(answer.aliasChanged);
  host.root().remove("/Users/anna/Documents/renamed.txt");
  EXPECT_EQ(resolveItem(alias, ResolveMode::AnyTarget, AllowUI::Yes).code, -43);
}

TEST_F(Resolution, OfAPackageIsNoFolder) {
  host.root().makeFolder("/Users/anna/Tool.app");
  EXPECT_FALSE(resolveItem(aliasTo("/Users/anna/Tool.app")).isFolder);
}

TEST_F(Resolution, InAFolderListReplacesAFileByItsFolder) {
  AliasHandle alias = aliasTo(kReport);
  ItemAliasTarget target;
  ASSERT_EQ(ResolveItemAlias(alias, &target, {.name = true}, ResolveMode::FolderList, AllowUI::No,
                             UseDisplayName::Yes, nullptr),
            0);
  EXPECT_EQ(pathOf(target.ref), kDocuments);
  EXPECT_EQ(target.name, "Documents");
  EXPECT_TRUE(target.isFolder);
  EXPECT_EQ(alias, aliasTo(kDocuments));
}

TEST_F(Resolution, InAFolderListReplacesAPackageAndAnAliasFileOfADocumentToo) {
  host.root().makeFolder("/Users/anna/Tool.app");
  writeAliasFile("/Users/anna/Documents/alias", kReport);
  for (const auto& [path, folder] :
       {std::pair{"/Users/anna/Tool.app", "/Users/anna"}, {"/Users/anna/Documents/alias", kDocuments}}) {
    const Answer answer = resolveItem(aliasTo(path), ResolveMode::FolderList);
    EXPECT_EQ(answer.path, folder);
    EXPECT_TRUE(answer.isFolder && answer.aliasChanged);
  }
  EXPECT_FALSE(resolveItem(aliasTo(kDocuments), ResolveMode::FolderList).aliasChanged);
}

TEST_F(Resolution, WithoutDisplayNamesGivesTheCatalogsName) {
  host.root().makeFolder("/Users/anna/a:b");
  AliasHandle alias = aliasTo("/Users/anna/a:b");
  ItemAliasTarget target;
  ASSERT_EQ(ResolveItemAlias(alias, &target, {.name = true}, ResolveMode::AnyTarget, AllowUI::No,
                             UseDisplayName::No, nullptr),
            0);
  EXPECT_EQ(target.name, "a/b");
}

// "An item whose alias leads to an alias file of a folder resolves to that folder; one whose alias leads to
// an alias file of a document resolves to the alias file itself."
TEST_F(Resolution, FollowsAliasFilesOfFoldersOnly) {
  writeAliasFile("/Users/anna/to folder", kDocuments);
  writeAliasFile("/Users/anna/to file", kReport);
  EXPECT_EQ(resolveItem(aliasTo("/Users/anna/to folder")).path, kDocuments);
  EXPECT_EQ(resolveItem(aliasTo("/Users/anna/to file")).path, "/Users/anna/to file");
  writeClassicAliasFile(host, "/Users/anna/classic", aliasTo(kDocuments));
  EXPECT_EQ(resolveItem(aliasTo("/Users/anna/classic")).path, kDocuments);
  host.root().remove("/Users/anna/._to folder");
  EXPECT_EQ(resolveItem(aliasTo("/Users/anna/to folder")).path, kDocuments) << "known by its first bytes";
}

TEST_F(Resolution, FollowsLinksToFoldersOnly) {
  host.root().makeLink("/Users/anna/link", "Documents");
  host.root().makeLink("/Users/anna/file link", "Documents/report.txt");
  EXPECT_EQ(resolveItem(aliasTo("/Users/anna/link")).path, kDocuments);
  EXPECT_EQ(resolveItem(aliasTo("/Users/anna/file link")).path, "/Users/anna/file link");
}

TEST_F(Resolution, OfAnAliasFileThatLeadsNowhereGivesItsCode) {
  writeAliasFile("/Users/anna/alias", kDocuments);
  host.root().makeLink("/Users/anna/dangling", "none");
  host.root().makeLink("/Users/anna/loop", "loop");
  host.root().remove(kDocuments);
  EXPECT_EQ(resolveItem(aliasTo("/Users/anna/alias")).code, -43);
  EXPECT_EQ(resolveItem(aliasTo("/Users/anna/dangling")).code, -43);
  EXPECT_EQ(resolveItem(aliasTo("/Users/anna/loop")).code, -43);
}

// By path, wherever their volume's name is right; else not at all.
TEST_F(Resolution, OfRealMacsRecordsResolvesWhenTheTargetIsHere) {
  const AliasHandle onADisk{testData("alias-records/macos-alias_rawData_v2.alias")};
  const std::string helper = "/Applications/iTunes.app/Contents/MacOS/iTunesHelper.app";
  std::vector<AliasHandle> onTheBootVolume;
  for (const char* name :
       {"dtformats_loginitems_v3.alias",
        "plaso_com_apple_loginitems_plist_SessionItems_CustomListItems_0_Alias_v3.alias"}) {
    onTheBootVolume.push_back({testData(std::string("alias-records/") + name)});
  }
  EXPECT_EQ(resolveItem(onADisk).code, -124);
  for (const AliasHandle& alias : onTheBootVolume) EXPECT_EQ(resolveItem(alias).code, -124);

  host.root().writeFile("/Volumes/Test Title/.background/TestBkg.tiff", "");
  host.root().makeFolder(helper);
  const Answer file = resolveItem(onADisk);
  EXPECT_EQ(file.path, "/Volumes/Test Title/.background/TestBkg.tiff");
  EXPECT_EQ(file.name, "TestBkg.tiff");
  for (const AliasHandle& alias : onTheBootVolume) {
    const Answer application = resolveItem(alias);
    EXPECT_EQ(application.path, helper);
    EXPECT_FALSE(application.isFolder);
    EXPECT_TRUE(application.aliasChanged) << "identifiers and dates are this disk's";
  }

  host.volumes().change("/", [](VolumeInfo& volume) { volume.name = "Elsewhere SSD"; });
  host.volumes().change("/Volumes/Test Title", [](VolumeInfo& volume) { volume.name = "Best Title"; });
  EXPECT_EQ(resolveItem(onADisk).code, -43);
  for (const AliasHandle& alias : onTheBootVolume) EXPECT_EQ(resolveItem(alias).code, -43);
}

// --- Alias files

TEST_F(Resolution, OfAliasFilesFollowsOneAfterTheOther) {
  writeAliasFile("/Users/anna/a", kDocuments);
  writeAliasFile("/Users/anna/b", "/Users/anna/a");
  const Answer answer = resolveFile("/Users/anna/b");
  EXPECT_EQ(answer.code, 0);
  EXPECT_EQ(answer.path, kDocuments);
  EXPECT_TRUE(answer.isFolder);
}

TEST_F(Resolution, OfAnAliasFileTellsFoldersFromPackages) {
  host.root().makeFolder("/Users/anna/Letter.rtfd");
  host.root().makeFolder("/Users/anna/Tool.app");
  const auto isFolder = [](std::string_view target) {
    writeAliasFile("/Users/anna/alias", target);
    FSRef found;
    bool isFolderThen = false;
    bool wasAliased = false;
    EXPECT_EQ(
        ResolveAliasFileWithTimeout(refTo("/Users/anna/alias"), &found, &isFolderThen, &wasAliased, kNoUI),
        0);
    EXPECT_EQ(pathOf(found), target);
    EXPECT_TRUE(wasAliased);
    return isFolderThen;
  };
  EXPECT_TRUE(isFolder(kDocuments));
  EXPECT_FALSE(isFolder(kReport));
  EXPECT_FALSE(isFolder("/Users/anna/Letter.rtfd"));
  EXPECT_FALSE(isFolder("/Users/anna/Tool.app"));
  EXPECT_EQ(resolveItem(aliasTo("/Users/anna/alias")).path, "/Users/anna/alias")
      << "only folders are followed";
}

TEST_F(Resolution, OfWhatIsNoAliasFileFails) {
  EXPECT_EQ(resolveFile(kReport).code, -43);
  EXPECT_EQ(resolveFile(kDocuments).code, -43);
}

TEST_F(Resolution, OfAnAliasFileThatLeadsToItselfIsToldSo) {
  host.root().writeFile("/Users/anna/self", "");
  writeAliasFile("/Users/anna/self", "/Users/anna/self");
  EXPECT_EQ(resolveFile("/Users/anna/self").code, -1306);
}

TEST_F(Resolution, OfARingOfThreeAliasFilesIsToldSo) {
  for (const std::string name : {"a", "b", "c"}) host.root().writeFile("/Users/anna/" + name, "");
  writeAliasFile("/Users/anna/a", "/Users/anna/b");
  writeAliasFile("/Users/anna/b", "/Users/anna/c");
  writeAliasFile("/Users/anna/c", "/Users/anna/a");
  EXPECT_EQ(resolveFile("/Users/anna/a").code, -1306);
  FSRef ref = refTo("/Users/anna/a");
  EXPECT_EQ(ResolveAliasChainInPlace(ref), -1306);
  EXPECT_EQ(pathOf(ref), "/Users/anna/a");
}

TEST_F(Resolution, OfMoreThan32AliasFilesIsGivenUp) {
  std::string last = kDocuments;
  for (int i = 1; i <= 33; ++i) {
    const std::string next = "/Users/anna/alias" + std::to_string(i);
    writeAliasFile(next, last);
    last = next;
  }
  EXPECT_EQ(resolveFile("/Users/anna/alias32").path, kDocuments);
  EXPECT_EQ(resolveFile("/Users/anna/alias33").code, -1306);
  FSRef ref = refTo("/Users/anna/alias33");
  EXPECT_EQ(ResolveAliasChainInPlace(ref), -1306);
  EXPECT_EQ(pathOf(ref), "/Users/anna/alias33");
}

TEST_F(Resolution, OnAnOlderSystemUsesTheAliasManager) {
  writeAliasFile("/Users/anna/alias", kDocuments);
  writeClassicAliasFile(host, "/Users/anna/classic", aliasTo(kReport));
  setSystemVersion(host, "10.8.5");
  TestHostOptions options;
  options.root = host.sharedRoot();
  const TestHost older(options);
  EXPECT_LT(SystemVersionBCD(), 0x100900U);
  EXPECT_EQ(resolveFile("/Users/anna/alias").path, kDocuments);
  EXPECT_EQ(resolveFile("/Users/anna/classic").path, kReport);
  // There, what is no alias file is its own target and thus leads to itself.
  EXPECT_EQ(resolveFile(kReport).code, -1306);
}

TEST_F(Resolution, InPlaceReplacesTheReference) {
  writeAliasFile("/Users/anna/alias", kReport);
  FSRef ref = refTo("/Users/anna/alias");
  EXPECT_EQ(ResolveAliasChainInPlace(ref), 0);
  EXPECT_EQ(pathOf(ref), kReport);
  EXPECT_EQ(ResolveAliasChainInPlace(ref), 0);
  EXPECT_EQ(pathOf(ref), kReport);
}

TEST_F(Resolution, InPlaceRestoresTheReferenceAfterAFailure) {
  writeAliasFile("/Users/anna/alias", kReport);
  host.root().remove(kReport);
  FSRef ref = refTo("/Users/anna/alias");
  EXPECT_EQ(ResolveAliasChainInPlace(ref), -43);
  EXPECT_EQ(pathOf(ref), "/Users/anna/alias");
}

// --- Two seconds

class Timeout : public Resolution {
 protected:
  Timeout() {
    host.root().makeFolder("/Volumes/Slow/folder");
    writeAliasFile("/Users/anna/alias", "/Volumes/Slow/folder");
  }
  // How long it takes to give up.
  static double giveUp(std::string_view path) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(resolveFile(path).code, -1401);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
};

TEST_F(Timeout, OfAWorkerThatNeverAnswersComesAfterTwoSeconds) {
  host.interpose<BlockingFileSystem>("/Volumes/Slow");
  const double seconds = giveUp("/Users/anna/alias");
  EXPECT_GE(seconds, 2.0);
  EXPECT_LE(seconds, 2.5);
  EXPECT_EQ(host.log().systemMessages(),
            (std::vector<std::pair<int, std::string>>{
                {1, "Alias file resolution timed out for file:///Users/anna/alias"}}));
}

TEST_F(Timeout, ThrowsTheLateAnswerAway) {
  const auto slow = host.interpose<BlockingFileSystem>("/Volumes/Slow");
  giveUp("/Users/anna/alias");
  slow->release();
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_EQ(resolveFile("/Users/anna/alias").path, "/Volumes/Slow/folder");
}

TEST_F(Timeout, LateWorkerTouchesNothingThatHasEnded) {
  std::shared_ptr<BlockingFileSystem> slow;
  {
    TestHostOptions options;
    options.root = host.sharedRoot();
    TestHost other(options);
    slow = other.interpose<BlockingFileSystem>("/Volumes/Slow");
    giveUp("/Users/anna/alias");
  }
  slow->release();
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
}

// A disk that does not answer is given up; what lies elsewhere is found as before.
TEST_F(Timeout, LeavesEverythingElseToBeFound) {
  const AliasHandle here = aliasTo(kReport);
  const AliasHandle throughTheSlowDisk = aliasTo("/Users/anna/alias");
  // The volumes are looked up anew as long as /Volumes changed within the last tick of the clock.
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  ASSERT_EQ(resolveItem(here).code, 0);
  host.interpose<BlockingFileSystem>("/Volumes/Slow");
  EXPECT_EQ(resolveItem(throughTheSlowDisk).code, -1401);
  EXPECT_EQ(resolveItem(here).path, kReport);
}

// The disk of the alias file itself answers nothing any more. Who waits too long is freed, so that a failure
// is told.
TEST_F(Timeout, HoldsWhenTheAliasFilesOwnDiskDoesNotAnswer) {
  writeAliasFile("/Volumes/Slow/alias", kDocuments);
  const FSRef ref = refTo("/Volumes/Slow/alias");
  const auto slow = host.interpose<BlockingFileSystem>("/Volumes/Slow");
  std::promise<void> ended;
  std::thread rescuer([&] {
    if (ended.get_future().wait_for(std::chrono::seconds(10)) == std::future_status::timeout) {
      slow->release();
    }
  });
  FSRef target;
  const auto start = std::chrono::steady_clock::now();
  const OSErr code = ResolveAliasFileWithTimeout(ref, &target, nullptr, nullptr, kNoUI);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  ended.set_value();
  rescuer.join();
  EXPECT_EQ(code, -1401);
  EXPECT_FALSE(target.isValid());
  EXPECT_GE(seconds, 2.0);
  EXPECT_LE(seconds, 2.5);
  EXPECT_EQ(host.log().systemMessages(),
            (std::vector<std::pair<int, std::string>>{
                {1, "Alias file resolution timed out for file:///Volumes/Slow/alias"}}));
}

// With all workers held up, an alias file that has nothing to do with them times out unread.
TEST_F(Timeout, ComesToAJobThatCouldNotStart) {
  writeAliasFile("/Users/anna/other", kDocuments);
  const auto slow = host.interpose<BlockingFileSystem>("/Volumes/Slow");
  for (std::size_t i = 0; i < macos::kDispatchWorkerLimit; ++i) {
    macos::dispatchAsyncGlobal(macos::DispatchPriority::High, [] {
      (void)macos::Host::current().files().info("/Volumes/Slow/folder", macos::FollowLinks::No);
    });
  }
  slow->waitForHeld(static_cast<int>(macos::kDispatchWorkerLimit));
  const double seconds = giveUp("/Users/anna/other");
  EXPECT_GE(seconds, 2.0);
  EXPECT_LE(seconds, 2.5);
  slow->release();
  EXPECT_EQ(resolveFile("/Users/anna/other").path, kDocuments);
}

TEST_F(Timeout, IsEachAliasFilesOwn) {
  writeAliasFile("/Users/anna/outer", "/Users/anna/alias");
  host.interpose<BlockingFileSystem>("/Volumes/Slow");
  const double seconds = giveUp("/Users/anna/outer");
  EXPECT_GE(seconds, 2.0);
  EXPECT_LE(seconds, 2.5);
  EXPECT_EQ(host.log().systemMessages().front().second,
            "Alias file resolution timed out for file:///Users/anna/alias");
}

TEST_F(Timeout, OfOneAliasFileBeginsWhenTheOneBeforeItHasAnswered) {
  host.root().makeFolder("/Volumes/Slower");
  writeAliasFile("/Volumes/Slower/inner", "/Volumes/Slow/folder");
  writeAliasFile("/Users/anna/outer", "/Volumes/Slower/inner");
  const auto first = host.interpose<BlockingFileSystem>("/Volumes/Slower");
  const auto second = host.interpose<BlockingFileSystem>("/Volumes/Slow/folder");
  std::thread disks([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    first->release();
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    second->release();
  });
  const auto start = std::chrono::steady_clock::now();
  const Answer answer = resolveFile("/Users/anna/outer");
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  disks.join();
  EXPECT_EQ(answer.code, 0);
  EXPECT_EQ(answer.path, "/Volumes/Slow/folder");
  EXPECT_GE(seconds, 2.5) << "together longer than either may take";
  EXPECT_EQ(host.log().systemMessages().size(), 0U);
}

TEST_F(Timeout, MessageCutsALongURLAt2047Bytes) {
  std::string path = "/Users/anna";
  for (int i = 0; i < 12; ++i) path += "/" + std::string(200, 'x');
  host.root().makeFolder(path);
  path += "/alias";
  writeAliasFile(path, "/Volumes/Slow/folder");
  host.interpose<BlockingFileSystem>("/Volumes/Slow");
  giveUp(path);
  EXPECT_EQ(host.log().systemMessages().front().second,
            "Alias file resolution timed out for " + ("file://" + path).substr(0, 2047));
}

// --- Browsable folders

TEST_F(Resolution, TellsBrowsableFolders) {
  host.root().makeFolder("/Users/anna/Letter.rtfd");
  host.root().makeFolder("/Users/anna/.hidden");
  host.root().makeFolder("/Users/anna/Tool.app");
  host.root().writeFile("/Users/anna/.file", "");
  const auto isBrowsable = [](std::string_view path, bool allowPackages = false) {
    FSRef ref = refTo(path);
    return IsBrowsableFolder(ref, allowPackages);
  };
  EXPECT_TRUE(isBrowsable(kDocuments));
  EXPECT_TRUE(isBrowsable("/"));
  EXPECT_TRUE(isBrowsable("/Users/anna/.hidden")) << "invisible, but a container";
  EXPECT_FALSE(isBrowsable("/Users/anna/.file"));
  EXPECT_FALSE(isBrowsable(kReport));
  EXPECT_FALSE(isBrowsable("/Users/anna/Letter.rtfd"));
  EXPECT_TRUE(isBrowsable("/Users/anna/Letter.rtfd", true));
  EXPECT_FALSE(isBrowsable("/Users/anna/Tool.app", true));
  FSRef none;
  EXPECT_FALSE(IsBrowsableFolder(none, true));
}

// It looks like a mistake and is kept.
TEST_F(Resolution, AskingForABrowsableFolderReplacesTheCallersReference) {
  writeAliasFile("/Users/anna/alias", kDocuments);
  host.root().makeLink("/Users/anna/link", "Documents");
  for (const char* path : {"/Users/anna/alias", "/Users/anna/link"}) {
    FSRef ref = refTo(path);
    EXPECT_TRUE(IsBrowsableFolder(ref, false));
    EXPECT_EQ(pathOf(ref), kDocuments);
  }
}

// --- The system's version

TEST(SystemVersion, IsBinaryCodedDecimal) {
  for (const auto& [text, expected] :
       {std::pair{"10.15.7", 0x101507U}, {"14.2.1", 0x140201U}, {"10.9", 0x100900U}, {"10.8.5", 0x100805U}}) {
    TestHost host;
    setSystemVersion(host, text);
    EXPECT_EQ(SystemVersionBCD(), expected) << text;
  }
}

TEST(SystemVersion, IsComputedOncePerHost) {
  TestHost host;
  setSystemVersion(host, "10.9.5");
  EXPECT_EQ(SystemVersionBCD(), 0x100905U);
  setSystemVersion(host, "14.2.1");
  EXPECT_EQ(SystemVersionBCD(), 0x100905U);
  TestHostOptions options;
  options.root = host.sharedRoot();
  const TestHost next(options);
  EXPECT_EQ(SystemVersionBCD(), 0x140201U);
}

// Knows two of the three numbers, and the older selector.
OSErr olderSystem(macos::OSType selector, std::int32_t* response) {
  if (selector == macos::gestaltSystemVersionBugFix) return macos::gestaltUndefSelectorErr;
  *response = selector == macos::gestaltSystemVersion ? 0x1095 : 77;
  return macos::noErr;
}

OSErr muteSystem(macos::OSType, std::int32_t*) { return macos::gestaltUndefSelectorErr; }

TEST(SystemVersion, OfAnOlderSystemComesFromTheOlderSelector) {
  EXPECT_EQ(systemVersionBCDFrom(olderSystem), 0x100905U);
  EXPECT_EQ(systemVersionBCDFrom(muteSystem), 0U);
}

TEST(SystemVersion, WithoutAMacsOwnIsACurrentOne) {
  const TestHost host;
  EXPECT_GE(SystemVersionBCD(), 0x100900U);
}

}  // namespace
}  // namespace vennick
