// SPDX-License-Identifier: MIT
//
// Locks between threads and between real processes.
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "tests/macos/host/FileSystemFixture.h"
#include "tests/support/ChildProcess.h"

namespace macos {
namespace {

using vennick::tests::ChildResult;
using vennick::tests::expectInChild;
using vennick::tests::runInChild;
using Names = std::vector<std::string>;

class FileLocks : public FileSystemTest {
 protected:
  void SetUp() override {
    FileSystemTest::SetUp();
    root.makeFolder("/Users/anna/d");
  }
  std::string d(const std::string& name) const { return anna("d/" + name); }
  Names names() const { return root.names("/Users/anna/d"); }
};
INSTANTIATE_TEST_SUITE_P(Ways, FileLocks, everyWay(), nameOfWay);

TEST_P(FileLocks, LeaveNothingBehindWhenTheyAreGivenBack) {
  {
    const auto lock = files.lock(d("domain.plist"));
    ASSERT_TRUE(lock.ok());
    EXPECT_EQ(names(), Names{".domain.plist.lock"});
  }
  EXPECT_EQ(names(), Names{});
}

TEST_P(FileLocks, KeepAnotherProcessWaiting) {
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  // The holder is the child: a lock that we held would be passed on to a child of ours.
  const pid_t holder = ::fork();
  if (holder == 0) {
    const auto lock = files.lock(d("x"));
    if (::write(ready[1], "!", 1) != 1) ::_exit(1);
    ::usleep(200'000);
    const bool isFirst = lock.ok() && files.create(d("first"), "", 0644).ok();
    ::_exit(isFirst && names() == (Names{".x.lock", "first"}) ? 0 : 1);
  }
  char byte = 0;
  ASSERT_EQ(::read(ready[0], &byte, 1), 1);
  const auto lock = files.lock(d("x"));
  ASSERT_TRUE(lock.ok());
  EXPECT_TRUE(root.exists("/Users/anna/d/first"));
  int status = 0;
  ASSERT_EQ(::waitpid(holder, &status, 0), holder);
  EXPECT_EQ(status, 0);
  ::close(ready[0]);
  ::close(ready[1]);
}

TEST_P(FileLocks, AreGoneWithAProcessThatCrashes) {
  const ChildResult result = runInChild([&] {
    const auto lock = files.lock(d("x"));
    ASSERT_TRUE(lock.ok());
    ::kill(::getpid(), SIGKILL);
  });
  EXPECT_EQ(result.signal, SIGKILL);
  EXPECT_EQ(names(), Names{".x.lock"});
  // In a child, since it would wait for ever if the lock had stayed.
  expectInChild([&] { EXPECT_TRUE(files.lock(d("x")).ok()); });
  EXPECT_EQ(names(), Names{});
}

TEST_P(FileLocks, LetOneThreadInAtATime) {
  constexpr int kThreads = 8;
  constexpr int kTimes = 50;
  int counter = 0;
  std::atomic<int> inside{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int j = 0; j < kTimes; ++j) {
        const auto lock = files.lock(d("x"));
        ASSERT_TRUE(lock.ok());
        EXPECT_EQ(inside.fetch_add(1), 0);
        ++counter;
        inside.fetch_sub(1);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counter, kThreads * kTimes);
  EXPECT_EQ(names(), Names{});
}

TEST_P(FileLocks, LetOneProcessInAtATime) {
  root.writeFile("/Users/anna/d/counter", "0");
  constexpr int kProcesses = 4;
  constexpr int kTimes = 25;
  std::vector<pid_t> children;
  for (int i = 0; i < kProcesses; ++i) {
    const pid_t child = ::fork();
    if (child == 0) {
      for (int j = 0; j < kTimes; ++j) {
        const auto lock = files.lock(d("counter"));
        const int count = std::stoi(files.read(d("counter")).valueOr("-1000"));
        if (!lock.ok() || !files.replace(d("counter"), std::to_string(count + 1), 0644).ok()) ::_exit(1);
      }
      ::_exit(0);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(root.readFile("/Users/anna/d/counter"), std::to_string(kProcesses * kTimes));
  EXPECT_EQ(names(), Names{"counter"});
}

TEST_P(FileLocks, OfDifferentItemsDoNotMeet) {
  const std::string name(255, 'n');
  std::string similar = name;
  similar.back() = 'm';
  expectInChild([&] {
    const auto one = files.lock(d("a"));
    const auto two = files.lock(d("b"));
    const auto three = files.lock(d(name));
    const auto four = files.lock(d(similar));
    EXPECT_TRUE(one.ok() && two.ok() && three.ok() && four.ok());
    EXPECT_EQ(names().size(), 4U);
  });
}

TEST_P(FileLocks, OfAFolderAreTheSameWithAndWithoutASlash) {
  root.makeFolder("/Users/anna/d/folder");
  const auto lock = files.lock(d("folder/"));
  EXPECT_TRUE(lock.ok());
  EXPECT_EQ(names(), (Names{".folder.lock", "folder"}));
}

TEST_P(FileLocks, DoNotFollowALinkInTheirPlace) {
  root.writeFile("/Users/anna/d/victim", "untouched");
  root.makeLink("/Users/anna/d/.x.lock", "victim");
  EXPECT_FALSE(files.lock(d("x")).ok());
  EXPECT_TRUE(files.lock(d("none/x")).status().isNotFound());
  EXPECT_FALSE(files.lock(d(".")).ok());
  EXPECT_EQ(root.readFile("/Users/anna/d/victim"), "untouched");
}

}  // namespace
}  // namespace macos
