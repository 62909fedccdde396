// SPDX-License-Identifier: MIT
#include "macos/appkit/RunningApplication.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

#include "macos/foundation/RunLoop.h"
#include "tests/support/Instance.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using vennick::tests::Instance;
using vennick::tests::makeApplication;
using vennick::tests::Quits;
using vennick::tests::TemporaryRoot;
using vennick::tests::TestHost;

// This program's own: an application of another test program that runs at the same time may count too.
const std::string kIdentifier = "com.example.RunningApplicationTest" + std::to_string(getpid());
const std::string kMain = "/Applications/Main.app";

std::vector<pid_t> running(std::string_view identifier = kIdentifier) {
  std::vector<pid_t> processes;
  for (const auto& application : NSRunningApplication::runningApplicationsWithBundleIdentifier(identifier)) {
    processes.push_back(application.processIdentifier());
  }
  return processes;
}

NSRunningApplication onlyOne() {
  auto found = NSRunningApplication::runningApplicationsWithBundleIdentifier(kIdentifier);
  EXPECT_EQ(found.size(), 1U);
  return found.at(0);
}

TEST(RunningApplication, IsAProcessOfTheBundlesExecutable) {
  TestHost host;
  const std::string executable = makeApplication(host.root(), kMain, kIdentifier);
  EXPECT_EQ(running(), std::vector<pid_t>{});
  const Instance instance(executable, Quits::AtOnce);
  EXPECT_EQ(running(), std::vector{instance.processID()});
  EXPECT_EQ(onlyOne().bundleIdentifier(), kIdentifier);
  EXPECT_EQ(running("com.example.another"), std::vector<pid_t>{});
  EXPECT_EQ(running(""), std::vector<pid_t>{});
}

TEST(RunningApplication, EveryInstanceCounts) {
  TestHost host;
  const std::string executable = makeApplication(host.root(), kMain, kIdentifier);
  const Instance first(executable, Quits::AtOnce);
  const Instance second(executable, Quits::AtOnce);
  EXPECT_EQ(running().size(), 2U);
}

TEST(RunningApplication, AProcessBelongsToTheInnermostBundle) {
  TestHost host;
  makeApplication(host.root(), kMain, kIdentifier);
  const std::string helper =
      makeApplication(host.root(), kMain + "/Contents/Helpers/Helper.app", "com.example.helper");
  const Instance instance(helper, Quits::AtOnce);
  EXPECT_EQ(running(), std::vector<pid_t>{});
  EXPECT_EQ(running("com.example.helper"), std::vector{instance.processID()});
}

TEST(RunningApplication, AnExecutableDeeperInTheMacOSFolderIsNotTheApplication) {
  TestHost host;
  makeApplication(host.root(), kMain, kIdentifier);
  const std::string deeper = kMain + "/Contents/MacOS/tools/helper";
  host.root().copyIn(VENNICK_TEST_INSTANCE, deeper);
  const Instance instance(host.root().hostPath(deeper), Quits::AtOnce);
  EXPECT_EQ(running(), std::vector<pid_t>{});
}

TEST(RunningApplication, AScriptIsAnApplicationLikeAnyOther) {
  TestHost host;
  makeApplication(host.root(), kMain, kIdentifier);
  const std::string script = kMain + "/Contents/MacOS/Main";
  // It starts nothing: a child is the script too until it has become another program.
  host.root().makeExecutable(script, "#!/bin/sh\necho ready\nwhile :; do :; done\n");
  const Instance instance(host.root().hostPath(script), Quits::AtOnce);
  EXPECT_EQ(running(), std::vector{instance.processID()});
}

TEST(RunningApplication, ABundleOutsideTheRootCounts) {
  TestHost host;
  const TemporaryRoot outside;
  const Instance instance(makeApplication(outside, kMain, kIdentifier), Quits::AtOnce);
  EXPECT_EQ(running(), std::vector{instance.processID()});
}

