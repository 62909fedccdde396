// SPDX-License-Identifier: MIT
//
// CFPreferences: preference domains over property-list files in ~/Library/Preferences. A change is
// pending in memory until the domain is synchronised; synchronising reads the file afresh, puts the
// changed keys over it, and writes it beside the file and renames it, under a lock that a crashed
// process cannot leave behind. A file that cannot be read counts as empty, is logged once, and is copied
// to "<domain>.plist.damaged" before the first change replaces it. Any thread.
#ifndef MACOS_FOUNDATION_PREFERENCES_H
#define MACOS_FOUNDATION_PREFERENCES_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "macos/foundation/Value.h"

namespace macos {

inline constexpr std::string_view kCFPreferencesCurrentApplication = "kCFPreferencesCurrentApplication";
inline constexpr std::string_view kCFPreferencesAnyApplication = "kCFPreferencesAnyApplication";

// Looks through the application's search list: pending changes and file of its own domain, then the
// global domain.
std::optional<Value> CFPreferencesCopyAppValue(std::string_view key, std::string_view applicationID);
// Writes to the application's own domain only; nullopt removes the key there.
void CFPreferencesSetAppValue(std::string_view key, std::optional<Value> value, std::string_view applicationID);
// Writes what is pending and forgets what was read. False when the file could not be written; what was
// pending stays pending. A domain with nothing pending makes no file.
bool CFPreferencesAppSynchronize(std::string_view applicationID);
// The platform's conversions; *exists is false for a value of a kind that does not convert.
bool CFPreferencesGetAppBooleanValue(std::string_view key, std::string_view applicationID, bool* exists);
std::int64_t CFPreferencesGetAppIntegerValue(std::string_view key, std::string_view applicationID, bool* exists);

// Opens a domain for reading only, for the rest of the current host's life: what is set in it stays in
// memory, over what the file holds, and synchronising only re-reads the file.
void openPreferencesDomainReadOnly(std::string_view applicationID);

}  // namespace macos

#endif  // MACOS_FOUNDATION_PREFERENCES_H
