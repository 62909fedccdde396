// SPDX-License-Identifier: MIT
#include "macos/carbon/AppleDouble.h"

#include <gtest/gtest.h>

#include "macos/carbon/ByteOrder.h"
#include "macos/carbon/ResourceFork.h"
#include "tests/support/IndependentReader.h"

namespace macos {
namespace {

constexpr const char* kRealFiles[] = {"mac-1_01_dir", "mac-1_03_file", "mac-1_05_dir", "mac-1_07_file",
                                      "w_00_file3"};

std::string realFile(std::string_view name) {
  return testData("appledouble/" + std::string(name) + ".appledouble");
}

// A header with that many entries, without the entries.
std::string header(std::uint16_t count) {
  std::string bytes("\0\x05\x16\x07\0\x02\0\0", 8);
  bytes += "Mac OS X        ";
  appendBigEndian(bytes, count);
  return bytes;
}

void appendEntry(std::string& bytes, std::uint32_t identifier, std::uint32_t offset, std::uint32_t length) {
  for (const std::uint32_t number : {identifier, offset, length}) appendBigEndian(bytes, number);
}

TEST(AppleDouble, ReadsTheAttributesOfFilesFromARealMac) {
  for (const char* name : kRealFiles) {
    const auto file = AppleDouble::decode(realFile(name));
    ASSERT_TRUE(file.ok()) << name;
    EXPECT_TRUE(file->finderInfo.isZero());
    EXPECT_EQ(file->resourceFork, "");
    ASSERT_EQ(file->attributes.size(), 1U);
    EXPECT_EQ(file->attributes[0].name, "com.apple.acl.text");
  }
  EXPECT_EQ(
      AppleDouble::decode(realFile("mac-1_01_dir"))->attributes[0].value,
      "!#acl 1\ngroup:ABCDEFAB-CDEF-ABCD-EFAB-CDEF00000050:admin:80:allow:write\n" + std::string(1, '\0'));
}

// All but the four bytes of a mark that the Mac leaves for debugging.
TEST(AppleDouble, WritesFilesFromARealMacByteForByte) {
  for (const char* name : kRealFiles) {
    std::string expected = realFile(name);
    writeBigEndian(expected, 88, std::uint32_t{0});
    EXPECT_EQ(*AppleDouble::decode(realFile(name))->encode(), expected) << name;
  }
}

TEST(AppleDouble, IsReadByAnIndependentReader) {
  ResourceFork fork;
  fork.set({.type = rAliasType, .identifier = 0, .data = "an alias"});
  AppleDouble file;
  file.finderInfo.setType(kContainerFolderAliasType);
  file.finderInfo.setCreator(fourCharCode("MACS"));
  file.finderInfo.setFlags(kIsAlias);
  file.attributes = {{.name = "com.apple.quarantine", .value = "0001"}, {.name = "empty", .value = ""}};
  file.otherEntries = {{.identifier = 4, .bytes = "a comment"}};
  file.resourceFork = *fork.encode();
  EXPECT_EQ(readIndependently("appledouble.py", *file.encode()),
            "finder fdrp MACS flags 0x8000\nattribute com.apple.quarantine 30303031\nattribute empty \n"
            "entry 4 6120636f6d6d656e74\nfork 318 data 256 12 map 268 50\n"
            "resource alis 0 attributes 0 name '' data 616e20616c696173\n");
}

TEST(AppleDouble, ReadsBackWhatItWrote) {
  AppleDouble file;
  file.finderInfo.setFlags(kIsInvisible);
  file.attributes = {{.name = "a", .value = std::string(1000, 'v'), .flags = 3},
                     {.name = "bcd", .value = ""}};
  file.otherEntries = {{.identifier = 0x80000001, .bytes = "private"}};
  file.resourceFork = "fork";
  EXPECT_EQ(*AppleDouble::decode(*file.encode()), file);
  EXPECT_EQ(*AppleDouble::decode(*AppleDouble{}.encode()), AppleDouble{});
}

TEST(AppleDouble, RejectsAFileCutAtAnyByte) {
  for (const char* name : {"mac-1_01_dir", "w_00_file3"}) {
    const std::string bytes = realFile(name);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
      EXPECT_FALSE(AppleDouble::decode(std::string_view(bytes).substr(0, length)).ok()) << length;
    }
  }
}

TEST(AppleDouble, RejectsACountOfEntriesBeyondTheBytes) {
  for (const std::uint16_t count : {1, 2, 0x7FFF, 0xFFFF}) {
    EXPECT_FALSE(AppleDouble::decode(header(count)).ok()) << count;
  }
  EXPECT_TRUE(AppleDouble::decode(header(0)).ok());
}

TEST(AppleDouble, RejectsEntriesThatLeadOutside) {
  for (const auto& [offset, length] :
       {std::pair{39U, 0U}, {38U, 1U}, {0U, 39U}, {0xFFFFFFFFU, 1U}, {1U, 0xFFFFFFFFU}}) {
    std::string bytes = header(1);
    appendEntry(bytes, 2, offset, length);
    EXPECT_FALSE(AppleDouble::decode(bytes).ok()) << offset << " " << length;
  }
}

TEST(AppleDouble, HoldsNoMoreThanTheFileThroughEntriesThatShareTheirBytes) {
  constexpr std::uint16_t kCount = 50'000;
  std::string bytes = header(kCount);
  for (unsigned i = 0; i < kCount; ++i) appendEntry(bytes, 0x80000000 + i, 0, kCount * 12);
  EXPECT_EQ(AppleDouble::decode(bytes).status().code(), ErrorCode::Corrupt);
}

TEST(AppleDouble, RejectsAttributesThatLeadOutside) {
  const std::string real = realFile("mac-1_01_dir");
  constexpr std::size_t kCount = 118, kFirst = 120;
  for (const auto& [place, value] :
       {std::pair{kFirst, 0xFFFFFFFFU}, {kFirst, 225U}, {kFirst + 4, 0x7FFFFFFFU}}) {
    std::string bytes = real;
    writeBigEndian(bytes, place, value);
    EXPECT_FALSE(AppleDouble::decode(bytes).ok()) << place;
  }
  std::string bytes = real;
  writeBigEndian(bytes, kCount, std::uint16_t{0xFFFF});
  EXPECT_FALSE(AppleDouble::decode(bytes).ok());
  bytes = real;
  bytes[kFirst + 10] = 0;  // a name of no bytes
  EXPECT_FALSE(AppleDouble::decode(bytes).ok());
}

TEST(AppleDouble, TakesTheFirstOfTwoEntriesOfOneKind) {
  std::string bytes = header(4);
  constexpr std::uint32_t kContent = 26 + 4 * 12;
  appendEntry(bytes, 9, kContent, 32);
  appendEntry(bytes, 9, kContent + 32, 32);
  appendEntry(bytes, 2, kContent + 64, 5);
  appendEntry(bytes, 2, kContent + 69, 6);
  bytes += std::string(32, 'a') + std::string(32, 'b') + "first" + "second";
  const auto file = AppleDouble::decode(bytes);
  ASSERT_TRUE(file.ok());
  EXPECT_EQ(file->finderInfo.encode(), std::string(32, 'a'));
  EXPECT_EQ(file->resourceFork, "first");
}

TEST(AppleDouble, ReadsTheOlderVersionAndNoOther) {
  std::string bytes = *AppleDouble{}.encode();
  bytes[5] = 1;
  EXPECT_TRUE(AppleDouble::decode(bytes).ok());
  bytes[5] = 3;
  EXPECT_EQ(AppleDouble::decode(bytes).status().code(), ErrorCode::Unsupported);
  bytes = *AppleDouble{}.encode();
  bytes[3] = 0;  // AppleSingle
  EXPECT_EQ(AppleDouble::decode(bytes).status().code(), ErrorCode::Corrupt);
}

TEST(AppleDouble, RejectsFinderInformationOfLessThan32Bytes) {
  std::string bytes = header(1);
  appendEntry(bytes, 9, 0, 31);
  EXPECT_FALSE(AppleDouble::decode(bytes).ok());
}

TEST(AppleDouble, WritesNoAttributeWithoutAProperName) {
  AppleDouble file;
  file.attributes = {{.name = "", .value = "x"}};
  EXPECT_FALSE(file.encode().ok());
  file.attributes[0].name = std::string(254, 'n');
  EXPECT_EQ(*AppleDouble::decode(*file.encode()), file);
  file.attributes[0].name += 'n';
  EXPECT_FALSE(file.encode().ok());
}

TEST(FinderInfo, KeepsTypeCreatorAndFlagsWhereTheFinderHasThem) {
  FinderInfo info;
  EXPECT_TRUE(info.isZero());
  info.setType(fourCharCode("TEXT"));
  info.setCreator(fourCharCode("ttxt"));
  info.setFlags(kIsAlias | kIsInvisible);
  std::string expected = "TEXTttxt\xC0";
  expected.resize(32, '\0');
  EXPECT_EQ(info.encode(), expected);
  EXPECT_EQ(FinderInfo::decode(info.encode()), info);
  EXPECT_EQ(info.type(), 0x54455854U);
  EXPECT_TRUE(info.isAlias());
  EXPECT_TRUE(info.isInvisible());
  EXPECT_FALSE(info.hasBundle());
}

TEST(FinderInfo, IsExactly32Bytes) {
  EXPECT_EQ(FinderInfo::decode(std::string(31, 'x')), std::nullopt);
  EXPECT_EQ(FinderInfo::decode(std::string(33, 'x')), std::nullopt);
  EXPECT_EQ(FinderInfo::decode(std::string(32, 'x'))->encode(), std::string(32, 'x'));
}

}  // namespace
}  // namespace macos
