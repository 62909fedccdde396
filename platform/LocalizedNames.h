// SPDX-License-Identifier: MIT
//
// Names of standard folders in a given language. The platform's own service answers in the application's
// language; for another one a small program among the application's resources is asked. Any thread.
#ifndef PLATFORM_LOCALIZEDNAMES_H
#define PLATFORM_LOCALIZEDNAMES_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/Locale.h"

namespace vennick {

// The program: its first argument is the path, percent-escaped; "-AppleLanguages" with a list in
// parentheses and "-AppleLocale" with an identifier name the language, else it is the system's. It prints
// the name, without a line feed, or a line that begins with kDisplayNameToolError.
inline constexpr std::string_view kDisplayNameTool = "displayNameTool";
inline constexpr std::string_view kDisplayNameToolError = "displayNameTool error:";

// The folder names that have translations: the keys of the system's table, else a list of ours. Found out
// once per process.
const std::vector<std::string>& localizedNames();

// The item's name in the locale's language; in the system's when there is no locale. Every answer is
// remembered for the life of the process, one that the tool could not give too. Deliberate: the answer
// then is the file manager's, and the tool is not asked again.
std::string displayNameAtPathInLocale(std::string_view path, const std::optional<macos::NSLocale>& locale);

}  // namespace vennick

#endif  // PLATFORM_LOCALIZEDNAMES_H
