// SPDX-License-Identifier: MIT
#include "macos/carbon/FileChanges.h"

#include <gtest/gtest.h>

#include <limits>

#include "macos/carbon/AppleDouble.h"
#include "macos/carbon/ResourceFork.h"
#include "macos/foundation/FileMetadata.h"
#include "tests/support/LockingFileSystem.h"
#include "tests/support/References.h"
#include "tests/support/TemporaryMount.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::FailingFileSystem;
using vennick::tests::ForwardingFileSystem;
using vennick::tests::LockingFileSystem;
using vennick::tests::Operations;
using vennick::tests::pathOf;
using vennick::tests::refTo;
using vennick::tests::TemporaryMount;
using vennick::tests::TestHost;
using Names = std::vector<std::string>;

constexpr const char* kMoved = "/Users/anna/in/report.txt";
constexpr const char* kPartner = "/Users/anna/in/._report.txt";
constexpr const char* kOut = "/Users/anna/out";

class FileChanges : public testing::Test {
 protected:
  FileChanges() {
    host.root().writeFile(kMoved, "text");
    host.root().makeFolder(kOut);
  }

  // Gives the file a partner of these bytes.
  void addPartner() { host.root().writeFile(kPartner, "partner"); }

  void expectUnchanged(const std::map<std::string, std::string>& before) {
    EXPECT_EQ(host.root().snapshot("/"), before);
  }

  TestHost host;
};

// --- Names

TEST_F(FileChanges, RefuseBadNamesAndMakeNothing) {
  const auto before = host.root().snapshot("/");
  const FSRef folder = refTo(kOut), file = refTo(kMoved);
  const std::u16string longest(255, u'x'), lone(1, char16_t{0xD800});
  // 255 units that the host has no room for; 254 bytes, which leave no room for a partner's name.
  const std::u16string beyondTheHost(255, u'\u65E5'), beyondForPartner(254, u'x');
  for (const std::u16string& name :
       {std::u16string(), longest + u"x", std::u16string(u"a:b"), lone, std::u16string(u"."),
        std::u16string(u".."), std::u16string(u"a\0b", 3), beyondTheHost}) {
    EXPECT_EQ(FSCreateResFile(folder, name, kFSCatInfoNone, nullptr, nullptr), bdNamErr) << name.size();
    expectUnchanged(before);
  }
  addPartner();
  const auto withPartner = host.root().snapshot("/");
  for (const std::u16string& name : {std::u16string(), longest + u"x", std::u16string(u"a:b"), lone,
                                     beyondTheHost, beyondForPartner, std::u16string(u"._x")}) {
    EXPECT_EQ(FSRenameUnicode(file, name, nullptr), bdNamErr) << name.size();
    expectUnchanged(withPartner);
  }
  for (const std::u16string& name :
       {std::u16string(), longest + u"x", std::u16string(u"a:b"), beyondTheHost, beyondForPartner}) {
    EXPECT_EQ(FSCopyObjectSync(file, folder, &name, nullptr, kFSFileOperationDefaultOptions), bdNamErr);
    expectUnchanged(withPartner);
  }
}

TEST_F(FileChanges, TakeTheLongestNameThatTheHostHasRoomFor) {
  const std::u16string name(255, u'x');
  FSRef renamed;
  ASSERT_EQ(FSRenameUnicode(refTo(kMoved), name, &renamed), noErr);
  EXPECT_EQ(pathOf(renamed), "/Users/anna/in/" + std::string(255, 'x'));
  const std::u16string withPartner(253, u'y');
  EXPECT_EQ(FSCreateResFile(refTo(kOut), withPartner, kFSCatInfoNone, nullptr, nullptr), noErr);
}

TEST_F(FileChanges, WriteASlashInANameAsAColonAndAccentsDecomposed) {
  ASSERT_EQ(FSRenameUnicode(refTo(kMoved), u"1/2 \u00E9", nullptr), noErr);
  EXPECT_EQ(host.root().names("/Users/anna/in"), Names({"1:2 e\xCC\x81"}));
}

// --- Moving

