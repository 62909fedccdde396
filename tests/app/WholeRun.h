// SPDX-License-Identifier: MIT
//
// A Mac in a temporary folder, and whole runs of the real migrator on the home in it. Everything is done
// from outside, with files and processes, and shares no code with the migrator.
#ifndef TESTS_APP_WHOLERUN_H
#define TESTS_APP_WHOLERUN_H

#include <gtest/gtest.h>
#include <sys/types.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/TemporaryRoot.h"

namespace vennick {

inline constexpr std::string_view kMainDomain = "com.quorvale.Vennick";
inline constexpr std::string_view kSettingsDomain = "com.quorvale.Vennick.settings";
inline constexpr std::string_view kFavoritesDomain = "com.quorvale.Vennick.favorites";
inline constexpr std::string_view kNewDomain = "com.quorvale.Vennick5";
inline constexpr std::string_view kPaneDomain = "com.quorvale.prefPane.Vennick";

// A folder of its own for as long as it lives, which every user may enter.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// How a run went.
struct Outcome {
  int exitStatus = -1;  // -1 when a signal ended it
  std::string log;
  double seconds = 0;           // on the wall
  double processorSeconds = 0;  // user and system
  long peakKilobytes = 0;
};

// A program to start, and how.
struct Start {
  std::filesystem::path executable;
  std::vector<std::string> arguments;
  // The whole environment; MACOS_ROOT and HOME are set by WholeRunTest.
  std::map<std::string, std::string> environment;
  // For the superuser: the user to become first.
  std::optional<uid_t> user;
};

// A process of the test's own that is going on.
class StartedProcess {
 public:
  StartedProcess(const Start& start, std::filesystem::path log);
  ~StartedProcess();  // ends it when it still runs
  StartedProcess(const StartedProcess&) = delete;
  StartedProcess& operator=(const StartedProcess&) = delete;

  pid_t processID() const { return processID_; }
  bool isRunning();
  Outcome wait();

 private:
  pid_t processID_ = -1;
  std::filesystem::path log_;
  double started_ = 0;
  bool isReaped_ = false;
};

class WholeRunTest : public testing::Test {
 protected:
  WholeRunTest();
  ~WholeRunTest() override;

  const tests::TemporaryRoot& mac() const { return root_; }
  std::filesystem::path root() const { return root_.path(); }
  std::filesystem::path home() const { return root() / "Users/anna"; }
  std::filesystem::path preferences() const { return home() / "Library/Preferences"; }
  std::filesystem::path domainFile(std::string_view domain) const;

  // A property list in XML around the content, "<dict>…</dict>".
  void writeDomain(std::string_view domain, std::string_view xmlContent);
  // The main domain with this inside the <dict> of its settings.
  void writeSettings(std::string_view xmlEntries);
  // The three domains of the sample home.
  void copySampleDomains();

  // The staged bundle, whose main application is the sample one.
  static std::filesystem::path stagedBundle();
  // A copy of it in a temporary folder, without a main application, so that a run leaves no process.
  static std::filesystem::path quietBundle();
  static std::filesystem::path migratorIn(const std::filesystem::path& bundle);

  // What starts the migrator of a bundle for the home.
  Start start(const std::filesystem::path& bundle) const;
  Outcome run(const Start& start);
  // Of the bundle without a main application.
  Outcome run() { return run(start(quietBundle())); }

  // The keys in a version 5 domain file as Python's plistlib reads them: "openInTerminal=bool:True …",
  // in the order of the keys asked for; one line for each file.
  static std::vector<std::string> shownBySettingsReader(std::string_view keys,
                                                        const std::vector<std::filesystem::path>& files);
  std::string settings(std::string_view keys) const;

  // The processes of this root whose program or script is the file at the path.
  std::vector<pid_t> processesRunning(const std::filesystem::path& program) const;
  // Waits until there are so many of them, 10 seconds at most.
  bool waitForProcesses(const std::filesystem::path& program, std::size_t count) const;

 private:
  tests::TemporaryRoot root_;
  int logs_ = 0;
};

std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, std::string_view content);
// The names in a folder, sorted.
std::vector<std::string> namesIn(const std::filesystem::path& folder);

}  // namespace vennick

#endif  // TESTS_APP_WHOLERUN_H
