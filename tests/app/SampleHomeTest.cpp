// SPDX-License-Identifier: MIT
//
// The sample home: what is committed is what its script makes, and a run carries it over.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "tests/app/WholeRun.h"

namespace vennick {
namespace {

namespace fs = std::filesystem;

class SampleHome : public WholeRunTest {
 protected:
  Outcome runProgram(std::vector<std::string> arguments) {
    Start program = start(quietBundle());
    program.executable = "/usr/bin/env";
    program.arguments = std::move(arguments);
    program.environment["PATH"] = getenv("PATH");
    program.environment["PYTHONUTF8"] = "1";
    return run(program);
  }
};

std::map<std::string, std::string> contentsOf(const fs::path& folder) {
  std::map<std::string, std::string> contents;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) contents[entry.path().lexically_relative(folder)] = readFile(entry.path());
  }
  return contents;
}

// The columns of a setting's line in the report; they stand at least two blanks apart.
std::vector<std::string> columnsFor(const std::string& setting, const std::string& report) {
  std::istringstream lines(report);
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with(setting + " ")) continue;
    std::vector<std::string> columns;
    for (std::size_t begin = 0; begin != std::string::npos;) {
      const std::size_t end = line.find("  ", begin);
      columns.push_back(line.substr(begin, end - begin));
      begin = line.find_first_not_of(' ', end);
    }
    return columns;
  }
  return {};
}

TEST_F(SampleHome, IsWhatItsScriptMakes) {
  const Outcome outcome = runProgram({"python3", VENNICK_SOURCE "/samples/make-home.py", root() / "made"});
  ASSERT_EQ(outcome.exitStatus, 0) << outcome.log;
  const auto committed = contentsOf(VENNICK_SOURCE "/samples/home");
  const auto made = contentsOf(root() / "made");
  EXPECT_FALSE(committed.empty());
  for (const auto& [name, content] : committed) {
    ASSERT_TRUE(made.contains(name)) << name;
    EXPECT_EQ(made.at(name), content) << name;
  }
  EXPECT_EQ(made.size(), committed.size());
}

TEST_F(SampleHome, ItsSettingsAreCarriedOver) {
  fs::remove_all(home());
  fs::copy(VENNICK_SOURCE "/samples/home", home(), fs::copy_options::recursive);
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(
      settings("openInTerminal,openInTerminalModifiers,switchToFinder,hotkeysInFinderOnly,"
               "hotkeysOutsideFileDialogs,menusShowIcons,menusHierarchical,menusShowParents,"
               "menusShowPreviews,menusShowDiskSpace,menusSortRecentByName,toolbarStyle,toolbarOnLeft,"
               "toolbarShowAttributesOnOpen,toolbarShowAttributesOnSave,historySize,finderClick,"
               "finderClickName,finderClickDesktop,finderClickShadow,finderClickModifiers,"
               "defaultToDocumentFolder,reboundSelection,createAliasesInLibrary,showItemsInPackages,"
               "SUEnableAutomaticChecks"),
      "openInTerminal=bool:True openInTerminalModifiers=int:1966080 switchToFinder=bool:False "
      "hotkeysInFinderOnly=bool:False hotkeysOutsideFileDialogs=bool:False menusShowIcons=bool:False "
      "menusHierarchical=bool:False menusShowParents=bool:False menusShowPreviews=bool:False "
      "menusShowDiskSpace=bool:True menusSortRecentByName=bool:True toolbarStyle=int:4 "
      "toolbarOnLeft=bool:True toolbarShowAttributesOnOpen=bool:False "
      "toolbarShowAttributesOnSave=bool:True historySize=int:25 finderClick=bool:True "
      "finderClickName=bool:False finderClickDesktop=bool:False finderClickShadow=bool:False "
      "finderClickModifiers=int:1179648 defaultToDocumentFolder=bool:False reboundSelection=bool:False "
      "createAliasesInLibrary=bool:True showItemsInPackages=bool:True SUEnableAutomaticChecks=bool:True");
}

