// SPDX-License-Identifier: MIT
#include "macos/host/DiskMemory.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/support/FileSystems.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::CountingFileSystem;

// A host that remembers, over files that count what they are asked.
class Remembering : public testing::Test {
 protected:
  Remembering() : host_(options()) { host_.root().writeFile("/a/file", "text"); }

  vennick::tests::TestHostOptions options() {
    vennick::tests::TestHostOptions options;
    options.adjust = [this](Host::Parts& parts) {
      counting_ = std::make_shared<CountingFileSystem>(parts.files);
      const auto memory = std::make_shared<DiskMemory>();
      parts.files = std::make_shared<RememberingFileSystem>(counting_, memory);
      parts.volumes = std::make_shared<RememberingVolumeTable>(parts.volumes, memory);
    };
    return options;
  }

  FileSystem& files() { return Host::current().files(); }
  bool isThere(std::string_view path) { return files().info(path, FollowLinks::Yes).ok(); }

  std::shared_ptr<CountingFileSystem> counting_;
  vennick::tests::TestHost host_;
};

TEST_F(Remembering, OutsideAScopeEveryQuestionIsAsked) {
  isThere("/a/file");
  isThere("/a/file");
  EXPECT_EQ(counting_->total(), 2);
}

TEST_F(Remembering, WithinAScopeEachQuestionIsAskedOnce) {
  host_.root().makeLink("/link", "a/file");
  const RememberedDisk disk;
  for (int turn = 0; turn < 3; ++turn) {
    EXPECT_EQ(files().info("/a/file", FollowLinks::Yes)->size, 4U);
    EXPECT_EQ(files().info("/link", FollowLinks::No)->kind, FileKind::Link);
    EXPECT_EQ(files().info("/link", FollowLinks::Yes)->kind, FileKind::File);
    EXPECT_EQ(files().readLink("/link").value(), "a/file");
    EXPECT_EQ(files().realPath("/link").value(), "/a/file");
    EXPECT_TRUE(files().info("/b", FollowLinks::Yes).status().isNotFound());
    EXPECT_TRUE(files().read("/b").status().isNotFound());
    EXPECT_EQ(files().attribute("/a/file", "user.one"), std::nullopt);
    EXPECT_EQ(files().attribute("/a/file", "user.two"), std::nullopt);
  }
  EXPECT_EQ(counting_->total(), 9);
}

TEST_F(Remembering, ContentIsReadEachTime) {
  const RememberedDisk disk;
  EXPECT_EQ(files().read("/a/file").value(), "text");
  host_.root().writeFile("/a/file", "other");
  EXPECT_EQ(files().read("/a/file").value(), "other");
}