TEST_F(FileChanges, MoveAnItemIntoAFolderAndItsReferenceWithIt) {
  const FSRef before = refTo(kMoved);
  FSRef moved;
  ASSERT_EQ(FSMoveObject(before, refTo(kOut), &moved), noErr);
  EXPECT_EQ(pathOf(moved), "/Users/anna/out/report.txt");
  EXPECT_EQ(FSCompareFSRefs(before, moved), noErr);
  EXPECT_TRUE(host.root().names("/Users/anna/in").empty());
  EXPECT_EQ(host.root().readFile("/Users/anna/out/report.txt"), "text");
}

TEST_F(FileChanges, MoveTakesThePartnerAlong) {
  addPartner();
  ASSERT_EQ(FSMoveObject(refTo(kMoved), refTo(kOut), nullptr), noErr);
  EXPECT_EQ(host.root().names("/Users/anna/in"), Names());
  EXPECT_EQ(host.root().readFile("/Users/anna/out/._report.txt"), "partner");
}

TEST_F(FileChanges, MoveNeverReplaces) {
  addPartner();
  const FSRef file = refTo(kMoved), out = refTo(kOut);
  for (const char* kind : {"file", "folder", "link"}) {
    host.root().remove("/Users/anna/out/report.txt");
    if (kind == std::string("file")) host.root().writeFile("/Users/anna/out/report.txt", "other");
    if (kind == std::string("folder")) host.root().makeFolder("/Users/anna/out/report.txt");
    if (kind == std::string("link")) host.root().makeLink("/Users/anna/out/report.txt", "nowhere");
    const auto before = host.root().snapshot("/");
    EXPECT_EQ(FSMoveObject(file, out, nullptr), dupFNErr) << kind;
    expectUnchanged(before);
  }
}

TEST_F(FileChanges, MoveTakesAPartnerWithoutAnItemForAnExistingName) {
  host.root().writeFile("/Users/anna/out/._report.txt", "somebody else's");
  const auto before = host.root().snapshot("/");
  EXPECT_EQ(FSMoveObject(refTo(kMoved), refTo(kOut), nullptr), dupFNErr);
  expectUnchanged(before);
}

TEST_F(FileChanges, MoveTakesAnotherSpellingForAnExistingName) {
  host.root().writeFile("/Users/anna/in/caf\xC3\xA9", "composed");
  host.root().writeFile("/Users/anna/out/cafe\xCC\x81", "decomposed");
  EXPECT_EQ(FSMoveObject(refTo("/Users/anna/in/caf\xC3\xA9"), refTo(kOut), nullptr), dupFNErr);
}

TEST_F(FileChanges, MoveIntoTheFolderThatHoldsTheItemIsNothingToDo) {
  addPartner();
  const auto before = host.root().snapshot("/");
  FSRef moved;
  EXPECT_EQ(FSMoveObject(refTo(kMoved), refTo("/Users/anna/in"), &moved), noErr);
  EXPECT_EQ(pathOf(moved), kMoved);
  expectUnchanged(before);
}

TEST_F(FileChanges, MoveRefusesAFolderIntoItselfAndTheRootOfAVolume) {
  host.root().makeFolder("/Users/anna/in/deep");
  host.volumes().change("/Volumes/Disk", [](VolumeInfo&) {});
  host.root().makeFolder("/Volumes/Disk");
  const auto before = host.root().snapshot("/");
  EXPECT_EQ(FSMoveObject(refTo("/Users/anna/in"), refTo("/Users/anna/in/deep"), nullptr), badMovErr);
  EXPECT_EQ(FSMoveObject(refTo("/Users/anna/in"), refTo("/Users/anna/in"), nullptr), badMovErr);
  EXPECT_EQ(FSMoveObject(refTo("/Volumes/Disk"), refTo(kOut), nullptr), badMovErr);
  EXPECT_EQ(FSRenameUnicode(refTo("/Volumes/Disk"), u"Other", nullptr), badMovErr);
  expectUnchanged(before);
}

TEST_F(FileChanges, MoveRefusesAnotherVolume) {
  host.root().makeFolder("/Volumes/Disk");
  host.volumes().change("/Volumes/Disk", [](VolumeInfo&) {});
  EXPECT_EQ(FSMoveObject(refTo(kMoved), refTo("/Volumes/Disk"), nullptr), diffVolErr);
  EXPECT_TRUE(host.root().exists(kMoved));
}

