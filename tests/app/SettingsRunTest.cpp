// SPDX-License-Identifier: MIT
//
// Whole runs: the settings as they arrive in the version 5 domain.
#include <gtest/gtest.h>

#include "tests/app/WholeRun.h"

namespace vennick {
namespace {

using SettingsRun = WholeRunTest;

constexpr std::string_view kAllKeys =
    "openInTerminal,openInTerminalModifiers,switchToFinder,hotkeysInFinderOnly,hotkeysOutsideFileDialogs,"
    "menusShowIcons,menusHierarchical,menusShowParents,menusShowPreviews,menusShowDiskSpace,"
    "menusSortRecentByName,toolbarStyle,toolbarOnLeft,toolbarShowAttributesOnOpen,"
    "toolbarShowAttributesOnSave,historySize,finderClick,finderClickName,finderClickDesktop,"
    "finderClickShadow,finderClickModifiers,defaultToDocumentFolder,reboundSelection,createAliasesInLibrary,"
    "showItemsInPackages";

// What a home without version 4 settings ends with.
constexpr std::string_view kBuiltInDefaults =
    "openInTerminal=bool:False openInTerminalModifiers=int:1048576 switchToFinder=bool:True "
    "hotkeysInFinderOnly=bool:True hotkeysOutsideFileDialogs=bool:True menusShowIcons=bool:True "
    "menusHierarchical=bool:True menusShowParents=bool:False menusShowPreviews=bool:True "
    "menusShowDiskSpace=bool:False menusSortRecentByName=bool:False toolbarStyle=int:1 "
    "toolbarOnLeft=bool:False toolbarShowAttributesOnOpen=bool:True toolbarShowAttributesOnSave=bool:True "
    "historySize=int:10 finderClick=bool:True finderClickName=bool:True finderClickDesktop=bool:False "
    "finderClickShadow=bool:True finderClickModifiers=int:0 defaultToDocumentFolder=bool:True "
    "reboundSelection=bool:True createAliasesInLibrary=bool:False showItemsInPackages=bool:False";

std::string integerEntry(std::string_view key, std::int64_t value) {
  return "<key>" + std::string(key) + "</key><integer>" + std::to_string(value) + "</integer>";
}

TEST_F(SettingsRun, WithNoLegacyPreferencesAtAllEveryKeyHasTheValueOfAnAbsentOne) {
  const Outcome outcome = run();
  EXPECT_EQ(outcome.exitStatus, 0) << outcome.log;
  EXPECT_EQ(settings(kAllKeys), kBuiltInDefaults);
  EXPECT_EQ(namesIn(preferences()), std::vector<std::string>{"com.quorvale.Vennick5.plist"});
}

TEST_F(SettingsRun, WithAnEmptySettingsDictionaryEveryRowYieldsItsDefault) {
  writeSettings("");
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings(kAllKeys), kBuiltInDefaults);
}

// Every row, with values that are not the default's.
TEST_F(SettingsRun, EveryRowArrivesWithItsKindAndValue) {
  struct Row {
    std::string key;
    std::string legacyKey;
    std::int64_t stored;
    std::string expected;
  };
  const std::vector<Row> rows = {
      {"openInTerminal", "OpenInTerminal", 1, "bool:True"},
      {"openInTerminalModifiers", "OpenInTerminalKey", 0x0200, "int:131072"},
      {"switchToFinder", "DisableSwitchToFinder", 1, "bool:False"},
      {"hotkeysInFinderOnly", "MiscellaneousFlags", 16, "bool:False"},
      {"hotkeysInFinderOnly", "MiscellaneousFlags", ~std::int64_t{16}, "bool:True"},
      {"hotkeysOutsideFileDialogs", "MiscellaneousFlags", 8, "bool:True"},
      {"hotkeysOutsideFileDialogs", "MiscellaneousFlags", ~std::int64_t{8}, "bool:False"},
      {"menusShowIcons", "ShowMenuIcons", 0, "bool:False"},
      {"menusHierarchical", "MiscellaneousFlags", 64, "bool:True"},
      {"menusHierarchical", "MiscellaneousFlags", ~std::int64_t{64}, "bool:False"},
      {"menusShowParents", "MiscellaneousFlags", 8192, "bool:False"},
      {"menusShowParents", "MiscellaneousFlags", ~std::int64_t{8192}, "bool:True"},
      {"menusShowPreviews", "ShowPreviewsInMenus", 0, "bool:False"},
      {"menusShowDiskSpace", "ShowDiskSpace", 1, "bool:True"},
      {"menusSortRecentByName", "MiscellaneousFlags", 2, "bool:True"},
      {"menusSortRecentByName", "MiscellaneousFlags", ~std::int64_t{2}, "bool:False"},
      {"toolbarStyle", "AnchorLocation", 4, "int:4"},
      {"toolbarOnLeft", "ToolbarOnLeft", 1, "bool:True"},
      {"toolbarShowAttributesOnOpen", "SpotlightOptions", 4, "bool:True"},
      {"toolbarShowAttributesOnOpen", "SpotlightOptions", 1, "bool:False"},
      {"toolbarShowAttributesOnSave", "SpotlightOptions", 1, "bool:True"},
      {"toolbarShowAttributesOnSave", "SpotlightOptions", 4, "bool:False"},
      {"historySize", "MaxRecentFolders", 25, "int:25"},
      {"historySize", "MaxRecentFolders", -7, "int:-7"},
      {"finderClick", "FinderClickOptions", 16, "bool:False"},
      {"finderClick", "FinderClickOptions", 17, "bool:True"},
      {"finderClickName", "FinderClickOptions", 16, "bool:False"},
      {"finderClickName", "FinderClickOptions", 20, "bool:True"},
      {"finderClickDesktop", "FinderClickOptions", 16, "bool:True"},
      {"finderClickDesktop", "FinderClickOptions", 48, "bool:False"},
      {"finderClickShadow", "FinderClickOptions", 16, "bool:False"},
      {"finderClickShadow", "FinderClickOptions", 18, "bool:True"},
      {"defaultToDocumentFolder", "MiscellaneousFlags", 2048, "bool:True"},
      {"defaultToDocumentFolder", "MiscellaneousFlags", ~std::int64_t{2048}, "bool:False"},
      {"reboundSelection", "ReboundToLastSelection", 0, "bool:False"},
      {"createAliasesInLibrary", "DoFolderSynchronization", 1, "bool:True"},
      {"showItemsInPackages", "AddRecentFoldersWithinPackages", 1, "bool:True"},
  };
  std::vector<std::filesystem::path> results;
  for (const Row& row : rows) {
    writeSettings(integerEntry("PrefsVersion", 2) + integerEntry(row.legacyKey, row.stored));
    EXPECT_EQ(run().exitStatus, 0);
    results.push_back(root() / ("result-" + std::to_string(results.size())));
    std::filesystem::copy_file(domainFile(kNewDomain), results.back());
  }
  const std::vector<std::string> shown = shownBySettingsReader(kAllKeys, results);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const std::string expected = " " + rows[i].key + "=" + rows[i].expected + " ";
    EXPECT_NE((" " + shown[i] + " ").find(expected), std::string::npos)
        << rows[i].legacyKey << " " << rows[i].stored << ": " << shown[i];
  }
}

