// SPDX-License-Identifier: MIT
#include "macos/appkit/Application.h"

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <string>
#include <vector>

#include "macos/foundation/RunLoop.h"
#include "macos/foundation/UserDefaults.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::runInChild;
using vennick::tests::TestHost;
using vennick::tests::TestHostOptions;

class Delegate : public NSApplicationDelegate {
 public:
  explicit Delegate(std::function<void()> launched) : launched_(std::move(launched)) {}
  void applicationDidFinishLaunching() override {
    calls.emplace_back("launched");
    launched_();
    calls.emplace_back("returned");
  }
  void applicationWillTerminate() override { calls.emplace_back("terminates"); }
  std::vector<std::string> calls;

 private:
  std::function<void()> launched_;
};

int run(NSApplicationDelegate& delegate) {
  char program[] = "program";
  char* arguments[] = {program, nullptr};
  return NSApplicationMain(1, arguments, delegate);
}

void terminate() { NSApplication::sharedApplication().terminate(nullptr); }

TEST(Application, TellsItsDelegateOnceInTheRunLoopAndEndsWithStatusZero) {
  TestHost host;
  Delegate delegate(terminate);
  EXPECT_EQ(run(delegate), 0);
  EXPECT_EQ(delegate.calls, (std::vector<std::string>{"launched", "returned", "terminates"}));
}

TEST(Application, TerminateLetsTheCallbackRunToItsEnd) {
  TestHost host;
  bool blockRan = false;
  Delegate delegate([&] {
    terminate();
    NSRunLoop::mainRunLoop().perform([&] { blockRan = true; });
    NSRunLoop::mainRunLoop().runUntilDate(NSDate::dateWithTimeIntervalSinceNow(1));
    EXPECT_TRUE(blockRan);
  });
  run(delegate);
  EXPECT_EQ(delegate.calls.back(), "terminates");
}

TEST(Application, RunsOnUntilSomebodyTerminatesIt) {
  TestHost host;
  RunLoopToken timer;
  Delegate delegate([&] {
    timer = NSRunLoop::mainRunLoop().addTimer(NSDate::dateWithTimeIntervalSinceNow(10'000), 0, 0, terminate);
  });
  run(delegate);
  EXPECT_GE(host.clock().waited(), std::chrono::seconds(9'999));
}

TEST(Application, ThePoliteRequestToQuitIsDeliveredInTheRunLoop) {
  EXPECT_TRUE(runInChild([] {
                TestHostOptions options;
                options.realClock = true;
                TestHost host(options);
                Delegate delegate([] { raise(SIGTERM); });
                EXPECT_EQ(run(delegate), 0);
                EXPECT_EQ(delegate.calls, (std::vector<std::string>{"launched", "returned", "terminates"}));
              }).succeeded());
}

TEST(Application, ARequestToQuitNeverCutsWorkOff) {
  EXPECT_TRUE(runInChild([] {
                TestHost host;
                bool isDone = false;
                Delegate delegate([&] {
                  raise(SIGTERM);
                  NSRunLoop::mainRunLoop().runUntilDate(NSDate::dateWithTimeIntervalSinceNow(3));
                  isDone = true;
                });
                run(delegate);
                EXPECT_TRUE(isDone);
                EXPECT_GE(host.clock().waited(), std::chrono::milliseconds(2'999));
              }).succeeded());
}

TEST(Application, WritesPendingDefaultsWhenItEnds) {
  TestHost host;
  Delegate delegate([] {
    NSUserDefaults::initWithSuiteName("com.example.suite")->setBool(true, "flag");
    terminate();
  });
  run(delegate);
  EXPECT_TRUE(host.root().exists("/Users/anna/Library/Preferences/com.example.suite.plist"));
}

}  // namespace
}  // namespace macos
