// SPDX-License-Identifier: MIT
//
// How long the delegate waits for the main application, by a clock that stands still.
#include <gtest/gtest.h>

#include "app/AppDelegate.h"
#include "macos/foundation/RunLoop.h"
#include "tests/support/TestHost.h"

namespace vennick {
namespace {

// A machine on which nothing runs but what the test says, and where a request ends nothing by itself.
class StagedProcesses : public macos::ProcessTable {
 public:
  std::vector<macos::ProcessInfo> processes(const ExecutableTest& isMeant) override {
    std::vector<macos::ProcessInfo> meant;
    for (const macos::ProcessInfo& process : running) {
      if (isMeant(process.executable)) meant.push_back(process);
    }
    return meant;
  }
  std::optional<macos::ProcessInfo> process(pid_t processID) override {
    for (const macos::ProcessInfo& process : running) {
      if (process.processID == processID) return process;
    }
    return std::nullopt;
  }
  // They were started for this root and home.
  std::optional<std::map<std::string, std::string>> environment(
      const macos::ProcessInfo& /*process*/) override {
    return macos::Host::current().environment();
  }
  macos::Status sendTerminate(const macos::ProcessInfo& process) override {
    requests.push_back(process.processID);
    return {};
  }
  macos::Result<pid_t> launch(const macos::LaunchRequest& /*request*/) override {
    return macos::Status(macos::ErrorCode::Unsupported, "launch", "not in this test");
  }

  std::vector<macos::ProcessInfo> running;
  std::vector<pid_t> requests;
};

class Quitting : public testing::Test {
 protected:
  Quitting() : host_(options()) {
    host_.root().writeFile("/Applications/Vennick 5.app/Contents/Info.plist",
                           "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key>"
                           "<string>com.quorvale.Vennick5</string></dict></plist>");
    host_.root().makeExecutable(kProgram, "#!/bin/sh\n");
  }

  tests::TestHostOptions options() {
    tests::TestHostOptions options;
    options.adjust = [this](macos::Host::Parts& parts) { parts.processes = processes_; };
    return options;
  }

  static constexpr std::string_view kProgram = "/Applications/Vennick 5.app/Contents/MacOS/Vennick5";

  void startInstance(pid_t processID) {
    processes_->running.push_back(
        {.processID = processID, .parentID = 1, .executable = host_.root().hostPath(kProgram), .started = 7});
  }

  double waitedSeconds() { return std::chrono::duration<double>(host_.clock().waited()).count(); }

  std::shared_ptr<StagedProcesses> processes_ = std::make_shared<StagedProcesses>();
  tests::TestHost host_;
};

TEST_F(Quitting, TheRequestIsSentOnceAndTheWaitEndsAfterFiveSeconds) {
  startInstance(41);
  startInstance(42);
  AppDelegate().quitVNK5();
  EXPECT_EQ(processes_->requests, (std::vector<pid_t>{41, 42}));
  EXPECT_GE(waitedSeconds(), 5.0);
  EXPECT_LE(waitedSeconds(), 6.0);
}

TEST_F(Quitting, TheOneSecondStepIsNotShortened) {
  startInstance(41);
  host_.clock().schedule(std::chrono::milliseconds(100), [this] { processes_->running.clear(); });
  AppDelegate().quitVNK5();
  EXPECT_DOUBLE_EQ(waitedSeconds(), 1.0);
}

TEST_F(Quitting, WithoutAnInstanceNothingIsWaitedFor) {
  AppDelegate().quitVNK5();
  EXPECT_DOUBLE_EQ(waitedSeconds(), 0.0);
  EXPECT_TRUE(processes_->requests.empty());
}

TEST_F(Quitting, AnInstanceThatAppearsDuringTheWaitCountsButGetsNoRequest) {
  startInstance(41);
  host_.clock().schedule(std::chrono::milliseconds(500), [this] {
    processes_->running.clear();
    startInstance(42);
  });
  AppDelegate().quitVNK5();
  EXPECT_EQ(processes_->requests, std::vector<pid_t>{41});
  EXPECT_GE(waitedSeconds(), 5.0);
}

TEST_F(Quitting, WhatArrivesInTheRunLoopIsDeliveredMeanwhile) {
  startInstance(41);
  bool delivered = false;
  host_.clock().schedule(std::chrono::milliseconds(500), [&delivered] {
    macos::NSRunLoop::mainRunLoop().perform([&delivered] { delivered = true; });
  });
  AppDelegate().quitVNK5();
  EXPECT_TRUE(delivered);
}

TEST_F(Quitting, AWallClockThatIsSetBackDoesNotProlongTheWait) {
  startInstance(41);
  host_.clock().schedule(std::chrono::milliseconds(1500), [this] {
    host_.clock().setNow(host_.clock().now() - std::int64_t{3600} * 1'000'000'000);
  });
  AppDelegate().quitVNK5();
  EXPECT_LE(waitedSeconds(), 7.0);
}

}  // namespace
}  // namespace vennick