TEST_F(FileChanges, MoveNeedsAnItemAndAFolder) {
  EXPECT_EQ(FSMoveObject(FSRef(), refTo(kOut), nullptr), fnfErr);
  EXPECT_EQ(FSMoveObject(refTo(kMoved), FSRef(), nullptr), dirNFErr);
  host.root().writeFile("/Users/anna/file", "");
  EXPECT_EQ(FSMoveObject(refTo(kMoved), refTo("/Users/anna/file"), nullptr), errFSNotAFolder);
}

TEST_F(FileChanges, MoveRefusesALockedItem) {
  const FSRef file = refTo(kMoved), out = refTo(kOut);
  host.interpose<LockingFileSystem>(std::set<std::string>{kMoved});
  EXPECT_EQ(FSMoveObject(file, out, nullptr), fLckdErr);
  EXPECT_TRUE(host.root().exists(kMoved));
}

TEST_F(FileChanges, MoveLeavesTheItemWhereItWasWhenThePartnerCannotFollow) {
  addPartner();
  const FSRef file = refTo(kMoved), out = refTo(kOut);
  const auto before = host.root().snapshot("/");
  const auto failing = host.interpose<FailingFileSystem>(2, EACCES, Operations::Changes);
  EXPECT_EQ(FSMoveObject(file, out, nullptr), afpAccessDenied);
  EXPECT_TRUE(failing->hasFailed());
  expectUnchanged(before);
}

// --- Renaming

TEST_F(FileChanges, RenameAnItemWithItsPartner) {
  addPartner();
  FSRef renamed;
  ASSERT_EQ(FSRenameUnicode(refTo(kMoved), u"summary", &renamed), noErr);
  EXPECT_EQ(pathOf(renamed), "/Users/anna/in/summary");
  EXPECT_EQ(host.root().names("/Users/anna/in"), Names({"._summary", "summary"}));
}

TEST_F(FileChanges, RenameNeverReplaces) {
  host.root().writeFile("/Users/anna/in/other", "other");
  const auto before = host.root().snapshot("/");
  EXPECT_EQ(FSRenameUnicode(refTo(kMoved), u"other", nullptr), dupFNErr);
  expectUnchanged(before);
}

TEST_F(FileChanges, RenameToTheItemsOwnNameAndToAnotherSpellingOfIt) {
  EXPECT_EQ(FSRenameUnicode(refTo(kMoved), u"report.txt", nullptr), noErr);
  host.root().writeFile("/Users/anna/out/caf\xC3\xA9", "composed");
  host.root().writeFile("/Users/anna/out/._caf\xC3\xA9", "partner");
  EXPECT_EQ(FSRenameUnicode(refTo("/Users/anna/out/caf\xC3\xA9"), u"cafe\u0301", nullptr), noErr);
  EXPECT_EQ(host.root().names(kOut), Names({"._cafe\xCC\x81", "cafe\xCC\x81"}));
}

TEST_F(FileChanges, RenameMakesAnItemOfAPartnerThatLostIts) {
  host.root().writeFile("/Users/anna/out/._lost", "partner");
  EXPECT_EQ(FSRenameUnicode(refTo("/Users/anna/out/._lost"), u"lost", nullptr), noErr);
  EXPECT_EQ(host.root().names(kOut), Names({"lost"}));
}

TEST_F(FileChanges, RenameNeedsAnItem) { EXPECT_EQ(FSRenameUnicode(FSRef(), u"x", nullptr), fnfErr); }

// --- Deleting

TEST_F(FileChanges, DeleteAFileWithItsPartner) {
  addPartner();
  EXPECT_EQ(FSDeleteObject(refTo(kMoved)), noErr);
  EXPECT_EQ(host.root().names("/Users/anna/in"), Names());
}

TEST_F(FileChanges, DeleteAnEmptyFolderWithItsPartnerAndNoOther) {
  host.root().writeFile("/Users/anna/._out", "partner");
  EXPECT_EQ(FSDeleteObject(refTo("/Users/anna/in")), fBsyErr);
  EXPECT_EQ(FSDeleteObject(refTo(kOut)), noErr);
  EXPECT_FALSE(host.root().exists("/Users/anna/out"));
  EXPECT_FALSE(host.root().exists("/Users/anna/._out"));
  EXPECT_TRUE(host.root().exists(kMoved));
}

TEST_F(FileChanges, DeleteALinkAndNotWhatItLeadsTo) {
  host.root().makeLink("/Users/anna/link", "in");
  EXPECT_EQ(FSDeleteObject(refTo("/Users/anna/link")), noErr);
  EXPECT_FALSE(host.root().exists("/Users/anna/link"));
  EXPECT_TRUE(host.root().exists(kMoved));
}

