// SPDX-License-Identifier: MIT
#include "macos/foundation/BookmarkData.h"

#include <gtest/gtest.h>

#include "macos/carbon/ByteOrder.h"
#include "macos/foundation/URL.h"
#include "tests/support/IndependentReader.h"
#include "tests/support/ProcessorTime.h"

namespace macos {
namespace {

constexpr const char* kBlobs[] = {
    "bookmarks/dtformats_backgrounditems.bookmark", "bookmarks/plaso_Downloads_plist_00.bookmark",
    "bookmarks/plaso_Downloads_plist_01.bookmark", "bookmarks/plaso_Downloads_plist_02.bookmark"};
constexpr const char* kFiles[] = {"alias-files/folder.alias", "alias-files/root.alias"};
constexpr std::size_t kBlobBody = 48;

using Components = std::vector<std::string>;

BookmarkData decoded(std::string_view bytes) {
  auto bookmark = BookmarkData::decode(bytes);
  EXPECT_TRUE(bookmark.ok()) << bookmark.status().message();
  return bookmark ? *bookmark : BookmarkData();
}

BookmarkData sample() {
  BookmarkData bookmark;
  bookmark.set(BookmarkKey::PathComponents, Value(Array{Value("Users"), Value("anna"), Value("é.txt")}));
  bookmark.set(BookmarkKey::FileIDs, Value(Array{Value(11), Value(12), Value(std::int64_t{1} << 40)}));
  bookmark.setFlags(BookmarkKey::ResourceFlags, {.values = 1, .valid = 0xF}, 0);
  bookmark.set(BookmarkKey::CreationDate, Value(NSDate{692737530.5}));
  bookmark.set(BookmarkKey::VolumePath, Value("/"));
  bookmark.set(BookmarkKey::VolumeURL, Value(*NSURL::URLWithString("file:///")));
  bookmark.set(BookmarkKey::VolumeIsBoot, Value(true));
  bookmark.set(BookmarkKey::UserID, Value(501));
  bookmark.set(BookmarkKey::CreationOptions, Value(1024));
  bookmark.namedValues.set("NSURLSomeKey", Value(false));
  return bookmark;
}

// A bare blob around a body.
std::string blobOf(const std::string& body) {
  std::string blob = "book";
  for (const std::size_t number : {kBlobBody + body.size(), std::size_t{0x10040000}, kBlobBody}) {
    appendLittleEndian(blob, static_cast<std::uint32_t>(number));
  }
  blob.resize(kBlobBody, '\0');
  return blob + body;
}

// A body with the item at offset 4 under the key, followed by whatever else the items hold.
std::string bodyWithItem(std::uint32_t key, const std::string& items) {
  std::string body;
  appendLittleEndian(body, static_cast<std::uint32_t>(4 + items.size()));
  body += items;
  for (const std::uint32_t number : {24U, 0xFFFFFFFEU, 1U, 0U, 1U, key, 4U, 0U}) {
    appendLittleEndian(body, number);
  }
  return body;
}

std::string item(std::uint32_t type, std::string payload) {
  std::string bytes;
  appendLittleEndian(bytes, static_cast<std::uint32_t>(payload.size()));
  appendLittleEndian(bytes, type);
  payload.resize((payload.size() + 3) / 4 * 4, '\0');
  return bytes + payload;
}

std::string offsets(std::initializer_list<std::uint32_t> values) {
  std::string bytes;
  for (const std::uint32_t value : values) appendLittleEndian(bytes, value);
  return bytes;
}

TEST(BookmarkData, ReadsAliasFilesOfARealMac) {
  const BookmarkData folder = decoded(testData(kFiles[0]));
  EXPECT_EQ(folder.pathComponents(), (Components{"System", "Library", "Perl"}));
  EXPECT_EQ(folder.flags(BookmarkKey::ResourceFlags)->flag(kBookmarkIsDirectory), true);
  EXPECT_EQ(folder.string(BookmarkKey::VolumeName), "Macintosh HD");
  EXPECT_EQ(folder.string(BookmarkKey::DisplayName), "Perl");
  EXPECT_EQ(folder.integer(BookmarkKey::CreationOptions), Integer(1024));
  EXPECT_EQ(folder.find(BookmarkKey::VolumeURL)->ifURL()->absoluteString(), "file:///");
  const BookmarkData root = decoded(testData(kFiles[1]));
  EXPECT_EQ(root.pathComponents(), Components());
  EXPECT_EQ(root.flags(BookmarkKey::ResourceFlags)->values, kBookmarkIsDirectory | kBookmarkIsVolume);
}

TEST(BookmarkData, ReadsBareBookmarksOfARealMac) {
  const BookmarkData bookmark = decoded(testData(kBlobs[2]));
  EXPECT_EQ(bookmark.pathComponents(),
            (Components{"Users", "me", "Downloads", "paint.net.4.3.12.install.anycpu.web.zip.download",
                        "paint.net.4.3.12.install.anycpu.web.zip"}));
  EXPECT_EQ(*bookmark.find(BookmarkKey::FileIDs),
            Value(Array{Value(12884923172), Value(12884931221), Value(12884931272), Value(12886732769),
                        Value(12886732772)}));
  EXPECT_EQ(bookmark.find(BookmarkKey::CreationDate)->ifDate(), NSDate{692737530.60311});
  const auto volume = bookmark.flags(BookmarkKey::VolumeFlags);
  EXPECT_EQ(volume->flag(kBookmarkVolumeIsLocal), true);
  EXPECT_EQ(volume->flag(kBookmarkVolumeIsEjectable), false);
  EXPECT_EQ(volume->flag(1U << 10), std::nullopt);
  EXPECT_EQ(bookmark.string(BookmarkKey::UserName), "me");
  EXPECT_EQ(bookmark.integer(BookmarkKey::UserID), Integer(501));
  EXPECT_EQ(bookmark.find(BookmarkKey::AliasRecord), nullptr);
}

// Everything but the order of the items in the data, which is anybody's choice.
TEST(BookmarkData, WritesBookmarksOfARealMacForAnIndependentReader) {
  for (const char* name : kBlobs) {
    EXPECT_EQ(readIndependently("bookmark.py", decoded(testData(name)).encode()),
              readIndependently("bookmark.py", testData(name)))
        << name;
  }
}

TEST(BookmarkData, IsReadByAnIndependentReader) {
  EXPECT_EQ(
      readIndependently("bookmark.py", sample().encode()),
      "1004 ['Users', 'anna', 'é.txt']\n1005 [s64 11, s64 12, s64 1099511627776]\n1010 flags 0x1 0xf 0x0\n"
      "1040 date 692737530.5\n2002 '/'\n2005 <file:///>\n2030 True\nC012 s32 501\nD010 s32 1024\n"
      "'NSURLSomeKey' False\n");
}

TEST(BookmarkData, ReadsBackWhatItWrote) {
  const BookmarkData again = decoded(sample().encode());
  EXPECT_EQ(again.values, sample().values);
  EXPECT_EQ(again.namedValues, sample().namedValues);
}

TEST(BookmarkData, MovesBetweenBothContainers) {
  const std::string blob = testData(kBlobs[0]);
  const std::string file = *bookmarkFileFromBlob(blob, NSDate{678292399.5});
  EXPECT_TRUE(isBookmarkFileStart(file));
  EXPECT_FALSE(isBookmarkFileStart(blob));
  EXPECT_EQ(readIndependently("bookmark.py", file),
            "file created 678292399.5\n" + readIndependently("bookmark.py", blob));
  EXPECT_EQ(decoded(file).values, decoded(blob).values);
  EXPECT_EQ(blobFromBookmarkFile(file)->substr(kBlobBody), blob.substr(kBlobBody));
  for (const char* name : kFiles) {
    EXPECT_EQ(decoded(*blobFromBookmarkFile(testData(name))).values, decoded(testData(name)).values);
  }
}

TEST(BookmarkData, RejectsABookmarkCutAtAnyByte) {
  for (const char* name : {kBlobs[0], kFiles[0], kFiles[1]}) {
    const std::string bytes = testData(name);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
      EXPECT_FALSE(BookmarkData::decode(std::string_view(bytes).substr(0, length)).ok())
          << name << " " << length;
    }
  }
}

// Each of its 32-bit numbers in turn becomes an extreme one: whatever is read, nothing outside is.
TEST(BookmarkData, SurvivesEveryNumberReplacedByExtremes) {
  const std::string bytes = testData(kBlobs[1]);
  int rejected = 0;
  for (std::size_t place = 0; place + 4 <= bytes.size(); place += 4) {
    for (const std::uint32_t extreme : {0U, 1U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
      std::string changed = bytes;
      writeLittleEndian(changed, place, extreme);
      const auto bookmark = BookmarkData::decode(changed);
      if (!bookmark) ++rejected;
    }
  }
  EXPECT_GT(rejected, 100);
}

TEST(BookmarkData, RejectsItemsThatLeadOutside) {
  EXPECT_TRUE(BookmarkData::decode(blobOf(bodyWithItem(1, item(0x0101, "text")))).ok());
  std::string body = bodyWithItem(1, item(0x0101, "text"));
  writeLittleEndian(body, 4, std::uint32_t{10'000});
  EXPECT_FALSE(BookmarkData::decode(blobOf(body)).ok());
  EXPECT_FALSE(BookmarkData::decode(blobOf(bodyWithItem(1, item(0x0601, offsets({99'999}))))).ok());
  EXPECT_FALSE(BookmarkData::decode(blobOf(bodyWithItem(1, item(0x0304, "1234")))).ok());
  EXPECT_FALSE(BookmarkData::decode(blobOf(bodyWithItem(1, item(0x0902, "1234")))).ok());
}

TEST(BookmarkData, RejectsAnArrayThatHoldsItself) {
  EXPECT_EQ(BookmarkData::decode(blobOf(bodyWithItem(1, item(0x0601, offsets({4}))))).status().code(),
            ErrorCode::Corrupt);
}

TEST(BookmarkData, HoldsNoMoreThanAFewTimesTheDataThroughSharedItems) {
  // An array of one long text, a thousand times.
  const std::string text = item(0x0101, std::string(100'000, 't'));
  std::string elements;
  for (int i = 0; i < 1000; ++i) appendLittleEndian(elements, std::uint32_t{4 + 8 + 4000});
  EXPECT_FALSE(BookmarkData::decode(blobOf(bodyWithItem(1, item(0x0601, elements) + text))).ok());
}

// Keys from the last to the first: in a dictionary, and as those of the table of contents.
TEST(BookmarkData, ReadsKeysInAnyOrderInTimeInProportionToTheirNumber) {
  constexpr std::uint32_t kCount = 200'000;
  std::string texts;
  for (std::uint32_t i = 0; i < kCount; ++i) texts += item(0x0101, std::to_string(20'000'000 - i));
  std::string pairs;
  std::string entries;
  for (std::uint32_t i = 0; i < kCount; ++i) {
    const std::uint32_t inDictionary = 12 + 8 * kCount + 16 * i;
    const std::uint32_t inTable = 4 + 16 * i;
    for (const std::uint32_t number : {inDictionary, inDictionary}) appendLittleEndian(pairs, number);
    for (const std::uint32_t number : {0x80000000 | inTable, inTable, 0U}) {
      appendLittleEndian(entries, number);
    }
  }
  std::string table = offsets({static_cast<std::uint32_t>(4 + texts.size())}) + texts;
  for (const std::uint32_t number : {12 * kCount + 12, 0xFFFFFFFEU, 1U, 0U, kCount}) {
    appendLittleEndian(table, number);
  }
  table += entries;

  const auto start = vennick::tests::processorTime();
  const Value value = decoded(blobOf(bodyWithItem(1, item(0x0701, pairs) + texts))).values.at(1);
  const Dictionary named = decoded(blobOf(table)).namedValues;
  EXPECT_LT(vennick::tests::processorTime() - start, std::chrono::seconds(10));
  for (const Dictionary& each : {*value.ifDictionary(), named}) {
    EXPECT_EQ(each.size(), kCount);
    EXPECT_EQ(each.string("20000000"), "20000000");
    EXPECT_EQ(each.string("19800001"), "19800001");
  }
}

TEST(BookmarkData, TakesTheLaterOfTwoEntriesWithOneKey) {
  const std::string items = item(0x0701, offsets({28, 40, 28, 52})) + item(0x0101, "key") +
                            item(0x0101, "one") + item(0x0101, "two");
  EXPECT_EQ(*decoded(blobOf(bodyWithItem(1, items))).values.at(1).ifDictionary(),
            (Dictionary{{"key", Value("two")}}));
}

TEST(BookmarkData, RejectsTablesThatLeadInACircle) {
  std::string body = bodyWithItem(1, item(0x0101, "text"));
  const auto table = readLittleEndian<std::uint32_t>(body, 0);
  writeLittleEndian(body, table + 8, std::uint32_t{0xF000});
  EXPECT_TRUE(BookmarkData::decode(blobOf(body)).ok());
  writeLittleEndian(body, table + 12, table);
  EXPECT_FALSE(BookmarkData::decode(blobOf(body)).ok());
}

TEST(BookmarkData, ReadsEveryKindOfItem) {
  const auto read = [](std::uint32_t type, const std::string& payload, const std::string& more = "") {
    const BookmarkData bookmark = decoded(blobOf(bodyWithItem(1, item(type, payload) + more)));
    return bookmark.values.at(1);
  };
  using namespace std::string_literals;
  EXPECT_EQ(read(0x0101, "é"), Value("é"));
  EXPECT_EQ(read(0x0101, "\xFF"), Value(NSData{"\xFF"}));
  EXPECT_EQ(read(0x0201, "bytes"), Value(NSData{"bytes"}));
  EXPECT_EQ(read(0x0301, "\xFF"), Value(-1));
  EXPECT_EQ(read(0x0302, "\xFE\xFF"), Value(-2));
  EXPECT_EQ(read(0x0303, "\x01\0\0\x80"s), Value(std::int64_t{-2147483647}));
  EXPECT_EQ(read(0x0304, "\x01\0\0\0\0\0\0\0"s), Value(1));
  EXPECT_EQ(read(0x0305, "\0\0\xC0\x3F"s), Value(1.5));
  EXPECT_EQ(read(0x0306, "\0\0\0\0\0\0\xF8\x3F"s), Value(1.5));
  EXPECT_EQ(read(0x0400, "\x3F\xF8\0\0\0\0\0\0"s), Value(NSDate{1.5}));
  EXPECT_EQ(read(0x0500, ""), Value(false));
  EXPECT_EQ(read(0x0501, ""), Value(true));
  EXPECT_EQ(read(0x0601, offsets({16}), item(0x0101, "x")), Value(Array{Value("x")}));
  EXPECT_EQ(read(0x0701, offsets({20, 20}), item(0x0101, "x")), Value(Dictionary{{"x", Value("x")}}));
  EXPECT_EQ(read(0x0801, "0123456789abcdef"), Value(NSData{"0123456789abcdef"}));
  EXPECT_EQ(read(0x0901, "file:///a"), Value(*NSURL::URLWithString("file:///a")));
  EXPECT_EQ(read(0x0901, "no url"), Value("no url"));
  const Value relative = read(0x0902, offsets({20, 40}), item(0x0901, "file:///a/x/") + item(0x0101, "b"));
  EXPECT_EQ(relative.ifURL()->absoluteString(), "file:///a/x/b");
  EXPECT_EQ(read(0x0A01, ""), Value());
  EXPECT_EQ(read(0x7777, "later"), Value());
}

TEST(BookmarkData, TakesNoComponentThatIsNoName) {
  BookmarkData bookmark = sample();
  for (const std::string_view name : {std::string_view("..", 2), std::string_view("."), std::string_view(""),
                                      std::string_view("a/b"), std::string_view("a\0b", 3)}) {
    bookmark.set(BookmarkKey::PathComponents, Value(Array{Value("Users"), Value(name)}));
    EXPECT_EQ(decoded(bookmark.encode()).pathComponents(), std::nullopt) << name;
  }
  bookmark.set(BookmarkKey::PathComponents, Value(Array{Value(3)}));
  EXPECT_EQ(bookmark.pathComponents(), std::nullopt);
}

TEST(BookmarkData, KeepsComponentsThatAreNoText) {
  BookmarkData bookmark;
  bookmark.set(BookmarkKey::PathComponents, Value(Array{Value("a"), Value(NSData{"b\xFF"})}));
  EXPECT_EQ(decoded(bookmark.encode()).pathComponents(), (Components{"a", "b\xFF"}));
}

}  // namespace
}  // namespace macos
