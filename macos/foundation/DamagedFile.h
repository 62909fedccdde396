// SPDX-License-Identifier: MIT
//
// What becomes of a file whose content cannot be made sense of, before something else takes its place.
#ifndef MACOS_FOUNDATION_DAMAGEDFILE_H
#define MACOS_FOUNDATION_DAMAGEDFILE_H

#include <string_view>

#include "macos/host/Status.h"

namespace macos {

// Copies the file beside itself as "NAME.damaged", or "NAME.damaged-2" and on when that is taken, and logs
// it. Whoever overwrites the file must not when the copy failed.
Status keepDamagedCopy(std::string_view path);

}  // namespace macos

#endif  // MACOS_FOUNDATION_DAMAGEDFILE_H