TEST_F(FileChanges, DeleteRefusesWhatIsLockedOrGone) {
  const FSRef file = refTo(kMoved);
  host.interpose<LockingFileSystem>(std::set<std::string>{kMoved});
  EXPECT_EQ(FSDeleteObject(file), fLckdErr);
  EXPECT_TRUE(host.root().exists(kMoved));
  EXPECT_EQ(FSDeleteObject(FSRef()), fnfErr);
}

// --- Copying

TEST_F(FileChanges, CopyAFolderWithAllThatIsInItUnderANewName) {
  addPartner();
  host.root().makeLink("/Users/anna/in/link", "/nowhere");
  host.root().writeFile("/Users/anna/._in", "folder's partner");
  const std::u16string name = u"copy";
  FSRef copy;
  ASSERT_EQ(FSCopyObjectSync(refTo("/Users/anna/in"), refTo(kOut), &name, &copy, 0), noErr);
  EXPECT_EQ(pathOf(copy), "/Users/anna/out/copy");
  EXPECT_EQ(host.root().names(kOut), Names({"._copy", "copy"}));
  EXPECT_EQ(host.root().snapshot("/Users/anna/out/copy"), host.root().snapshot("/Users/anna/in"));
}

TEST_F(FileChanges, CopyReplacesOnlyWhenItIsAskedTo) {
  addPartner();
  host.root().writeFile("/Users/anna/out/report.txt", "older");
  host.root().writeFile("/Users/anna/out/._report.txt", "older partner");
  const auto before = host.root().snapshot("/");
  EXPECT_EQ(FSCopyObjectSync(refTo(kMoved), refTo(kOut), nullptr, nullptr, 0), dupFNErr);
  expectUnchanged(before);
  EXPECT_EQ(FSCopyObjectSync(refTo(kMoved), refTo(kOut), nullptr, nullptr, kFSFileOperationOverwrite), noErr);
  EXPECT_EQ(host.root().names(kOut), Names({"._report.txt", "report.txt"}));
  EXPECT_EQ(host.root().readFile("/Users/anna/out/report.txt"), "text");
  EXPECT_EQ(host.root().readFile("/Users/anna/out/._report.txt"), "partner");
}

TEST_F(FileChanges, CopyReplacesAFolderWithAllThatIsInIt) {
  host.root().writeFile("/Users/anna/out/report.txt/deep/file", "older");
  EXPECT_EQ(FSCopyObjectSync(refTo(kMoved), refTo(kOut), nullptr, nullptr, kFSFileOperationOverwrite), noErr);
  EXPECT_EQ(host.root().names(kOut), Names({"report.txt"}));
  EXPECT_EQ(host.root().readFile("/Users/anna/out/report.txt"), "text");
}

TEST_F(FileChanges, CopyThatFailsAtAnyPointLeavesEverythingAsItWas) {
  addPartner();
  host.root().writeFile("/Users/anna/out/report.txt", "older");
  const FSRef file = refTo(kMoved), out = refTo(kOut);
  const auto before = host.root().snapshot("/");
  // The copy and its partner, the old item aside, the copy and its partner in place.
  for (long nth = 1; nth <= 5; ++nth) {
    const auto failing = host.interpose<FailingFileSystem>(nth, ENOSPC, Operations::Changes);
    EXPECT_EQ(FSCopyObjectSync(file, out, nullptr, nullptr, kFSFileOperationOverwrite), dskFulErr) << nth;
    EXPECT_TRUE(failing->hasFailed());
    host.removeInterposed();
    expectUnchanged(before);
  }
}

TEST_F(FileChanges, CopyRefusesItselfAndItsOwnInside) {
  host.root().makeFolder("/Users/anna/in/deep");
  const auto before = host.root().snapshot("/");
  EXPECT_EQ(FSCopyObjectSync(refTo("/Users/anna/in"), refTo("/Users/anna/in/deep"), nullptr, nullptr, 1),
            badMovErr);
  EXPECT_EQ(FSCopyObjectSync(refTo(kMoved), refTo("/Users/anna/in"), nullptr, nullptr, 1), dupFNErr);
  EXPECT_EQ(FSCopyObjectSync(FSRef(), refTo(kOut), nullptr, nullptr, 1), fnfErr);
  EXPECT_EQ(FSCopyObjectSync(refTo(kMoved), FSRef(), nullptr, nullptr, 1), dirNFErr);
  expectUnchanged(before);
}