TEST_F(SettingsRun, AllFourModifiersAreTranslated) {
  writeSettings(integerEntry("OpenInTerminalKey", 0x1B00) + integerEntry("FinderClickOptions", 16) +
                integerEntry("FinderClickKey", 0x1300));
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("openInTerminalModifiers"), "openInTerminalModifiers=int:" + std::to_string(0x1E0000));
  EXPECT_EQ(settings("finderClickModifiers"), "finderClickModifiers=int:" + std::to_string(0x160000));
}

TEST_F(SettingsRun, CapsLockAloneYieldsNoModifiers) {
  writeSettings(integerEntry("OpenInTerminalKey", 0x0400));
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("openInTerminalModifiers"), "openInTerminalModifiers=int:0");
}

TEST_F(SettingsRun, AnchorLocation2YieldsStyle1And4Or8YieldStyle4) {
  const std::map<int, int> styles = {{2, 1}, {4, 4}, {8, 4}, {0, 1}, {3, 1}, {16, 1}, {31, 4}};
  for (const auto& [anchor, style] : styles) {
    writeSettings(integerEntry("AnchorLocation", anchor));
    EXPECT_EQ(run().exitStatus, 0);
    EXPECT_EQ(settings("toolbarStyle"), "toolbarStyle=int:" + std::to_string(style)) << anchor;
  }
}

// Looks like a mistake and is kept.
TEST_F(SettingsRun, ABooleanRowSeesTheLow8BitsOnly) {
  writeSettings(integerEntry("ShowDiskSpace", 256) + integerEntry("OpenInTerminal", 257) +
                integerEntry("DoFolderSynchronization", 256));
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("menusShowDiskSpace,openInTerminal"),
            "menusShowDiskSpace=bool:False openInTerminal=bool:True");
  // This one is true exactly when the stored value is not zero.
  EXPECT_EQ(settings("createAliasesInLibrary"), "createAliasesInLibrary=bool:True");
}

TEST_F(SettingsRun, MaxRecentFoldersStoredAsABooleanOrARealReads10) {
  writeSettings("<key>MaxRecentFolders</key><true/>");
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("historySize"), "historySize=int:10");
  writeSettings("<key>MaxRecentFolders</key><real>3.0</real>");
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("historySize"), "historySize=int:10");
}

TEST_F(SettingsRun, AnIntegerOf2To63ReadsAsItsLow64Bits) {
  writeSettings("<key>MaxRecentFolders</key><integer>18446744073709551611</integer>");
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("historySize"), "historySize=int:-5");
}

TEST_F(SettingsRun, OnASlowMachinesSettingsTheForcedBitWins) {
  writeSettings(integerEntry("SpotlightOptions", 0));
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("toolbarShowAttributesOnOpen,toolbarShowAttributesOnSave"),
            "toolbarShowAttributesOnOpen=bool:True toolbarShowAttributesOnSave=bool:False");
}

