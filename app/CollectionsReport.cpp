// SPDX-License-Identifier: MIT
#include "app/CollectionsReport.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "app/AppDelegate.h"
#include "app/CollectionsConversion.h"
#include "app/HotkeyText.h"
#include "app/LegacySets.h"
#include "app/SettingsMapping.h"
#include "app/StoredSets.h"
#include "items/VKItem.h"
#include "legacy/CFItem.h"
#include "legacy/PreferenceKeys.h"
#include "macos/foundation/Text.h"
#include "macos/frameworks/ShortcutRecorder.h"
#include "macos/host/DiskMemory.h"
#include "platform/CanonicalLocation.h"
#include "settings/SettingsKeys.h"

namespace vennick {

using macos::Array;
using macos::Dictionary;
using macos::NSURL;
using macos::Value;

namespace {

std::string quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

std::string placeholderText() {
  return URLByStandardizingViaURLReference(NSURL::fileURLWithPath(kEmptyPath)).absoluteString();
}

// --- What version 5 holds

std::string locationText(const Dictionary& entry) {
  const std::string text(entry.string(ItemKeys::URL).value_or(""));
  if (text == placeholderText()) return "(leads nowhere)";
  if (text == kSeparatorURL) return "(separator)";
  const auto url = NSURL::URLWithString(text);
  return url && url->isFileURL() ? macos::composed(url->path()) : text;
}

FavoriteReport favoriteReport(const Dictionary& entry) {
  const Dictionary* hotkey = entry.dictionary(ItemKeys::Hotkey);
  return {std::string(entry.string(ItemKeys::Name).value_or("-")),
          hotkey != nullptr ? hotkeyText(*hotkey) : "-", locationText(entry)};
}

// An entry without the list is for every application, as one that names "*".
std::vector<std::string> applicationsOf(const Dictionary& entry) {
  std::vector<std::string> applications;
  const Array* list = entry.array(ItemKeys::Applications);
  for (const Value& application : list != nullptr ? *list : Array()) {
    if (const auto text = application.ifString()) applications.emplace_back(*text);
  }
  if (applications.empty()) applications.emplace_back(kAnyType);
  return applications;
}

// Of several for one application the first one counts.
DefaultFolderReport defaultFolderReport(const Dictionary& entry, std::set<std::string>& servedApplications) {
  DefaultFolderReport report;
  bool isHidden = true;
  for (const std::string& application : applicationsOf(entry)) {
    report.application += report.application.empty() ? "" : ", ";
    report.application += application == kAnyType ? "every application" : application;
    isHidden &= !servedApplications.insert(application).second;
  }
  report.location = locationText(entry) + (isHidden ? " (hidden by the one before it)" : "");
  return report;
}

SetReport setReport(const StoredSet& set) {
  SetReport report;
  report.name = set.name;
  report.isCurrent = set.isCurrent;
  for (const Value& favorite : set.favorites) {
    if (const Dictionary* entry = favorite.ifDictionary()) report.favorites.push_back(favoriteReport(*entry));
  }
  std::set<std::string> servedApplications;
  for (const Value& folder : set.defaultFolders) {
    if (const Dictionary* entry = folder.ifDictionary()) {
      report.defaultFolders.push_back(defaultFolderReport(*entry, servedApplications));
    }
  }
  return report;
}

// --- What is not among it

// The favorites of a version 5 set by location.
using FavoritesByURL = std::multimap<std::string, const Dictionary*, std::less<>>;

FavoritesByURL favoritesByURL(const StoredSet& set) {
  FavoritesByURL favorites;
  for (const Value& favorite : set.favorites) {
    const Dictionary* entry = favorite.ifDictionary();
    if (entry != nullptr) favorites.emplace(entry->string(ItemKeys::URL).value_or(""), entry);
  }
  return favorites;
}

bool hasHotkey(const Dictionary& favorite, const CommandKey& key) {
  const Dictionary* hotkey = favorite.dictionary(ItemKeys::Hotkey);
  return hotkey != nullptr && hotkey->integer(macos::SRShortcutKeyCode) == macos::Integer(key.keyCode) &&
         hotkey->integer(macos::SRShortcutModifierFlagsKey) ==
             macos::Integer(modifierFlagsFromLegacyMask(key.modifiers));
}

void compareHotkey(const Value& item, const Dictionary& favorite, const std::string& what,
                   std::vector<OmissionReport>& omissions) {
  const Dictionary& stored = *item.ifDictionary();
  if (!stored.contains(LegacyItemKeys::CommandKey)) return;
  CommandKey key;
  const CFItem copy(std::make_shared<Dictionary>(stored), ResolveMode::AnyTarget);
  if (!copy.getCommandKey(&key)) {
    omissions.push_back({"hotkey of " + what, "its record is no hotkey"});
  } else if (!hasHotkey(favorite, key)) {
    omissions.push_back({"hotkey of " + what, "another favorite for the same place took its place"});
  }
}

void compareFavorite(const Value& item, const std::string& position, EarlierAttempts attempts,
                     const FavoritesByURL& favorites, std::vector<OmissionReport>& omissions) {
  const Dictionary* stored = item.ifDictionary();
  const std::string name(stored != nullptr ? stored->string(LegacyItemKeys::Name).value_or("") : "");
  const std::string what = "favorite " + (name.empty() ? position : quoted(name));
  if (const auto fault = faultOfLegacyItem(item, NeedsName::Yes)) {
    omissions.push_back({what, *fault});
    return;
  }
  const auto location = locationOfLegacyItem(item, attempts);
  const auto [first, last] = favorites.equal_range(location ? location->absoluteString() : placeholderText());
  for (auto candidate = first; candidate != last; ++candidate) {
    if (candidate->second->string(ItemKeys::Name) == name) {
      compareHotkey(item, *candidate->second, what, omissions);
      return;
    }
  }
  if (first == last) {
    omissions.push_back({what, "it is not in the set any more; the files do not tell why"});
    return;
  }
  const std::string other = quoted(first->second->string(ItemKeys::Name).value_or(""));
  omissions.push_back({what, location ? other + " is for the same place and took its place"
                                      : "it leads nowhere, as does " + other + ", which took its place"});
}

void compareDefaultFolder(std::string_view key, const Value& item, const StoredSet& set,
                          std::vector<OmissionReport>& omissions) {
  const std::string what = "default folder of " + quoted(key);
  const auto application = AppDelegate::appIDForKey(key);
  if (!application) {
    omissions.push_back({what, "no such application is here"});
    return;
  }
  if (const auto fault = faultOfLegacyItem(item, NeedsName::No)) {
    omissions.push_back({what, *fault});
    return;
  }
  const auto location = locationOfLegacyItem(item, EarlierAttempts::Count);
  if (!location) {
    omissions.push_back({what, "it leads nowhere"});
    return;
  }
  const std::string url = location->absoluteString();
  for (const Value& folder : set.defaultFolders) {
    const Dictionary* entry = folder.ifDictionary();
    if (entry == nullptr || entry->string(ItemKeys::URL) != url) continue;
    const auto applications = applicationsOf(*entry);
    if (std::find(applications.begin(), applications.end(), *application) != applications.end()) return;
  }
  omissions.push_back({what, "it is not in the set any more; the files do not tell why"});
}

std::size_t countOf(const Value& container) {
  if (const Array* array = container.ifArray()) return array->size();
  const Dictionary* dictionary = container.ifDictionary();
  return dictionary != nullptr ? dictionary->size() : 0;
}

constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kListsLeftBehind{
    {{LegacyKeys::Recent, "recent"},
     {LegacyKeys::Rebound, "rebound"},
     {LegacyKeys::LastOpen, "last open"},
     {LegacyKeys::LastSave, "last save"},
     {LegacyKeys::SpotlightHistory, "search history"},
     {LegacyKeys::SpotlightTerms, "search terms"}}};

void addListsLeftBehind(const LegacySet& set, std::vector<OmissionReport>& omissions) {
  std::string what;
  for (const auto& [key, name] : kListsLeftBehind) {
    const Value* list = set.stored.find(key);
    const std::size_t count = list != nullptr ? countOf(*list) : 0;
    if (count > 0) {
      what += (what.empty() ? "" : ", ") + std::string(name) + " " + std::to_string(count);
    }
  }
  if (!what.empty()) {
    omissions.push_back({what, "version 5 begins these lists anew"});
  }
}

void compareSet(const LegacySet& set, const StoredSet& stored, std::vector<OmissionReport>& omissions) {
  const FavoritesByURL favorites = favoritesByURL(stored);
  const EarlierAttempts attempts = set.isActive ? EarlierAttempts::Forgotten : EarlierAttempts::Count;
  for (std::size_t index = 0; index < set.favorites.size(); ++index) {
    compareFavorite(set.favorites[index], std::to_string(index + 1), attempts, favorites, omissions);
  }
  for (const auto& folder : set.defaultFolders) {
    compareDefaultFolder(folder.key(), folder.value(), stored, omissions);
  }
  addListsLeftBehind(set, omissions);
}

// Nothing of it is ever read: version 4 takes an empty name for none, and the default set for the active one.
constexpr std::string_view kNameless =
    "no set without a name can be active; its entries are left out with it";

// A set that was refused gave its entries to the set that was current then: the one before it, else one
// that is not known any more.
void compareSets(const LegacySets& legacy, const std::vector<StoredSet>& stored, CollectionsReport& report) {
  std::map<std::string_view, std::size_t> indexes;
  for (std::size_t index = 0; index < stored.size(); ++index) indexes.emplace(stored[index].name, index);
  auto current = indexes.end();
  for (const LegacySet& set : legacy.sets) {
    if (set.name.empty()) {
      report.omissions.push_back({"set \"\"", std::string(kNameless)});
      continue;
    }
    const auto own = indexes.find(set.name);
    if (own != indexes.end()) current = own;
    const bool isKnown = current != indexes.end();
    std::vector<OmissionReport>& omissions =
        isKnown ? report.sets[current->second].omissions : report.omissions;
    if (own == indexes.end()) {
      const std::string into = isKnown ? quoted(current->first) : "the set that was current";
      omissions.push_back(
          {"set " + quoted(set.name), refusalOfSetName(set.name).value_or("it is not in the list any more") +
                                          "; its entries went into " + into});
    }
    if (isKnown) compareSet(set, stored[current->second], omissions);
  }
  if (legacy.homelessFavorites > 0) {
    report.omissions.push_back(
        {"favorites of the favorites domain, " + std::to_string(legacy.homelessFavorites),
         "no set is active that they could belong to"});
  }
}

}  // namespace

CollectionsReport reportCollections() {
  // One look at the disk for all sets: their entries lead to the same places again and again.
  const macos::RememberedDisk disk;
  const std::vector<StoredSet> stored = readStoredSets();
  CollectionsReport report;
  for (const StoredSet& set : stored) report.sets.push_back(setReport(set));
  compareSets(readLegacySets(), stored, report);
  return report;
}

}  // namespace vennick
