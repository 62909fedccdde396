// SPDX-License-Identifier: MIT
#include "macos/foundation/FileMetadata.h"

#include <gtest/gtest.h>

#include <map>

#include "macos/carbon/AppleDouble.h"
#include "tests/support/IndependentReader.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::CountingFileSystem;
using vennick::tests::ForwardingFileSystem;
using vennick::tests::TestHost;

// A disk that has extended attributes, whatever the machine's own disk has.
class AttributeFileSystem : public ForwardingFileSystem {
 public:
  using ForwardingFileSystem::ForwardingFileSystem;

  std::optional<std::string> attribute(std::string_view path, std::string_view name) override {
    const auto found = attributes.find({std::string(path), std::string(name)});
    return found == attributes.end() ? std::nullopt : std::optional(found->second);
  }
  Status setAttribute(std::string_view path, std::string_view name, std::string_view value) override {
    attributes[{std::string(path), std::string(name)}] = value;
    return Status();
  }

  std::map<std::pair<std::string, std::string>, std::string> attributes;
};

FinderInfo infoWithFlags(std::uint16_t flags) {
  FinderInfo info;
  info.setFlags(flags);
  return info;
}

FileInfo itemAt(std::string_view path) { return *Host::current().files().info(path, FollowLinks::No); }

constexpr const char* kFile = "/Users/anna/report.txt";

TEST(FileMetadata, PartnerLiesBesideTheItem) {
  EXPECT_EQ(partnerPath("/Users/anna/report.txt"), "/Users/anna/._report.txt");
  EXPECT_EQ(partnerPath("/Users"), "/._Users");
  EXPECT_EQ(partnerPath("/Users/anna/"), "/Users/._anna");
}

TEST(FileMetadata, PartnersAndTheRootHaveNoPartner) {
  EXPECT_EQ(partnerPath("/Users/anna/._report.txt"), "");
  EXPECT_EQ(partnerPath("/"), "");
  EXPECT_TRUE(isPartnerName("._x"));
  EXPECT_FALSE(isPartnerName("._"));
  EXPECT_FALSE(isPartnerName(".x"));
}

TEST(FileMetadata, IsWrittenIntoThePartnerAndReadBack) {
  TestHost host;
  host.root().writeFile(kFile, "text");
  EXPECT_TRUE(finderInfoAtPath(kFile).isZero());
  EXPECT_EQ(resourceForkAtPath(kFile), "");
  ASSERT_TRUE(setFinderInfo(kFile, infoWithFlags(kIsInvisible)).ok());
  const std::string fork = testData("resource-forks/empty.rsrc");
  ASSERT_TRUE(setResourceFork(kFile, fork).ok());
  EXPECT_TRUE(finderInfoAtPath(kFile).isInvisible());
  EXPECT_EQ(resourceForkAtPath(kFile), fork);
  EXPECT_EQ(host.root().readFile(kFile), "text");
  EXPECT_EQ(readIndependently("appledouble.py", host.root().readFile("/Users/anna/._report.txt")),
            "finder .... .... flags 0x4000\nfork 286 data 256 0 map 256 30\n");
}

TEST(FileMetadata, ChangesNothingElseInThePartner) {
  TestHost host;
  host.root().writeFile(kFile, "");
  const std::string real = testData("appledouble/w_00_file3.appledouble");
  host.root().writeFile("/Users/anna/._report.txt", real);
  ASSERT_TRUE(setFinderInfo(kFile, infoWithFlags(kIsAlias)).ok());
  const auto after = AppleDouble::decode(host.root().readFile("/Users/anna/._report.txt"));
  ASSERT_TRUE(after.ok());
  EXPECT_EQ(after->attributes, AppleDouble::decode(real)->attributes);
  EXPECT_TRUE(after->finderInfo.isAlias());
}

TEST(FileMetadata, LeavesADamagedPartnerAlone) {
  TestHost host;
  host.root().writeFile(kFile, "");
  host.root().writeFile("/Users/anna/._report.txt", "no AppleDouble");
  EXPECT_TRUE(finderInfoAtPath(kFile).isZero());
  EXPECT_EQ(resourceForkAtPath(kFile), "");
  EXPECT_EQ(setFinderInfo(kFile, infoWithFlags(kIsAlias)).code(), ErrorCode::Corrupt);
  EXPECT_EQ(host.root().readFile("/Users/anna/._report.txt"), "no AppleDouble");
}

