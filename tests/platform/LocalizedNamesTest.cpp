// SPDX-License-Identifier: MIT
#include "platform/LocalizedNames.h"

#include <gtest/gtest.h>

#include <chrono>
#include <utility>

#include "platform/FileQueries.h"
#include "platform/LanguageMonitor.h"
#include "tests/support/BundleSketch.h"
#include "tests/support/TestHost.h"

namespace vennick {
namespace {

using macos::NSLocale;
using tests::makeBundle;
using tests::setLanguages;
using tests::TemporaryRoot;
using tests::TestHost;
using Strings = std::vector<std::string>;

const std::string kBundle = "/Applications/Test.app";
const std::string kTool = kBundle + "/Contents/Resources/displayNameTool";

// A machine whose system is German and whose application is English, with a tool that writes down what it
// was called with and does as the script says.
struct Machine {
  explicit Machine(const std::string& script, const std::string& bundle = kBundle) {
    root = std::make_shared<TemporaryRoot>();
    const std::string executable = makeBundle(*root, bundle, "Test");
    root->makeFolder(bundle + "/Contents/Resources/en.lproj");
    setLanguages(*root, {"en"});
    root->makeExecutable("/bin/defaults", "#!/bin/sh\n[ $3 = AppleLocale ] && echo de_DE\n");
    if (!script.empty()) {
      root->makeExecutable(bundle + "/Contents/Resources/displayNameTool",
                           "#!/bin/sh\nfor word; do printf '[%s]' \"$word\"; done >> '" + root->path() +
                               "/calls'\necho >> '" + root->path() + "/calls'\n" + script);
    }
    host.emplace(tests::TestHostOptions{
        .root = root, .executable = executable, .toolFolders = {root->hostPath("/bin")}});
  }

  std::string calls() const { return root->exists("/calls") ? root->readFile("/calls") : ""; }

