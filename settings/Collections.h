// SPDX-License-Identifier: MIT
//
// The item lists of a folder set and what they are called: as a property, as the property behind it, and
// on disk. Constants only.
#ifndef SETTINGS_COLLECTIONS_H
#define SETTINGS_COLLECTIONS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vennick {

// In the order in which they are read and written.
enum class Collection : std::uint8_t {
  Favorites,
  RecentFiles,
  RecentFolders,
  RecentFinderFolders,
  RecentApplications,
  DefaultFolders,
  DroppedItems,
};

struct CollectionNames {
  Collection collection;
  std::string_view itemArrayKey;
  std::string_view listKey;
  std::string_view filename;
};

inline constexpr std::array kCollections{
    CollectionNames{Collection::Favorites, "favorites", "favoritesArray", "Favorites.plist"},
    CollectionNames{Collection::RecentFiles, "recentFiles", "recentFilesArray", "RecentFiles.plist"},
    CollectionNames{Collection::RecentFolders, "recentFolders", "recentFoldersArray", "RecentFolders.plist"},
    CollectionNames{Collection::RecentFinderFolders, "recentFinderFolders", "recentFinderFoldersArray",
                    "RecentFinderFolders.plist"},
    CollectionNames{Collection::RecentApplications, "recentApplications", "recentApplicationsArray",
                    "RecentApplications.plist"},
    CollectionNames{Collection::DefaultFolders, "defaultFolders", "defaultFoldersArray",
                    "DefaultFolders.plist"},
    CollectionNames{Collection::DroppedItems, "droppedItems", "droppedItemsArray", "DroppedItems.plist"},
};
inline constexpr std::size_t kCollectionCount = kCollections.size();

constexpr std::size_t indexOf(Collection collection) { return static_cast<std::size_t>(collection); }

}  // namespace vennick

#endif  // SETTINGS_COLLECTIONS_H
