// SPDX-License-Identifier: MIT
//
// Names of the facts that a URL's item and its volume have, as bookmarks record them. Constants only.
#ifndef MACOS_FOUNDATION_RESOURCEKEYS_H
#define MACOS_FOUNDATION_RESOURCEKEYS_H

namespace macos {

inline constexpr const char* NSURLVolumeIsLocalKey = "NSURLVolumeIsLocalKey";
inline constexpr const char* NSURLVolumeIsEjectableKey = "NSURLVolumeIsEjectableKey";
inline constexpr const char* NSURLVolumeURLForRemountingKey = "NSURLVolumeURLForRemountingKey";

}  // namespace macos

#endif  // MACOS_FOUNDATION_RESOURCEKEYS_H
