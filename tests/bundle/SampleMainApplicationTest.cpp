// SPDX-License-Identifier: MIT
//
// The sample main application as a process of its own.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/TemporaryRoot.h"

namespace vennick::tests {
namespace {

constexpr std::string_view kLog = "/Users/anna/Library/Logs/Vennick5.log";

class SampleMainApplication : public testing::Test {
 public:
  // Starts it from a copy of the staged bundle in the root.
  SampleMainApplication() {
    mac.copyIn(std::filesystem::path(VENNICK_BUILD) / "Vennick 5.app", "/Applications/Vennick 5.app");
  }
  ~SampleMainApplication() override {
    if (process > 0) {
      kill(process, SIGKILL);
      waitpid(process, nullptr, 0);
    }
  }

 protected:
  void start(std::map<std::string, std::string> environment = {}) {
    environment.insert({{"MACOS_ROOT", mac.path()}, {"HOME", "/Users/anna"}});
    std::vector<std::string> entries;
    for (const auto& [name, value] : environment) entries.push_back(name + "=" + value);
    std::vector<char*> pointers;
    for (std::string& entry : entries) pointers.push_back(entry.data());
    pointers.push_back(nullptr);
    std::string program = mac.hostPath("/Applications/Vennick 5.app/Contents/MacOS/Vennick5");
    char* const arguments[] = {program.data(), nullptr};
    process = fork();
    if (process == 0) {
      execve(program.c_str(), arguments, pointers.data());
      _exit(127);
    }
  }

  std::string log() const { return mac.exists(kLog) ? mac.readFile(kLog) : ""; }
  // Whether the log comes to hold the text within ten seconds.
  bool logs(const std::string& text) const {
    for (int i = 0; i < 1000; ++i) {
      if (log().find(text) != std::string::npos) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
  }
  std::string number() const { return std::to_string(process); }

  const TemporaryRoot mac;
  pid_t process = -1;
};

TEST_F(SampleMainApplication, NotesItsStartAndItsEnvironment) {
  start({{"VK_PREFS_IMPORT_COMPLETED", "YES"}, {"LINES", "one\ntwo"}});
  ASSERT_TRUE(logs("started: process " + number() + ", VK_PREFS_IMPORT_COMPLETED=YES\n"));
  EXPECT_TRUE(logs("\n  HOME=/Users/anna\n"));
  EXPECT_TRUE(logs("\n  LINES=one two\n"));
  EXPECT_TRUE(logs("\n  MACOS_ROOT=" + mac.path() + "\n"));
}

TEST_F(SampleMainApplication, StartedByHandItWasToldNothing) {
  start();
  EXPECT_TRUE(logs("started: process " + number() + "\n"));
}

TEST_F(SampleMainApplication, QuitsOnThePoliteRequestAndNotesIt) {
  start();
  ASSERT_TRUE(logs("started"));
  ASSERT_EQ(kill(process, SIGTERM), 0);
  int status = 0;
  ASSERT_EQ(waitpid(process, &status, 0), process);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_TRUE(logs("quit: process " + number() + "\n"));
  process = -1;
}

TEST_F(SampleMainApplication, TheLogIsNobodyElsesToRead) {
  start();
  ASSERT_TRUE(logs("started"));
  const auto permissions = std::filesystem::status(mac.hostPath(kLog)).permissions();
  EXPECT_EQ(permissions & (std::filesystem::perms::group_all | std::filesystem::perms::others_all),
            std::filesystem::perms::none);
}

}  // namespace
}  // namespace vennick::tests
