// SPDX-License-Identifier: MIT
//
// Whole runs over homes that are damaged, hostile or out of reach. Every one ends with status 0, leaves
// the version 4 files as they are, carries over what can be read, and says in the log what went wrong.
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <sstream>

#include "tests/app/WholeRun.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Python.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/TemporaryMount.h"

namespace vennick {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSomeKeys =
    "openInTerminal,openInTerminalModifiers,toolbarStyle,finderClickModifiers,menusShowDiskSpace,historySize";
constexpr std::string_view kDefaults =
    "openInTerminal=bool:False openInTerminalModifiers=int:1048576 toolbarStyle=int:1 "
    "finderClickModifiers=int:0 menusShowDiskSpace=bool:False historySize=int:10";
// What the sample home's main and settings domains hold. They agree in everything but the history's size.
const std::string kSample =
    "openInTerminal=bool:True openInTerminalModifiers=int:1966080 toolbarStyle=int:4 "
    "finderClickModifiers=int:1179648 menusShowDiskSpace=bool:True historySize=int:";
const std::string kFromSettingsDomain = kSample + "33";
const std::string kFromMainDomain = kSample + "25";

std::vector<fs::path> filesIn(const fs::path& folder) {
  std::vector<fs::path> paths;
  for (const std::string& name : namesIn(folder)) paths.push_back(folder / name);
  return paths;
}

// Bad files of every kind for each of the three domains, and good ones, made once.
class BadDomains {
 public:
  BadDomains() {
    Start maker = {.executable = tests::kPython,
                   .arguments = {"-S", VENNICK_SOURCE "/tests/app/make_bad_domains.py",
                                 VENNICK_SOURCE "/samples/home/Library/Preferences", folder_.path(), "2026"},
                   .environment = {{"PATH", getenv("PATH")}, {"PYTHONUTF8", "1"}},
                   .user = std::nullopt};
    StartedProcess process(maker, folder_.path() / "log");
    const Outcome made = process.wait();
    if (made.exitStatus != 0) ADD_FAILURE() << made.log;
  }

  const fs::path& folder() const { return folder_.path(); }

 private:
  TemporaryFolder folder_;
};

class BadDomainRun : public WholeRunTest, public testing::WithParamInterface<std::string_view> {
 protected:
  static void SetUpTestSuite() { badDomains_ = std::make_unique<BadDomains>(); }
  static void TearDownTestSuite() { badDomains_.reset(); }

  std::vector<fs::path> files(std::string_view kind) const {
    return filesIn(badDomains_->folder() / GetParam() / kind);
  }

  // Those of the damaged files that are tried. Under the sanitizers, where a run takes several times as long,
  // each domain gets another third, so that every kind of damage is read once; the other builds try all.
  std::vector<fs::path> damagedFiles() const {
    const std::vector<fs::path> all = files("damaged");
    EXPECT_GE(all.size(), 60U);
#ifdef VENNICK_SANITIZED
    const std::size_t first = GetParam() == kMainDomain ? 0 : GetParam() == kSettingsDomain ? 1 : 2;
    std::vector<fs::path> some;
    for (std::size_t i = first; i < all.size(); i += 3) some.push_back(all[i]);
    return some;
#else
    return all;
#endif
  }

  // What arrives when the domain cannot be read.
  static std::string expectedWithoutTheDomain() {
    return GetParam() == kSettingsDomain ? kFromMainDomain : kFromSettingsDomain;
  }

  // Makes the file the domain of an otherwise good home and runs the migrator.
  Outcome runWith(const fs::path& badFile) {
    fs::remove_all(preferences());
    fs::create_directories(preferences());
    for (const fs::path& good : filesIn(badDomains_->folder() / "good")) {
      fs::copy_file(good, preferences() / good.filename());
    }
    fs::remove(domainFile(GetParam()));
    fs::create_hard_link(badFile, domainFile(GetParam()));
    const auto modified = fs::last_write_time(badFile);
    const Outcome outcome = run();
    EXPECT_EQ(outcome.exitStatus, 0) << badFile << outcome.log;
    EXPECT_TRUE(fs::equivalent(badFile, domainFile(GetParam()))) << badFile;
    EXPECT_EQ(fs::last_write_time(badFile), modified) << badFile;
    EXPECT_EQ(
        namesIn(preferences()),
        (std::vector<std::string>{"com.quorvale.Vennick.favorites.plist", "com.quorvale.Vennick.plist",
                                  "com.quorvale.Vennick.settings.plist", "com.quorvale.Vennick5.plist"}))
        << badFile;
    return outcome;
  }

