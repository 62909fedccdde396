// SPDX-License-Identifier: MIT
//
// displayNameTool: prints the name under which a user sees an item, in a given language or in the
// system's.
//
//   displayNameTool ESCAPED_PATH [-AppleLanguages '(de)'] [-AppleLocale de_DE]
//
// The path is percent-escaped. The name is printed without a line feed. What goes wrong is printed, on
// standard output too, as a line that begins with "displayNameTool error:".
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/DisplayName.h"
#include "macos/foundation/Locale.h"
#include "macos/foundation/Preferences.h"
#include "macos/foundation/PropertyList.h"
#include "macos/foundation/URL.h"
#include "platform/LocalizedNames.h"

namespace vennick {
namespace {

using Words = std::vector<std::string>;

void print(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

int fail(const std::string& reason) {
  print(std::string(kDisplayNameToolError) + " " + reason + "\n");
  return 1;
}

// The value behind "-key", as the platform's argument domain has it.
std::optional<std::string> argument(const Words& words, std::string_view key) {
  for (std::size_t index = 1; index + 1 < words.size(); ++index) {
    if (words[index] == key) {
      return words[index + 1];
    }
  }
  return std::nullopt;
}

void appendStrings(Words& words, const macos::Value& list) {
  if (const macos::Array* array = list.ifArray()) {
    for (const macos::Value& value : *array) {
      if (const auto text = value.ifString()) {
        words.emplace_back(*text);
      }
    }
  }
}

void appendLanguageOf(Words& languages, const std::string& localeIdentifier) {
  const std::string code = macos::NSLocale(localeIdentifier).languageCode();
  if (!code.empty()) {
    languages.push_back(code);
  }
}

Words givenLanguages(const std::string& list, const std::optional<std::string>& locale) {
  Words languages;
  if (const auto reading = macos::NSPropertyListSerialization::propertyListWithData(list); reading.ok()) {
    appendStrings(languages, reading->value);
  }
  if (locale) {
    appendLanguageOf(languages, *locale);
  }
  return languages;
}

// The user's languages, then that of the user's region, then English.
Words systemLanguages() {
  Words languages;
  if (const auto list =
          macos::CFPreferencesCopyAppValue("AppleLanguages", macos::kCFPreferencesAnyApplication)) {
    appendStrings(languages, *list);
  }
  if (const auto locale =
          macos::CFPreferencesCopyAppValue("AppleLocale", macos::kCFPreferencesAnyApplication)) {
    appendLanguageOf(languages, std::string(locale->ifString().value_or("")));
  }
  languages.emplace_back("en");
  return languages;
}

int run(const Words& words) {
  if (words.empty()) {
    return fail("no path");
  }
  const auto escaped = macos::NSURL::URLWithString(words[0]);
  const std::string path = escaped ? escaped->fileSystemRepresentation() : "";
  if (path.empty()) {
    return fail("\"" + words[0] + "\" is no escaped path");
  }
  const auto list = argument(words, "-AppleLanguages");
  const auto locale = argument(words, "-AppleLocale");
  print(macos::displayNameInLanguages(path, list ? givenLanguages(*list, locale) : systemLanguages()));
  return 0;
}

}  // namespace
}  // namespace vennick

int main(int argc, char** argv) { return vennick::run(vennick::Words(argv + 1, argv + argc)); }
