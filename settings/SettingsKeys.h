// SPDX-License-Identifier: MIT
//
// The user-defaults keys that the store itself reads or writes, and the names that it goes by. Constants
// only.
#ifndef SETTINGS_SETTINGSKEYS_H
#define SETTINGS_SETTINGSKEYS_H

#include <string_view>

namespace vennick {

// The main application: its bundle identifier, its user-defaults domain and its settings folder.
inline constexpr std::string_view kMainApplicationIdentifier = "com.quorvale.Vennick5";
// What the identifier of the edition sold through the Setapp subscription store ends in. Both editions
// share one domain and one folder, named without it.
inline constexpr std::string_view kSetappSuffix = "-setapp";

namespace SettingsKeys {

inline constexpr std::string_view KeyBindings = "keyBindings";
inline constexpr std::string_view MenuConfiguration = "menuConfiguration";
inline constexpr std::string_view FolderSets = "folderSets";
inline constexpr std::string_view CurrentSet = "currentSet";
inline constexpr std::string_view AppsToExclude = "appsToExclude";
inline constexpr std::string_view DialogFrames = "dialogFrames";
inline constexpr std::string_view UsageStatistics = "usageStatistics";
inline constexpr std::string_view MaxHistorySize = "maxHistorySize";
inline constexpr std::string_view DropHistorySize = "dropHistorySize";
inline constexpr std::string_view ReboundHistorySize = "reboundHistorySize";
inline constexpr std::string_view FavoritesStaySorted = "favoritesStaySorted";
inline constexpr std::string_view PreferencesToolbar = "NSToolbar Configuration CCNPreferencesMainToolbar";

}  // namespace SettingsKeys

// The store's properties as observers know them.
namespace SettingsProperties {

inline constexpr std::string_view CurrentSet = "currentSet";
inline constexpr std::string_view Dirty = "dirty";
inline constexpr std::string_view LastPrefsSaveDate = "lastPrefsSaveDate";
inline constexpr std::string_view CurrentRecentFolder = "currentRecentFolder";
inline constexpr std::string_view CurrentFinderTab = "currentFinderTab";
inline constexpr std::string_view FramesForApps = "framesForApps";
inline constexpr std::string_view SidebarWidthsForApps = "sidebarWidthsForApps";
inline constexpr std::string_view Hotkeys = "hotkeys";
inline constexpr std::string_view Rebound = "rebound";
inline constexpr std::string_view LastFolders = "lastFolders";
inline constexpr std::string_view UsageStatistics = "usageStatistics";
inline constexpr std::string_view SaveActions = "saveActions";

}  // namespace SettingsProperties

}  // namespace vennick

#endif  // SETTINGS_SETTINGSKEYS_H
