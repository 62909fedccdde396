// SPDX-License-Identifier: MIT
//
// The names that copies and second files of one name get, in the main bundle's language. nullopt when there
// is no text for them. Names are those of the File Manager. Any thread.
#ifndef LEGACY_COPYNAMES_H
#define LEGACY_COPYNAMES_H

#include <optional>

#include "macos/carbon/Files.h"

namespace vennick {

// "%@ (%d)": "report (2)".
std::optional<macos::HFSUniStr255> nameWithNumber(const macos::HFSUniStr255& name, int number);
// "%@ copy" for the first one, "%@ copy %d" for those after it. A name's extension is a part of the name,
// "a.txt copy"; deliberately.
std::optional<macos::HFSUniStr255> nameOfCopy(const macos::HFSUniStr255& name, int number);

}  // namespace vennick

#endif  // LEGACY_COPYNAMES_H
