// SPDX-License-Identifier: MIT
#include "macos/carbon/ResourceFile.h"

#include <gtest/gtest.h>

#include "macos/foundation/FileMetadata.h"
#include "tests/support/References.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::FailingFileSystem;
using vennick::tests::Operations;
using vennick::tests::refTo;
using vennick::tests::TestHost;

constexpr const char* kForked = "/Users/anna/file";
const Resource kIcon = {.type = fourCharCode("icns"), .identifier = -16455, .data = "icon"};
const Resource kText = {.type = fourCharCode("TEXT"), .identifier = 1, .data = "text"};

class ResourceFiles : public testing::Test {
 protected:
  ResourceFiles() { host.root().writeFile(kForked, "data fork"); }

  static ResourceFork forkOnDisk() {
    auto fork = ResourceFork::decode(resourceForkAtPath(kForked));
    EXPECT_TRUE(fork.ok());
    return fork ? *fork : ResourceFork();
  }

  TestHost host;
};

TEST_F(ResourceFiles, AddAndReplaceAndKeepTheOthersAndTheDataFork) {
  ResourceFile file;
  ASSERT_EQ(ResourceFile::FSOpenResFile(refTo(kForked), &file), noErr);
  EXPECT_TRUE(file.fork().resources().empty());
  EXPECT_EQ(file.AddResource(kIcon), noErr);
  EXPECT_EQ(file.AddResource(kText), noErr);
  EXPECT_EQ(forkOnDisk().resources(), std::vector<Resource>({kIcon, kText}));
  Resource other = kIcon;
  other.data = "other";
  EXPECT_EQ(file.AddResource(other), noErr);
  EXPECT_EQ(forkOnDisk().resources(), std::vector<Resource>({other, kText}));
  EXPECT_EQ(file.fork(), forkOnDisk());
  EXPECT_EQ(host.root().readFile(kForked), "data fork");
}

TEST_F(ResourceFiles, LeaveADamagedForkAlone) {
  ASSERT_TRUE(setResourceFork(kForked, "not a fork at all").ok());
  const auto before = host.root().snapshot("/Users/anna");
  ResourceFile file;
  EXPECT_EQ(ResourceFile::FSOpenResFile(refTo(kForked), &file), mapReadErr);
  EXPECT_EQ(host.root().snapshot("/Users/anna"), before);
}

TEST_F(ResourceFiles, TakeNoResourceWithoutDataOrTooLarge) {
  ResourceFile file;
  ASSERT_EQ(ResourceFile::FSOpenResFile(refTo(kForked), &file), noErr);
  const auto before = host.root().snapshot("/Users/anna");
  EXPECT_EQ(file.AddResource({.type = rAliasType}), addResFailed);
  Resource longName = kText;
  longName.name = std::string(256, 'x');
  EXPECT_EQ(file.AddResource(longName), addResFailed);
  EXPECT_EQ(file.AddResource({.type = rAliasType, .data = std::string(16 << 20, 'x')}), addResFailed);
  EXPECT_EQ(host.root().snapshot("/Users/anna"), before);
}

TEST_F(ResourceFiles, ReadBackTheLargestForkThatTheyWrite) {
  ResourceFile file;
  ASSERT_EQ(ResourceFile::FSOpenResFile(refTo(kForked), &file), noErr);
  const std::size_t largest = (16 << 20) - (64 << 10) - 310;
  EXPECT_EQ(file.AddResource({.type = rAliasType, .data = std::string(largest + 1, 'x')}), addResFailed);
  ASSERT_EQ(file.AddResource({.type = rAliasType, .data = std::string(largest, 'x')}), noErr);
  EXPECT_EQ(forkOnDisk(), file.fork());
}

TEST_F(ResourceFiles, ThatCannotBeWrittenSayWhy) {
  ResourceFile file;
  ASSERT_EQ(ResourceFile::FSOpenResFile(refTo(kForked), &file), noErr);
  host.interpose<FailingFileSystem>(1, EACCES, Operations::Changes);
  EXPECT_EQ(file.AddResource(kText), afpAccessDenied);
  EXPECT_TRUE(file.fork().resources().empty());
  host.root().remove(kForked);
  EXPECT_EQ(file.AddResource(kText), fnfErr);
  EXPECT_EQ(ResourceFile::FSOpenResFile(FSRef(), &file), fnfErr);
}

}  // namespace
}  // namespace macos
