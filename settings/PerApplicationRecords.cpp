// SPDX-License-Identifier: MIT
//
// What is remembered per application: rebound history, last folders, file actions, dialog frames and
// sidebar widths.
#include <algorithm>

#include "platform/CanonicalLocation.h"
#include "settings/SettingsKeys.h"
#include "settings/VKSettings.h"

namespace vennick {

using macos::Array;
using macos::Dictionary;
using macos::NSURL;
using macos::Value;

namespace {

namespace ReboundKeys {
constexpr std::string_view URL = "url";
constexpr std::string_view Name = "name";
}  // namespace ReboundKeys

namespace ActionKeys {
constexpr std::string_view Name = "name";
constexpr std::string_view Argument = "argument";
constexpr std::string_view Enabled = "enabled";
}  // namespace ActionKeys

// "%@+%ld": one application's one kind of dialog.
std::string dialogKey(std::string_view application, std::int64_t dialogType) {
  return std::string(application) + "+" + std::to_string(dialogType);
}

std::string locationText(const NSURL& url) { return URLByStandardizingViaURLReference(url).absoluteString(); }

// The index of the first entry of that location, or the size.
std::size_t indexOfLocation(const Array& entries, std::string_view location) {
  const auto found = std::find_if(entries.begin(), entries.end(), [&](const Value& entry) {
    const Dictionary* dictionary = entry.ifDictionary();
    return dictionary != nullptr && dictionary->string(ReboundKeys::URL) == location;
  });
  return static_cast<std::size_t>(found - entries.begin());
}

SharedEntries::iterator entryNamed(SharedEntries& entries, std::string_view name) {
  return std::find_if(entries.begin(), entries.end(),
                      [&](const SharedDictionary& entry) { return entry->string(ActionKeys::Name) == name; });
}

}  // namespace

bool VKSettings::addRebound(const std::optional<std::string>& name, const std::optional<NSURL>& forURL,
                            const std::optional<std::string>& forApp) {
  if (!forURL || !forApp) {
    return false;
  }
  const std::string location = locationText(*forURL);
  announceChange(SettingsProperties::Rebound, [&] {
    if (!rebound_) {
      rebound_.emplace();
    }
    const Array* stored = rebound_->array(*forApp);
    Array entries = stored != nullptr ? *stored : Array();
    const std::size_t index = indexOfLocation(entries, location);
    Dictionary entry{{ReboundKeys::URL, Value(location)}};
    if (index < entries.size()) {
      entry = *entries[index].ifDictionary();
      entries.removeAt(index);
    }
    if (name) {
      entry.set(ReboundKeys::Name, Value(*name));
    } else {
      entry.remove(ReboundKeys::Name);
    }
    entries.insert(0, Value(std::move(entry)));
    trimRebound(entries);
    rebound_->set(*forApp, Value(std::move(entries)));
  });
  setDirty(true);
  return false;
}

// A size of 0 keeps nothing; a negative one is, in the unsigned comparison, never exceeded.
void VKSettings::trimRebound(Array& entries) const {
  const auto size = static_cast<std::uint64_t>(defaults()->integerForKey(SettingsKeys::ReboundHistorySize));
  while (entries.size() > size) {
    entries.removeAt(entries.size() - 1);
  }
}

std::optional<std::string> VKSettings::reboundForURL(const NSURL& url,
                                                     const std::optional<std::string>& forApp) {
  const Array* entries = rebound_ && forApp ? rebound_->array(*forApp) : nullptr;
  if (entries == nullptr) {
    return std::nullopt;
  }
  const std::size_t index = indexOfLocation(*entries, locationText(url));
  const auto name =
      index < entries->size() ? (*entries)[index].ifDictionary()->string(ReboundKeys::Name) : std::nullopt;
  return name ? std::optional<std::string>(*name) : std::nullopt;
}

bool VKSettings::deleteRebound(const std::optional<std::string>& /*name*/, const NSURL& forURL,
                               const std::optional<std::string>& forApp) {
  const Array* entries = rebound_ && forApp ? rebound_->array(*forApp) : nullptr;
  if (entries == nullptr) {
    return false;
  }
  const std::size_t index = indexOfLocation(*entries, locationText(forURL));
  const bool isThere = index < entries->size();
  if (isThere) {
    announceChange(SettingsProperties::Rebound,
                   [&] { rebound_->findMutable(*forApp)->ifArray()->removeAt(index); });
  }
  // As soon as the application has a list. Deliberate.
  setDirty(true);
  return isThere;
}

bool VKSettings::addLastFolder(const NSURL& url, std::string_view forApp, std::int64_t dialogType) {
  if (!lastFolders_) {
    lastFolders_.emplace();
  }
  lastFolders_->set(dialogKey(forApp, dialogType), Value(url.absoluteString()));
  setDirty(true);
  return true;
}

std::optional<NSURL> VKSettings::lastFolderForApp(std::string_view application, std::int64_t dialogType) {
  const auto text = lastFolders_ ? lastFolders_->string(dialogKey(application, dialogType)) : std::nullopt;
  return text ? NSURL::URLWithString(*text) : std::nullopt;
}

bool VKSettings::deleteLastFolderForApp(std::string_view application, std::int64_t dialogType) {
  if (lastFolders_) {
    lastFolders_->remove(dialogKey(application, dialogType));
  }
  setDirty(true);
  return true;
}

bool VKSettings::addFileAction(std::string_view name, const std::optional<std::string>& withArgument,
                               bool enabled, std::string_view forApp) {
  announceChange(SettingsProperties::SaveActions, [&] {
    SharedEntries& entries = saveActions_.findOrMake(forApp);
    auto entry = entryNamed(entries, name);
    if (entry == entries.end()) {
      entry = entries.insert(entries.end(), std::make_shared<Dictionary>());
    }
    (*entry)->set(ActionKeys::Name, Value(name));
    (*entry)->set(ActionKeys::Argument, Value(withArgument.value_or("")));
    (*entry)->set(ActionKeys::Enabled, Value(enabled));
  });
  return true;
}

SharedDictionary VKSettings::fileAction(std::string_view name, std::string_view forApp) {
  SharedEntries* entries = saveActions_.find(forApp);
  if (entries == nullptr) {
    return nullptr;
  }
  const auto entry = entryNamed(*entries, name);
  return entry == entries->end() ? nullptr : *entry;
}

// An application's list stays when its last action goes.
bool VKSettings::deleteFileAction(std::string_view name, std::string_view forApp) {
  SharedEntries* entries = saveActions_.find(forApp);
  if (entries == nullptr) {
    return false;
  }
  const auto entry = entryNamed(*entries, name);
  if (entry == entries->end()) {
    return false;
  }
  announceChange(SettingsProperties::SaveActions, [&] { entries->erase(entry); });
  return true;
}

bool VKSettings::saveFrame(const NSRect& frame, std::string_view forApp, std::int64_t dialogType) {
  framesForApps_.set(dialogKey(forApp, dialogType), Value(NSStringFromRect(frame)));
  return true;
}

NSRect VKSettings::frameForApp(std::string_view application, std::int64_t dialogType) {
  return NSRectFromString(framesForApps_.string(dialogKey(application, dialogType)).value_or(""));
}

bool VKSettings::saveSidebarWidth(float width, std::string_view forApp, std::int64_t dialogType) {
  sidebarWidthsForApps_.set(dialogKey(forApp, dialogType), Value(static_cast<double>(width)));
  return true;
}

float VKSettings::sidebarWidthForApp(std::string_view application, std::int64_t dialogType) {
  const std::string key = dialogKey(application, dialogType);
  if (const auto integer = sidebarWidthsForApps_.integer(key)) {
    return static_cast<float>(integer->toDouble());
  }
  return static_cast<float>(sidebarWidthsForApps_.real(key).value_or(0));
}

}  // namespace vennick
