// SPDX-License-Identifier: MIT
#include "macos/carbon/AliasRecord.h"

#include <gtest/gtest.h>

#include "macos/carbon/ByteOrder.h"
#include "tests/support/IndependentReader.h"

namespace macos {
namespace {

constexpr const char* kVersion2File = "alias-records/macos-alias_rawData_v2.alias";
constexpr const char* kVersion3Files[] = {
    "alias-records/dtformats_loginitems_v3.alias",
    "alias-records/plaso_com_apple_loginitems_plist_SessionItems_CustomListItems_0_Alias_v3.alias"};

AliasRecord decoded(std::string_view bytes) {
  auto record = AliasRecord::decode(bytes);
  EXPECT_TRUE(record.ok());
  return record ? *record : AliasRecord{};
}

// A record of our own with every field that records of ours have.
AliasRecord sample(std::uint16_t version) {
  AliasRecord record;
  record.version = version;
  record.fileSystem = fourCharCode("H+\0\0");
  record.parentID = 4711;
  record.targetID = 4712;
  record.volumeAttributes = kAliasVolumeIsBoot | kAliasVolumeHasPersistentIDs;
  if (version == 2) {
    record.volumeName = "Macintosh HD";
    record.targetName = "report.txt";
    record.volumeCreatedLocal = 3'471'523'204;
    record.targetCreatedLocal = 3'471'523'208;
    record.setField(AliasTag::ParentName, "Documents");
  } else {
    record.volumeCreated = UTCDateTime{3'471'523'204} << 16 | 0x8000;
    record.targetCreated = UTCDateTime{3'471'523'208} << 16;
  }
  record.setDirectoryIDs({4711, 4000});
  record.setUnicodeName(AliasTag::UnicodeName, u"report.txt");
  record.setUnicodeName(AliasTag::UnicodeVolumeName, u"Macintosh HD");
  record.setField(AliasTag::PosixPath, "Users/Documents/report.txt");
  record.setField(AliasTag::MountPoint, "/");
  return record;
}

TEST(AliasRecord, ReadsTheVersion2RecordOfARealMac) {
  const AliasRecord record = decoded(testData(kVersion2File));
  EXPECT_EQ(record.version, 2);
  EXPECT_FALSE(record.isFolder);
  EXPECT_EQ(record.volumeName, "Test Title");
  EXPECT_EQ(record.fileSystem, fourCharCode("H+\0\0"));
  EXPECT_EQ(record.diskType, 5);
  EXPECT_EQ(record.parentID, 19U);
  EXPECT_EQ(record.targetName, "TestBkg.tiff");
  EXPECT_EQ(record.targetID, 20U);
  // 2014-01-02 18:20:04 and :08, as they are stored.
  EXPECT_EQ(std::int64_t{record.volumeCreatedLocal} - kMacEpochBefore1970, 1388686804);
  EXPECT_EQ(std::int64_t{record.targetCreatedLocal} - kMacEpochBefore1970, 1388686808);
  EXPECT_EQ(record.levelsFrom, -1);
  EXPECT_EQ(record.levelsTo, -1);
  EXPECT_EQ(record.volumeAttributes, 0xD02U);
  EXPECT_EQ(record.field(AliasTag::ParentName), ".background");
  EXPECT_EQ(record.directoryIDs(), std::vector<std::uint32_t>{19});
  EXPECT_EQ(record.field(AliasTag::CarbonPath),
            std::string_view("Test Title:.background:\0TestBkg.tiff", 36));
  EXPECT_EQ(record.unicodeName(AliasTag::UnicodeVolumeName), u"Test Title");
  EXPECT_EQ(record.field(AliasTag::PosixPath), "/.background/TestBkg.tiff");
  EXPECT_EQ(record.field(AliasTag::MountPoint), "/Volumes/Test Title");
  EXPECT_EQ(record.unicodeName(AliasTag::UnicodeName), std::nullopt);
}

TEST(AliasRecord, ReadsAVersion3RecordOfARealMac) {
  const AliasRecord record = decoded(testData(kVersion3Files[0]));
  EXPECT_EQ(record.version, 3);
  EXPECT_TRUE(record.isFolder);
  EXPECT_EQ(record.fileSystem, fourCharCode("H+\0\0"));
  EXPECT_EQ(record.parentID, 159406U);
  EXPECT_EQ(record.targetID, 159409U);
  EXPECT_EQ(static_cast<std::int64_t>(record.volumeCreated >> 16) - kMacEpochBefore1970, 1374863502);
  EXPECT_EQ(static_cast<std::int64_t>(record.targetCreated >> 16) - kMacEpochBefore1970, 1339120079);
  EXPECT_EQ(record.volumeAttributes, 0x920U);
  EXPECT_EQ(record.directoryIDs(), (std::vector<std::uint32_t>{159406, 71719, 71718, 141}));
  EXPECT_EQ(record.unicodeName(AliasTag::UnicodeName), u"iTunesHelper.app");
  EXPECT_EQ(record.unicodeName(AliasTag::UnicodeVolumeName), u"Macintosh HD");
  EXPECT_EQ(record.field(AliasTag::PosixPath), "Applications/iTunes.app/Contents/MacOS/iTunesHelper.app");
  EXPECT_EQ(record.field(AliasTag::MountPoint), "/");
}

TEST(AliasRecord, WritesTheRecordsOfRealMacsByteForByte) {
  for (const char* file : {kVersion2File, kVersion3Files[0], kVersion3Files[1]}) {
    const std::string bytes = testData(file);
    EXPECT_EQ(*decoded(bytes).encode(), bytes) << file;
  }
}

TEST(AliasRecord, KeepsUnknownFieldsAndReservedBytes) {
  std::string bytes = testData(kVersion2File);
  bytes[141] = 7;   // reserved
  bytes[30] = 'x';  // behind the end of the volume's name
  AliasRecord record = decoded(bytes);
  EXPECT_EQ(*record.encode(), bytes);
  record.fields.push_back({.tag = 77, .bytes = "odd"});
  const AliasRecord again = decoded(*record.encode());
  EXPECT_EQ(again.fields.back(), (AliasRecord::Field{.tag = 77, .bytes = "odd"}));
  EXPECT_EQ(*again.encode(), *record.encode());
}

TEST(AliasRecord, WritesVersion2ForAnIndependentReader) {
  EXPECT_EQ(
      readIndependently("alias_record.py", *sample(2).encode()),
      "version 2\nsize 272\nuser type 0\nkind 0\nvolume Macintosh HD\nvolume date 1388678404\nfile system "
      "H+\n"
      "disk type 0\nparent id 4711\ntarget report.txt\ntarget id 4712\ntarget date 1388678408\nlevels -1 -1\n"
      "attributes 0x120\nparent name Documents\ndirectory ids 4711 4000\nunicode name report.txt\n"
      "unicode volume Macintosh HD\npath Users/Documents/report.txt\nmount point /\n");
}

TEST(AliasRecord, WritesVersion3ForAnIndependentReader) {
  EXPECT_EQ(readIndependently("alias_record.py", *sample(3).encode()),
            "version 3\nsize 166\nuser type 0\nkind 0\nvolume date 1388678404+32768/65536\nfile system H+\n"
            "disk type 0\nparent id 4711\ntarget id 4712\ntarget date 1388678408+0/65536\nattributes 0x120\n"
            "directory ids 4711 4000\nunicode name report.txt\nunicode volume Macintosh HD\n"
            "path Users/Documents/report.txt\nmount point /\n");
}

TEST(AliasRecord, ReadsBackWhatItWrote) {
  for (const std::uint16_t version : {std::uint16_t{2}, std::uint16_t{3}}) {
    const std::string bytes = *sample(version).encode();
    AliasRecord record = decoded(bytes);
    EXPECT_EQ(record.fields, sample(version).fields);
    EXPECT_EQ(*record.encode(), bytes);
  }
}

TEST(AliasRecord, RejectsARecordCutAtAnyByte) {
  for (const char* file : {kVersion2File, kVersion3Files[0]}) {
    const std::string bytes = testData(file);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
      EXPECT_FALSE(AliasRecord::decode(std::string_view(bytes).substr(0, length)).ok()) << length;
    }
  }
}

// A record that is cut but says so itself: valid where a field happens to end, never read further.
TEST(AliasRecord, ReadsNoFurtherThanItsOwnLengthSays) {
  const std::string whole = testData(kVersion2File);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    std::string bytes = whole;
    writeBigEndian(bytes, 4, static_cast<std::uint16_t>(length));
    const auto record = AliasRecord::decode(bytes);
    if (length < 150) {
      EXPECT_FALSE(record.ok()) << length;
    } else if (record.ok()) {
      EXPECT_LE(record->encode()->size(), length + 5) << length;  // the end field and a pad byte
    }
  }
}

TEST(AliasRecord, IgnoresBytesBehindItsLength) {
  const std::string bytes = testData(kVersion2File);
  EXPECT_EQ(*decoded(bytes + "padding").encode(), bytes);
}

TEST(AliasRecord, RejectsALengthThatLies) {
  for (const std::uint16_t length : {0, 7, 8, 57, 149, 299, 0x7FFF, 0xFFFF}) {
    std::string bytes = testData(kVersion2File);
    writeBigEndian(bytes, 4, length);
    EXPECT_FALSE(AliasRecord::decode(bytes).ok()) << length;
  }
}

TEST(AliasRecord, RejectsFewerThanEightBytes) {
  for (std::size_t length = 0; length < 8; ++length) {
    EXPECT_EQ(AliasRecord::decode(std::string(length, '\0')).status().code(), ErrorCode::Corrupt);
  }
}

TEST(AliasRecord, DoesNotKnowOtherVersions) {
  for (const std::uint16_t version : {0, 1, 4, 0xFFFF}) {
    std::string bytes = testData(kVersion2File);
    writeBigEndian(bytes, 6, version);
    EXPECT_EQ(AliasRecord::decode(bytes).status().code(), ErrorCode::Unsupported);
  }
}

TEST(AliasRecord, RejectsAFieldThatRunsPastTheEnd) {
  std::string bytes = testData(kVersion2File);
  writeBigEndian(bytes, 152, std::uint16_t{200});
  EXPECT_FALSE(AliasRecord::decode(bytes).ok());
  writeBigEndian(bytes, 152, std::uint16_t{0xFFFF});
  EXPECT_FALSE(AliasRecord::decode(bytes).ok());
}

TEST(AliasRecord, ReadsAVolumeNameOf27BytesAndNoLongerOne) {
  std::string bytes = testData(kVersion2File);
  for (const int length : {0, 27}) {
    bytes[10] = static_cast<char>(length);
    EXPECT_EQ(decoded(bytes).volumeName.size(), static_cast<std::size_t>(length));
  }
  for (const int length : {28, 63, 255}) {
    bytes[10] = static_cast<char>(length);
    EXPECT_EQ(decoded(bytes).volumeName, "") << length;
    EXPECT_EQ(*decoded(bytes).encode(), bytes) << length;
  }
}

TEST(AliasRecord, ReadsNoUnicodeNameWhoseCountLies) {
  AliasRecord record = sample(3);
  std::string name("\0\x05\0A\0B", 6);
  record.setField(AliasTag::UnicodeName, name);
  EXPECT_EQ(decoded(*record.encode()).unicodeName(AliasTag::UnicodeName), std::nullopt);
  record.setField(AliasTag::UnicodeName, "x");
  EXPECT_EQ(decoded(*record.encode()).unicodeName(AliasTag::UnicodeName), std::nullopt);
}

TEST(AliasRecord, KeepsUnpairedSurrogatesInNames) {
  AliasRecord record = sample(3);
  const std::u16string name = {0xD800, u'x'};
  record.setUnicodeName(AliasTag::UnicodeName, name);
  EXPECT_EQ(decoded(*record.encode()).unicodeName(AliasTag::UnicodeName), name);
}

TEST(AliasRecord, TakesTheFirstOfTwoFieldsOfOneTag) {
  AliasRecord record = sample(2);
  record.fields.push_back({.tag = 18, .bytes = "elsewhere"});
  EXPECT_EQ(decoded(*record.encode()).field(AliasTag::PosixPath), "Users/Documents/report.txt");
}

TEST(AliasRecord, WritesNothingThatDoesNotFit) {
  AliasRecord record = sample(2);
  record.volumeName = std::string(28, 'x');
  EXPECT_EQ(record.encode().status().code(), ErrorCode::InvalidArgument);
  record = sample(2);
  record.targetName = std::string(64, 'x');
  EXPECT_FALSE(record.encode().ok());
  record = sample(2);
  record.setField(AliasTag::PosixPath, std::string(65'536, 'x'));
  EXPECT_FALSE(record.encode().ok());
  record.setField(AliasTag::PosixPath, std::string(65'500, 'x'));
  EXPECT_FALSE(record.encode().ok());
  record = sample(2);
  record.setField(AliasTag::PosixPath, std::string(5'000, 'x'));
  EXPECT_EQ(decoded(*record.encode()).field(AliasTag::PosixPath)->size(), 5'000U);
}

}  // namespace
}  // namespace macos
