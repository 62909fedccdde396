// SPDX-License-Identifier: MIT
//
// Version 4 items as the log shows them: each one's name and the size of its alias record, never the bytes.
// Pure.
#ifndef APP_LEGACYDESCRIPTIONS_H
#define APP_LEGACYDESCRIPTIONS_H

#include <string>

#include "legacy/ItemArray.h"
#include "macos/foundation/Value.h"

namespace vennick {

// (Projects [alias, 298 bytes], Music [no alias]); "(null)" for no array.
std::string descriptionOfItems(const LegacyItemArray& items);
// The same by application key: {ttxt = Letters [alias, 310 bytes]}.
std::string descriptionOfItems(const macos::Dictionary& itemsByKey);

}  // namespace vennick

#endif  // APP_LEGACYDESCRIPTIONS_H
