// SPDX-License-Identifier: MIT
//
// A version 4 item list as it lies in memory: a shared array of shared item dictionaries. Whoever holds
// the array sees what another holder repairs or stores in it; a copy of the handle is the same array.
// One thread at a time.
#ifndef LEGACY_ITEMARRAY_H
#define LEGACY_ITEMARRAY_H

#include <memory>
#include <variant>
#include <vector>

#include "macos/foundation/Value.h"

namespace vennick {

using LegacyItem = std::shared_ptr<macos::Dictionary>;

// An item dictionary (never a null pointer) or, in damaged data, a value of any other kind, kept as it is.
using LegacyEntry = std::variant<LegacyItem, macos::Value>;

// Null where there is no array at all.
using LegacyItemArray = std::shared_ptr<std::vector<LegacyEntry>>;

// A new array with a dictionary of its own for every entry.
LegacyItemArray itemArrayFromArray(const macos::Array& stored);
// What the array holds now; empty for no array.
macos::Array arrayFromItemArray(const LegacyItemArray& items);

}  // namespace vennick

#endif  // LEGACY_ITEMARRAY_H