TEST_F(Remembering, EveryChangeThroughTheHostIsSeenAtOnce) {
  const RememberedDisk disk;
  EXPECT_FALSE(isThere("/b"));
  ASSERT_TRUE(files().create("/b", "x", 0644).ok());
  EXPECT_TRUE(isThere("/b"));
  EXPECT_EQ(files().info("/b", FollowLinks::Yes)->size, 1U);
  ASSERT_TRUE(files().replace("/b", "longer", 0644).ok());
  EXPECT_EQ(files().info("/b", FollowLinks::Yes)->size, 6U);
  ASSERT_TRUE(files().replaceAll({{"/b", "four"}}, 0644).at(0).ok());
  EXPECT_EQ(files().info("/b", FollowLinks::Yes)->size, 4U);
  ASSERT_TRUE(files().replace("/b", "longer", 0644).ok());
  ASSERT_TRUE(files().append("/b", "!", 0644).ok());
  EXPECT_EQ(files().info("/b", FollowLinks::Yes)->size, 7U);
  ASSERT_TRUE(files().rename("/b", "/c", FileSystem::Replace::No).ok());
  EXPECT_FALSE(isThere("/b"));
  EXPECT_TRUE(isThere("/c"));
  ASSERT_TRUE(files().copyFile("/c", "/b").ok());
  EXPECT_TRUE(isThere("/b"));
  ASSERT_TRUE(files().removeFile("/c").ok());
  EXPECT_FALSE(isThere("/c"));
  EXPECT_FALSE(isThere("/folder"));
  ASSERT_TRUE(files().makeFolder("/folder", 0755).ok());
  EXPECT_TRUE(isThere("/folder"));
  ASSERT_TRUE(files().removeFolder("/folder").ok());
  EXPECT_FALSE(isThere("/folder"));
  EXPECT_TRUE(files().readLink("/to-b").status().isNotFound());
  ASSERT_TRUE(files().makeLink("/to-b", "b").ok());
  EXPECT_TRUE(files().readLink("/to-b").ok());
  ASSERT_TRUE(files().setModified("/b", 5'000'000'000).ok());
  EXPECT_EQ(files().info("/b", FollowLinks::Yes)->modified, 5'000'000'000);
  ASSERT_TRUE(files().setMode("/b", 0600).ok());
  EXPECT_EQ(files().info("/b", FollowLinks::Yes)->mode & 0777, 0600U);
}

// By another path to the same thing, too: nothing is kept.
TEST_F(Remembering, AChangeIsSeenThroughALinkToIt) {
  host_.root().makeLink("/link", "a");
  const RememberedDisk disk;
  EXPECT_EQ(files().info("/link/file", FollowLinks::Yes)->size, 4U);
  ASSERT_TRUE(files().replace("/a/file", "longer", 0644).ok());
  EXPECT_EQ(files().info("/link/file", FollowLinks::Yes)->size, 6U);
}

TEST_F(Remembering, AFolderThatIsThereAlreadyIsNoChange) {
  const RememberedDisk disk;
  isThere("/a/file");
  EXPECT_EQ(files().makeFolder("/a", 0755).code(), ErrorCode::AlreadyExists);
  isThere("/a/file");
  EXPECT_EQ(counting_->total(), 2);
}

TEST_F(Remembering, ChangesFromOutsideAreSeenAfterForgetting) {
  RememberedDisk disk;
  EXPECT_FALSE(isThere("/b"));
  host_.root().writeFile("/b", "x");
  EXPECT_FALSE(isThere("/b"));
  disk.forget();
  EXPECT_TRUE(isThere("/b"));
}

TEST_F(Remembering, ALockForgetsWhatItsLastHolderMayHaveChanged) {
  const RememberedDisk disk;
  EXPECT_FALSE(isThere("/b"));
  host_.root().writeFile("/b", "x");
  ASSERT_TRUE(files().lock("/a/file").ok());
  EXPECT_TRUE(isThere("/b"));
}

TEST_F(Remembering, ScopesNestAndTheLastEndForgets) {
  {
    const RememberedDisk outer;
    EXPECT_FALSE(isThere("/b"));
    { const RememberedDisk inner; }
    EXPECT_FALSE(isThere("/b"));
    host_.root().writeFile("/b", "x");
  }
  EXPECT_TRUE(isThere("/b"));
  const RememberedDisk again;
  EXPECT_TRUE(isThere("/b"));
}

TEST_F(Remembering, AnotherThreadRemembersNothingAndItsChangesAreSeen) {
  const RememberedDisk disk;
  EXPECT_FALSE(isThere("/b"));
  host_.root().writeFile("/c", "x");
  std::thread([this] {
    const ThreadHost current(host_.shared());
    const RememberedDisk refused;
    EXPECT_TRUE(isThere("/c"));
    EXPECT_TRUE(files().create("/b", "x", 0644).ok());
  }).join();
  EXPECT_TRUE(isThere("/b"));
}

TEST_F(Remembering, MoreThanSomeThousandAnswersAreNotKept) {
  const RememberedDisk disk;
  for (int number = 0; number < 20000; ++number) isThere("/missing " + std::to_string(number));
  host_.root().writeFile("/missing 0", "x");
  EXPECT_TRUE(isThere("/missing 0"));
}

TEST_F(Remembering, VolumesAreRemembered) {
  RememberedDisk disk;
  const std::string name = Host::current().volumes().volumeForPath("/a", FollowLinks::Yes).name;
  host_.volumes().change("/", [](VolumeInfo& info) { info.name = "Another"; });
  EXPECT_EQ(Host::current().volumes().volumeForPath("/a", FollowLinks::Yes).name, name);
  disk.forget();
  EXPECT_EQ(Host::current().volumes().volumeForPath("/a", FollowLinks::Yes).name, "Another");
  EXPECT_EQ(Host::current().volumes().volumes().front().name, "Another");
}

// A host whose files do not remember.
TEST(RememberedDisk, DoesNothingOnAnotherHost) {
  vennick::tests::TestHost host;
  RememberedDisk disk;
  EXPECT_FALSE(Host::current().files().info("/b", FollowLinks::Yes).ok());
  host.root().writeFile("/b", "x");
  EXPECT_TRUE(Host::current().files().info("/b", FollowLinks::Yes).ok());
  disk.forget();
}

}  // namespace
}  // namespace macos
