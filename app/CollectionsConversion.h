// SPDX-License-Identifier: MIT
//
// Carries the version 4 folder sets into the version 5 store: each set with its favorites, their names and
// hotkeys, and its default folders. Recent, rebound, last open and last save folders and the search
// history are deliberately left behind. What cannot be carried over is passed by; nothing stops the rest.
// Main thread.
#ifndef APP_COLLECTIONSCONVERSION_H
#define APP_COLLECTIONSCONVERSION_H

#include <cstdint>
#include <string>
#include <string_view>

#include "legacy/CFItemList.h"
#include "legacy/LegacyPreferences.h"
#include "macos/host/DiskMemory.h"
#include "settings/VKSettings.h"

namespace vennick {

// A favorite that has a name but leads nowhere is kept at this place, so that it and its name survive.
inline constexpr std::string_view kEmptyPath = "com.quorvale.emptyPath";

class CollectionsConversion {
 public:
  // Both outlive the conversion. It switches the model and the store from set to set and leaves them at
  // the last one.
  CollectionsConversion(LegacyPreferences& preferences, VKSettings& settings)
      : preferences_(preferences), settings_(settings) {}

  // Every set, in the order of their names without regard to case.
  void convertFolderSets();

 private:
  void convertSet(const std::string& name);
  void convertFavorites();
  void convertFavorite(CFItemList& favorites, std::int64_t index);
  void convertHotkey(const CFItemList& favorites, std::int64_t index);
  void convertDefaultFolders();
  void convertDefaultFolder(std::string_view key, const macos::Value& record, std::uint32_t flags);
  void removeSameDefaultFolder(const std::string& application, const macos::NSURL& location);

  LegacyPreferences& preferences_;
  VKSettings& settings_;
  // Each set and each entry sees the disk as it is when its turn comes.
  macos::RememberedDisk disk_;
};

}  // namespace vennick

#endif  // APP_COLLECTIONSCONVERSION_H
