// SPDX-License-Identifier: MIT
#include "app/LegacySets.h"

#include <algorithm>

#include "legacy/AliasChecksum.h"
#include "legacy/CFItem.h"
#include "legacy/PreferenceKeys.h"
#include "macos/foundation/Bundle.h"
#include "macos/foundation/Preferences.h"
#include "macos/foundation/Text.h"
#include "platform/CanonicalLocation.h"

namespace vennick {

using macos::Array;
using macos::Dictionary;
using macos::Value;

namespace {

constexpr std::size_t kChecksumSize = 2;

Dictionary dictionaryIn(const std::optional<Value>& value) {
  const Dictionary* dictionary = value ? value->ifDictionary() : nullptr;
  return dictionary != nullptr ? *dictionary : Dictionary();
}

// The main domain's, also when the settings domain replaces its settings. Without a name the default one.
std::string activeSetName(bool* isNamed) {
  const Dictionary settings =
      dictionaryIn(macos::CFPreferencesCopyAppValue(LegacyKeys::Settings, kLegacyDomain));
  const auto name = settings.string(LegacyKeys::ActiveSet);
  *isNamed = name && !name->empty();
  return *isNamed ? std::string(*name) : macos::NSLocalizedString(kUnnamedSet);
}

LegacySet setFrom(std::string_view name, const Dictionary& stored) {
  LegacySet set;
  set.name = name;
  set.stored = stored;
  if (const Array* favorites = stored.array(LegacyKeys::Favorite)) {
    set.favorites = *favorites;
  }
  if (const Dictionary* folders = stored.dictionary(LegacyKeys::Default)) {
    set.defaultFolders = *folders;
  }
  return set;
}

bool isSum(std::string_view stored, std::uint16_t sum) {
  const auto low = static_cast<char>(sum & 0xFF);
  const auto high = static_cast<char>(sum >> 8);
  return (stored[0] == low && stored[1] == high) || (stored[0] == high && stored[1] == low);
}

// An item without a sum, or with one of another size, is not checked.
bool isDamaged(const Dictionary& item) {
  const auto alias = item.data(LegacyItemKeys::Alias);
  const auto stored = item.data(LegacyItemKeys::AliasChecksum);
  return alias && stored && stored->size() == kChecksumSize &&
         !isSum(*stored, ComputeAliasChecksum(alias->size(), *alias));
}

}  // namespace

LegacySets readLegacySets() {
  Dictionary stored = dictionaryIn(macos::CFPreferencesCopyAppValue(LegacyKeys::FolderSets, kLegacyDomain));
  bool isNamed = false;
  const std::string active = activeSetName(&isNamed);
  if (isNamed && !stored.contains(active)) {
    stored.set(active, Value(Dictionary()));  // it is made when it is missing
  }
  LegacySets result;
  for (const auto& entry : stored) {
    const Dictionary* content = entry.value().ifDictionary();
    result.sets.push_back(setFrom(entry.key(), content != nullptr ? *content : Dictionary()));
  }
  std::stable_sort(result.sets.begin(), result.sets.end(), [](const LegacySet& a, const LegacySet& b) {
    return macos::compareCaseInsensitiveLiteral(a.name, b.name) < 0;
  });
  const auto activeSet = std::find_if(result.sets.begin(), result.sets.end(),
                                      [&](const LegacySet& set) { return set.name == active; });
  const auto global = macos::CFPreferencesCopyAppValue(LegacyKeys::Favorite, kLegacyFavoritesDomain);
  const Array* globalFavorites = global ? global->ifArray() : nullptr;
  if (activeSet == result.sets.end()) {
    result.homelessFavorites = globalFavorites != nullptr ? globalFavorites->size() : 0;
    return result;
  }
  activeSet->isActive = true;
  if (globalFavorites != nullptr) {
    activeSet->favorites = *globalFavorites;
  }
  return result;
}

std::optional<std::string> faultOfLegacyItem(const Value& item, NeedsName needsName) {
  const Dictionary* stored = item.ifDictionary();
  if (stored == nullptr) {
    return "it is no item";
  }
  if (needsName == NeedsName::Yes && stored->string(LegacyItemKeys::Name).value_or("").empty()) {
    return "it has no name";
  }
  if (stored->data(LegacyItemKeys::Alias).value_or("").empty()) {
    return "it has no alias record";
  }
  if (isDamaged(*stored)) {
    return "its alias record is damaged: the checksum is another";
  }
  return std::nullopt;
}

std::optional<macos::NSURL> locationOfLegacyItem(const Value& item, EarlierAttempts attempts) {
  const Dictionary* stored = item.ifDictionary();
  CFItem copy(stored != nullptr ? std::make_shared<Dictionary>(*stored) : nullptr, ResolveMode::AnyTarget);
  if (attempts == EarlierAttempts::Forgotten) {
    copy.clearLocation();
  }
  const auto url = copy.url();
  return url ? std::optional(URLByStandardizingViaURLReference(*url)) : std::nullopt;
}

}  // namespace vennick