TEST(RunningApplication, OfAnotherRootOrAnotherHomeOfTheRootDoesNotCount) {
  TestHost host;
  const TemporaryRoot other;
  host.root().makeFolder("/Users/ben");
  const std::string executable = makeApplication(host.root(), kMain, kIdentifier);
  const Instance ofOtherRoot(executable, Quits::AtOnce,
                             {{"MACOS_ROOT", other.path()}, {"HOME", "/Users/anna"}});
  const Instance ofOtherHome(executable, Quits::AtOnce,
                             {{"MACOS_ROOT", host.root().path()}, {"HOME", "/Users/ben"}});
  EXPECT_EQ(running(), std::vector<pid_t>{});
  const Instance ours(executable, Quits::AtOnce,
                      {{"MACOS_ROOT", host.root().path() + "/."}, {"HOME", "/Users/anna/"}});
  EXPECT_EQ(running(), std::vector{ours.processID()});
}

TEST(RunningApplication, WithoutARootInItsEnvironmentAnyHomeCounts) {
  TestHost host;
  const std::string executable = makeApplication(host.root(), kMain, kIdentifier);
  const Instance instance(executable, Quits::AtOnce, {{"HOME", "/nonexistent"}});
  EXPECT_EQ(running(), std::vector{instance.processID()});
}

TEST(RunningApplication, ThatQuitsAtOnceIsGone) {
  TestHost host;
  const Instance instance(makeApplication(host.root(), kMain, kIdentifier), Quits::AtOnce);
  const auto application = onlyOne();
  EXPECT_FALSE(application.isTerminated());
  EXPECT_TRUE(application.terminate());
  EXPECT_TRUE(instance.endsWithin(seconds(5)));
  EXPECT_TRUE(application.isTerminated());
}

TEST(RunningApplication, ThatEndedButWasNotReapedCountsAsEnded) {
  TestHost host;
  const Instance instance(makeApplication(host.root(), kMain, kIdentifier), Quits::AtOnce);
  const auto application = onlyOne();
  application.terminate();
  // An instance stays a zombie until the end of its scope.
  ASSERT_TRUE(instance.endsWithin(seconds(5)));
  EXPECT_EQ(running(), std::vector<pid_t>{});
  EXPECT_FALSE(application.terminate());
}

TEST(RunningApplication, ThatQuitsLaterRunsUntilThen) {
  TestHost host;
  const Instance instance(makeApplication(host.root(), kMain, kIdentifier), Quits::AfterTwoSeconds);
  EXPECT_TRUE(onlyOne().terminate());
  EXPECT_FALSE(instance.endsWithin(milliseconds(1'500)));
  EXPECT_EQ(running(), std::vector{instance.processID()});
  EXPECT_TRUE(instance.endsWithin(seconds(5)));
  EXPECT_EQ(running(), std::vector<pid_t>{});
}

TEST(RunningApplication, ThatIgnoresTheRequestIsNeverKilled) {
  TestHost host;
  const Instance instance(makeApplication(host.root(), kMain, kIdentifier), Quits::Never);
  EXPECT_TRUE(onlyOne().terminate());
  EXPECT_TRUE(onlyOne().terminate());
  EXPECT_FALSE(instance.endsWithin(milliseconds(500)));
  EXPECT_EQ(running(), std::vector{instance.processID()});
}

TEST(RunningApplication, AnotherProcessThatGotItsNumberIsLeftAlone) {
  TestHost host;
  const Instance instance(makeApplication(host.root(), kMain, kIdentifier), Quits::AtOnce);
  ProcessInfo earlier = *host.host().processes().process(instance.processID());
  earlier.started -= 1'000'000'000;
  const NSRunningApplication application(earlier, std::string(kIdentifier));
  EXPECT_TRUE(application.isTerminated());
  EXPECT_FALSE(application.terminate());
  EXPECT_FALSE(instance.endsWithin(milliseconds(200)));
}

}  // namespace
}  // namespace macos
