// SPDX-License-Identifier: MIT
#include "macos/host/Host.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <future>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::expectInChild;
using vennick::tests::TestHost;

std::vector<std::string>& events() {
  static std::vector<std::string> list;
  return list;
}

struct First {
  First() { events().emplace_back("first made"); }
  ~First() { events().emplace_back("first gone"); }
  int value = 0;
};

struct Second {
  Second() { hostLocal<First>().value = 2; }
  // The host that it hangs on is still the current one, and what it was made of is still there.
  ~Second() { events().push_back("second gone, first has " + std::to_string(hostLocal<First>().value)); }
};

TEST(Host, KeepsOneLocalOfEachType) {
  TestHost host;
  hostLocal<First>().value = 5;
  EXPECT_EQ(hostLocal<First>().value, 5);
  EXPECT_EQ(&hostLocal<First>(), &hostLocal<First>());
}

TEST(Host, DestroysItsLocalsInReverseOrderOfMaking) {
  events().clear();
  {
    TestHost host;
    hostLocal<Second>();
  }
  EXPECT_EQ(events(), (std::vector<std::string>{"first made", "second gone, first has 2", "first gone"}));
}

TEST(Host, GivesEveryHostItsOwnLocals) {
  TestHost outer;
  hostLocal<First>().value = 1;
  {
    TestHost inner;
    EXPECT_EQ(hostLocal<First>().value, 0);
    hostLocal<First>().value = 9;
  }
  EXPECT_EQ(hostLocal<First>().value, 1);
}

TEST(ScopedHost, RestoresTheOneBefore) {
  TestHost outer;
  {
    TestHost inner;
    EXPECT_EQ(&Host::current(), &inner.host());
  }
  EXPECT_EQ(&Host::current(), &outer.host());
}

TEST(ScopedHost, IsSeenByOtherThreads) {
  TestHost host;
  const Host* seen = nullptr;
  std::thread([&] { seen = &Host::current(); }).join();
  EXPECT_EQ(seen, &host.host());
}

TEST(ThreadHost, KeepsTheHostOfLateWorkAndTouchesNoOther) {
  std::thread late;
  std::weak_ptr<Host> watched;
  std::promise<void> mayGoOn;
  bool foundItsOwn = false;
  {
    TestHost host;
    host.root().writeFile("/Users/anna/x", "content");
    watched = host.shared();
    hostLocal<First>().value = 42;
    late = std::thread([&, kept = host.shared(), begin = mayGoOn.get_future()]() mutable {
      const ThreadHost mine(std::move(kept));
      begin.wait();
      // The root is gone by now, and that is all: the host and its locals are still there.
      foundItsOwn = hostLocal<First>().value == 42 &&
                    Host::current().files().info("/Users/anna/x", FollowLinks::Yes).status().isNotFound();
    });
  }
  TestHost next;
  EXPECT_FALSE(watched.expired());
  mayGoOn.set_value();
  late.join();
  EXPECT_TRUE(foundItsOwn);
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(hostLocal<First>().value, 0);
}