  // Puts the result of a run aside, to be looked at with the others.
  void keepResult(const fs::path& badFile) {
    results_.push_back(root() / "results" / badFile.filename());
    fs::create_directories(results_.back().parent_path());
    fs::copy_file(domainFile(kNewDomain), results_.back());
  }

  std::vector<std::string> shownResults() const { return shownBySettingsReader(kSomeKeys, results_); }

  // The number of lines that name the domain's file.
  static long complaints(const Outcome& outcome) {
    const std::string path = "/Users/anna/Library/Preferences/" + std::string(GetParam()) + ".plist: ";
    std::istringstream log(outcome.log);
    long count = 0;
    for (std::string line; std::getline(log, line);) count += line.find(path) != std::string::npos ? 1 : 0;
    return count;
  }

 private:
  static inline std::unique_ptr<BadDomains> badDomains_;
  std::vector<fs::path> results_;
};

INSTANTIATE_TEST_SUITE_P(EachDomain, BadDomainRun,
                         testing::Values(kMainDomain, kSettingsDomain, kFavoritesDomain),
                         [](const auto& information) {
                           return information.param == kMainDomain       ? "Main"
                                  : information.param == kSettingsDomain ? "Settings"
                                                                         : "Favorites";
                         });

TEST_P(BadDomainRun, ADamagedDomainReadsAsEmptyAndIsLoggedOnceWithItsPath) {
  for (const fs::path& file : damagedFiles()) {
    const Outcome outcome = runWith(file);
    EXPECT_EQ(complaints(outcome), 1) << file << "\n" << outcome.log;
    keepResult(file);
  }
  for (const std::string& result : shownResults()) EXPECT_EQ(result, expectedWithoutTheDomain());
}

TEST_P(BadDomainRun, AnUnusualDomainIsReadAsItIs) {
  for (const fs::path& file : files("readable")) {
    const Outcome outcome = runWith(file);
    EXPECT_EQ(complaints(outcome), 0) << file << "\n" << outcome.log;
    keepResult(file);
  }
  for (const std::string& result : shownResults()) EXPECT_EQ(result, kFromSettingsDomain);
}

TEST_P(BadDomainRun, WhatOnlyLooksLikeAPropertyListCarriesNothingOver) {
  for (const fs::path& file : files("either")) {
    const Outcome outcome = runWith(file);
    EXPECT_EQ(outcome.log.find("root:"), std::string::npos) << "a file was read through an entity";
    EXPECT_LT(outcome.log.size(), 10'000U) << file;
    keepResult(file);
  }
  for (const std::string& result : shownResults()) EXPECT_EQ(result, expectedWithoutTheDomain());
}

// What the file adds to the cost of a run that goes without it: the least of several runs, since the
// machine's other programs add to one's time.
TEST_P(BadDomainRun, SharedReferencesThatStandFor2To40ObjectsCostNothing) {
  const fs::path file = files("either").back();
  ASSERT_EQ(file.filename(), "shared-references");
  const fs::path empty = root() / "empty";
  std::ofstream(empty).flush();
#ifdef VENNICK_SANITIZED
  // The sanitizers' own memory and time are not the subject.
  runWith(file);
  runWith(empty);
#else
  double with = 1e9, without = 1e9;
  for (int i = 0; i < 5; ++i) {
    const Outcome outcome = runWith(file);
    with = std::min(with, outcome.processorSeconds);
    without = std::min(without, runWith(empty).processorSeconds);
    EXPECT_LT(outcome.peakKilobytes, 64 * 1024);
  }
  EXPECT_LT(with - without, 0.05);
#endif
}

// ---- Files and folders that cannot be reached

class BadInputRun : public WholeRunTest {
 protected:
  // The permissions of files do not bind the superuser, so that these runs are another user's.
  Start startAsOrdinaryUser() {
    Start migrator = start(quietBundle());
    if (geteuid() == 0) {
      migrator.user = tests::kOrdinaryUser;
      mac().giveTo(tests::kOrdinaryUser);
    }
    return migrator;
  }

  void expectOnlyTheSampleDomains() const {
    const fs::path sample = VENNICK_SOURCE "/samples/home/Library/Preferences";
    const std::vector<std::string> names = {"com.quorvale.Vennick.favorites.plist",
                                            "com.quorvale.Vennick.plist",
                                            "com.quorvale.Vennick.settings.plist"};
    EXPECT_EQ(namesIn(preferences()), names);
    for (const std::string& name : names) {
      EXPECT_EQ(readFile(preferences() / name), readFile(sample / name)) << name;
    }
  }

  static void expectLogNames(const Outcome& outcome, std::string_view path) {
    EXPECT_NE(outcome.log.find(path), std::string::npos) << "log: " << outcome.log;
  }
};

TEST_F(BadInputRun, EmptyFilesReadAsEmptyDomains) {
  for (const std::string_view domain : {kMainDomain, kSettingsDomain, kFavoritesDomain}) {
    writeFile(domainFile(domain), "");
  }
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings(kSomeKeys), kDefaults);
  for (const std::string_view domain : {kMainDomain, kSettingsDomain, kFavoritesDomain}) {
    EXPECT_EQ(readFile(domainFile(domain)), "");
  }
}

TEST_F(BadInputRun, AFileWithoutPermissionIsNamedAndTheRestGoesOn) {
  copySampleDomains();
  fs::permissions(domainFile(kSettingsDomain), fs::perms(0));
  const Outcome outcome = run(startAsOrdinaryUser());
  EXPECT_EQ(outcome.exitStatus, 0);
  expectLogNames(outcome, "com.quorvale.Vennick.settings.plist: Permission denied");
  EXPECT_EQ(settings(kSomeKeys), kFromMainDomain);
}

TEST_F(BadInputRun, APreferencesFolderWithoutPermissionIsNamed) {
  copySampleDomains();
  Start migrator = startAsOrdinaryUser();
  fs::permissions(preferences(), fs::perms(0));
  const Outcome outcome = run(migrator);
  fs::permissions(preferences(), fs::perms(0700));
  EXPECT_EQ(outcome.exitStatus, 0);
  expectLogNames(outcome, "/Users/anna/Library/Preferences");
  expectLogNames(outcome, "Permission denied");
  EXPECT_EQ(namesIn(preferences()),
            (std::vector<std::string>{"com.quorvale.Vennick.favorites.plist", "com.quorvale.Vennick.plist",
                                      "com.quorvale.Vennick.settings.plist"}));
}

TEST_F(BadInputRun, APreferencesFolderThatCannotBeWrittenIsNamed) {
  copySampleDomains();
  Start migrator = startAsOrdinaryUser();
  fs::permissions(preferences(), fs::perms(0500));
  const Outcome outcome = run(migrator);
  fs::permissions(preferences(), fs::perms(0700));
  EXPECT_EQ(outcome.exitStatus, 0);
  expectLogNames(outcome, "/Users/anna/Library/Preferences/");
  expectLogNames(outcome, "Permission denied");
}

TEST_F(BadInputRun, ALoopOfLinksInAFilesPlaceIsNamed) {
  copySampleDomains();
  fs::remove(domainFile(kSettingsDomain));
  fs::create_symlink(domainFile(kSettingsDomain).filename(), domainFile(kSettingsDomain));
  const Outcome outcome = run();
  EXPECT_EQ(outcome.exitStatus, 0);
  EXPECT_EQ(settings(kSomeKeys), kFromMainDomain);
  EXPECT_TRUE(fs::is_symlink(domainFile(kSettingsDomain)));
}

TEST_F(BadInputRun, AFolderOrAPipeInAFilesPlaceIsNoFile) {
  copySampleDomains();
  fs::remove(domainFile(kSettingsDomain));
  fs::create_directory(domainFile(kSettingsDomain));
  fs::remove(domainFile(kFavoritesDomain));
  ASSERT_EQ(mkfifo(domainFile(kFavoritesDomain).c_str(), 0600), 0);
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings(kSomeKeys), kFromMainDomain);
}

