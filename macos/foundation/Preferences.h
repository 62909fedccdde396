// SPDX-License-Identifier: MIT
//
// CFPreferences: preference domains over property-list files in ~/Library/Preferences. A change is
// pending in memory until the domain is synchronised; synchronising reads the file afresh, puts the
// changed keys over it, and writes it beside the file and renames it, under a lock that a crashed
// process cannot leave behind. Any thread.
//
// A file that is no property list, or one without a dictionary at the top, counts as empty, is logged
// once, and is copied to "<domain>.plist.damaged" before the first change replaces it. One that is there
// and cannot be read counts as empty too, and is never replaced. What no property list can be written with
// (a null in a binary file) is left out, and logged, when the file is written again. A link in the file's
// place is written through. Files of this computer alone (ByHost) are not searched.
#ifndef MACOS_FOUNDATION_PREFERENCES_H
#define MACOS_FOUNDATION_PREFERENCES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "macos/foundation/Value.h"

namespace macos {

// In place of an application identifier: the main bundle's (the program's name when it has none), and the
// global domain. A name that could lead out of the folder (with a slash or a NUL, or empty) is a domain
// that holds nothing and takes nothing.
inline constexpr std::string_view kCFPreferencesCurrentApplication = "kCFPreferencesCurrentApplication";
inline constexpr std::string_view kCFPreferencesAnyApplication = "kCFPreferencesAnyApplication";

// Looks through the application's search list: pending changes and file of its own domain, then the
// global domain. The file is looked at again after each synchronisation only.
std::optional<Value> CFPreferencesCopyAppValue(std::string_view key, std::string_view applicationID);
// Everything that the application's own domain holds, pending changes included; empty when there is
// nothing.
Dictionary CFPreferencesCopyMultiple(std::string_view applicationID);
// What the file of the application's own domain holds, whatever is pending.
std::optional<Value> copyStoredPreferencesValue(std::string_view key, std::string_view applicationID);

// Writes to the application's own domain only; nullopt removes the key there. A value equal to the one
// that the domain holds (same kind, same content) changes nothing. A value that no property list can hold
// (null, a URL, a date beyond the years of four digits, nesting beyond 500 levels, in it anywhere) is logged
// and ignored.
void CFPreferencesSetAppValue(std::string_view key, std::optional<Value> value,
                              std::string_view applicationID);

// Writes what is pending and forgets what was read. False when the file could not be written; what was
// pending stays pending. A domain with nothing pending makes no file; one left without keys has none.
bool CFPreferencesAppSynchronize(std::string_view applicationID);

// The platform's conversions; *exists, which may be null, is false for a value of a kind that does not
// convert: a real for either, a number's text for the first, a boolean for the second.
bool CFPreferencesGetAppBooleanValue(std::string_view key, std::string_view applicationID, bool* exists);
std::int64_t CFPreferencesGetAppIntegerValue(std::string_view key, std::string_view applicationID,
                                             bool* exists);

// Opens a domain for reading only, for the rest of the current host's life: what is set in it stays in
// memory, over what the file holds, and synchronising only re-reads the file.
void openPreferencesDomainReadOnly(std::string_view applicationID);

// Writes what NSUserDefaults objects changed and nobody synchronised yet; called by the run loop when it
// is idle and by the application when it ends. What was set through CFPreferences alone is not written.
// False when a domain could not be written.
bool flushPreferences();

// The file's path for a domain; "" for a name that is refused.
std::string preferencesFilePath(std::string_view applicationID);

}  // namespace macos

#endif  // MACOS_FOUNDATION_PREFERENCES_H
