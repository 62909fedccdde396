// SPDX-License-Identifier: MIT
//
// Deep mutable copies. Values are copied on write, so that a copy of a value is already independent at
// every depth; what needs a copy of its own is the dictionary that items share.
#ifndef PLATFORM_DEEPCOPY_H
#define PLATFORM_DEEPCOPY_H

#include <memory>

#include "macos/foundation/Value.h"

namespace vennick {

// The dictionary behind an item or a table entry: the one thing that is shared by reference.
using SharedDictionary = std::shared_ptr<macos::Dictionary>;

// A dictionary of its own with the same content; null for null.
inline SharedDictionary mutableCopyDeep(const SharedDictionary& dictionary) {
  return dictionary ? std::make_shared<macos::Dictionary>(*dictionary) : nullptr;
}

}  // namespace vennick

#endif  // PLATFORM_DEEPCOPY_H
