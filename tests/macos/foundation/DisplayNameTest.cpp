// SPDX-License-Identifier: MIT
#include "macos/foundation/DisplayName.h"

#include <gtest/gtest.h>

#include "macos/foundation/FileManager.h"
#include "macos/foundation/FileMetadata.h"
#include "tests/support/BundleSketch.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::makeBundle;
using vennick::tests::setLanguages;
using vennick::tests::TemporaryRoot;
using vennick::tests::TestHost;
using Strings = std::vector<std::string>;

const std::string kSystemTables = "/System/Library/CoreServices/SystemFolderLocalizations/";

void hideExtension(const std::string& path) {
  FinderInfo info;
  info.setFlags(kExtensionIsHidden);
  ASSERT_TRUE(setFinderInfo(path, info).ok());
}

std::string nameIn(std::string_view path, const Strings& languages) {
  return displayNameInLanguages(path, languages);
}

TEST(DisplayName, AStandardFolderIsNamedByTheSystemsTable) {
  TestHost host;
  host.root().writeFile("/Users/anna/Documents/.localized", "");
  host.root().writeFile("/Users/anna/Pictures/x", "");
  host.root().writeFile(kSystemTables + "de.lproj/SystemFolderLocalizations.strings",
                        "\"Documents\" = \"Dokumente\"; \"Pictures\" = \"Bilder\";");
  host.root().writeFile(kSystemTables + "French.lproj/SystemFolderLocalizations.strings",
                        "Documents = \"Papiers\";");
  EXPECT_EQ(nameIn("/Users/anna/Documents", {"de-CH", "en"}), "Dokumente");
  EXPECT_EQ(nameIn("/Users/anna/Documents/", {"sv", "fr"}), "Papiers");
  EXPECT_EQ(nameIn("/Users/anna/Documents", {"ja"}), "Documents");
  EXPECT_EQ(nameIn("/Users/anna/Pictures", {"de"}), "Pictures") << "a folder without the mark keeps its name";
}

TEST(DisplayName, OurTableStandsInWhereTheRootHasNone) {
  const auto root = std::make_shared<TemporaryRoot>();
  const std::string executable = makeBundle(*root, "/Applications/Test.app", "Test");
  root->writeFile("/Applications/Test.app/Contents/Resources/de.lproj/SystemFolderLocalizations.strings",
                  "\"Documents\" = \"Dokumente\";");
  root->writeFile("/Applications/Test.app/Contents/Resources/zh-Hans.lproj/SystemFolderLocalizations.strings",
                  "\"Documents\" = \"\u6587\u7A3F\";");
  root->writeFile("/Users/anna/Documents/.localized", "");
  TestHost host({.root = root, .executable = executable});
  EXPECT_EQ(nameIn("/Users/anna/Documents", {"de"}), "Dokumente");
  EXPECT_EQ(nameIn("/Users/anna/Documents", {"zh-Hans-CN", "de"}), "\u6587\u7A3F");
}

TEST(DisplayName, AnUnreadableTableIsNoTable) {
  TestHost host;
  host.root().writeFile("/Users/anna/Documents/.localized", "");
  host.root().writeFile(kSystemTables + "de.lproj/SystemFolderLocalizations.strings", "\"Documents\" = ");
  EXPECT_EQ(nameIn("/Users/anna/Documents", {"de"}), "Documents");
}

TEST(DisplayName, ALocalizedFolderCarriesItsOwnNames) {
  TestHost host;
  host.root().writeFile("/Work.localized/.localized/de.strings", "\"Work\" = \"Arbeit\";");
  host.root().writeFile("/Work.localized/.localized/en.strings", "\"Work\" = \"Business\";");
  host.root().writeFile("/Empty.localized/.localized/de.strings", "\"Empty\" = \"\";");
  host.root().makeFolder("/Plain.localized");
  host.root().writeFile("/File.localized", "");
  EXPECT_EQ(nameIn("/Work.localized", {"de"}), "Arbeit");
  EXPECT_EQ(nameIn("/Work.localized", {"fr", "en"}), "Business");
  EXPECT_EQ(nameIn("/Work.localized", {"fr"}), "Work");
  EXPECT_EQ(nameIn("/Empty.localized", {"de"}), "Empty") << "no name is empty";
  EXPECT_EQ(nameIn("/Plain.localized", {"de"}), "Plain");
  EXPECT_EQ(nameIn("/File.localized", {"de"}), "File.localized") << "only a folder is one";
}

