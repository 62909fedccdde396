// SPDX-License-Identifier: MIT
#include "macos/foundation/Locale.h"

#include <algorithm>

#include "macos/foundation/ASCII.h"
#include "macos/foundation/Preferences.h"
#include "macos/foundation/Text.h"

namespace macos {

std::string NSLocale::languageCode() const {
  const auto end = std::find_if_not(identifier_.begin(), identifier_.end(), isASCIILetter);
  return lowercaseASCII(
      std::string_view(identifier_.data(), static_cast<std::size_t>(end - identifier_.begin())));
}

std::vector<std::string> NSLocale::preferredLanguages() {
  std::vector<std::string> languages;
  const auto value = CFPreferencesCopyAppValue("AppleLanguages", kCFPreferencesCurrentApplication);
  if (const Array* list = value ? value->ifArray() : nullptr) {
    for (const Value& entry : *list) {
      if (const auto language = entry.ifString()) languages.emplace_back(*language);
    }
  }
  if (languages.empty()) languages.emplace_back("en");
  return languages;
}

}  // namespace macos
