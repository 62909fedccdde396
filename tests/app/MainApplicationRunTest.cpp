// SPDX-License-Identifier: MIT
//
// Whole runs: the main application is ended and started again, as a real process.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <memory>
#include <thread>

#include "tests/app/WholeRun.h"

namespace vennick {
namespace {

namespace fs = std::filesystem;

class MainApplicationRun : public WholeRunTest {
 protected:
  // An application with the main application's identifier whose program is a shell script.
  fs::path installInstance(std::string_view bundleName, std::string_view script) {
    const fs::path bundle = root() / "Applications" / bundleName;
    writeFile(
        bundle / "Contents/Info.plist",
        "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>com.quorvale.Vennick5</string>"
        "<key>CFBundleExecutable</key><string>Vennick5</string></dict></plist>");
    const fs::path program = bundle / "Contents/MacOS/Vennick5";
    writeFile(program, "#!/bin/sh\n" + std::string(script));
    fs::permissions(program, fs::perms(0755));
    return program;
  }

  // Starts an instance and waits until it is ready for a quit request.
  std::unique_ptr<StartedProcess> startInstance(const fs::path& program) {
    Start instance = start(stagedBundle());
    instance.executable = program;
    const fs::path log = program.string() + ".log";
    auto process = std::make_unique<StartedProcess>(instance, log);
    for (int i = 0; i < 500 && readFile(log).find("ready") == std::string::npos; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return process;
  }

  fs::path newInstance() const { return stagedBundle() / "Contents/MacOS/Vennick5"; }

  // After a run: one new instance, which was told that the preferences were imported.
  void expectOneNewInstance() {
    ASSERT_TRUE(waitForProcesses(newInstance(), 1));
    const pid_t process = processesRunning(newInstance()).front();
    const std::string expected = "process " + std::to_string(process) + ", VK_PREFS_IMPORT_COMPLETED=YES\n";
    const fs::path log = home() / "Library/Logs/Vennick5.log";
    for (int i = 0; i < 500 && readFile(log).find(expected) == std::string::npos; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_NE(readFile(log).find(expected), std::string::npos) << readFile(log);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(processesRunning(newInstance()), std::vector<pid_t>{process});
  }
};

constexpr std::string_view kQuitsAtOnce = "trap 'exit 0' TERM\necho ready\nwhile :; do sleep 0.02; done\n";
constexpr std::string_view kQuitsAfterTwoSeconds =
    "trap 'sleep 2; exit 0' TERM\necho ready\nwhile :; do sleep 0.02; done\n";
constexpr std::string_view kIgnoresTheRequest =
    "trap 'echo asked' TERM\necho ready\nwhile :; do sleep 0.02; done\n";

// A run that waits for a request that nobody answers takes longer than this. How long a run waits for the
// rest is measured with a clock that a busy machine does not disturb, where the steps are tested.
constexpr double kFullWait = 5.0;

TEST_F(MainApplicationRun, StartedWhileNoMainApplicationRunsItNeitherWaitsNorFails) {
  const Outcome outcome = run(start(stagedBundle()));
  EXPECT_EQ(outcome.exitStatus, 0) << outcome.log;
  EXPECT_LT(outcome.seconds, kFullWait);
  expectOneNewInstance();
}

TEST_F(MainApplicationRun, AnInstanceThatQuitsAtOnceIsWaitedForOneStep) {
  auto instance = startInstance(installInstance("Vennick 5.app", kQuitsAtOnce));
  const Outcome outcome = run(start(stagedBundle()));
  EXPECT_EQ(outcome.exitStatus, 0) << outcome.log;
  EXPECT_LT(outcome.seconds, kFullWait);
  EXPECT_FALSE(instance->isRunning());
  EXPECT_EQ(instance->wait().exitStatus, 0);
  expectOneNewInstance();
}

TEST_F(MainApplicationRun, AnInstanceThatQuitsAfterTwoSecondsIsWaitedFor) {
  auto instance = startInstance(installInstance("Vennick 5.app", kQuitsAfterTwoSeconds));
  const Outcome outcome = run(start(stagedBundle()));
  EXPECT_EQ(outcome.exitStatus, 0) << outcome.log;
  EXPECT_GE(outcome.seconds, 2.0);
  EXPECT_LT(outcome.seconds, kFullWait);
  EXPECT_FALSE(instance->isRunning());
  expectOneNewInstance();
}

TEST_F(MainApplicationRun, AnInstanceThatIgnoresTheRequestIsAskedOnceAndNeverKilled) {
  const fs::path program = installInstance("Vennick 5.app", kIgnoresTheRequest);
  auto instance = startInstance(program);
  const Outcome outcome = run(start(stagedBundle()));
  EXPECT_EQ(outcome.exitStatus, 0) << outcome.log;
  EXPECT_GE(outcome.seconds, kFullWait);
  EXPECT_LT(outcome.seconds, 2 * kFullWait);
  EXPECT_TRUE(instance->isRunning());
  EXPECT_EQ(readFile(program.string() + ".log"), "ready\nasked\n");
  EXPECT_EQ(settings("historySize"), "historySize=int:10");
  expectOneNewInstance();
}

TEST_F(MainApplicationRun, TwoInstancesAreBothEnded) {
  auto first = startInstance(installInstance("Vennick 5.app", kQuitsAtOnce));
  auto second = startInstance(installInstance("Vennick 5 copy.app", kQuitsAtOnce));
  EXPECT_EQ(run(start(stagedBundle())).exitStatus, 0);
  EXPECT_FALSE(first->isRunning());
  EXPECT_FALSE(second->isRunning());
  expectOneNewInstance();
}

TEST_F(MainApplicationRun, AnInstanceThatEndedAndWasNotReapedCountsAsEnded) {
  auto instance = startInstance(installInstance("Vennick 5.app", kQuitsAtOnce));
  kill(instance->processID(), SIGKILL);
  while (instance->isRunning()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  const Outcome outcome = run(start(stagedBundle()));
  EXPECT_LT(outcome.seconds, kFullWait);
  expectOneNewInstance();
}

TEST_F(MainApplicationRun, ASecondRunEndsTheInstanceThatTheFirstStarted) {
  EXPECT_EQ(run(start(stagedBundle())).exitStatus, 0);
  expectOneNewInstance();
  const pid_t first = processesRunning(newInstance()).front();
  EXPECT_EQ(run(start(stagedBundle())).exitStatus, 0);
  expectOneNewInstance();
  EXPECT_NE(processesRunning(newInstance()).front(), first);
}

TEST_F(MainApplicationRun, TheNewInstanceGetsTheMigratorsEnvironmentWithAnOlderValueReplaced) {
  Start migrator = start(stagedBundle());
  migrator.environment["VK_PREFS_IMPORT_COMPLETED"] = "NO";
  migrator.environment["SOMETHING_ELSE"] = "kept";
  EXPECT_EQ(run(migrator).exitStatus, 0);
  expectOneNewInstance();
  const std::string environment =
      '\0' + readFile("/proc/" + std::to_string(processesRunning(newInstance()).front()) + "/environ");
  using namespace std::string_literals;
  EXPECT_NE(environment.find("\0VK_PREFS_IMPORT_COMPLETED=YES\0"s), std::string::npos);
  EXPECT_EQ(environment.find("\0VK_PREFS_IMPORT_COMPLETED=NO\0"s), std::string::npos);
  EXPECT_NE(environment.find("\0SOMETHING_ELSE=kept\0"s), std::string::npos);
  EXPECT_NE(environment.find("\0HOME=/Users/anna\0"s), std::string::npos);
}

// It works in "/", from where a relative root would lead elsewhere.
TEST_F(MainApplicationRun, TheNewInstanceIsToldTheWholeOfARelativeRoot) {
  Start migrator = start(stagedBundle());
  migrator.environment["MACOS_ROOT"] = root().filename();
  migrator.arguments = {"-c", "cd '" + root().parent_path().string() + "' && exec \"$0\"",
                        migrator.executable.string()};
  migrator.executable = "/bin/sh";
  EXPECT_EQ(run(migrator).exitStatus, 0);
  expectOneNewInstance();
}

// What an application saves when it quits is there before anything is read.
TEST_F(MainApplicationRun, WhatTheInstanceWritesWhenItQuitsIsCarriedOverAndKept) {
  const std::string script = "trap 'cp " + root().string() + "/late/* " + preferences().string() +
                             "; exit 0' TERM\necho ready\nwhile :; do sleep 0.02; done\n";
  writeSettings("<key>MaxRecentFolders</key><integer>12</integer>");
  writeDomain(kNewDomain, "<dict><key>theirOwn</key><string>from the quitting one</string></dict>");
  fs::create_directories(root() / "late");
  for (const std::string_view domain : {kMainDomain, kNewDomain}) {
    fs::rename(domainFile(domain), root() / "late" / domainFile(domain).filename());
  }
  auto instance = startInstance(installInstance("Vennick 5.app", script));
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_FALSE(instance->isRunning());
  EXPECT_EQ(settings("historySize,theirOwn"), "historySize=int:12 theirOwn=str:from the quitting one");
}

// It copies, as it begins, what it finds.
TEST_F(MainApplicationRun, TheNewInstanceFindsEverythingSaved) {
  copySampleDomains();
  writeDomain(kPaneDomain, "<dict><key>SUEnableAutomaticChecks</key><true/></dict>");
  const fs::path bundle = root() / "Applications/Vennick 5.app";
  fs::create_directories(bundle.parent_path());
  fs::copy(quietBundle(), bundle, fs::copy_options::recursive);
  const fs::path found = root() / "found";
  const fs::path store = home() / "Library/Application Support/com.quorvale.Vennick5";
  installInstance("Vennick 5.app", "cp '" + domainFile(kNewDomain).string() + "' '" + found.string() +
                                       ".plist'\ncp -R '" + store.string() + "' '" + found.string() +
                                       ".part' && mv '" + found.string() + ".part' '" + found.string() +
                                       "'\n");
  EXPECT_EQ(run(start(bundle)).exitStatus, 0);
  for (int i = 0; i < 1000 && !fs::exists(found); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_EQ(readFile(found.string() + ".plist"), readFile(domainFile(kNewDomain)));
  std::size_t files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(store)) {
    if (!entry.is_regular_file()) continue;
    ++files;
    EXPECT_EQ(readFile(found / entry.path().lexically_relative(store)), readFile(entry.path()))
        << entry.path();
  }
  EXPECT_GE(files, 4U + 9U);
}

TEST_F(MainApplicationRun, ALaunchThatFailsIsNotReported) {
  const Outcome outcome = run(start(quietBundle()));
  EXPECT_EQ(outcome.exitStatus, 0);
  EXPECT_TRUE(outcome.log.ends_with("Converting 0 folder set(s)\n")) << outcome.log;
}

TEST_F(MainApplicationRun, AMigratorThatLiesInTheRootStartsTheApplicationAroundIt) {
  const fs::path bundle = root() / "Applications/Vennick 5.app";
  fs::create_directories(bundle.parent_path());
  fs::copy(stagedBundle(), bundle, fs::copy_options::recursive);
  EXPECT_EQ(run(start(bundle)).exitStatus, 0);
  EXPECT_TRUE(waitForProcesses(bundle / "Contents/MacOS/Vennick5", 1));
}

// The two wait for the same old instance, and only one of them may start a new one for good.
TEST_F(MainApplicationRun, TwoRunsForOneHomeDoNotInterleave) {
  copySampleDomains();
  auto instance = startInstance(installInstance("Vennick 5.app", kQuitsAfterTwoSeconds));
  StartedProcess first(start(stagedBundle()), root() / "first.log");
  StartedProcess second(start(stagedBundle()), root() / "second.log");
  EXPECT_EQ(first.wait().exitStatus, 0);
  EXPECT_EQ(second.wait().exitStatus, 0);
  expectOneNewInstance();
  EXPECT_EQ(settings("historySize"), "historySize=int:25");
}

// ---- Started from unusual places

class UnusualPlaceRun : public WholeRunTest {
 protected:
  // The migrator's bundle in a folder two levels below another.
  fs::path installMigratorBelow(const fs::path& folder) {
    const fs::path migrator = folder / "a/b/VennickMigrator.app";
    fs::create_directories(migrator.parent_path());
    fs::copy(quietBundle() / "Contents/Helpers/VennickMigrator.app", migrator, fs::copy_options::recursive);
    return migrator / "Contents/MacOS/VennickMigrator";
  }

  Outcome runMigratorBelow(const fs::path& folder) {
    Start migrator = start(quietBundle());
    migrator.executable = installMigratorBelow(folder);
    return run(migrator);
  }
};

TEST_F(UnusualPlaceRun, WhateverLiesThreeComponentsUpIsTheMainApplication) {
  const fs::path folder = root() / "Elsewhere";
  writeFile(folder / "Contents/Info.plist",
            "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>org.example.elsewhere</string>"
            "</dict></plist>");
  EXPECT_EQ(runMigratorBelow(folder).exitStatus, 0);
  EXPECT_EQ(namesIn(preferences()), std::vector<std::string>{"org.example.elsewhere.plist"});
  EXPECT_EQ(shownBySettingsReader("historySize", {domainFile("org.example.elsewhere")}),
            std::vector<std::string>{"historySize=int:10"});
}

TEST_F(UnusualPlaceRun, AStoreBundleWithoutAnIdentifierUsesTheMainApplicationsDomain) {
  EXPECT_EQ(runMigratorBelow(root() / "Elsewhere").exitStatus, 0);
  EXPECT_EQ(settings("historySize"), "historySize=int:10");
}

TEST_F(UnusualPlaceRun, AnIdentifierThatLeadsOutOfTheFolderUsesTheMainApplicationsDomain) {
  for (const std::string identifier : {"../../evil", "/evil", "..", "NSGlobalDomain"}) {
    const fs::path folder = root() / "Elsewhere";
    fs::remove_all(folder);
    fs::remove(domainFile(kNewDomain));
    writeFile(folder / "Contents/Info.plist",
              "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" + identifier +
                  "</string></dict></plist>");
    EXPECT_EQ(runMigratorBelow(folder).exitStatus, 0);
    EXPECT_EQ(settings("historySize"), "historySize=int:10") << identifier;
    EXPECT_EQ(namesIn(preferences()), std::vector<std::string>{"com.quorvale.Vennick5.plist"}) << identifier;
    EXPECT_EQ(namesIn(home()), std::vector<std::string>{"Library"}) << identifier;
  }
}

TEST_F(UnusualPlaceRun, TheTopOfTheDiskIsAPlaceToo) {
  Start migrator = start(quietBundle());
  migrator.executable = root() / "VennickMigrator";
  fs::copy_file(migratorIn(quietBundle()), migrator.executable);
  EXPECT_EQ(run(migrator).exitStatus, 0);
}

}  // namespace
}  // namespace vennick
