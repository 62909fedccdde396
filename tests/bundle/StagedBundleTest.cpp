// SPDX-License-Identifier: MIT
//
// The staged bundle: what people and other programs find where in it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "macos/foundation/PropertyList.h"
#include "tests/support/TemporaryRoot.h"

namespace vennick::tests {
namespace {

namespace fs = std::filesystem;

const fs::path kContents = fs::path(VENNICK_BUILD) / "Vennick 5.app/Contents";
const fs::path kMigrator = kContents / "Helpers/VennickMigrator.app/Contents";
const fs::path kResources = fs::path(VENNICK_SOURCE) / "resources";

std::string textOf(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

using Files = std::map<std::string, std::string>;

// The files of a folder whose path below it the predicate takes, with their content.
template <typename Predicate>
Files filesIn(const fs::path& folder, Predicate takes) {
  Files files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const std::string path = entry.path().lexically_relative(folder).generic_string();
    if (entry.is_regular_file() && takes(path)) files[path] = textOf(entry.path());
  }
  return files;
}

bool isStringTable(const std::string& path) { return path.find(".lproj/") != std::string::npos; }
bool isBuiltInDefault(const std::string& path) {
  return path.ends_with(".plist") && path.find('/') == path.npos;
}

void expectApplication(const fs::path& contents, std::string_view identifier, std::string_view executable) {
  const auto info = macos::NSPropertyListSerialization::propertyListWithData(textOf(contents / "Info.plist"));
  ASSERT_TRUE(info.ok());
  ASSERT_TRUE(info->value.ifDictionary());
  EXPECT_EQ(info->value.ifDictionary()->string("CFBundleIdentifier"), identifier);
  EXPECT_EQ(info->value.ifDictionary()->string("CFBundleExecutable"), executable);
  EXPECT_EQ(info->value.ifDictionary()->string("CFBundlePackageType"), "APPL");
  const fs::path program = contents / "MacOS" / executable;
  EXPECT_TRUE(fs::is_regular_file(program)) << program;
  EXPECT_NE(fs::status(program).permissions() & fs::perms::owner_exec, fs::perms::none);
}

TEST(StagedBundle, HoldsTheMainApplication) {
  expectApplication(kContents, "com.quorvale.Vennick5", "Vennick5");
}

TEST(StagedBundle, HoldsTheMigratorTwoLevelsBelowItsTop) {
  expectApplication(kMigrator, "com.quorvale.VennickMigrator", "VennickMigrator");
}

TEST(StagedBundle, BothApplicationsCarryTheSameStringTables) {
  const Files tables = filesIn(kResources, isStringTable);
  EXPECT_GE(tables.size(), 19U);
  EXPECT_EQ(filesIn(kContents / "Resources", isStringTable), tables);
  EXPECT_EQ(filesIn(kMigrator / "Resources", isStringTable), tables);
}

TEST(StagedBundle, TheBuiltInDefaultsAreTheMainApplications) {
  const Files defaults = filesIn(kResources, isBuiltInDefault);
  for (const auto* name : {"Defaults.plist", "DefaultKeyBindings.plist", "DefaultMenuConfiguration.plist"}) {
    EXPECT_TRUE(defaults.count(name)) << name;
  }
  EXPECT_EQ(filesIn(kContents / "Resources", isBuiltInDefault), defaults);
  EXPECT_EQ(filesIn(kMigrator / "Resources", isBuiltInDefault), Files{});
}

TEST(StagedBundle, TheMigratorCarriesTheKeyboardLayouts) {
  const auto isLayout = [](const std::string& path) { return path.starts_with("Keyboard Layouts/"); };
  const Files layouts = filesIn(kMigrator / "Resources", isLayout);
  EXPECT_TRUE(layouts.count("Keyboard Layouts/US.uchr"));
  EXPECT_EQ(filesIn(kMigrator / "Resources", [](const std::string& path) { return path.ends_with(".txt"); }),
            Files{});
}

// Runs the staging of resources as the build does.
bool stage(const TemporaryRoot& place, const std::string& list) {
  place.writeFile("/list", list);
  const std::string command = std::string("'") + VENNICK_CMAKE + "' '-DLIST=" + place.path() +
                              "/list' '-DFROM=" + place.path() + "/from' '-DTO=" + place.path() +
                              "/to' -P '" VENNICK_SOURCE "/cmake/StageResources.cmake' >/dev/null";
  return std::system(command.c_str()) == 0;
}

TEST(StageResources, StagesWhatIsListedAndRemovesWhatIsListedNoMore) {
  const TemporaryRoot place;
  const std::string from = place.path() + "/from/";
  place.writeFile("/from/a.plist", "a");
  place.writeFile("/from/de.lproj/b.strings", "b");
  place.writeFile("/from/fr.lproj/c.strings", "c");
  place.writeFile("/to/displayNameTool", "of another step");
  ASSERT_TRUE(stage(place, from + "a.plist\n" + from + "de.lproj/b.strings\n" + from + "fr.lproj/c.strings"));
  EXPECT_EQ(place.readFile("/to/de.lproj/b.strings"), "b");
  EXPECT_EQ(place.names("/to"),
            (std::vector<std::string>{"a.plist", "de.lproj", "displayNameTool", "fr.lproj"}));
  ASSERT_TRUE(stage(place, from + "de.lproj/b.strings"));
  EXPECT_EQ(place.names("/to"), (std::vector<std::string>{"de.lproj", "displayNameTool"}));
}

TEST(StageResources, AChangedFileIsStagedAgain) {
  const TemporaryRoot place;
  const std::string file = place.path() + "/from/a.plist";
  place.writeFile("/from/a.plist", "old");
  ASSERT_TRUE(stage(place, file));
  place.writeFile("/from/a.plist", "new");
  // The same length in the same second: the time of the change alone tells them apart.
  fs::last_write_time(file, fs::last_write_time(file) - std::chrono::hours(1));
  ASSERT_TRUE(stage(place, file));
  EXPECT_EQ(place.readFile("/to/a.plist"), "new");
}

}  // namespace
}  // namespace vennick::tests
