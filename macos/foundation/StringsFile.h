// SPDX-License-Identifier: MIT
//
// String tables (".strings"): text in UTF-8 or UTF-16, or a compiled property list; a flat dictionary
// of key and text either way. Pure; any thread.
#ifndef MACOS_FOUNDATION_STRINGSFILE_H
#define MACOS_FOUNDATION_STRINGSFILE_H

#include <string_view>

#include "macos/foundation/Value.h"
#include "macos/host/Status.h"

namespace macos {

// Entries whose value is no string are left out. Corrupt when the bytes are no string table.
Result<Dictionary> stringsTableWithData(std::string_view bytes);

}  // namespace macos

#endif  // MACOS_FOUNDATION_STRINGSFILE_H
