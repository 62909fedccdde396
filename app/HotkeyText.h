// SPDX-License-Identifier: MIT
//
// A version 5 hotkey as people read it: ⌃⌥⇧⌘ and the key. Pure.
#ifndef APP_HOTKEYTEXT_H
#define APP_HOTKEYTEXT_H

#include <string>

#include "macos/foundation/Value.h"

namespace vennick {

// "⌥⌘B", "F5", "⌘Space"; a key without a readable text is shown by its code, "⌘key 53".
std::string hotkeyText(const macos::Dictionary& hotkey);

}  // namespace vennick

#endif  // APP_HOTKEYTEXT_H
