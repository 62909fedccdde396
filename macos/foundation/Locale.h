// SPDX-License-Identifier: MIT
//
// NSLocale as far as languages go: an identifier and what it says, and the user's list of languages.
// Values; any thread.
#ifndef MACOS_FOUNDATION_LOCALE_H
#define MACOS_FOUNDATION_LOCALE_H

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace macos {

class NSLocale {
 public:
  // "en_US", "zh-Hans-CN", or whatever else; a code that nothing is known of is kept as it stands.
  explicit NSLocale(std::string identifier) : identifier_(std::move(identifier)) {}

  const std::string& localeIdentifier() const { return identifier_; }
  // The letters at the start of the identifier, small; "" when it begins with none.
  std::string languageCode() const;

  // The user's languages for this program, best first ("AppleLanguages" of its own domain or the global
  // one); English when none are set.
  static std::vector<std::string> preferredLanguages();

 private:
  std::string identifier_;
};

// The display name of a two-letter language code in the locale "en_US"; nullopt for a code that is none.
std::optional<std::string> englishNameOfLanguage(std::string_view code);

}  // namespace macos

#endif  // MACOS_FOUNDATION_LOCALE_H