TEST_F(FileChanges, CopyToARealVolumeThatIsFullLeavesNothing) {
  const auto volume = TemporaryMount::volume(host.root(), "/Volumes/Small", 64 * 1024);
  if (!volume) GTEST_SKIP() << "nothing can be mounted here";
  host.root().writeFile("/Users/anna/big", std::string(1024 * 1024, 'x'));
  EXPECT_EQ(FSCopyObjectSync(refTo("/Users/anna/big"), refTo("/Volumes/Small"), nullptr, nullptr, 0),
            dskFulErr);
  EXPECT_EQ(host.root().names("/Volumes/Small"), Names());
}

// --- Making files

TEST_F(FileChanges, CreateResFileMakesAnEmptyFileWithAnEmptyForkAndItsFinderInformation) {
  FSCatalogInfo info;
  info.finderInfo.setType(fourCharCode("adrp"));
  info.finderInfo.setFlags(kIsAlias);
  FSRef file;
  ASSERT_EQ(FSCreateResFile(refTo(kOut), u"new", kFSCatInfoFinderInfo, &info, &file), noErr);
  EXPECT_EQ(pathOf(file), "/Users/anna/out/new");
  EXPECT_EQ(host.root().readFile("/Users/anna/out/new"), "");
  const auto partner = AppleDouble::decode(host.root().readFile("/Users/anna/out/._new"));
  ASSERT_TRUE(partner.ok());
  EXPECT_EQ(partner->finderInfo, info.finderInfo);
  EXPECT_EQ(partner->resourceFork.size(), 286U);
  EXPECT_TRUE(ResourceFork::decode(partner->resourceFork)->resources().empty());
  EXPECT_EQ(FSCreateResFile(refTo(kOut), u"plain", kFSCatInfoNone, &info, nullptr), noErr);
  EXPECT_TRUE(finderInfoAtPath("/Users/anna/out/plain").isZero());
}

// A volume that keeps no attributes.
class WithoutAttributes : public ForwardingFileSystem {
  using ForwardingFileSystem::ForwardingFileSystem;
  Status setAttribute(std::string_view path, std::string_view, std::string_view) override {
    return Status::fromErrno(path, EOPNOTSUPP);
  }
};

TEST_F(FileChanges, CreateResFileKeepsWhatHasNoRoomForAPartnersNameInAttributes) {
  const FSRef out = refTo(kOut);
  const std::u16string name(255, u'x');
  const std::string path = std::string(kOut) + "/" + std::string(255, 'x');
  if (!host.files().setAttribute(kMoved, "user.test", "x").ok()) GTEST_SKIP() << "no attributes here";
  FSCatalogInfo info;
  info.finderInfo.setType(fourCharCode("adrp"));
  ASSERT_EQ(FSCreateResFile(out, name, kFSCatInfoFinderInfo, &info, nullptr), noErr);
  EXPECT_EQ(host.root().names(kOut), Names({std::string(255, 'x')}));
  EXPECT_EQ(finderInfoAtPath(path), info.finderInfo);
  EXPECT_EQ(resourceForkAtPath(path).size(), 286U);
  EXPECT_EQ(FSCreateResFile(out, name, kFSCatInfoFinderInfo, &info, nullptr), dupFNErr);
}

TEST_F(FileChanges, CreateResFileMakesNothingWhereThereIsNoRoomForWhatBelongsToIt) {
  const FSRef out = refTo(kOut);
  host.interpose<WithoutAttributes>();
  EXPECT_EQ(FSCreateResFile(out, std::u16string(254, u'x'), kFSCatInfoNone, nullptr, nullptr), bdNamErr);
  EXPECT_EQ(host.root().names(kOut), Names());
}

