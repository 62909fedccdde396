// SPDX-License-Identifier: MIT
//
// The table of hotkeys.
#include <algorithm>

#include "items/StoredNumber.h"
#include "macos/foundation/ObjectEquality.h"
#include "macos/frameworks/ShortcutRecorder.h"
#include "settings/SettingsKeys.h"
#include "settings/VKSettings.h"

namespace vennick {

using macos::Dictionary;
using macos::NSKeyValueChange;
using macos::Value;

namespace {

namespace HotkeyKeys {
constexpr std::string_view Context = "context";
constexpr std::string_view Action = "action";
constexpr std::string_view Key = "key";
constexpr std::string_view Name = "name";
}  // namespace HotkeyKeys

// A combination with fewer entries is not complete.
constexpr std::size_t kEntriesOfCompleteKey = 3;

// Values that both lack agree.
bool sameValue(const Dictionary& a, const Dictionary& b, std::string_view key) {
  const Value* x = a.find(key);
  const Value* y = b.find(key);
  return x == nullptr || y == nullptr ? x == y : macos::isEqual(*x, *y);
}

bool keysMatch(const Dictionary* a, const Dictionary* b) {
  if (a == nullptr || b == nullptr) {
    return a == b;
  }
  return sameValue(*a, *b, macos::SRShortcutKeyCode) && sameValue(*a, *b, macos::SRShortcutModifierFlagsKey);
}

bool hasCompleteKey(const Dictionary& entry) {
  const Dictionary* key = entry.dictionary(HotkeyKeys::Key);
  return key != nullptr && key->size() >= kEntriesOfCompleteKey;
}

// What is no number is 0.
std::uint32_t contextOf(const Dictionary& entry) { return number32(entry, HotkeyKeys::Context).value_or(0); }

// Inside the stored entry itself, which does not make the store dirty.
const SharedDictionary& withKeyForCurrentKeyboard(const SharedDictionary& entry) {
  entry->set(HotkeyKeys::Key, Value(VKItem::hotkeyForCurrentKeyboard(*entry->dictionary(HotkeyKeys::Key))));
  return entry;
}

}  // namespace

bool VKSettings::addHotkey(const Dictionary& hotkey, std::uint32_t forContext,
                           const std::optional<std::string>& action, const std::optional<std::string>& name) {
  // An action holds at most one hotkey. Without an action this takes the first entry of the table away.
  // Deliberate.
  deleteHotkey(std::nullopt, action);
  auto entry = std::make_shared<Dictionary>();
  entry->set(HotkeyKeys::Context, Value(forContext));
  if (action) {
    entry->set(HotkeyKeys::Action, Value(*action));
  }
  entry->set(HotkeyKeys::Key, Value(hotkey));
  if (name) {
    entry->set(HotkeyKeys::Name, Value(*name));
  }
  const macos::NSIndexSet indexes{hotkeys_.size()};
  willChangeValuesAtIndexes(NSKeyValueChange::Insertion, indexes, SettingsProperties::Hotkeys);
  hotkeys_.push_back(std::move(entry));
  didChangeValuesAtIndexes(NSKeyValueChange::Insertion, indexes, SettingsProperties::Hotkeys);
  setDirty(true);
  return true;
}

bool VKSettings::deleteHotkey(const std::optional<Dictionary>& hotkey,
                              const std::optional<std::string>& withAction) {
  const auto found = std::find_if(hotkeys_.begin(), hotkeys_.end(), [&](const SharedDictionary& entry) {
    return (!hotkey || keysMatch(&*hotkey, entry->dictionary(HotkeyKeys::Key))) &&
           (!withAction || entry->string(HotkeyKeys::Action) == *withAction);
  });
  if (found == hotkeys_.end()) {
    return false;
  }
  const macos::NSIndexSet indexes{static_cast<std::size_t>(found - hotkeys_.begin())};
  willChangeValuesAtIndexes(NSKeyValueChange::Removal, indexes, SettingsProperties::Hotkeys);
  hotkeys_.erase(found);
  didChangeValuesAtIndexes(NSKeyValueChange::Removal, indexes, SettingsProperties::Hotkeys);
  setDirty(true);
  return true;
}

std::vector<SharedDictionary> VKSettings::hotkeyEntriesForContext(std::uint32_t context) {
  std::vector<SharedDictionary> entries;
  for (const SharedDictionary& entry : hotkeys_) {
    if ((contextOf(*entry) & context) != 0 && hasCompleteKey(*entry)) {
      entries.push_back(withKeyForCurrentKeyboard(entry));
    }
  }
  return entries;
}

SharedDictionary VKSettings::hotkeyEntryForAction(const std::optional<std::string>& action) {
  const auto found = std::find_if(hotkeys_.begin(), hotkeys_.end(), [&](const SharedDictionary& entry) {
    return action && entry->string(HotkeyKeys::Action) == *action && hasCompleteKey(*entry);
  });
  return found == hotkeys_.end() ? nullptr : withKeyForCurrentKeyboard(*found);
}

SharedDictionary VKSettings::hotkeyEntryForHotkey(const Dictionary& hotkey) {
  const auto found = std::find_if(hotkeys_.begin(), hotkeys_.end(), [&](const SharedDictionary& entry) {
    const Dictionary* key = entry->dictionary(HotkeyKeys::Key);
    return key != nullptr && keysMatch(&hotkey, key);
  });
  return found == hotkeys_.end() ? nullptr : *found;
}

}  // namespace vennick