TEST(FileMetadata, AttributesComeBeforeThePartner) {
  TestHost host;
  host.root().writeFile(kFile, "");
  ASSERT_TRUE(setFinderInfo(kFile, infoWithFlags(kIsInvisible)).ok());
  ASSERT_TRUE(setResourceFork(kFile, "in the partner").ok());
  for (const std::string prefix : {"user.", "osx."}) {
    const auto disk = host.interpose<AttributeFileSystem>();
    disk->attributes[{kFile, prefix + "com.apple.FinderInfo"}] = infoWithFlags(kIsAlias).encode();
    disk->attributes[{kFile, prefix + "com.apple.ResourceFork"}] = "in the attribute";
    EXPECT_EQ(finderInfoAtPath(kFile).flags(), kIsAlias) << prefix;
    EXPECT_EQ(resourceForkAtPath(kFile), "in the attribute");
    ASSERT_TRUE(setFinderInfo(kFile, infoWithFlags(kHasBundle)).ok());
    EXPECT_EQ(finderInfoAtPath(kFile).flags(), kHasBundle);
    EXPECT_EQ(disk->attributes.size(), 2U);
    host.removeInterposed();
    EXPECT_EQ(finderInfoAtPath(kFile).flags(), kIsInvisible);
  }
}

TEST(FileMetadata, ReadsNoFinderInformationOfAnotherSize) {
  TestHost host;
  host.root().writeFile(kFile, "");
  const auto disk = host.interpose<AttributeFileSystem>();
  disk->attributes[{kFile, "user.com.apple.FinderInfo"}] = std::string(31, '\xFF');
  EXPECT_TRUE(finderInfoAtPath(kFile).isZero());
}

TEST(FileMetadata, AliasFileIsToldByItsFinderFlag) {
  TestHost host;
  host.root().writeFile(kFile, "");
  EXPECT_FALSE(isAliasFile(kFile, itemAt(kFile)));
  ASSERT_TRUE(setFinderInfo(kFile, infoWithFlags(kIsAlias)).ok());
  EXPECT_TRUE(isAliasFile(kFile, itemAt(kFile)));
}

TEST(FileMetadata, BookmarkFileThatLostItsFinderFlagIsToldByItsFirstBytes) {
  TestHost host;
  const std::string bytes = testData("alias-files/folder.alias");
  host.root().writeFile(kFile, bytes);
  EXPECT_TRUE(isAliasFile(kFile, itemAt(kFile)));
  host.root().writeFile(kFile, bytes.substr(0, 15));
  EXPECT_FALSE(isAliasFile(kFile, itemAt(kFile)));
  host.root().writeFile(kFile, testData("bookmarks/plaso_Downloads_plist_00.bookmark"));
  EXPECT_FALSE(isAliasFile(kFile, itemAt(kFile)));
}

TEST(FileMetadata, FoldersAndLinksAreNoAliasFiles) {
  TestHost host;
  host.root().makeFolder("/Users/anna/folder");
  ASSERT_TRUE(setFinderInfo("/Users/anna/folder", infoWithFlags(kIsAlias)).ok());
  EXPECT_FALSE(isAliasFile("/Users/anna/folder", itemAt("/Users/anna/folder")));
  host.root().writeFile(kFile, testData("alias-files/folder.alias"));
  host.root().makeLink("/Users/anna/link", "report.txt");
  EXPECT_FALSE(isAliasFile("/Users/anna/link", itemAt("/Users/anna/link")));
}

TEST(FileMetadata, FinderInformationCostsThreeLooks) {
  TestHost host;
  host.root().writeFile(kFile, "");
  const auto counter = host.interpose<CountingFileSystem>();
  finderInfoAtPath(kFile);
  EXPECT_EQ(counter->total(), 3);
}

}  // namespace
}  // namespace macos