TEST_F(BadInputRun, WithoutAPreferencesFolderItIsMade) {
  fs::remove_all(home() / "Library");
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(namesIn(preferences()), std::vector<std::string>{"com.quorvale.Vennick5.plist"});
  EXPECT_EQ(settings(kSomeKeys), kDefaults);
}

TEST_F(BadInputRun, AnUnsetHomeIsTheOneOfTheUserDatabase) {
  const fs::path databaseHome = root() / fs::path(getpwuid(geteuid())->pw_dir).relative_path();
  fs::create_directories(databaseHome);
  fs::copy(home() / "Library", databaseHome / "Library", fs::copy_options::recursive);
  Start migrator = start(quietBundle());
  migrator.environment.erase("HOME");
  EXPECT_EQ(run(migrator).exitStatus, 0);
  EXPECT_TRUE(fs::exists(databaseHome / "Library/Preferences/com.quorvale.Vennick5.plist"));
  EXPECT_TRUE(namesIn(preferences()).empty());
}

TEST_F(BadInputRun, ARelativeHomeCountsAsUnset) {
  const fs::path databaseHome = root() / fs::path(getpwuid(geteuid())->pw_dir).relative_path();
  fs::create_directories(databaseHome);
  Start migrator = start(quietBundle());
  migrator.environment["HOME"] = "Users/anna";
  EXPECT_EQ(run(migrator).exitStatus, 0);
  EXPECT_TRUE(fs::exists(databaseHome / "Library/Preferences/com.quorvale.Vennick5.plist"));
  EXPECT_TRUE(namesIn(preferences()).empty());
}

