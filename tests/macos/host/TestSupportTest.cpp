// SPDX-License-Identifier: MIT
//
// What the other tests rely on: temporary roots, the test host, its clock, and the file systems that count,
// fail, kill and do not answer.
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

#include "gtest/gtest.h"
#include "macos/host/PosixFileSystem.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Instance.h"
#include "tests/support/TestHost.h"

namespace vennick::tests {
namespace {

using macos::FollowLinks;
using macos::UnixNanoseconds;
using macos::VolumeInfo;
using std::chrono::milliseconds;
using std::chrono::seconds;

TEST(TemporaryRoot, HasWhatEveryMacHas) {
  const TemporaryRoot root;
  EXPECT_EQ(root.names("/"),
            (std::vector<std::string>{"Applications", "Library", "System", "Users", "Volumes"}));
  EXPECT_TRUE(root.exists("/Users/anna/Library/Preferences"));
  EXPECT_TRUE(root.exists("/System/Library"));
  EXPECT_EQ(root.snapshot("/Volumes").at("Macintosh HD"), "link /");
}

TEST(TemporaryRoot, IsGoneAtTheEndWhateverWasLockedInIt) {
  std::string path;
  {
    const TemporaryRoot root;
    path = root.path();
    root.writeFile("/Users/anna/a/b/c", "x");
    static_cast<void>(macos::PosixFileSystem(path).setImmutable("/Users/anna/a/b/c", true));
    static_cast<void>(macos::PosixFileSystem(path).setImmutable("/Users/anna/a", true));
    ::chmod(root.hostPath("/Users/anna/a/b").c_str(), 0);
  }
  EXPECT_NE(::access(path.c_str(), F_OK), 0);
}

TEST(TemporaryRoot, ShowsEveryDifferenceInASnapshot) {
  const TemporaryRoot root;
  root.writeFile("/Users/anna/file", "x");
  const auto before = root.snapshot("/Users");
  EXPECT_EQ(root.snapshot("/Users"), before);
  root.writeFile("/Users/anna/file", "y");
  EXPECT_NE(root.snapshot("/Users"), before);
  root.writeFile("/Users/anna/file", "x");
  EXPECT_EQ(root.snapshot("/Users"), before);
  ::chmod(root.hostPath("/Users/anna/file").c_str(), 0600);
  EXPECT_NE(root.snapshot("/Users"), before);
}

TEST(TestHost, IsTheCurrentHostWithAHomeInItsRoot) {
  TestHost host;
  host.root().writeFile("/Users/anna/note", "hello");
  macos::Host& current = macos::Host::current();
  EXPECT_EQ(&current, &host.host());
  EXPECT_EQ(current.home(), "/Users/anna");
  EXPECT_EQ(current.files().read("/Users/anna/note").valueOr(""), "hello");
  EXPECT_EQ(current.environment().at("MACOS_ROOT"), host.root().path());
  EXPECT_EQ(current.commands().run("echo $HOME", {}).valueOr(""), "/Users/anna\n");
}

TEST(TestHost, GoesOnWithTheRootOfAnother) {
  std::shared_ptr<TemporaryRoot> root;
  {
    TestHost first;
    root = first.sharedRoot();
    ASSERT_TRUE(first.files().create("/Users/anna/x", "kept", 0644).ok());
  }
  TestHostOptions options;
  options.root = root;
  options.home = "/Users/bea";
  TestHost second(options);
  EXPECT_EQ(second.files().read("/Users/anna/x").valueOr(""), "kept");
  EXPECT_EQ(second.host().home(), "/Users/bea");
}

TEST(TestHost, EndsTheProcessesOfItsRoot) {
  pid_t process = -1;
  {
    TestHost host;
    macos::LaunchRequest request;
    const std::string bundle = "/Applications/V.app";
    makeApplication(host.root(), bundle, "com.example.v");
    request.executable = bundle + "/Contents/MacOS/V";
    request.arguments = {"never"};
    process = host.host().processes().launch(request).valueOr(-1);
    ASSERT_GT(process, 0);
  }
  TestHost next;
  for (int i = 0; i < 2000 && next.host().processes().process(process); ++i) {
    std::this_thread::sleep_for(milliseconds(5));
  }
  EXPECT_EQ(next.host().processes().process(process), std::nullopt);
}

TEST(TestHost, KeepsItsLog) {
  TestHost host;
  host.host().log().writeLine("2026-11-21 03:30:31.123 VennickMigrator[12:34] text");
  host.host().log().writeSystemLog(1, "alert");
  EXPECT_EQ(host.log().messages(), (std::vector<std::string>{"text", "alert"}));
  EXPECT_EQ(host.log().systemMessages(), (std::vector<std::pair<int, std::string>>{{1, "alert"}}));
  EXPECT_TRUE(host.log().contains("ert"));
  host.log().clear();
  EXPECT_TRUE(host.log().lines().empty());
}

TEST(TestHost, ChangesHidesAndAddsVolumes) {
  TestHost host;
  host.root().makeFolder("/Volumes/Server");
  host.root().makeFolder("/Volumes/Hidden");
  host.root().makeFolder("/Users/anna/disk");
  host.volumes().change("/Volumes/Server", [](VolumeInfo& volume) { volume.isLocal = false; });
  host.volumes().change("/Users/anna/disk", [](VolumeInfo& volume) { volume.isEjectable = true; });
  host.volumes().hide("/Volumes/Hidden");
  macos::VolumeTable& table = host.host().volumes();
  std::vector<std::string> mountPoints;
  for (const VolumeInfo& volume : table.volumes()) mountPoints.push_back(volume.mountPoint);
  EXPECT_EQ(mountPoints, (std::vector<std::string>{"/", "/Users/anna/disk", "/Volumes/Server"}));
  EXPECT_FALSE(table.volumeForPath("/Volumes/Server/x").isLocal);
  EXPECT_TRUE(table.volumeForPath("/Users/anna/disk/x").isEjectable);
  EXPECT_EQ(table.volumeForPath("/Users/anna/disk/x").name, "disk");
  EXPECT_EQ(table.volumeForPath("/Volumes/Hidden/x").mountPoint, "/");
}

class AdjustableClockTest : public testing::Test {
 protected:
  AdjustableClock clock;
};

TEST_F(AdjustableClockTest, StandsStillUntilItIsMoved) {
  const UnixNanoseconds now = clock.now();
  const UnixNanoseconds monotonic = clock.monotonic();
  EXPECT_EQ(clock.now(), now);
  clock.advance(seconds(3));
  EXPECT_EQ(clock.now(), now + 3'000'000'000);
  EXPECT_EQ(clock.monotonic(), monotonic + 3'000'000'000);
  clock.setNow(5);
  EXPECT_EQ(clock.now(), 5);
  EXPECT_EQ(clock.monotonic(), monotonic + 3'000'000'000);
}

TEST_F(AdjustableClockTest, MovesWhoeverWaitsToItsTime) {
  const UnixNanoseconds deadline = clock.monotonic() + 350'000'000'000;
  EXPECT_TRUE(clock.waitUntil(deadline, {}).empty());
  EXPECT_EQ(clock.monotonic(), deadline);
  EXPECT_EQ(clock.waited(), seconds(350));
  EXPECT_TRUE(clock.waitUntil(0, {}).empty());
  EXPECT_EQ(clock.monotonic(), deadline);
}

TEST_F(AdjustableClockTest, RunsWhatIsScheduledDuringTheWaitInOrder) {
  const UnixNanoseconds start = clock.monotonic();
  std::vector<std::pair<int, UnixNanoseconds>> seen;
  clock.schedule(seconds(2), [&] { seen.emplace_back(2, clock.monotonic() - start); });
  clock.schedule(seconds(1), [&] {
    seen.emplace_back(1, clock.monotonic() - start);
    clock.schedule(milliseconds(500), [&] { seen.emplace_back(3, clock.monotonic() - start); });
  });
  clock.schedule(seconds(9), [&] { seen.emplace_back(9, 0); });
  clock.waitUntil(start + 5'000'000'000, {});
  EXPECT_EQ(seen, (std::vector<std::pair<int, UnixNanoseconds>>{
                      {1, 1'000'000'000}, {3, 1'500'000'000}, {2, 2'000'000'000}}));
}

TEST_F(AdjustableClockTest, EndsAWaitWhenADescriptorBecomesReadable) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const UnixNanoseconds start = clock.monotonic();
  clock.schedule(seconds(1), [&] { ASSERT_EQ(::write(ends[1], "x", 1), 1); });
  EXPECT_EQ(clock.waitUntil(start + 5'000'000'000, {ends[0]}), std::vector<int>{ends[0]});
  EXPECT_EQ(clock.monotonic(), start + 1'000'000'000);
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST(CountingFileSystem, CountsOperationsByKindAndPath) {
  TestHost host;
  const auto counting = host.interpose<CountingFileSystem>();
  static_cast<void>(host.files().info("/Users", FollowLinks::Yes));
  static_cast<void>(host.files().create("/Users/anna/x", "", 0644));
  host.files().isAccessible("/Users/anna/x", R_OK);
  EXPECT_EQ(counting->total(), 3);
  EXPECT_EQ(counting->changes(), 1);
  EXPECT_EQ(counting->count(FileOperation::Info), 1);
  EXPECT_EQ(counting->paths(FileOperation::Create), std::vector<std::string>{"/Users/anna/x"});
  counting->reset();
  EXPECT_EQ(counting->total(), 0);
}

TEST(FailingFileSystem, FailsTheNthOperationOnly) {
  TestHost host;
  const auto failing = host.interpose<FailingFileSystem>(2, ENOSPC);
  EXPECT_TRUE(host.files().create("/Users/anna/1", "", 0644).ok());
  EXPECT_FALSE(failing->hasFailed());
  EXPECT_EQ(host.files().create("/Users/anna/2", "", 0644).errnoValue(), ENOSPC);
  EXPECT_TRUE(failing->hasFailed());
  EXPECT_TRUE(host.files().create("/Users/anna/3", "", 0644).ok());
  EXPECT_FALSE(host.root().exists("/Users/anna/2"));
  host.removeInterposed();
  host.interpose<FailingFileSystem>(1, EIO, Operations::Changes, FailingFileSystem::Lasting::Yes);
  EXPECT_TRUE(host.files().read("/Users/anna/3").ok());
  EXPECT_EQ(host.files().replace("/Users/anna/3", "x", 0644).errnoValue(), EIO);
  EXPECT_EQ(host.files().append("/Users/anna/3", "x", 0644).errnoValue(), EIO);
  EXPECT_EQ(host.root().readFile("/Users/anna/3"), "");
}

TEST(FailingFileSystem, AnswersNothingWhereAnOperationCannotTellAnError) {
  TestHost host;
  host.interpose<FailingFileSystem>(1, EIO, Operations::All, FailingFileSystem::Lasting::Yes);
  EXPECT_FALSE(host.files().isAccessible("/", R_OK));
  EXPECT_EQ(host.files().attribute("/", "user.x"), std::nullopt);
  EXPECT_EQ(host.files().hostPath("/"), std::nullopt);
}

TEST(KillingFileSystem, EndsTheProcessAtTheNthOperation) {
  const std::pair<KillingFileSystem::Moment, std::string> expected[] = {
      {KillingFileSystem::Moment::Before, "old"}, {KillingFileSystem::Moment::After, "new"}};
  for (const auto& [moment, content] : expected) {
    TestHost host;
    host.root().writeFile("/Users/anna/file", "old");
    const auto kill = moment;
    const ChildResult result = runInChild([&] {
      host.interpose<KillingFileSystem>(2, kill, Operations::Changes);
      static_cast<void>(host.files().read("/Users/anna/file"));
      static_cast<void>(host.files().makeFolder("/Users/anna/folder", 0755));
      static_cast<void>(host.files().replace("/Users/anna/file", "new", 0644));
      ADD_FAILURE() << "it is still alive";
    });
    EXPECT_EQ(result.exitCode, KillingFileSystem::kExitCode);
    EXPECT_TRUE(host.root().exists("/Users/anna/folder"));
    EXPECT_EQ(host.root().readFile("/Users/anna/file"), content);
  }
}

TEST(KillingFileSystem, MidwayLeavesHalfWhereACrashWould) {
  TestHost host;
  host.root().writeFile("/Users/anna/d/file", "old");
  EXPECT_EQ(runInChild([&] {
              host.interpose<KillingFileSystem>(1, KillingFileSystem::Moment::Midway);
              static_cast<void>(host.files().replace("/Users/anna/d/file", "newnew", 0644));
            }).exitCode,
            KillingFileSystem::kExitCode);
  EXPECT_EQ(host.root().snapshot("/Users/anna/d").at(".file.0123456789abcdef"), "file 384 new");
  EXPECT_EQ(host.root().readFile("/Users/anna/d/file"), "old");
  EXPECT_EQ(runInChild([&] {
              host.interpose<KillingFileSystem>(1, KillingFileSystem::Moment::Midway);
              static_cast<void>(host.files().create("/Users/anna/d/new", "newnew", 0644));
            }).exitCode,
            KillingFileSystem::kExitCode);
  EXPECT_EQ(host.root().readFile("/Users/anna/d/new"), "new");
}

TEST(BlockingFileSystem, DoesNotAnswerUntilItIsReleased) {
  TestHost host;
  host.root().writeFile("/Volumes/Slow/file", "late");
  const auto blocking = host.interpose<BlockingFileSystem>("/Volumes/Slow");
  std::atomic<bool> isDone{false};
  std::string read;
  std::thread late([&, kept = host.shared()] {
    const macos::ThreadHost mine(kept);
    read = macos::Host::current().files().read("/Volumes/Slow/file").valueOr("?");
    isDone = true;
  });
  blocking->waitForHeld(1);
  // Other paths answer meanwhile.
  EXPECT_TRUE(host.files().info("/Volumes/Slow2", FollowLinks::Yes).status().isNotFound());
  EXPECT_FALSE(isDone);
  host.removeInterposed();
  late.join();
  EXPECT_EQ(read, "late");
}

TEST(ChildProcess, TellsHowItEnded) {
  EXPECT_TRUE(runInChild([] {}).succeeded());
  EXPECT_EQ(runInChild([] { ::_exit(7); }).exitCode, 7);
  EXPECT_EQ(runInChild([] { ::kill(::getpid(), SIGKILL); }).signal, SIGKILL);
  EXPECT_EQ(runInChild([] { throw std::runtime_error("expected by this test"); }).exitCode, 1);
  const ChildResult hung = runInChild([] { ::pause(); }, milliseconds(50));
  EXPECT_TRUE(hung.timedOut);
  EXPECT_FALSE(hung.succeeded());
}

TEST(ChildProcess, MayBeAnOrdinaryUser) {
  const TemporaryRoot root;
  root.writeFile("/secret", "x");
  ::chmod(root.hostPath("/secret").c_str(), 0);
  expectAsOrdinaryUser([&] {
    EXPECT_NE(::geteuid(), 0U);
    EXPECT_NE(::eaccess(root.hostPath("/secret").c_str(), R_OK), 0);
  });
}

TEST(ChildProcess, CountsSystemCalls) {
  const auto calls = countSystemCalls([] {
    for (int i = 0; i < 5; ++i) ::getppid();
    ::access("/", F_OK);
  });
  if (!calls) GTEST_SKIP() << "processes may not be traced here";
  EXPECT_EQ(calls->total, 6);
  ASSERT_EQ(calls->inOrder.size(), 6U);
  EXPECT_EQ(calls->inOrder[4], SYS_getppid);
  EXPECT_NE(calls->inOrder[5], SYS_getppid);
}

}  // namespace
}  // namespace vennick::tests
