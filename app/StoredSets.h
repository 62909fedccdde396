// SPDX-License-Identifier: MIT
//
// The version 5 folder sets as their files hold them, read without a store, which would change them. Main
// thread.
#ifndef APP_STOREDSETS_H
#define APP_STOREDSETS_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/Value.h"

namespace vennick {

struct StoredSet {
  std::string name;
  bool isCurrent = false;
  macos::Array favorites;
  macos::Array defaultFolders;
};

// In the order of the list that the preferences hold. A set without files is empty.
std::vector<StoredSet> readStoredSets();

// Why the store takes no set of this name; nullopt when it does.
std::optional<std::string> refusalOfSetName(std::string_view name);

}  // namespace vennick

#endif  // APP_STOREDSETS_H