TEST_F(SettingsRun, TheRepairedFinderClickOptionsAreTheOnesThatArrive) {
  writeSettings(integerEntry("FinderClickOptions", 35) + integerEntry("FinderClickKey", 0x0100));
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("finderClick,finderClickName,finderClickDesktop,finderClickShadow,finderClickModifiers"),
            "finderClick=bool:True finderClickName=bool:False finderClickDesktop=bool:False "
            "finderClickShadow=bool:True finderClickModifiers=int:0");
}

TEST_F(SettingsRun, TheSettingsDomainReplacesTheMainDomainsSettingsWithoutTheirRepairs) {
  writeSettings(integerEntry("MaxRecentFolders", 5) + integerEntry("AnchorLocation", 8));
  writeDomain(kSettingsDomain, "<dict><key>Settings</key><dict>" + integerEntry("MaxRecentFolders", 33) +
                                   integerEntry("FinderClickOptions", 1) +
                                   integerEntry("FinderClickKey", 0x0800) + "</dict></dict>");
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("historySize,toolbarStyle,finderClickModifiers"),
            "historySize=int:33 toolbarStyle=int:1 finderClickModifiers=int:524288");
}

TEST_F(SettingsRun, DomainsAreReadInBinaryXMLAndASCII) {
  copySampleDomains();
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("historySize,toolbarStyle"), "historySize=int:25 toolbarStyle=int:4");

  std::filesystem::remove(domainFile(kSettingsDomain));
  writeSettings(integerEntry("MaxRecentFolders", 12));
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("historySize"), "historySize=int:12");

  // Everything in this form is text, and text is no number: the defaults arrive.
  writeFile(domainFile(kMainDomain), "{ Settings = { MaxRecentFolders = 12; ActiveSet = \"Work\"; }; }");
  const Outcome outcome = run();
  EXPECT_EQ(outcome.exitStatus, 0);
  EXPECT_EQ(outcome.log.find("com.quorvale.Vennick.plist"), std::string::npos) << outcome.log;
  EXPECT_EQ(settings("historySize"), "historySize=int:10");
}

TEST_F(SettingsRun, AValueEqualToABuiltInDefaultIsWritten) {
  EXPECT_EQ(run().exitStatus, 0);
  const std::string file = readFile(domainFile(kNewDomain));
  EXPECT_NE(file.find("switchToFinder"), std::string::npos);
}

TEST_F(SettingsRun, AnIntegerThatIsThereIsReplacedByABoolean) {
  writeSettings(integerEntry("OpenInTerminal", 1));
  writeDomain(kNewDomain,
              "<dict><key>openInTerminal</key><integer>1</integer><key>other</key><string>x</string></dict>");
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("openInTerminal,other"), "openInTerminal=bool:True other=str:x");
}

TEST_F(SettingsRun, TheVersion4FilesStayByteForByteAndNoneIsCreated) {
  copySampleDomains();
  const auto before = namesIn(preferences());
  std::map<std::string, std::string> contents;
  for (const std::string& name : before) contents[name] = readFile(preferences() / name);
  EXPECT_EQ(run().exitStatus, 0);
  for (const auto& [name, content] : contents) EXPECT_EQ(readFile(preferences() / name), content) << name;
  auto expected = before;
  expected.insert(expected.begin() + 3, "com.quorvale.Vennick5.plist");
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(namesIn(preferences()), expected);
}

TEST_F(SettingsRun, AutomaticChecksThatAreOnAreCarriedOver) {
  writeDomain(kPaneDomain, "<dict><key>SUEnableAutomaticChecks</key><true/></dict>");
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("SUEnableAutomaticChecks"), "SUEnableAutomaticChecks=bool:True");
}

TEST_F(SettingsRun, AutomaticChecksThatAreOffOrNotSetWriteNothing) {
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("SUEnableAutomaticChecks"), "");
  writeDomain(kPaneDomain, "<dict><key>SUEnableAutomaticChecks</key><false/></dict>");
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("SUEnableAutomaticChecks"), "");
}

TEST_F(SettingsRun, AutomaticChecksAreReadAsUserDefaultsReadABoolean) {
  writeDomain(kPaneDomain, "<dict><key>SUEnableAutomaticChecks</key><string>YES</string></dict>");
  EXPECT_EQ(run().exitStatus, 0);
  EXPECT_EQ(settings("SUEnableAutomaticChecks"), "SUEnableAutomaticChecks=bool:True");
}

TEST_F(SettingsRun, ABuiltInDefaultForAutomaticChecksDoesNotCountAsSet) {
  const std::filesystem::path bundle = root() / "Applications/Vennick 5.app";
  std::filesystem::create_directories(bundle.parent_path());
  std::filesystem::copy(quietBundle(), bundle, std::filesystem::copy_options::recursive);
  writeFile(bundle / "Contents/Resources/Defaults.plist",
            "<plist version=\"1.0\"><dict><key>SUEnableAutomaticChecks</key><true/></dict></plist>");
  EXPECT_EQ(run(start(bundle)).exitStatus, 0);
  EXPECT_EQ(settings("SUEnableAutomaticChecks,historySize"), "historySize=int:10");
}

}  // namespace
}  // namespace vennick
