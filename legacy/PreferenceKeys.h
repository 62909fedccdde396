// SPDX-License-Identifier: MIT
//
// The version 4 preferences by name: domains, top-level keys, the keys of a folder set, and the settings
// with their types and defaults. Constants only.
#ifndef LEGACY_PREFERENCEKEYS_H
#define LEGACY_PREFERENCEKEYS_H

#include <cstdint>
#include <string_view>

namespace vennick {

inline constexpr std::string_view kLegacyDomain = "com.quorvale.Vennick";
inline constexpr std::string_view kLegacySettingsDomain = "com.quorvale.Vennick.settings";
inline constexpr std::string_view kLegacyFavoritesDomain = "com.quorvale.Vennick.favorites";

// A string table's key, and the name itself in English.
inline constexpr std::string_view kUnnamedSet = "Default Set";

namespace LegacyKeys {

// Top-level keys. "Favorite" is one too, in the favorites domain.
inline constexpr std::string_view FolderSets = "FolderSets";
inline constexpr std::string_view Settings = "Settings";

// A folder set's lists.
inline constexpr std::string_view Favorite = "Favorite";
inline constexpr std::string_view Recent = "Recent";
inline constexpr std::string_view Rebound = "Rebound";
inline constexpr std::string_view Default = "Default";
inline constexpr std::string_view LastOpen = "LastOpen";
inline constexpr std::string_view LastSave = "LastSave";
inline constexpr std::string_view SpotlightHistory = "SpotlightHistory";
inline constexpr std::string_view SpotlightTerms = "SpotlightTerms";

// Settings that are no numbers.
inline constexpr std::string_view ActiveSet = "ActiveSet";
inline constexpr std::string_view ExcludedApplications = "ExcludedApplications";
inline constexpr std::string_view ExcludedApplicationFolders = "ExcludedApplicationFolders";

// Numbers whose default depends on the machine.
inline constexpr std::string_view SpotlightOptions = "SpotlightOptions";
inline constexpr std::string_view LatestUsedOS = "LatestUsedOS";

}  // namespace LegacyKeys

// A number among the settings and what stands for it when it is missing. T is std::int64_t, or bool for
// one of which only the low 8 bits count, any of them meaning true. Both are stored as integers.
template <typename T>
struct LegacySetting {
  std::string_view key;
  T defaultValue;
};

namespace LegacySettings {

inline constexpr LegacySetting<std::int64_t> FinderClickOptions{"FinderClickOptions", 39};
inline constexpr LegacySetting<std::int64_t> FinderClickKey{"FinderClickKey", 0};
inline constexpr LegacySetting<std::int64_t> ShowHiddenFinderWindows{"ShowHiddenFinderWindows", 0};
inline constexpr LegacySetting<std::int64_t> PrefsVersion{"PrefsVersion", 0};
inline constexpr LegacySetting<std::int64_t> MaxRecentFolders{"MaxRecentFolders", 10};
inline constexpr LegacySetting<std::int64_t> MaxReboundFolders{"MaxReboundFolders", 25};
inline constexpr LegacySetting<std::int64_t> AnchorLocation{"AnchorLocation", 1};
inline constexpr LegacySetting<bool> OptionKeyShowsAll{"OptionKeyShowsAll", false};
inline constexpr LegacySetting<bool> ShowDiskSpace{"ShowDiskSpace", false};
inline constexpr LegacySetting<bool> ShowMenuIcons{"ShowMenuIcons", true};
inline constexpr LegacySetting<bool> ReboundToLastSelection{"ReboundToLastSelection", true};
inline constexpr LegacySetting<bool> UseSuperGetInfo{"UseSuperGetInfo", false};
// 'VNK5', the main application's own creator code.
inline constexpr LegacySetting<std::int64_t> GetInfoHelper{"GetInfoHelper", 0x564E4B35};
inline constexpr LegacySetting<bool> ShowIconInDock{"ShowIconInDock", false};
inline constexpr LegacySetting<bool> OpenInTerminal{"OpenInTerminal", false};
inline constexpr LegacySetting<std::int64_t> OpenInTerminalKey{"OpenInTerminalKey", 256};
inline constexpr LegacySetting<bool> CopyFilenames{"CopyFilenames", true};
inline constexpr LegacySetting<std::int64_t> CopyFilenamesKey{"CopyFilenamesKey", 0};
inline constexpr LegacySetting<std::int64_t> MiscellaneousFlags{"MiscellaneousFlags", 10440};
inline constexpr LegacySetting<std::int64_t> DoFolderSynchronization{"DoFolderSynchronization", 0};
inline constexpr LegacySetting<bool> DisableSwitchToFinder{"DisableSwitchToFinder", false};
inline constexpr LegacySetting<bool> DisableToolbar{"DisableToolbar", false};
inline constexpr LegacySetting<bool> DisableWindowFade{"DisableWindowFade", false};
inline constexpr LegacySetting<std::int64_t> UpdateCheckInterval{"UpdateCheckInterval", 1};
inline constexpr LegacySetting<std::int64_t> LastUpdateCheck{"LastUpdateCheck", 0};
inline constexpr LegacySetting<std::int64_t> LatestSupportedOS{"LatestSupportedOS", 4182};
inline constexpr LegacySetting<std::int64_t> CurrentInfoWindowTab{"CurrentInfoWindowTab", 0};
inline constexpr LegacySetting<bool> ShowPreviewsInMenus{"ShowPreviewsInMenus", true};
inline constexpr LegacySetting<bool> ToolbarOnLeft{"ToolbarOnLeft", false};
inline constexpr LegacySetting<bool> AddRecentFoldersWithinPackages{"AddRecentFoldersWithinPackages", false};
inline constexpr LegacySetting<std::int64_t> ReboundOptions{"ReboundOptions", 0};

}  // namespace LegacySettings

}  // namespace vennick

#endif  // LEGACY_PREFERENCEKEYS_H
