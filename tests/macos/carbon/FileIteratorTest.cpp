// SPDX-License-Identifier: MIT
#include "macos/carbon/FileIterator.h"

#include <gtest/gtest.h>

#include "tests/support/References.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::pathOf;
using vennick::tests::refTo;
using vennick::tests::TestHost;
using UnicodeNames = std::vector<std::u16string>;

constexpr const char* kIterated = "/Users/anna/folder";

class FileIterator : public testing::Test {
 protected:
  FileIterator() { host.root().makeFolder(kIterated); }

  static UnicodeNames namesIn(FSIterator& iterator, std::size_t atATime = 2) {
    UnicodeNames names;
    std::vector<CatalogItem> items;
    while (FSGetCatalogInfoBulk(iterator, atATime, kFSCatInfoNone, &items) == noErr) {
      EXPECT_LE(items.size(), atATime);
      for (const CatalogItem& item : items) names.push_back(item.name);
    }
    EXPECT_TRUE(items.empty());
    return names;
  }

  TestHost host;
};

TEST_F(FileIterator, HandsOutTheItemsPieceByPiece) {
  for (const char* name : {"a", "b:c", "d"}) host.root().writeFile(std::string(kIterated) + "/" + name, "");
  FSIterator iterator;
  ASSERT_EQ(FSOpenIterator(refTo(kIterated), &iterator), noErr);
  EXPECT_EQ(namesIn(iterator), UnicodeNames({u"a", u"b/c", u"d"}));
}

TEST_F(FileIterator, TellsWhatTheCatalogKnows) {
  host.root().makeFolder("/Users/anna/folder/inner");
  FSIterator iterator;
  ASSERT_EQ(FSOpenIterator(refTo(kIterated), &iterator), noErr);
  std::vector<CatalogItem> items;
  ASSERT_EQ(FSGetCatalogInfoBulk(iterator, 10, kFSCatInfoNodeFlags, &items), noErr);
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0].info.nodeFlags, kFSNodeIsDirectoryMask);
  EXPECT_EQ(pathOf(items[0].ref), "/Users/anna/folder/inner");
  EXPECT_EQ(FSGetCatalogInfoBulk(iterator, 10, kFSCatInfoNodeFlags, &items), errFSNoMoreItems);
  EXPECT_TRUE(items.empty());
}

TEST_F(FileIterator, HidesAPartnerWhoseItemExists) {
  for (const char* name : {"a", "._a", "._lost", "._"}) {
    host.root().writeFile(std::string(kIterated) + "/" + name, "");
  }
  host.root().makeFolder("/Users/anna/folder/._folder");
  host.root().makeFolder("/Users/anna/folder/folder");
  FSIterator iterator;
  ASSERT_EQ(FSOpenIterator(refTo(kIterated), &iterator), noErr);
  EXPECT_EQ(namesIn(iterator), UnicodeNames({u"._", u"a", u"folder", u"._folder", u"._lost"}));
}

TEST_F(FileIterator, HandsOutAPartnerWhoseItemWentMeanwhileAndNothingThatIsGone) {
  for (const char* name : {"a", "._a", "b"}) host.root().writeFile(std::string(kIterated) + "/" + name, "");
  FSIterator iterator;
  ASSERT_EQ(FSOpenIterator(refTo(kIterated), &iterator), noErr);
  host.root().remove("/Users/anna/folder/a");
  EXPECT_EQ(namesIn(iterator), UnicodeNames({u"b", u"._a"}));
}

TEST_F(FileIterator, NeedsAFolder) {
  host.root().writeFile("/Users/anna/file", "");
  FSIterator iterator;
  EXPECT_EQ(FSOpenIterator(refTo("/Users/anna/file"), &iterator), errFSNotAFolder);
  EXPECT_EQ(FSOpenIterator(FSRef(), &iterator), fnfErr);
  EXPECT_EQ(namesIn(iterator), UnicodeNames());
}

}  // namespace
}  // namespace macos
