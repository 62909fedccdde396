// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "macos/host/PosixProcessTable.h"
#include "tests/support/Instance.h"

namespace macos {
namespace {

using vennick::tests::Instance;
using vennick::tests::Quits;

using Environment = std::map<std::string, std::string>;

// An instance with these variables and no others, as soon as it is made: its program may not have begun.
pid_t spawned(std::vector<const char*> environment) {
  environment.push_back(nullptr);
  const char* const arguments[] = {VENNICK_TEST_INSTANCE, "never", nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t process = -1;
  EXPECT_EQ(posix_spawn(&process, VENNICK_TEST_INSTANCE, &actions, nullptr, const_cast<char**>(arguments),
                        const_cast<char**>(environment.data())),
            0);
  posix_spawn_file_actions_destroy(&actions);
  return process;
}

// As soon as it can be told.
std::optional<Environment> environmentOf(PosixProcessTable& table, pid_t process) {
  std::optional<Environment> environment;
  for (int look = 0; look < 5000 && !environment; ++look) {
    environment = table.environment({process, 1, "", 0});
    if (!environment) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return environment;
}

void end(pid_t process) {
  kill(process, SIGKILL);
  waitpid(process, nullptr, 0);
}

TEST(ProcessEnvironment, TellsTheVariablesThatTheProcessWasStartedWith) {
  PosixProcessTable table(nullptr);
  const Instance instance(VENNICK_TEST_INSTANCE, Quits::AtOnce, {{"FRUIT", "a=b"}, {"FRUITS", ""}});
  const auto process = table.process(instance.processID());
  ASSERT_TRUE(process);
  const auto environment = table.environment(*process);
  ASSERT_TRUE(environment);
  EXPECT_EQ(environment->at("FRUIT"), "a=b");
  EXPECT_EQ(environment->at("FRUITS"), "");
  EXPECT_EQ(environment->count("FRUI"), 0U);
  EXPECT_EQ(environment->count("FRUIT=a"), 0U);
  EXPECT_EQ(environment->count(""), 0U);
}

TEST(ProcessEnvironment, OfTwoVariablesOfOneNameTheFirstCounts) {
  PosixProcessTable table(nullptr);
  const pid_t process = spawned({"FRUIT=apple", "FRUIT=pear", "no variable", "=nor this"});
  EXPECT_EQ(environmentOf(table, process), (Environment{{"FRUIT", "apple"}}));
  end(process);
}

TEST(ProcessEnvironment, MayBeEmpty) {
  PosixProcessTable table(nullptr);
  const pid_t process = spawned({});
  EXPECT_EQ(environmentOf(table, process), Environment());
  end(process);
}

TEST(ProcessEnvironment, AProcessThatHasEndedHasNone) {
  PosixProcessTable table(nullptr);
  EXPECT_EQ(table.environment({0x7FFFFFFE, 1, "", 0}), std::nullopt);
  const pid_t notReaped = spawned({"FRUIT=apple"});
  kill(notReaped, SIGKILL);
  siginfo_t ended{};
  waitid(P_PID, static_cast<id_t>(notReaped), &ended, WEXITED | WNOWAIT);
  EXPECT_EQ(table.environment({notReaped, 1, "", 0}), std::nullopt);
  end(notReaped);
}

// While a program is being loaded the process has no environment yet: it must not be taken for one that was
// started without any. The other end of its life is alike.
TEST(ProcessEnvironment, IsNeverSeenEmptyWhenItIsNot) {
  PosixProcessTable table(nullptr);
  for (int round = 0; round < 100; ++round) {
    const pid_t process = spawned({"FRUIT=apple"});
    for (int look = 0; look < 200; ++look) {
      if (look == 100) kill(process, SIGKILL);
      const auto environment = table.environment({process, 1, "", 0});
      if (environment) {
        ASSERT_EQ(*environment, (Environment{{"FRUIT", "apple"}})) << round << " " << look;
      }
    }
    end(process);
  }
}

}  // namespace
}  // namespace macos
