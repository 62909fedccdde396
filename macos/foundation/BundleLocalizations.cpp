// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cctype>
#include <utility>

#include "macos/foundation/Bundle.h"

namespace macos {

namespace {

// What a language tag says; an empty part is not said.
struct Language {
  std::string code;
  std::string script;
  std::string region;
};

using Names = std::pair<std::string_view, std::string_view>;

// Localization folders had English names before they had codes.
constexpr std::array<Names, 7> kOldStyleNames{{{"Dutch", "nl"},
                                               {"English", "en"},
                                               {"French", "fr"},
                                               {"German", "de"},
                                               {"Italian", "it"},
                                               {"Japanese", "ja"},
                                               {"Spanish", "es"}}};

// Codes that ISO 639 replaced, and the two that the platform takes for Norwegian Bokmål.
constexpr std::array<Names, 7> kOtherCodes{
    {{"in", "id"}, {"iw", "he"}, {"ji", "yi"}, {"mo", "ro"}, {"nn", "nb"}, {"no", "nb"}, {"tl", "fil"}}};

// Where Chinese is written in traditional characters.
constexpr std::array<std::string_view, 3> kTraditionalRegions{"HK", "MO", "TW"};

// The region that stands for a language that is asked for without one.
constexpr std::array<Names, 1> kDefaultRegions{{{"pt", "BR"}}};

template <std::size_t N>
std::string_view find(const std::array<Names, N>& names, std::string_view name) {
  const auto found =
      std::find_if(names.begin(), names.end(), [name](const Names& n) { return n.first == name; });
  return found == names.end() ? std::string_view{} : found->second;
}

template <std::size_t N>
std::string replaced(const std::array<Names, N>& names, const std::string& name) {
  const std::string_view other = find(names, name);
  return other.empty() ? name : std::string(other);
}

std::string mapped(std::string_view text, int (*change)(int)) {
  std::string result(text);
  for (char& c : result) c = static_cast<char>(change(static_cast<unsigned char>(c)));
  return result;
}

Language languageOfTag(std::string_view tag) {
  Language language;
  if (const std::string_view code = find(kOldStyleNames, tag); !code.empty()) tag = code;
  for (std::size_t start = 0; start <= tag.size();) {
    const std::size_t end = std::min(tag.find_first_of("-_", start), tag.size());
    const std::string_view part = tag.substr(start, end - start);
    if (start == 0) {
      language.code = replaced(kOtherCodes, mapped(part, std::tolower));
    } else if (part.size() == 4 && language.script.empty()) {
      language.script = mapped(part, std::tolower);
    } else if ((part.size() == 2 || part.size() == 3) && language.region.empty()) {
      language.region = mapped(part, std::toupper);
    }
    start = end + 1;
  }
  if (language.code == "zh" && language.script.empty()) {
    const bool isTraditional = std::find(kTraditionalRegions.begin(), kTraditionalRegions.end(),
                                         language.region) != kTraditionalRegions.end();
    language.script = isTraditional ? "hant" : "hans";
  }
  return language;
}

// How well a localization suits a language; 0 when it does not.
int suitability(const Language& wanted, const Language& offered) {
  if (wanted.code.empty() || wanted.code != offered.code) return 0;
  if (!wanted.script.empty() && !offered.script.empty() && wanted.script != offered.script) return 0;
  if (wanted.region == offered.region) return 4;
  if (offered.region.empty()) return 3;
  return find(kDefaultRegions, wanted.code) == offered.region ? 2 : 1;
}

}  // namespace

std::vector<std::string> NSBundle::preferredLocalizationsFromArray(
    const std::vector<std::string>& localizations, const std::vector<std::string>& forPreferences) {
  for (const std::string& preference : forPreferences) {
    const Language wanted = languageOfTag(preference);
    std::vector<std::pair<int, std::string>> suitable;
    for (const std::string& localization : localizations) {
      const int degree = suitability(wanted, languageOfTag(localization));
      // Other regions' are a last resort, not a supplement.
      if (degree > 0) suitable.emplace_back(degree, localization);
    }
    if (suitable.empty()) continue;
    std::stable_sort(suitable.begin(), suitable.end(),
                     [](const auto& a, const auto& b) { return a.first > b.first; });
    std::vector<std::string> result;
    for (auto& [degree, localization] : suitable) {
      if (degree >= 3 || result.empty()) result.push_back(std::move(localization));
    }
    return result;
  }
  return {};
}

}  // namespace macos