TEST(DisplayName, AnApplicationIsShownWithoutItsExtensionAndInTheUsersLanguage) {
  TestHost host;
  const std::string_view localized =
      "<key>LSHasLocalizedDisplayName</key><true/><key>CFBundleDisplayName</key><string>Notes</string>";
  makeBundle(host.root(), "/Applications/Notes.app", "Notes", localized);
  makeBundle(host.root(), "/Applications/My Notes.app", "Notes", localized);
  makeBundle(host.root(), "/Applications/Other.app", "Other");
  for (const auto* path :
       {"/Applications/Notes.app", "/Applications/My Notes.app", "/Applications/Other.app"}) {
    host.root().writeFile(std::string(path) + "/Contents/Resources/de.lproj/InfoPlist.strings",
                          "\"CFBundleDisplayName\" = \"Notizen\";");
  }
  EXPECT_EQ(nameIn("/Applications/Notes.app", {"de"}), "Notizen");
  EXPECT_EQ(nameIn("/Applications/Notes.app", {"fr"}), "Notes");
  EXPECT_EQ(nameIn("/Applications/My Notes.app", {"de"}), "My Notes") << "its user gave it another name";
  EXPECT_EQ(nameIn("/Applications/Other.app", {"de"}), "Other");
}

TEST(DisplayName, AHiddenExtensionIsLeftOutUnlessAllAreShown) {
  {
    TestHost host;
    host.root().writeFile("/report.txt", "");
    host.root().writeFile("/plain.txt", "");
    hideExtension("/report.txt");
    EXPECT_EQ(nameIn("/report.txt", {"en"}), "report");
    EXPECT_EQ(nameIn("/plain.txt", {"en"}), "plain.txt");
  }
  TestHost host;
  setLanguages(host.root(), {"en"}, "<key>AppleShowAllExtensions</key><true/>");
  host.root().writeFile("/report.txt", "");
  hideExtension("/report.txt");
  makeBundle(host.root(), "/Applications/Other.app", "Other");
  EXPECT_EQ(nameIn("/report.txt", {"en"}), "report.txt");
  EXPECT_EQ(nameIn("/Applications/Other.app", {"en"}), "Other.app");
}

TEST(DisplayName, AColonOnDiskIsASlashOnScreen) {
  TestHost host;
  host.root().writeFile("/AC:DC", "");
  EXPECT_EQ(nameIn("/AC:DC", {"en"}), "AC/DC");
}

TEST(DisplayName, AMissingItemKeepsItsLastComponent) {
  TestHost host;
  EXPECT_EQ(nameIn("/none/a:b.txt", {"en"}), "a:b.txt");
  EXPECT_EQ(nameIn("", {"en"}), "");
}

TEST(DisplayName, VolumesHaveTheirNames) {
  TestHost host;
  EXPECT_EQ(nameIn("/", {"en"}), "Macintosh HD");
  host.root().remove("/Volumes/Macintosh HD");
  host.root().makeLink("/Volumes/Mein Mac", "/");
  EXPECT_EQ(nameIn("/", {"en"}), "Mein Mac");
  host.root().remove("/Volumes/Mein Mac");
  EXPECT_EQ(nameIn("/", {"en"}), "Macintosh HD") << "a boot volume without a name that could be asked for";
}

TEST(DisplayName, ANameThatIsNotUTF8IsShownWithTheReplacementCharacter) {
  TestHost host;
  host.root().writeFile("/caf\xE9", "");
  EXPECT_EQ(nameIn("/caf\xE9", {"en"}), "caf\uFFFD");
}

TEST(DisplayName, TheFileManagerAnswersInTheMainBundlesLanguage) {
  const auto root = std::make_shared<TemporaryRoot>();
  const std::string executable = makeBundle(*root, "/Applications/Test.app", "Test");
  root->makeFolder("/Applications/Test.app/Contents/Resources/de.lproj");
  root->makeFolder("/Applications/Test.app/Contents/Resources/en.lproj");
  setLanguages(*root, {"fr", "de"});
  root->writeFile("/Users/anna/Documents/.localized", "");
  for (const auto& [language, name] :
       {std::pair("de", "Dokumente"), {"fr", "Papiers"}, {"en", "Documents"}}) {
    root->writeFile(kSystemTables + language + ".lproj/SystemFolderLocalizations.strings",
                    "\"Documents\" = \"" + std::string(name) + "\";");
  }
  TestHost host({.root = root, .executable = executable});
  EXPECT_EQ(NSFileManager::defaultManager().displayNameAtPath("/Users/anna/Documents"), "Dokumente");
}

}  // namespace
}  // namespace macos