TEST(Host, LetsManyThreadsAskForOneLocal) {
  TestHost host;
  std::vector<std::thread> threads;
  std::vector<First*> seen(8);
  events().clear();
  for (std::size_t i = 0; i < seen.size(); ++i) {
    threads.emplace_back([&seen, i] { seen[i] = &hostLocal<First>(); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const First* one : seen) EXPECT_EQ(one, seen[0]);
  EXPECT_EQ(events(), std::vector<std::string>{"first made"});
}

// The environment of the process is read in a child, so that the test's own stays as it is.
void expectHome(const char* home, const std::string& expected) {
  expectInChild([&] {
    if (home == nullptr) {
      ::unsetenv("HOME");
    } else {
      ::setenv("HOME", home, 1);
    }
    EXPECT_EQ(posixHostParts().home, expected) << (home == nullptr ? "unset" : home);
  });
}

std::string homeOfThisUser() {
  const passwd* entry = ::getpwuid(::getuid());
  return entry == nullptr ? "/" : entry->pw_dir;
}

TEST(PosixHost, TakesTheHomeFromTheEnvironment) {
  expectHome("/Users/anna", "/Users/anna");
  expectHome("/Users/anna///", "/Users/anna");
  expectHome("/", "/");
  expectHome("///", "/");
  expectHome("/there/is/no/such/home", "/there/is/no/such/home");
}

TEST(PosixHost, TakesTheHomeFromThePasswordDatabaseWhenItIsUnsetOrRelative) {
  expectHome(nullptr, homeOfThisUser());
  expectHome("", homeOfThisUser());
  expectHome("Users/anna", homeOfThisUser());
}

TEST(PosixHost, UsesTheTopWhenThePasswordDatabaseHasNoHome) {
  if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can be a user without an entry";
  expectInChild([] {
    ::unsetenv("HOME");
    ASSERT_EQ(::setuid(54321), 0);
    ASSERT_EQ(::getpwuid(54321), nullptr);
    EXPECT_EQ(posixHostParts().home, "/");
  });
}

TEST(PosixHost, LooksFilesUpInTheRootOfTheEnvironment) {
  vennick::tests::TemporaryRoot root;
  root.writeFile("/Users/anna/note", "inside");
  expectInChild([&] {
    ::setenv("MACOS_ROOT", root.path().c_str(), 1);
    ::setenv("HOME", "/Users/anna", 1);
    Host& host = Host::current();
    EXPECT_EQ(host.files().read(host.home() + "/note").valueOr(""), "inside");
    EXPECT_EQ(host.environment().at("MACOS_ROOT"), root.path());
    EXPECT_EQ(host.volumes().volumes().front().name, "Macintosh HD");
    EXPECT_EQ(host.executable(), std::filesystem::read_symlink("/proc/self/exe").string());
  });
}

// So that what is started by this process, and with that environment, is known to be of the same home.
TEST(PosixHost, PutsTheHomeThatStandsForARelativeOneIntoTheEnvironment) {
  expectInChild([] {
    for (const char* const home : {"", "Users/anna"}) {
      ::setenv("HOME", home, 1);
      EXPECT_EQ(posixHostParts().environment.at("HOME"), homeOfThisUser());
    }
    ::setenv("HOME", "/Users/anna/", 1);
    EXPECT_EQ(posixHostParts().environment.at("HOME"), "/Users/anna/");
    ::unsetenv("HOME");
    EXPECT_FALSE(posixHostParts().environment.contains("HOME"));
  });
}

// Whoever is started by this process works in another folder.
TEST(PosixHost, PutsTheWholeOfARelativeRootIntoTheEnvironment) {
  const vennick::tests::TemporaryRoot root;
  expectInChild([&] {
    const std::filesystem::path path = root.path();
    std::filesystem::current_path(path.parent_path());
    ::setenv("MACOS_ROOT", path.filename().c_str(), 1);
    EXPECT_EQ(posixHostParts().environment.at("MACOS_ROOT"), path);
    ::setenv("MACOS_ROOT", "there/is/no/such/root", 1);
    EXPECT_EQ(posixHostParts().environment.at("MACOS_ROOT"), "there/is/no/such/root");
  });
}

TEST(PosixHost, FindsNothingInARootThatIsNotThere) {
  expectInChild([] {
    ::setenv("MACOS_ROOT", "/there/is/no/such/root", 1);
    Host& host = Host::current();
    EXPECT_TRUE(host.files().info("/", FollowLinks::Yes).status().isNotFound());
    EXPECT_TRUE(host.files().list("/").status().isNotFound());
    EXPECT_TRUE(host.files().read("/etc/passwd").status().isNotFound());
    EXPECT_TRUE(host.files().realPath("/etc").status().isNotFound());
    EXPECT_TRUE(host.files().makeFolder("/x", 0755).isNotFound());
    EXPECT_TRUE(host.files().replace("/x", "y", 0644).isNotFound());
    EXPECT_FALSE(host.files().hostPath("/"));
    EXPECT_FALSE(host.files().pathInRoot("/etc"));
    EXPECT_EQ(host.volumes().volumeForPath("/x").mountPoint, "/");
  });
}

TEST(PosixHost, UsesTheMachinesOwnRootByDefault) {
  expectInChild([] {
    ::unsetenv("MACOS_ROOT");
    Host& host = Host::current();
    EXPECT_TRUE(host.files().info("/proc/self", FollowLinks::Yes).ok());
    EXPECT_EQ(host.files().hostPath("/proc"), "/proc");
  });
}

TEST(PosixHost, OutlivesABrokenPipe) {
  expectInChild([] {
    Host& host = Host::current();
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ::close(ends[0]);
    const int saved = ::dup(STDERR_FILENO);
    ::dup2(ends[1], STDERR_FILENO);
    host.log().writeLine("nobody reads this");
    ::dup2(saved, STDERR_FILENO);
  });
}

}  // namespace
}  // namespace macos
