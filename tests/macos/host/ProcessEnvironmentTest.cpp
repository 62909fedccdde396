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

// An instance with these variables and no others: its program may not have begun yet.
class Spawned {
 public:
  explicit Spawned(std::vector<const char*> environment) {
    environment.push_back(nullptr);
    const char* const arguments[] = {VENNICK_TEST_INSTANCE, "never", nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    EXPECT_EQ(posix_spawn(&process_, VENNICK_TEST_INSTANCE, &actions, nullptr, const_cast<char**>(arguments),
                          const_cast<char**>(environment.data())),
              0);
    posix_spawn_file_actions_destroy(&actions);
  }
  ~Spawned() {
    end();
    waitpid(process_, nullptr, 0);
  }
  Spawned(const Spawned&) = delete;
  Spawned& operator=(const Spawned&) = delete;

  ProcessInfo info() const { return {process_, 1, "", 0}; }
  // It is gone then, but was not reaped.
  void end() const {
    kill(process_, SIGKILL);
    siginfo_t ended{};
    waitid(P_PID, static_cast<id_t>(process_), &ended, WEXITED | WNOWAIT);
  }
  void askToEnd() const { kill(process_, SIGKILL); }

 private:
  pid_t process_ = -1;
};

// As soon as it can be told.
std::optional<Environment> environmentOf(PosixProcessTable& table, const Spawned& process) {
  std::optional<Environment> environment;
  for (int look = 0; look < 5000 && !environment; ++look) {
    environment = table.environment(process.info());
    if (!environment) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return environment;
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
  const Spawned process({"FRUIT=apple", "FRUIT=pear", "no variable", "=nor this"});
  EXPECT_EQ(environmentOf(table, process), (Environment{{"FRUIT", "apple"}}));
}

TEST(ProcessEnvironment, MayBeEmpty) {
  PosixProcessTable table(nullptr);
  EXPECT_EQ(environmentOf(table, Spawned({})), Environment());
}

TEST(ProcessEnvironment, AProcessThatHasEndedHasNone) {
  PosixProcessTable table(nullptr);
  EXPECT_EQ(table.environment({0x7FFFFFFE, 1, "", 0}), std::nullopt);
  const Spawned notReaped({"FRUIT=apple"});
  notReaped.end();
  EXPECT_EQ(table.environment(notReaped.info()), std::nullopt);
}

// While a program is being loaded the process has no environment yet: it must not be taken for one that was
// started without any. The other end of its life is alike.
TEST(ProcessEnvironment, IsNeverSeenEmptyWhenItIsNot) {
  PosixProcessTable table(nullptr);
  for (int round = 0; round < 100; ++round) {
    const Spawned process({"FRUIT=apple"});
    for (int look = 0; look < 200; ++look) {
      if (look == 100) process.askToEnd();
      const auto environment = table.environment(process.info());
      if (environment) {
        ASSERT_EQ(*environment, (Environment{{"FRUIT", "apple"}})) << round << " " << look;
      }
    }
  }
}

}  // namespace
}  // namespace macos