TEST_F(FileChanges, CreateResFileNeverReplaces) {
  host.root().writeFile("/Users/anna/out/file", "");
  host.root().makeFolder("/Users/anna/out/folder");
  host.root().makeLink("/Users/anna/out/link", "nowhere");
  host.root().writeFile("/Users/anna/out/._lost", "a partner without an item");
  host.root().writeFile("/Users/anna/out/caf\xC3\xA9", "");
  const auto before = host.root().snapshot("/");
  for (const char16_t* name : {u"file", u"folder", u"link", u"lost", u"cafe\u0301"}) {
    EXPECT_EQ(FSCreateResFile(refTo(kOut), name, kFSCatInfoNone, nullptr, nullptr), dupFNErr);
  }
  expectUnchanged(before);
}

TEST_F(FileChanges, CreateResFileThatFailsLeavesNothing) {
  const FSRef out = refTo(kOut);
  const auto before = host.root().snapshot("/");
  for (long nth = 1; nth <= 2; ++nth) {
    const auto failing = host.interpose<FailingFileSystem>(nth, ENOSPC, Operations::Changes);
    EXPECT_EQ(FSCreateResFile(out, u"new", kFSCatInfoNone, nullptr, nullptr), dskFulErr);
    EXPECT_TRUE(failing->hasFailed());
    host.removeInterposed();
    expectUnchanged(before);
  }
  EXPECT_EQ(FSCreateResFile(FSRef(), u"new", kFSCatInfoNone, nullptr, nullptr), dirNFErr);
  EXPECT_EQ(FSCreateResFile(refTo(kMoved), u"new", kFSCatInfoNone, nullptr, nullptr), errFSNotAFolder);
}

// --- The catalog

TEST_F(FileChanges, SetTheDateTheFlagAndTheFinderInformation) {
  FSCatalogInfo info;
  // 2001-01-01 00:00:00.5.
  info.contentModDate = UCConvertCFAbsoluteTimeToUTCDateTime(0.5);
  info.finderInfo.setType(fourCharCode("TEXT"));
  const FSRef file = refTo(kMoved);
  ASSERT_EQ(FSSetCatalogInfo(file, kFSCatInfoContentMod | kFSCatInfoFinderInfo, info), noErr);
  EXPECT_EQ(host.files().info(kMoved, FollowLinks::No)->modified, 978307200'500000000);
  EXPECT_EQ(finderInfoAtPath(kMoved).type(), fourCharCode("TEXT"));

  const auto locking = host.interpose<LockingFileSystem>(std::set<std::string>{});
  info.nodeFlags = kFSNodeLockedMask;
  ASSERT_EQ(FSSetCatalogInfo(file, kFSCatInfoNodeFlags, info), noErr);
  EXPECT_TRUE(locking->isLocked(kMoved));
  EXPECT_EQ(FSSetCatalogInfo(file, kFSCatInfoContentMod, info), fLckdErr);
  info.nodeFlags = 0;
  ASSERT_EQ(FSSetCatalogInfo(file, kFSCatInfoNodeFlags, info), noErr);
  EXPECT_FALSE(locking->isLocked(kMoved));
  EXPECT_EQ(FSSetCatalogInfo(FSRef(), kFSCatInfoContentMod, info), fnfErr);
}

TEST_F(FileChanges, ClearingTheFlagInVainIsLocked) {
  const FSRef file = refTo(kMoved);
  host.interpose<LockingFileSystem>(std::set<std::string>{kMoved}, LockingFileSystem::Unlocking::Refused);
  EXPECT_EQ(FSSetCatalogInfo(file, kFSCatInfoNodeFlags, FSCatalogInfo()), fLckdErr);
}

TEST(UTCDateTimes, CountFrom1904In65536thsOfASecond) {
  // 1904-01-01 to 2001-01-01 are 3,061,152,000 s.
  EXPECT_EQ(UCConvertCFAbsoluteTimeToUTCDateTime(0), UTCDateTime{3061152000} << 16);
  EXPECT_EQ(UCConvertCFAbsoluteTimeToUTCDateTime(-3061152000.0), 0U);
  EXPECT_EQ(UCConvertCFAbsoluteTimeToUTCDateTime(0.25), (UTCDateTime{3061152000} << 16) + 0x4000);
  EXPECT_EQ(UCConvertCFAbsoluteTimeToUTCDateTime(-4e9), 0U);
  EXPECT_EQ(UCConvertCFAbsoluteTimeToUTCDateTime(1e300), ~UTCDateTime{0});
  EXPECT_EQ(UCConvertCFAbsoluteTimeToUTCDateTime(std::numeric_limits<double>::quiet_NaN()), 0U);
}

}  // namespace
}  // namespace macos