TEST_F(BadInputRun, AHomeThatIsNotThereIsNamedAndNotMade) {
  Start migrator = start(quietBundle());
  migrator.environment["HOME"] = "/Users/nobody";
  const Outcome outcome = run(migrator);
  EXPECT_EQ(outcome.exitStatus, 0);
  expectLogNames(outcome, "/Users/nobody/Library");
  EXPECT_FALSE(fs::exists(root() / "Users/nobody"));
}

TEST_F(BadInputRun, OnAFullDiskTheReasonIsLoggedAndNothingIsLost) {
  const auto disk = tests::TemporaryMount::volume(mac(), "/Users", 256 * 1024);
  if (!disk) GTEST_SKIP() << "no volume can be mounted here";
  fs::create_directories(preferences());
  copySampleDomains();
  std::ofstream filler(root() / "Users/filler", std::ios::binary);
  while (filler.write(std::string(4096, 'x').data(), 4096).flush()) {
  }
  const Outcome outcome = run();
  EXPECT_EQ(outcome.exitStatus, 0) << outcome.log;
  expectLogNames(outcome,
                 "/Users/anna/Library/Preferences/com.quorvale.Vennick5.plist: No space left on device");
  expectOnlyTheSampleDomains();
}

// The same without a disk of its own: no file can be written at all.
TEST_F(BadInputRun, WhenNoFileCanBeWrittenTheReasonIsLoggedAndNothingIsLost) {
  copySampleDomains();
  Start limited = start(quietBundle());
  limited.executable = "/bin/bash";
  limited.arguments = {"-c", "set -o pipefail; { trap '' XFSZ; ulimit -f 0; exec \"$0\"; } 2>&1 | cat",
                       migratorIn(quietBundle()).string()};
  const Outcome outcome = run(limited);
  EXPECT_EQ(outcome.exitStatus, 0) << outcome.log;
  expectLogNames(outcome, "/Users/anna/Library/Preferences/com.quorvale.Vennick5.plist: File too large");
  expectOnlyTheSampleDomains();
}

}  // namespace
}  // namespace vennick
