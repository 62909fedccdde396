// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "legacy/LegacyPreferences.h"
#include "tests/legacy/LegacyHome.h"

using macos::Array;
using macos::Integer;
using macos::Value;

namespace vennick {
namespace {

using LegacySettingsTest = LegacyHomeTest;

TEST_F(LegacySettingsTest, EverySettingHasItsDefaultAndStoresItWhenItIsMissing) {
  const struct {
    LegacySetting<std::int64_t> setting;
    const char* key;
    std::int64_t expected;
  } kIntegers[] = {
      {LegacySettings::MaxRecentFolders, "MaxRecentFolders", 10},
      {LegacySettings::MaxReboundFolders, "MaxReboundFolders", 25},
      {LegacySettings::AnchorLocation, "AnchorLocation", 1},
      {LegacySettings::OpenInTerminalKey, "OpenInTerminalKey", 256},
      {LegacySettings::CopyFilenamesKey, "CopyFilenamesKey", 0},
      {LegacySettings::MiscellaneousFlags, "MiscellaneousFlags", 10440},
      {LegacySettings::DoFolderSynchronization, "DoFolderSynchronization", 0},
      {LegacySettings::UpdateCheckInterval, "UpdateCheckInterval", 1},
      {LegacySettings::LatestSupportedOS, "LatestSupportedOS", 4182},
      {LegacySettings::CurrentInfoWindowTab, "CurrentInfoWindowTab", 0},
      {LegacySettings::LastUpdateCheck, "LastUpdateCheck", 0},
      {LegacySettings::ReboundOptions, "ReboundOptions", 0},
      {LegacySettings::ShowHiddenFinderWindows, "ShowHiddenFinderWindows", 0},
      {LegacySettings::PrefsVersion, "PrefsVersion", 0},
      {LegacySettings::FinderClickKey, "FinderClickKey", 0},
      {LegacySettings::GetInfoHelper, "GetInfoHelper", 0x564E4B35},
  };
  const struct {
    LegacySetting<bool> setting;
    const char* key;
    bool expected;
  } kBooleans[] = {
      {LegacySettings::OptionKeyShowsAll, "OptionKeyShowsAll", false},
      {LegacySettings::ShowDiskSpace, "ShowDiskSpace", false},
      {LegacySettings::ShowMenuIcons, "ShowMenuIcons", true},
      {LegacySettings::ReboundToLastSelection, "ReboundToLastSelection", true},
      {LegacySettings::UseSuperGetInfo, "UseSuperGetInfo", false},
      {LegacySettings::ShowIconInDock, "ShowIconInDock", false},
      {LegacySettings::OpenInTerminal, "OpenInTerminal", false},
      {LegacySettings::CopyFilenames, "CopyFilenames", true},
      {LegacySettings::DisableSwitchToFinder, "DisableSwitchToFinder", false},
      {LegacySettings::DisableToolbar, "DisableToolbar", false},
      {LegacySettings::DisableWindowFade, "DisableWindowFade", false},
      {LegacySettings::ShowPreviewsInMenus, "ShowPreviewsInMenus", true},
      {LegacySettings::ToolbarOnLeft, "ToolbarOnLeft", false},
      {LegacySettings::AddRecentFoldersWithinPackages, "AddRecentFoldersWithinPackages", false},
  };
  LegacyPreferences preferences;
  for (const auto& row : kIntegers) {
    EXPECT_EQ(preferences.readSetting(row.setting), row.expected) << row.key;
    EXPECT_EQ(preferences.settings().integer(row.key), Integer(row.expected)) << row.key;
  }
  for (const auto& row : kBooleans) {
    EXPECT_EQ(preferences.readSetting(row.setting), row.expected) << row.key;
    EXPECT_EQ(preferences.settings().integer(row.key), Integer(row.expected ? 1 : 0)) << row.key;
  }
}

TEST_F(LegacySettingsTest, MaxRecentFoldersStoredAsABooleanOrARealReads10AndIsOverwritten) {
  for (const Value& stored : {Value(true), Value(3.5)}) {
    writeSettings({{"MaxRecentFolders", stored}});
    macos::CFPreferencesAppSynchronize(kLegacyDomain);
    LegacyPreferences preferences;
    EXPECT_EQ(preferences.readSetting(LegacySettings::MaxRecentFolders), 10);
    EXPECT_EQ(preferences.settings().integer("MaxRecentFolders"), Integer(10));
  }
}

// Looks like a mistake and is kept.
TEST_F(LegacySettingsTest, OfABooleanOnlyTheLow8BitsCount) {
  writeSettings(
      {{"ShowDiskSpace", Value(256)}, {"ShowMenuIcons", Value(257)}, {"OpenInTerminal", Value(-1)}});
  LegacyPreferences preferences;
  EXPECT_FALSE(preferences.readSetting(LegacySettings::ShowDiskSpace));
  EXPECT_TRUE(preferences.readSetting(LegacySettings::ShowMenuIcons));
  EXPECT_TRUE(preferences.readSetting(LegacySettings::OpenInTerminal));
}

TEST_F(LegacySettingsTest, SettersStoreNumbers) {
  LegacyPreferences preferences;
  preferences.writeSetting(LegacySettings::ShowDiskSpace, true);
  preferences.writeSetting(LegacySettings::AnchorLocation, 8);
  preferences.displayInDock(true);
  preferences.setSpotlightOptions(4);
  EXPECT_EQ(preferences.settings().integer("ShowDiskSpace"), Integer(1));
  EXPECT_EQ(preferences.settings().integer("AnchorLocation"), Integer(8));
  EXPECT_EQ(preferences.settings().integer("ShowIconInDock"), Integer(1));
  EXPECT_EQ(preferences.spotlightOptions(), 4);
}

TEST_F(LegacySettingsTest, TheEffectiveFinderClickOptionsTakeBit64FromShowHiddenFinderWindows) {
  writeSettings({{"FinderClickOptions", Value(16 | 64)}});
  EXPECT_EQ(LegacyPreferences().finderClickOptions(), 16);
  writeSettings({{"FinderClickOptions", Value(16)}, {"ShowHiddenFinderWindows", Value(2)}});
  macos::CFPreferencesAppSynchronize(kLegacyDomain);
  EXPECT_EQ(LegacyPreferences().finderClickOptions(), 16 | 64);
}

// Looks like a mistake and is kept.
TEST_F(LegacySettingsTest, TheGetterOfMaxReboundFoldersStoresALargerMaxRecentFolders) {
  writeSettings({{"MaxRecentFolders", Value(50)}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.maxReboundFolders(), 50);
  EXPECT_EQ(preferences.settings().integer("MaxReboundFolders"), Integer(50));
}

TEST_F(LegacySettingsTest, MaxReboundFoldersStaysWhenItIsTheLarger) {
  writeSettings({{"MaxRecentFolders", Value(20)}, {"MaxReboundFolders", Value(30)}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.maxReboundFolders(), 30);
  EXPECT_EQ(preferences.settings().integer("MaxReboundFolders"), Integer(30));
}

TEST_F(LegacySettingsTest, FolderSynchronizationIsReadAndStoredAsItsOpposite) {
  writeSettings({{"DoFolderSynchronization", Value(1)}});
  LegacyPreferences preferences;
  EXPECT_FALSE(preferences.doFolderSynchronization());
  preferences.setDoFolderSynchronization(true);
  EXPECT_EQ(preferences.settings().integer("DoFolderSynchronization"), Integer(0));
  EXPECT_TRUE(preferences.doFolderSynchronization());
}

TEST_F(LegacySettingsTest, WithoutADateOfTheLastUpdateCheckABitIsSetInTheFlags) {
  writeSettings({{"MiscellaneousFlags", Value(1)}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.lastUpdateCheck(), 0);
  EXPECT_EQ(preferences.readSetting(LegacySettings::MiscellaneousFlags), 0x401);
  EXPECT_EQ(preferences.settings().integer("LastUpdateCheck"), Integer(0));
}

TEST_F(LegacySettingsTest, WithADateOfTheLastUpdateCheckTheFlagsStay) {
  writeSettings({{"MiscellaneousFlags", Value(1)}, {"LastUpdateCheck", Value(1388534400)}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.lastUpdateCheck(), 1388534400);
  EXPECT_EQ(preferences.readSetting(LegacySettings::MiscellaneousFlags), 1);
}

TEST_F(LegacySettingsTest, LatestSupportedOSHasBit1ClearedAndALowestValue) {
  const struct {
    std::int64_t stored;
    std::int64_t expected;
  } kRows[] = {{4183, 4182}, {4185, 4184}, {4184, 4184}, {4181, 4182}, {0, 4182}, {-1, 4182}};
  for (const auto& row : kRows) {
    LegacyPreferences preferences;
    preferences.writeSetting(LegacySettings::LatestSupportedOS, row.stored);
    EXPECT_EQ(preferences.latestSupportedOS(), row.expected) << row.stored;
  }
}

TEST_F(LegacySettingsTest, LatestUsedOSIsTheRunningSystemsVersion) {
  host_.root().writeFile(
      "/System/Library/CoreServices/SystemVersion.plist",
      "<plist version=\"1.0\"><dict><key>ProductVersion</key><string>10.9.5</string></dict></plist>");
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.latestUsedOS(), 0x1095);
  EXPECT_EQ(preferences.settings().integer("LatestUsedOS"), Integer(0x1095));
}

TEST_F(LegacySettingsTest, ANewListOfExcludedApplicationsHoldsTwo) {
  LegacyPreferences preferences;
  const Array expected = {Value("OD4Contact"), Value("VajA")};
  EXPECT_EQ(preferences.excludedApplications(), expected);
  EXPECT_EQ(*preferences.settings().array("ExcludedApplications"), expected);
}

// Looks like a mistake and is kept.
TEST_F(LegacySettingsTest, AnEmptiedListOfExcludedApplicationsGetsItsTwoEntriesBack) {
  writeSettings({{"ExcludedApplications", Value(Array{Value("x")})}});
  LegacyPreferences preferences;
  EXPECT_EQ(preferences.excludedApplications(), Array{Value("x")});
  preferences.setExcludedApplications({});
  EXPECT_EQ(preferences.excludedApplications(), (Array{Value("OD4Contact"), Value("VajA")}));
}

TEST_F(LegacySettingsTest, ANewListOfExcludedFoldersIsEmpty) {
  LegacyPreferences preferences;
  EXPECT_TRUE(preferences.excludedApplicationFolders().empty());
  preferences.setExcludedApplicationFolders({Value("x")});
  EXPECT_EQ(preferences.excludedApplicationFolders(), Array{Value("x")});
}

TEST_F(LegacySettingsTest, TheFinderShowsTheDesktopUnlessItsSettingSaysFalse) {
  const struct {
    Value stored;
    bool expected;
  } kRows[] = {{Value(false), false}, {Value(true), true}, {Value(0), false}, {Value(1), true},
               {Value("no"), false},  {Value("0"), true},  {Value(0.0), true}};
  EXPECT_TRUE(LegacyPreferences::finderShowsDesktop());
  for (const auto& row : kRows) {
    writeDomain("com.apple.finder", {{"CreateDesktop", row.stored}});
    macos::CFPreferencesAppSynchronize("com.apple.finder");
    EXPECT_EQ(LegacyPreferences::finderShowsDesktop(), row.expected) << static_cast<int>(row.stored.kind());
  }
}

}  // namespace
}  // namespace vennick
