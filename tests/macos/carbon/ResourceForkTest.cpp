// SPDX-License-Identifier: MIT
#include "macos/carbon/ResourceFork.h"

#include <gtest/gtest.h>

#include "macos/carbon/ByteOrder.h"
#include "tests/support/IndependentReader.h"

namespace macos {
namespace {

// Where the map's parts are in a fork of one resource with one byte of data.
constexpr std::size_t kMap = 256 + 5;
constexpr std::size_t kTypeListOffset = kMap + 24;
constexpr std::size_t kTypeCount = kMap + 28;
constexpr std::size_t kReferenceCount = kTypeCount + 6;
constexpr std::size_t kReferenceList = kTypeCount + 8;
constexpr std::size_t kReference = kTypeCount + 10;

std::string forkOfOneByte() {
  ResourceFork fork;
  fork.set({.type = rAliasType, .identifier = 0, .data = "x"});
  return *fork.encode();
}

template <typename T>
std::string with(std::string bytes, std::size_t place, T value) {
  writeBigEndian(bytes, place, value);
  return bytes;
}

TEST(ResourceFork, ReadsAForkMadeWithApplesTools) {
  const auto fork = ResourceFork::decode(testData("resource-forks/testfile.rsrc"));
  ASSERT_TRUE(fork.ok());
  ASSERT_EQ(fork->resources().size(), 4U);
  const OSType type = fourCharCode("STR ");
  EXPECT_EQ(*fork->find(type, 128),
            (Resource{.type = type, .identifier = 128, .data = "&The String, without name or attributes"}));
  EXPECT_EQ(fork->find(type, 129)->name, "The Name");
  EXPECT_EQ(fork->find(type, 130)->attributes, 0x0C);
  EXPECT_EQ(*fork->find(type, 131), (Resource{.type = type,
                                              .identifier = 131,
                                              .name = "The Name with Attributes",
                                              .attributes = 0x40,
                                              .data = ")The String, with both name and attributes"}));
  EXPECT_EQ(fork->find(type, 132), nullptr);
  EXPECT_EQ(fork->findFirst(type), &fork->resources().front());
  EXPECT_EQ(fork->findFirst(rAliasType), nullptr);
}

TEST(ResourceFork, ReadsAndWritesTheForkWithoutResources) {
  const std::string empty = testData("resource-forks/empty.rsrc");
  EXPECT_TRUE(ResourceFork::decode(empty)->resources().empty());
  std::string expected = empty;
  expected.replace(256, 16, 16, '\0');  // the map's copy of the header
  EXPECT_EQ(*ResourceFork{}.encode(), expected);
  EXPECT_TRUE(ResourceFork::decode("")->resources().empty());
}

TEST(ResourceFork, IsReadByAnIndependentReader) {
  auto fork = ResourceFork::decode(testData("resource-forks/testfile.rsrc"));
  fork->set({.type = rAliasType, .identifier = -5, .name = "n", .attributes = 0x20, .data = "alias"});
  const std::string before =
      readIndependently("appledouble.py", testData("resource-forks/testfile.rsrc"), "fork");
  const std::string after = readIndependently("appledouble.py", *fork->encode(), "fork");
  EXPECT_EQ(after.substr(after.find('\n')),
            before.substr(before.find('\n')) + "resource alis -5 attributes 32 name 'n' data 616c696173\n");
}

TEST(ResourceFork, OfOneAliasHasItsDataAt256AndItsMapRightBehind) {
  for (const std::size_t size : {0, 1, 298, 65'535}) {
    ResourceFork fork;
    fork.set({.type = rAliasType, .identifier = 0, .data = std::string(size, 'a')});
    const std::string bytes = *fork.encode();
    EXPECT_EQ(bytes.size(), size + 310);
    EXPECT_EQ(readBigEndian<std::uint32_t>(bytes, 0), 256U);
    EXPECT_EQ(readBigEndian<std::uint32_t>(bytes, 4), 260 + size);
  }
}

TEST(ResourceFork, ReadsBackWhatItWrote) {
  ResourceFork fork;
  for (int i = 0; i < 300; ++i) {
    fork.set({.type = static_cast<OSType>(1 + i % 3),
              .identifier = static_cast<std::int16_t>(i - 150),
              .name = i % 2 ? "name " + std::to_string(i) : "",
              .data = std::string(static_cast<std::size_t>(i), 'd')});
  }
  const auto again = ResourceFork::decode(*fork.encode());
  ASSERT_TRUE(again.ok());
  ASSERT_EQ(again->resources().size(), 300U);
  for (const Resource& resource : fork.resources()) {
    EXPECT_EQ(*again->find(resource.type, resource.identifier), resource);
  }
}

TEST(ResourceFork, ReplacesAndRemovesByTypeAndIdentifier) {
  ResourceFork fork;
  fork.set({.type = 1, .identifier = 1, .data = "old"});
  fork.set({.type = 1, .identifier = 2, .data = "other"});
  fork.set({.type = 1, .identifier = 1, .data = "new"});
  EXPECT_EQ(fork.resources().size(), 2U);
  EXPECT_EQ(fork.find(1, 1)->data, "new");
  EXPECT_TRUE(fork.remove(1, 1));
  EXPECT_FALSE(fork.remove(1, 1));
  EXPECT_EQ(fork.resources().size(), 1U);
}

TEST(ResourceFork, RejectsAForkCutAtAnyByte) {
  for (const std::string& bytes : {testData("resource-forks/testfile.rsrc"), forkOfOneByte()}) {
    for (std::size_t length = 1; length < bytes.size(); ++length) {
      EXPECT_FALSE(ResourceFork::decode(std::string_view(bytes).substr(0, length)).ok()) << length;
    }
  }
}

TEST(ResourceFork, RejectsAreasAndListsOutside) {
  const std::string good = forkOfOneByte();
  ASSERT_TRUE(ResourceFork::decode(good).ok());
  for (const std::size_t place : {0, 4, 8, 12}) {
    EXPECT_FALSE(ResourceFork::decode(with(good, place, std::uint32_t{0xFFFFFFF0})).ok()) << place;
  }
  EXPECT_FALSE(ResourceFork::decode(with(good, 12, std::uint32_t{27})).ok());
  EXPECT_FALSE(ResourceFork::decode(with(good, kTypeListOffset, std::uint16_t{49})).ok());
  EXPECT_FALSE(ResourceFork::decode(with(good, kTypeCount, std::uint16_t{0x7FFF})).ok());
  EXPECT_FALSE(ResourceFork::decode(with(good, kReferenceCount, std::uint16_t{0xFFFF})).ok());
  EXPECT_FALSE(ResourceFork::decode(with(good, kReferenceList, std::uint16_t{0xFFFF})).ok());
  EXPECT_FALSE(ResourceFork::decode(with(good, kReference + 2, std::uint16_t{0})).ok());         // name
  EXPECT_FALSE(ResourceFork::decode(with(good, kReference + 4, std::uint32_t{0xFFFFFF})).ok());  // data
  EXPECT_FALSE(ResourceFork::decode(with(good, kReference + 4, std::uint32_t{2})).ok());
  EXPECT_FALSE(ResourceFork::decode(with(good, 256, std::uint32_t{2})).ok());  // length of the data
}

TEST(ResourceFork, RejectsAReferenceListThatIsTheTypeList) {
  EXPECT_FALSE(ResourceFork::decode(with(forkOfOneByte(), kReferenceList, std::uint16_t{0})).ok());
}

TEST(ResourceFork, RejectsAMapThatOverlapsTheData) {
  std::string bytes = forkOfOneByte();
  writeBigEndian(bytes, 8, static_cast<std::uint32_t>(bytes.size() - 256));
  EXPECT_FALSE(ResourceFork::decode(bytes).ok());
}

TEST(ResourceFork, RejectsResourcesThatShareTheirData) {
  ResourceFork fork;
  fork.set({.type = 1, .identifier = 1, .data = "aaaa"});
  fork.set({.type = 1, .identifier = 2, .data = "bbbb"});
  std::string bytes = *fork.encode();
  const std::size_t secondReference = bytes.size() - 12;
  ASSERT_EQ(readBigEndian<std::uint32_t>(bytes, secondReference + 4), 8U);
  writeBigEndian(bytes, secondReference + 4, std::uint32_t{0});
  EXPECT_EQ(ResourceFork::decode(bytes).status().code(), ErrorCode::Corrupt);
}

TEST(ResourceFork, WritesNothingThatDoesNotFit) {
  ResourceFork fork;
  fork.set({.type = 1, .identifier = 1, .name = std::string(256, 'n')});
  EXPECT_EQ(fork.encode().status().code(), ErrorCode::InvalidArgument);
  fork.set({.type = 1, .identifier = 1, .data = std::string(0x1000000, 'd')});
  EXPECT_TRUE(fork.encode().ok());
  fork.set({.type = 1, .identifier = 2, .data = "behind 16 MiB"});
  EXPECT_FALSE(fork.encode().ok());
}

}  // namespace
}  // namespace macos