// The report names every setting, with what it was and what it is.
TEST_F(SampleHome, TheReportShowsEverySetting) {
  fs::remove_all(home());
  fs::copy(VENNICK_SOURCE "/samples/home", home(), fs::copy_options::recursive);
  EXPECT_EQ(run().exitStatus, 0);
  const Outcome report = runProgram({VENNICK_BUILD "/tools/report"});
  EXPECT_EQ(report.exitStatus, 0);
  using Columns = std::vector<std::string>;
  EXPECT_EQ(columnsFor("historySize", report.log), (Columns{"historySize", "MaxRecentFolders: 25", "25"}));
  EXPECT_EQ(columnsFor("menusSortRecentByName", report.log),
            (Columns{"menusSortRecentByName", "MiscellaneousFlags, bit 2: set", "true"}));
  EXPECT_EQ(columnsFor("finderClickName", report.log),
            (Columns{"finderClickName", "FinderClickOptions, bit 4: clear", "false"}));
  const std::string settingsPart = report.log.substr(0, report.log.find("\n\n") + 1);
  EXPECT_EQ(std::count(settingsPart.begin(), settingsPart.end(), '\n'),
            1 + 25 + 1);  // heading, settings, automatic checks
}

// Its sets with favorites, default folders and hotkeys, and what is left out of them with the reason.
TEST_F(SampleHome, TheReportShowsEverySetAndWhatWasLeftOut) {
  fs::remove_all(home());
  fs::copy(VENNICK_SOURCE "/samples/home", home(), fs::copy_options::recursive);
  EXPECT_EQ(run().exitStatus, 0);
  const std::string report = runProgram({VENNICK_BUILD "/tools/report"}).log;
  EXPECT_EQ(report.substr(report.find("\nSet \"")), R"(
Set "Default Set": 2 favorites, 0 default folders

  Favorite   Hotkey  Location
  Desktop    -       /Users/anna/Desktop
  Documents  -       /Users/anna/Documents

Set "Größere Projekte", the current one: 4 favorites, 3 default folders

  Favorite         Hotkey  Location
  Brücke           ⌥⌘B     /Users/anna/Documents/Projekte/Brücke
  Größenvergleich  ⌃⌘1     /Users/anna/Documents/Projekte/Größenvergleich
  Invoices         ⇧⌘R     /Users/anna/Documents/Rechnungen
  Altes Projekt    -       (leads nowhere)

  Default folder of        Location
  every application        /Users/anna/Documents
  ledger-app               /Users/anna/Documents/Rechnungen/2023
  org.example.pixelstudio  /Users/anna/Pictures

  Left out                                                                         Why
  default folder of "Gone App"                                                     no such application is here
  recent 2, rebound 1, last open 1, last save 1, search history 2, search terms 1  version 5 begins these lists anew

Set "Standardset": 2 favorites, 0 default folders

  Favorite   Hotkey  Location
  Desktop    -       /Users/anna/Desktop
  Documents  -       /Users/anna/Documents

Set "privat": 6 favorites, 1 default folder

  Favorite             Hotkey  Location
  Reise 2019 (Málaga)  F5      /Users/anna/Pictures/Reise 2019 (Málaga)
  Scores               -       /Users/anna/Music/Scores
  Downloads            ⌘2      /Users/anna/Downloads
  Öffentlich           -       /Users/anna/Public
  Bilder               -       /Users/anna/Pictures
  Skripte              -       /Users/anna/Documents/Projekte

  Default folder of    Location
  org.example.inkwell  /Users/anna/Documents/Notes from Mia & Joe

  Left out                     Why
  favorite "Briefkasten"       "Öffentlich" is for the same place and took its place
  favorite "Musik"             its alias record is damaged: the checksum is another
  hotkey of favorite "Bilder"  its record is no hotkey
  set "Scripts"                version 5 keeps this name for itself; its entries went into "privat"
)");
}

TEST_F(SampleHome, BeforeARunTheReportShowsNothingForVersion5) {
  copySampleDomains();
  const Outcome report = runProgram({VENNICK_BUILD "/tools/report"});
  EXPECT_EQ(report.exitStatus, 0);
  EXPECT_EQ(columnsFor("historySize", report.log),
            (std::vector<std::string>{"historySize", "MaxRecentFolders: 25", "-"}));
  EXPECT_EQ(namesIn(preferences()).size(), 3U);
}

}  // namespace
}  // namespace vennick
