// SPDX-License-Identifier: MIT
#include "macos/appkit/Workspace.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "tests/support/Instance.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::Instance;
using vennick::tests::makeApplication;
using vennick::tests::Quits;
using vennick::tests::TemporaryRoot;
using vennick::tests::TestHost;
using vennick::tests::TestHostOptions;

constexpr std::string_view kOpenedIdentifier = "com.example.WorkspaceTest";
const std::string kOpened = "/Applications/Main.app";

NSURL urlOf(const std::string& path) { return NSURL::fileURLWithPathIsDirectory(path, true); }

Dictionary environment(const Dictionary& entries) {
  Dictionary configuration;
  configuration.set(NSWorkspaceLaunchConfigurationEnvironment, Value(entries));
  return configuration;
}

Result<NSRunningApplication> launch(const NSURL& url, const Dictionary& configuration = {}) {
  return NSWorkspace::sharedWorkspace().launchApplicationAtURL(url, NSWorkspaceLaunchWithoutActivation,
                                                               configuration);
}

// Ends what a test launched.
class Launched {
 public:
  explicit Launched(const NSURL& url, const Dictionary& configuration = {})
      : result(launch(url, configuration)) {}
  ~Launched() {
    if (result.ok()) kill(result->processIdentifier(), SIGKILL);
  }
  Launched(const Launched&) = delete;
  Launched& operator=(const Launched&) = delete;

  std::optional<std::string> variable(const std::string& name) const {
    auto& processes = Host::current().processes();
    const auto environment = processes.environment(*processes.process(result->processIdentifier()));
    const auto found = environment->find(name);
    return found == environment->end() ? std::nullopt : std::optional(found->second);
  }

  const Result<NSRunningApplication> result;
};

TEST(Workspace, StartsTheExecutableOfTheBundle) {
  TestHost host;
  const std::string executable = makeApplication(host.root(), kOpened, kOpenedIdentifier);
  const Launched launched(urlOf(kOpened));
  ASSERT_TRUE(launched.result.ok());
  EXPECT_EQ(launched.result->bundleIdentifier(), kOpenedIdentifier);
  EXPECT_EQ(host.host().processes().process(launched.result->processIdentifier())->executable, executable);
}

TEST(Workspace, TheEnvironmentIsOursWithTheConfigurationsEntriesOverIt) {
  TestHostOptions options;
  options.environment = {{"OURS", "kept"}, {"VK_PREFS_IMPORT_COMPLETED", "old"}};
  TestHost host(options);
  makeApplication(host.root(), kOpened, kOpenedIdentifier);
  const Launched launched(urlOf(kOpened), environment({{"VK_PREFS_IMPORT_COMPLETED", Value("YES")}}));
  ASSERT_TRUE(launched.result.ok());
  EXPECT_EQ(launched.variable("VK_PREFS_IMPORT_COMPLETED"), "YES");
  EXPECT_EQ(launched.variable("OURS"), "kept");
  EXPECT_EQ(launched.variable("MACOS_ROOT"), host.root().path());
}

TEST(Workspace, EntriesThatAreNoTextsAreLeftOut) {
  TestHost host;
  makeApplication(host.root(), kOpened, kOpenedIdentifier);
  const Launched launched(urlOf(kOpened), environment({{"NUMBER", Value(1)}, {"TEXT", Value("1")}}));
  ASSERT_TRUE(launched.result.ok());
  EXPECT_EQ(launched.variable("NUMBER"), std::nullopt);
  EXPECT_EQ(launched.variable("TEXT"), "1");
}

TEST(Workspace, AlwaysStartsANewProcess) {
  TestHost host;
  const Instance old(makeApplication(host.root(), kOpened, kOpenedIdentifier), Quits::Never);
  const Launched first(urlOf(kOpened));
  const Launched second(urlOf(kOpened));
  ASSERT_TRUE(first.result.ok() && second.result.ok());
  EXPECT_EQ(NSRunningApplication::runningApplicationsWithBundleIdentifier(kOpenedIdentifier).size(), 3U);
}

TEST(Workspace, TheProcessIsDetached) {
  TestHost host;
  makeApplication(host.root(), kOpened, kOpenedIdentifier);
  const Launched launched(urlOf(kOpened));
  ASSERT_TRUE(launched.result.ok());
  EXPECT_NE(host.host().processes().process(launched.result->processIdentifier())->parentID, getpid());
  EXPECT_NE(getsid(launched.result->processIdentifier()), getsid(0));
}

TEST(Workspace, LaunchesABundleOutsideTheRootByItsHostPath) {
  const TemporaryRoot outside;
  const std::string executable = makeApplication(outside, kOpened, kOpenedIdentifier);
  TestHostOptions options;
  options.executable =
      makeApplication(outside, kOpened + "/Contents/Helpers/Helper.app", "com.example.helper");
  TestHost host(options);
  const Launched launched(urlOf(outside.hostPath(kOpened)));
  ASSERT_TRUE(launched.result.ok());
  EXPECT_EQ(host.host().processes().process(launched.result->processIdentifier())->executable, executable);
}

TEST(Workspace, AnythingThatCannotBeStartedIsAnError) {
  TestHost host;
  EXPECT_EQ(launch(urlOf("/Applications/Missing.app")).status().code(), ErrorCode::NotFound);
  host.root().makeFolder("/Applications/Empty.app/Contents/MacOS");
  EXPECT_EQ(launch(urlOf("/Applications/Empty.app")).status().code(), ErrorCode::NotFound);
  host.root().writeFile("/Applications/Text.app/Contents/MacOS/Text", "not executable");
  EXPECT_EQ(launch(urlOf("/Applications/Text.app")).status().code(), ErrorCode::PermissionDenied);
  host.root().makeExecutable("/Applications/Other.app/Contents/MacOS/Other", "of another kind of machine");
  EXPECT_FALSE(launch(urlOf("/Applications/Other.app")).ok());
}

}  // namespace
}  // namespace macos
