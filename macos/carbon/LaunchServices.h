// SPDX-License-Identifier: MIT
//
// Launch Services: finding installed applications (InstalledApplications.h says where). The folders are
// read once per host, and Info.plist files only when a question needs them, so that many questions cost
// one scan. Any thread.
#ifndef MACOS_CARBON_LAUNCHSERVICES_H
#define MACOS_CARBON_LAUNCHSERVICES_H

#include <optional>
#include <string_view>

#include "macos/carbon/FourCharCode.h"
#include "macos/foundation/URL.h"

namespace macos {

inline constexpr OSType kLSUnknownCreator = 0;
inline constexpr OSStatus kLSApplicationNotFoundErr = -10814;

// Finds an application by bundle identifier, then by creator code, then by the file name of its bundle
// (with ".app"; letter case and normalization do not count); nullopt and kLSUnknownCreator are criteria
// that are not given. Of several hits the newest version counts, then the order of the folders. Stores
// the bundle's URL, unless outURL is null, and gives noErr; kLSApplicationNotFoundErr when there is none;
// paramErr without any criterion. A creator code of "????" and an application without one never match.
OSStatus LSFindApplicationForInfo(OSType creator, std::optional<std::string_view> bundleID,
                                  std::optional<std::string_view> name, NSURL* outURL);

}  // namespace macos

#endif  // MACOS_CARBON_LAUNCHSERVICES_H
