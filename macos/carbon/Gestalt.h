// SPDX-License-Identifier: MIT
//
// Gestalt: what the machine and its system are. The system's version is that of the Mac whose files are
// in the root (its SystemVersion.plist), else that of a current macOS. Read once per host; any thread.
#ifndef MACOS_CARBON_GESTALT_H
#define MACOS_CARBON_GESTALT_H

#include <cstdint>

#include "macos/carbon/FourCharCode.h"

namespace macos {

inline constexpr OSType gestaltSystemVersion = fourCharCode("sysv");
inline constexpr OSType gestaltSystemVersionMajor = fourCharCode("sys1");
inline constexpr OSType gestaltSystemVersionMinor = fourCharCode("sys2");
inline constexpr OSType gestaltSystemVersionBugFix = fourCharCode("sys3");
inline constexpr OSType gestaltProcClkSpeedMHz = fourCharCode("mclk");

inline constexpr OSErr gestaltUndefSelectorErr = -5551;

// Stores the answer and gives noErr. A selector that is not known gives gestaltUndefSelectorErr and
// stores nothing; the processor's clock is never known. gestaltSystemVersion packs the major number as
// two binary-coded digits and the others as one each, 9 standing for all above: 10.15.7 is 0x1097.
OSErr Gestalt(OSType selector, std::int32_t* response);

}  // namespace macos

#endif  // MACOS_CARBON_GESTALT_H
