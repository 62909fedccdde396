// SPDX-License-Identifier: MIT
//
// The version 4 folder sets as a run finds them, for whoever tells afterwards what became of them. Read
// from the preference files alone; aliases are resolved in copies, and nothing is written. Main thread.
#ifndef APP_LEGACYSETS_H
#define APP_LEGACYSETS_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "macos/foundation/URL.h"
#include "macos/foundation/Value.h"

namespace vennick {

struct LegacySet {
  std::string name;
  // The favorites of the active set are those of the favorites domain where that holds any list.
  macos::Array favorites;
  macos::Dictionary defaultFolders;  // application key to item
  macos::Dictionary stored;          // the whole set
  // What its favorites remember of failed attempts is forgotten before they are converted.
  bool isActive = false;
};

struct LegacySets {
  std::vector<LegacySet> sets;  // in the order in which they are converted
  // Favorites of the favorites domain that belong to no set.
  std::size_t homelessFavorites = 0;
};

LegacySets readLegacySets();

enum class NeedsName { No, Yes };

// What is wrong with a stored item, so that a run passes it by whatever its alias leads to: "it has no
// name". nullopt for one that is whole.
std::optional<std::string> faultOfLegacyItem(const macos::Value& item, NeedsName needsName);

enum class EarlierAttempts { Count, Forgotten };

// Where an item without a fault leads now, as version 5 spells it; nullopt for nowhere.
std::optional<macos::NSURL> locationOfLegacyItem(const macos::Value& item, EarlierAttempts attempts);

}  // namespace vennick

#endif  // APP_LEGACYSETS_H
