// SPDX-License-Identifier: MIT
#include "items/VKItem.h"

#include <cstdio>

#include "items/ItemFacts.h"
#include "items/LocationIndex.h"
#include "items/StoredNumber.h"
#include "macos/foundation/Bookmark.h"
#include "macos/foundation/Log.h"
#include "macos/foundation/ResourceKeys.h"
#include "platform/CanonicalLocation.h"
#include "platform/FileQueries.h"

namespace vennick {

using macos::Array;
using macos::Dictionary;
using macos::NSData;
using macos::NSDate;
using macos::NSURL;
using macos::Value;

namespace {

std::optional<NSURL> urlFromString(std::optional<std::string_view> text) {
  return text ? NSURL::URLWithString(*text) : std::nullopt;
}

bool isRelativeLocation(const NSURL& url) { return url.path().starts_with('.'); }

}  // namespace

std::optional<NSURL> VKItem::url() const {
  return dict_ ? urlFromString(dict_->string(ItemKeys::URL)) : std::nullopt;
}

void VKItem::setUrl(const std::optional<NSURL>& url) {
  if (!dict_) {
    return;
  }
  noteLocationChange();
  if (!url) {
    dict_->remove(ItemKeys::URL);
    setName(std::nullopt);
    setType(kItemTypeFolder);
    dict_->remove(ItemKeys::Bookmark);
    return;
  }
  dict_->set(ItemKeys::URL, Value(url->absoluteString()));
  setName(shownName(*url));
  setType(pathExistsAndIsFileOrPackage(*url) ? kItemTypeFile : kItemTypeFolder);
  std::optional<NSData> bookmark = pathExists(*url) ? bookmarkForItem(*url) : std::nullopt;
  setOrRemove(ItemKeys::Bookmark, bookmark ? std::optional<Value>(Value(*bookmark)) : std::nullopt);
}

std::optional<NSURL> VKItem::resolvedURL(unsigned options, const std::optional<NSURL>& relativeToURL) {
  if (!dict_) {
    return std::nullopt;
  }
  const std::optional<std::string_view> stored = dict_->string(ItemKeys::URL);
  std::optional<NSURL> location = urlFromString(stored);
  if (location && relativeToURL && isRelativeLocation(*location)) {
    auto inBase = NSURL::URLWithStringRelativeToURL(*stored, *relativeToURL);
    if (inBase && pathExists(*inBase)) {
      location = URLByStandardizingViaURLReference(*inBase);
    }
  }
  if (location && pathExists(*location)) {
    return location;
  }
  const std::optional<std::string_view> bookmark = dict_->data(ItemKeys::Bookmark);
  if (!bookmark) {
    return location;
  }
  // A bookmark has the last word: one that leads nowhere makes the answer nothing.
  std::optional<NSURL> found = macos::URLByResolvingBookmarkData(NSData{std::string(*bookmark)}, options);
  if (found) {
    const std::string text = found->absoluteString();
    if (!stored || *stored != text) {
      noteLocationChange();
      dict_->set(ItemKeys::URL, Value(text));
    }
  }
  return found;
}

bool VKItem::canBeRemounted() const {
  const auto bookmark = dict_ ? dict_->data(ItemKeys::Bookmark) : std::nullopt;
  if (!bookmark) {
    return false;
  }
  const Dictionary facts = macos::resourceValuesForKeys(
      {macos::NSURLVolumeIsLocalKey, macos::NSURLVolumeIsEjectableKey}, NSData{std::string(*bookmark)});
  // A fact that is missing reads as no, so that a bookmark without facts, or one that cannot be read,
  // counts as one that can be mounted again. Deliberate.
  return facts.boolean(macos::NSURLVolumeIsEjectableKey).value_or(false) ||
         !facts.boolean(macos::NSURLVolumeIsLocalKey).value_or(false);
}

std::optional<std::string> VKItem::name() const {
  const auto text = dict_ ? dict_->string(ItemKeys::Name) : std::nullopt;
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

void VKItem::setName(const std::optional<std::string>& name) {
  setOrRemove(ItemKeys::Name, name ? std::optional<Value>(Value(*name)) : std::nullopt);
}

std::optional<NSDate> VKItem::date() const { return dict_ ? dict_->date(ItemKeys::Date) : std::nullopt; }

void VKItem::setDate(const std::optional<NSDate>& date) {
  setOrRemove(ItemKeys::Date, date ? std::optional<Value>(Value(*date)) : std::nullopt);
}

std::optional<Dictionary> VKItem::hotkey() const {
  const Dictionary* stored = dict_ ? dict_->dictionary(ItemKeys::Hotkey) : nullptr;
  return stored != nullptr ? std::optional<Dictionary>(hotkeyForCurrentKeyboard(*stored)) : std::nullopt;
}

void VKItem::setHotkey(const std::optional<Dictionary>& hotkey) {
  setOrRemove(ItemKeys::Hotkey, hotkey ? std::optional<Value>(Value(*hotkey)) : std::nullopt);
}

std::uint32_t VKItem::type() const { return dict_ ? number32(*dict_, ItemKeys::ItemType).value_or(0) : 0; }

void VKItem::setType(std::uint32_t type) { setOrRemove(ItemKeys::ItemType, Value(type)); }

std::uint32_t VKItem::flags() const {
  return dict_ ? number32(*dict_, ItemKeys::Flags).value_or(kDefaultItemFlags) : kDefaultItemFlags;
}

void VKItem::setFlags(std::uint32_t flags) { setOrRemove(ItemKeys::Flags, Value(flags)); }

Array* VKItem::fileTypes() { return repairedList(ItemKeys::FileTypes); }

void VKItem::setFileTypes(const std::optional<Array>& fileTypes) {
  setOrRemove(ItemKeys::FileTypes, fileTypes ? std::optional<Value>(Value(*fileTypes)) : std::nullopt);
}

Array* VKItem::applications() { return repairedList(ItemKeys::Applications); }

void VKItem::setApplications(const std::optional<Array>& applications) {
  setOrRemove(ItemKeys::Applications,
              applications ? std::optional<Value>(Value(*applications)) : std::nullopt);
}

std::string VKItem::description() const {
  char text[32];
  std::snprintf(text, sizeof text, "<VKItem: %p>", static_cast<const void*>(dict_.get()));
  return text;
}

Array* VKItem::repairedList(std::string_view key) {
  if (!dict_) {
    return nullptr;
  }
  const Array* stored = dict_->array(key);
  if (stored == nullptr || stored->empty()) {
    const std::optional<NSURL> location = url();
    macos::NSLog(description() + " : " + (location ? location->absoluteString() : "(null)") + " : " +
                 std::string(key) + " is null or empty. Fixing it.");
    dict_->set(key, Value(Array{Value(kAnyType)}));
  }
  return dict_->findMutable(key)->ifArray();
}

void VKItem::setOrRemove(std::string_view key, std::optional<Value> value) {
  if (!dict_) {
    return;
  }
  if (value) {
    dict_->set(key, *std::move(value));
  } else {
    dict_->remove(key);
  }
}

}  // namespace vennick