  std::shared_ptr<TemporaryRoot> root;
  std::optional<TestHost> host;
};

TEST(LocalizedNames, ComeFromTheSystemsTable) {
  TestHost host;
  host.root().writeFile(
      "/System/Library/CoreServices/SystemFolderLocalizations/en.lproj/SystemFolderLocalizations.strings",
      "\"Documents\" = \"Documents\"; \"Archive\" = \"Archive\";");
  EXPECT_EQ(localizedNames(), (Strings{"Archive", "Documents"}));
}

TEST(LocalizedNames, AreAListOf32WhereTheSystemHasNoTable) {
  const Strings expected = {"Library",        "Movies",
                            "Shared Items",   "Sites",
                            "Utilities",      "Pictures",
                            "Network",        "Drop Box",
                            "System",         "Mail Downloads",
                            "Shared",         "My Applications",
                            "Desktop",        "Compositions",
                            "Groups",         "Music",
                            "Servers",        "Faxes",
                            "Web Receipts",   "Local",
                            "Deleted Users",  "My Network",
                            "Users",          "Applications",
                            "Public",         "Incompatible Software",
                            "Saved Searches", "Server",
                            "Favorites",      "Guest",
                            "Documents",      "Downloads"};
  {
    TestHost host;
    EXPECT_EQ(localizedNames(), expected);
  }
  TestHost host;
  host.root().writeFile(
      "/System/Library/CoreServices/SystemFolderLocalizations/en.lproj/SystemFolderLocalizations.strings",
      "\"a\" = ");
  EXPECT_EQ(localizedNames(), expected) << "one that cannot be read is none";
}

TEST(LocalizedNames, TheToolIsCalledWithTheEscapedPathAlone) {
  const Machine machine("printf Dokumente");
  EXPECT_EQ(displayNameAtPathInLocale("/Users/anna/Docu ments!", std::nullopt), "Dokumente");
  EXPECT_EQ(machine.calls(), "[%2FUsers%2Fanna%2FDocu%20ments%21]\n");
}

TEST(LocalizedNames, ALocaleIsHandedToTheToolAsLanguageListAndIdentifier) {
  const Machine machine("printf Papiers");
  EXPECT_EQ(displayNameAtPathInLocale("/x", NSLocale("fr_CA")), "Papiers");
  EXPECT_EQ(machine.calls(), "[%2Fx][-AppleLanguages][(fr)][-AppleLocale][fr_CA]\n");
}

TEST(LocalizedNames, NothingThatTheToolPrintsIsTrimmed) {
  const Machine machine("printf ' Dokumente\\n'");
  EXPECT_EQ(displayNameAtPathInLocale("/x", std::nullopt), " Dokumente\n");
}

TEST(LocalizedNames, AnAnswerIsRememberedByLanguageAndPath) {
  const Machine machine("printf Name");
  EXPECT_EQ(displayNameAtPathInLocale("/x", std::nullopt), "Name");
  EXPECT_EQ(displayNameAtPathInLocale("/x", std::nullopt), "Name");
  EXPECT_EQ(displayNameAtPathInLocale("/x", NSLocale("de_AT")), "Name") << "the system's language is German";
  EXPECT_EQ(machine.calls(), "[%2Fx]\n");
  EXPECT_EQ(displayNameAtPathInLocale("/x", NSLocale("fr")), "Name");
  EXPECT_EQ(displayNameAtPathInLocale("/y", std::nullopt), "Name");
  EXPECT_EQ(machine.calls(), "[%2Fx]\n[%2Fx][-AppleLanguages][(fr)][-AppleLocale][fr]\n[%2Fy]\n");
}

TEST(LocalizedNames, TheRememberedAnswersSurviveAChangeOfLanguage) {
  Machine machine("printf Name");
  EXPECT_EQ(displayNameAtPathInLocale("/x", std::nullopt), "Name");
  machine.root->makeExecutable("/bin/defaults", "#!/bin/sh\n[ $3 = AppleLocale ] && echo sv_SE\n");
  QVLanguageMonitor::sharedMonitor().languageChanged();
  EXPECT_EQ(displayNameAtPathInLocale("/x", std::nullopt), "Name")
      << "looked up afresh, since the key has another language";
  EXPECT_EQ(displayNameAtPathInLocale("/x", NSLocale("de")), "Name");
  EXPECT_EQ(machine.calls(), "[%2Fx]\n[%2Fx]\n");
}

TEST(LocalizedNames, TheToolPrintingNothingIsLoggedOnceAndTheFileManagersNameRemembered) {
  Machine machine("exit 0");
  machine.root->writeFile("/a:b", "");
  EXPECT_EQ(displayNameAtPathInLocale("/a:b", std::nullopt), "a/b");
  EXPECT_EQ(displayNameAtPathInLocale("/a:b", std::nullopt), "a/b");
  EXPECT_EQ(machine.host->log().messages(), Strings{"displayNameTool error: no output"});
  EXPECT_EQ(machine.calls(), "[%2Fa%3Ab]\n");
}

TEST(LocalizedNames, AnErrorOfTheToolIsLoggedAsItStands) {
  Machine machine("printf 'displayNameTool error: bad path'");
  EXPECT_EQ(displayNameAtPathInLocale("/Users/anna", std::nullopt), "anna");
  EXPECT_EQ(machine.host->log().messages(), Strings{"displayNameTool error: bad path"});
}

TEST(LocalizedNames, WithoutAToolTheFileManagerAnswersAndNothingIsRemembered) {
  Machine machine("");
  EXPECT_EQ(displayNameAtPathInLocale("/a:b", std::nullopt), "a:b");
  machine.root->writeFile("/a:b", "");
  EXPECT_EQ(displayNameAtPathInLocale("/a:b", std::nullopt), "a/b");
  EXPECT_TRUE(machine.host->log().messages().empty());
}

TEST(LocalizedNames, AToolThatHangsOrFloodsCountsAsNoOutput) {
  const std::pair<const char*, const char*> cases[] = {
      {"sleep 60", "took too long and was ended"},
      {"while :; do echo xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx; done", "printed too much and was ended"},
      {"head -c 65537 /dev/zero | tr '\\0' x", "printed too much and was ended"}};
  for (const auto& [script, what] : cases) {
    Machine machine(script);
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(displayNameAtPathInLocale("/Users/anna", std::nullopt), "anna");
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(30))
        << "two seconds are given";
    const std::string command = "'" + machine.root->hostPath(kTool) + "' '%2FUsers%2Fanna'";
    EXPECT_EQ(machine.host->log().messages(),
              (Strings{command + ": " + what, "displayNameTool error: no output"}));
    EXPECT_EQ(displayNameAtPathInLocale("/Users/anna", std::nullopt), "anna");
    EXPECT_EQ(machine.calls(), "[%2FUsers%2Fanna]\n");
  }
}

TEST(LocalizedNames, AnAnswerOf64KiBIsTakenWhole) {
  Machine machine("head -c 65536 /dev/zero | tr '\\0' x");
  EXPECT_EQ(displayNameAtPathInLocale("/x", std::nullopt), std::string(65536, 'x'));
  EXPECT_EQ(machine.host->log().messages(), Strings{});
}

TEST(LocalizedNames, AnApostropheInTheToolsPathStaysInOneWord) {
  const Machine machine("printf Name", "/Applications/Anna's $(touch x) App.app");
  EXPECT_EQ(displayNameAtPathInLocale("/it's", std::nullopt), "Name");
  EXPECT_EQ(machine.calls(), "[%2Fit%27s]\n");
}

TEST(LocalizedNames, AStandardFolderIsShownInTheSystemsLanguageWhenTheApplicationsDiffers) {
  const Machine machine("printf Dokumente");
  machine.root->makeFolder("/Users/anna/Documents");
  machine.root->makeFolder("/Users/anna/Other");
  EXPECT_EQ(displayName("/Users/anna/Documents"), "Dokumente");
  EXPECT_EQ(displayName("/Users/anna/Other"), "Other");
  EXPECT_EQ(displayName(macos::NSURL::fileURLWithPath("/Users/anna/Documents")), "Dokumente");
  EXPECT_EQ(machine.calls(), "[%2FUsers%2Fanna%2FDocuments]\n");
}

TEST(LocalizedNames, TheToolIsNotAskedWhenBothLanguagesAreTheSame) {
  Machine machine("printf Dokumente");
  machine.root->makeExecutable("/bin/defaults", "#!/bin/sh\necho en_GB\n");
  EXPECT_EQ(displayName("/Users/anna/Documents"), "Documents");
  EXPECT_EQ(machine.calls(), "");
}

TEST(LocalizedNames, AThreeLetterLanguageAlwaysDiffersFromTheSystems) {
  // Deliberate: the application's code is cut to two letters, the system's is not.
  Machine machine("printf Mga");
  machine.root->makeFolder(kBundle + "/Contents/Resources/fil.lproj");
  setLanguages(*machine.root, {"fil"});
  machine.root->makeExecutable("/bin/defaults", "#!/bin/sh\necho fil_PH\n");
  EXPECT_EQ(displayName("/Users/anna/Documents"), "Mga");
}

}  // namespace
}  // namespace vennick
