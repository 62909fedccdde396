// SPDX-License-Identifier: MIT
#include "items/VKItemArray.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

#include "items/ItemFacts.h"
#include "macos/foundation/ObjectEquality.h"
#include "macos/foundation/Text.h"
#include "platform/CanonicalLocation.h"
#include "platform/FileQueries.h"

namespace vennick {

using macos::Array;
using macos::Dictionary;
using macos::NSDate;
using macos::NSIndexSet;
using macos::NSKeyValueChange;
using macos::NSURL;
using macos::Value;

namespace {

// Fifteen U+23AF HORIZONTAL LINE EXTENSION and five U+2013 EN DASH.
constexpr std::string_view kSeparatorName = "⎯⎯⎯⎯⎯⎯⎯⎯⎯⎯⎯⎯⎯⎯⎯–––––";

NSIndexSet wholeRange(std::size_t count) {
  NSIndexSet indexes(count);
  std::iota(indexes.begin(), indexes.end(), std::size_t{0});
  return indexes;
}

// The list's lock for a scope; the list outlives its replacement by a signal meanwhile. No list, no lock.
class ListLock {
 public:
  explicit ListLock(SharedItemList list) : list_(std::move(list)) {
    if (list_) {
      list_->mutex.lock();
    }
  }
  ~ListLock() {
    if (list_) {
      list_->mutex.unlock();
    }
  }
  ListLock(const ListLock&) = delete;
  ListLock& operator=(const ListLock&) = delete;

 private:
  SharedItemList list_;
};

// REQUIRES: the indexes are not empty, ascending, and all in the list
void removeIndexes(ItemEntries& entries, const NSIndexSet& indexes) {
  const auto at = [&](std::size_t index) { return entries.begin() + static_cast<std::ptrdiff_t>(index); };
  if (indexes.size() == 1) {
    entries.erase(at(indexes.front()));
    return;
  }
  auto kept = at(indexes.front());
  for (std::size_t i = 0; i < indexes.size(); ++i) {
    const auto nextRemoved = i + 1 < indexes.size() ? at(indexes[i + 1]) : entries.end();
    kept = std::move(at(indexes[i]) + 1, nextRemoved, kept);
  }
  entries.erase(kept, entries.end());
}

bool isMissingOrEmpty(const Dictionary& entry, std::string_view key) {
  const Array* list = entry.array(key);
  return list == nullptr || list->empty();
}

// One half of the application and file-type rule: a wanted string must be in the entry's raw list, and
// without one the list must be missing or empty. "*" in the entry is not special here.
bool listMatches(const Dictionary& entry, std::string_view key, const std::optional<std::string>& wanted) {
  if (!wanted) {
    return isMissingOrEmpty(entry, key);
  }
  const Array* list = entry.array(key);
  return list != nullptr && macos::containsObject(*list, Value(*wanted));
}

bool matches(const Dictionary& entry, const std::optional<std::string>& application,
             const std::optional<std::string>& fileType) {
  return listMatches(entry, ItemKeys::Applications, application) &&
         listMatches(entry, ItemKeys::FileTypes, fileType);
}

void removeFromList(Dictionary& entry, std::string_view key, const std::optional<std::string>& string) {
  Value* value = string ? entry.findMutable(key) : nullptr;
  Array* list = value != nullptr ? value->ifArray() : nullptr;
  if (list == nullptr) {
    return;
  }
  Array kept;
  for (const Value& each : *list) {
    if (each.ifString() != *string) {
      kept.append(each);
    }
  }
  *list = std::move(kept);
}

std::optional<std::vector<VKItem>> itemsWhoseListContains(const SharedItemList& items, std::string_view key,
                                                          std::string_view string) {
  std::vector<VKItem> found;
  for (std::size_t index = 0; items && index < items->entries.size(); ++index) {
    if (listMatches(*items->entries[index], key, std::string(string))) {
      found.emplace_back(items->entries[index]);
    }
  }
  return found.empty() ? std::nullopt : std::optional(std::move(found));
}

// A name that is no string counts as none.
const Value* sortName(const Dictionary& entry) {
  const Value* name = entry.find(ItemKeys::Name);
  return name != nullptr && name->ifString() ? name : nullptr;
}

SharedDictionary separatorEntry(NSDate date) {
  return std::make_shared<Dictionary>(Dictionary{{ItemKeys::Name, Value(kSeparatorName)},
                                                 {ItemKeys::URL, Value(kSeparatorURL)},
                                                 {ItemKeys::Date, Value(date)},
                                                 {ItemKeys::ItemType, Value(kItemTypeSeparator)}});
}

}  // namespace

// An indexed change of the owner's key, from its will-change to its did-change.
class VKItemArray::Announcement {
 public:
  Announcement(const VKItemArray& array, NSKeyValueChange kind, NSIndexSet indexes)
      : owner_(array.kvoOwner()),
        key_(array.kvoKey_.value_or("")),
        kind_(kind),
        indexes_(std::move(indexes)) {
    if (owner_) {
      owner_->willChangeValuesAtIndexes(kind_, indexes_, key_);
    }
  }
  ~Announcement() {
    if (owner_) {
      owner_->didChangeValuesAtIndexes(kind_, indexes_, key_);
    }
  }
  Announcement(const Announcement&) = delete;
  Announcement& operator=(const Announcement&) = delete;

 private:
  std::shared_ptr<macos::NSObservable> owner_;
  std::string key_;
  NSKeyValueChange kind_;
  NSIndexSet indexes_;
};

// A location as entries are compared with it: one text, exactly on a volume that tells letter case apart,
// else without regard to it.
struct VKItemArray::SoughtLocation {
  std::string text;
  bool exactly = true;
  bool isASCII = true;

  explicit SoughtLocation(const NSURL& standardized)
      : text(standardized.absoluteString()),
        exactly(isCaseSensitive(standardized)),
        isASCII(macos::isASCII(text)) {}

  // An entry whose "url" is no string never matches.
  bool matches(const Dictionary& entry) const {
    const auto url = entry.string(ItemKeys::URL);
    if (!url) {
      return false;
    }
    if (exactly) {
      return *url == text;
    }
    // Within ASCII letter case changes no length; beyond it it may.
    if (isASCII && url->size() != text.size() && macos::isASCII(*url)) {
      return false;
    }
    return macos::compareCaseInsensitive(*url, text) == 0;
  }
};

VKItemArray::VKItemArray() : items_(std::make_shared<ItemList>()) {}

std::shared_ptr<VKItemArray> VKItemArray::initWithContentSignal(
    const macos::RACSignal<SharedItemList>& contentSignal, std::weak_ptr<macos::NSObservable> kvoOwner,
    std::string kvoKey) {
  auto array = std::make_shared<VKItemArray>();
  array->items_ = nullptr;
  array->kvoKey_ = std::move(kvoKey);
  array->weakOwner_ = std::move(kvoOwner);
  auto subscription =
      contentSignal.subscribeNext([weakArray = std::weak_ptr(array)](const SharedItemList& items) {
        if (auto self = weakArray.lock()) {
          self->replaceContent(items);
        }
      });
  subscription.detach();
  return array;
}

std::shared_ptr<VKItemArray> VKItemArray::copy() const {
  auto result = std::make_shared<VKItemArray>();
  if (items_) {
    result->items_->entries = items_->entries;
  }
  return result;
}

std::shared_ptr<macos::NSObservable> VKItemArray::kvoOwner() const {
  return strongOwner_ ? strongOwner_ : weakOwner_.lock();
}

void VKItemArray::setKvoOwner(std::shared_ptr<macos::NSObservable> owner) {
  strongOwner_ = std::move(owner);
  weakOwner_.reset();
}

void VKItemArray::replaceContent(SharedItemList items) {
  const auto owner = kvoOwner();
  const std::string key = kvoKey_.value_or("");
  if (owner) {
    owner->willChangeValueForKey(key);
  }
  items_ = std::move(items);
  if (owner) {
    owner->didChangeValueForKey(key);
  }
}

bool VKItemArray::addURL(const Addition& addition) {
  const NSDate date = addition.date.value_or(NSDate::date());
  if (addition.type == kItemTypeSeparator) {
    appendAnnounced(separatorEntry(date));
    removeItemsBeyondCapacity(addition.limit);
    return true;
  }
  if (!addition.url) {
    return false;
  }
  const NSURL url = URLByStandardizingViaURLReference(*addition.url);
  const bool exists = pathExists(url);
  if (!exists && addition.missingLocation == MissingLocation::Refuse && !url.path().starts_with('.')) {
    return false;
  }
  const std::string name = addition.name ? *addition.name : shownName(url).value_or("");
  const SoughtLocation location(url);
  if (refreshNewest(location, addition, name, date)) {
    return true;
  }
  auto entry = std::make_shared<Dictionary>(Dictionary{{ItemKeys::Name, Value(name)},
                                                       {ItemKeys::URL, Value(location.text)},
                                                       {ItemKeys::Date, Value(date)},
                                                       {ItemKeys::ItemType, Value(addition.type)}});
  if (exists) {
    if (auto bookmark = bookmarkForItem(url)) {
      entry->set(ItemKeys::Bookmark, Value(*bookmark));
    }
  }
  if (addition.hotkey) {
    entry->set(ItemKeys::Hotkey, Value(*addition.hotkey));
  }
  deleteMatching(location);
  appendAnnounced(std::move(entry));
  removeItemsBeyondCapacity(addition.limit);
  return true;
}

// The location of the newest entry, added again, changes that entry in place: nothing is announced or
// trimmed, and the entry keeps its type and bookmark.
bool VKItemArray::refreshNewest(const SoughtLocation& location, const Addition& addition,
                                const std::string& name, NSDate date) {
  const ListLock lock(items_);
  if (!items_ || items_->entries.empty() || !location.matches(*items_->entries.back())) {
    return false;
  }
  Dictionary& newest = *items_->entries.back();
  newest.set(ItemKeys::Name, Value(name));
  newest.set(ItemKeys::Date, Value(date));
  if (addition.hotkey) {
    newest.set(ItemKeys::Hotkey, Value(*addition.hotkey));
  }
  return true;
}

bool VKItemArray::addURLForApp(const std::optional<NSURL>& url, const std::optional<std::string>& forApp,
                               const std::optional<std::string>& fileType) {
  auto entry = std::make_shared<Dictionary>();
  // The values are listed in this order and the list ends at the first one that is missing: without a
  // bookmark the entry holds name, url and date only, and without a location nothing. Deliberate; such
  // entries are completed when they are read.
  const auto list = [&] {
    if (!url) {
      return;
    }
    const NSURL location = URLByStandardizingViaURLReference(*url);
    const auto name = shownName(location);
    if (!name) {
      return;
    }
    entry->set(ItemKeys::Name, Value(*name));
    entry->set(ItemKeys::URL, Value(location.absoluteString()));
    entry->set(ItemKeys::Date, Value(NSDate::date()));
    const auto bookmark = bookmarkForItem(location);
    if (!bookmark) {
      return;
    }
    entry->set(ItemKeys::Bookmark, Value(*bookmark));
    entry->set(ItemKeys::ItemType, Value(kItemTypeFolder));
    entry->set(ItemKeys::Applications, Value(Array{Value(forApp.value_or(std::string(kAnyType)))}));
    entry->set(ItemKeys::FileTypes, Value(Array{Value(fileType.value_or(std::string(kAnyType)))}));
    entry->set(ItemKeys::Flags, Value(kDefaultItemFlags));
  };
  list();
  appendAnnounced(std::move(entry));
  return true;
}

std::optional<VKItem> VKItemArray::itemForURL(const std::optional<NSURL>& url) const {
  if (!url || !items_) {
    return std::nullopt;
  }
  const SoughtLocation location(URLByStandardizingViaURLReference(*url));
  const auto found = std::find_if(items_->entries.begin(), items_->entries.end(),
                                  [&](const SharedDictionary& entry) { return location.matches(*entry); });
  return found == items_->entries.end() ? std::nullopt : std::optional(VKItem(*found));
}

std::optional<VKItem> VKItemArray::itemForApplication(const std::optional<std::string>& application,
                                                      const std::optional<std::string>& fileType) const {
  if (!items_) {
    return std::nullopt;
  }
  const auto found =
      std::find_if(items_->entries.begin(), items_->entries.end(),
                   [&](const SharedDictionary& entry) { return matches(*entry, application, fileType); });
  return found == items_->entries.end() ? std::nullopt : std::optional(VKItem(*found));
}

std::optional<std::vector<VKItem>> VKItemArray::itemsForApplication(std::string_view application) const {
  return itemsWhoseListContains(items_, ItemKeys::Applications, application);
}

std::optional<std::vector<VKItem>> VKItemArray::itemsForFileType(std::string_view fileType) const {
  return itemsWhoseListContains(items_, ItemKeys::FileTypes, fileType);
}

bool VKItemArray::deleteItemForURL(const std::optional<NSURL>& url) {
  return url && deleteMatching(SoughtLocation(URLByStandardizingViaURLReference(*url)));
}

bool VKItemArray::deleteMatching(const SoughtLocation& location) {
  if (!items_) {
    return false;
  }
  const ListLock lock(items_);
  NSIndexSet indexes;
  const auto& entries = items_->entries;
  const std::size_t most = items_->locations.mostEntriesFor(location.text, entries);
  // What is added again was mostly added not long ago.
  for (std::size_t index = entries.size(); index-- > 0 && indexes.size() < most;) {
    if (location.matches(*entries[index])) {
      indexes.push_back(index);
    }
  }
  std::reverse(indexes.begin(), indexes.end());
  return removeAnnounced(indexes);
}

bool VKItemArray::removeAnnounced(const NSIndexSet& indexes) {
  if (indexes.empty()) {
    return false;
  }
  const Announcement announcement(*this, NSKeyValueChange::Removal, indexes);
  // An observer of the will-change may have taken entries away, or the list itself.
  const NSIndexSet present(indexes.begin(), std::lower_bound(indexes.begin(), indexes.end(), count()));
  if (!present.empty()) {
    for (const std::size_t index : present) {
      items_->locations.removed(*items_->entries[index]);
    }
    removeIndexes(items_->entries, present);
  }
  return true;
}

bool VKItemArray::deleteItemForApplication(const std::optional<std::string>& application,
                                           const std::optional<std::string>& fileType) {
  const ListLock lock(items_);
  bool found = false;
  NSIndexSet emptied;
  for (std::size_t index = 0; index < count(); ++index) {
    const SharedDictionary entry = items_->entries[index];
    if (!matches(*entry, application, fileType)) {
      continue;
    }
    found = true;
    if (application || fileType) {
      const Announcement announcement(*this, NSKeyValueChange::Replacement, {index});
      removeFromList(*entry, ItemKeys::Applications, application);
      removeFromList(*entry, ItemKeys::FileTypes, fileType);
    }
    // An entry that keeps one of its lists stays, although the other, now empty, is widened to everything
    // when it is next read. Deliberate.
    if (isMissingOrEmpty(*entry, ItemKeys::Applications) && isMissingOrEmpty(*entry, ItemKeys::FileTypes)) {
      emptied.push_back(index);
    }
  }
  removeAnnounced(emptied);
  return found;
}

void VKItemArray::appendAnnounced(SharedDictionary entry) {
  const ListLock lock(items_);
  const Announcement announcement(*this, NSKeyValueChange::Insertion, {count()});
  if (items_) {
    items_->locations.added(*entry);
    items_->entries.push_back(std::move(entry));
  }
}

void VKItemArray::addItem(const VKItem& item) {
  if (item.dict()) {
    appendAnnounced(item.dict());
  }
}

void VKItemArray::insertItem(const VKItem& item, std::size_t atIndex) {
  const ListLock lock(items_);
  checkIndex(atIndex, count() + 1);
  if (!item.dict()) {
    return;
  }
  const Announcement announcement(*this, NSKeyValueChange::Insertion, {atIndex});
  if (items_) {
    items_->locations.added(*item.dict());
    // As far as the list still reaches, should an observer have shortened it.
    const auto place = static_cast<std::ptrdiff_t>(std::min(atIndex, count()));
    items_->entries.insert(items_->entries.begin() + place, item.dict());
  }
}

void VKItemArray::removeItem(const VKItem& item) {
  const ListLock lock(items_);
  if (!items_ || !item.dict()) {
    return;
  }
  // A copy, since the item's own dictionary may be the entry that goes.
  const Dictionary sought = *item.dict();
  const auto& entries = items_->entries;
  const auto isSought = [&](const SharedDictionary& entry) { return macos::isEqual(*entry, sought); };
  const auto first = std::find_if(entries.begin(), entries.end(), isSought);
  if (first == entries.end()) {
    return;
  }
  // The notice names one index even when several equal entries go. Deliberate.
  const Announcement announcement(*this, NSKeyValueChange::Removal,
                                  {static_cast<std::size_t>(first - entries.begin())});
  // An observer of the will-change may have taken the list away.
  if (items_) {
    std::erase_if(items_->entries, isSought);
    items_->locations.forget();
  }
}

void VKItemArray::removeItemAtIndex(std::size_t index) {
  const ListLock lock(items_);
  checkIndex(index, count());
  removeAnnounced({index});
}

void VKItemArray::removeItemsBeyondCapacity(std::int64_t capacity) {
  if (capacity < 1) {
    return;
  }
  const ListLock lock(items_);
  while (count() > static_cast<std::size_t>(capacity)) {
    removeAnnounced({0});
  }
}

void VKItemArray::removeAllItems() {
  const ListLock lock(items_);
  const Announcement announcement(*this, NSKeyValueChange::Removal, wholeRange(count()));
  if (items_) {
    items_->entries.clear();
    items_->locations.forget();
  }
}

std::size_t VKItemArray::count() const { return items_ ? items_->entries.size() : 0; }

void VKItemArray::sort(const ItemComparator& comparator) {
  const Announcement announcement(*this, NSKeyValueChange::Replacement, wholeRange(count()));
  if (!items_) {
    return;
  }
  std::stable_sort(items_->entries.begin(), items_->entries.end(),
                   [&](const SharedDictionary& x, const SharedDictionary& y) {
                     return comparator({sortName(*x), sortName(*y), x->find(ItemKeys::Applications),
                                        y->find(ItemKeys::Applications), x->find(ItemKeys::FileTypes),
                                        y->find(ItemKeys::FileTypes), x->find(ItemKeys::Hotkey),
                                        y->find(ItemKeys::Hotkey)}) < 0;
                   });
}

std::vector<VKItem> VKItemArray::objectsAtIndexes(const NSIndexSet& indexes) const {
  std::vector<VKItem> found;
  found.reserve(indexes.size());
  for (const std::size_t index : indexes) {
    found.push_back(objectAtIndexedSubscript(index));
  }
  return found;
}

VKItem VKItemArray::objectAtIndexedSubscript(std::size_t index) const {
  checkIndex(index, count());
  return VKItem(items_->entries[index]);
}

void VKItemArray::setObject(const VKItem& item, std::size_t atIndexedSubscript) {
  checkIndex(atIndexedSubscript, count() + 1);
  if (!items_ || !item.dict()) {
    return;
  }
  items_->locations.forget();
  if (atIndexedSubscript == count()) {
    items_->entries.push_back(item.dict());
  } else {
    items_->entries[atIndexedSubscript] = item.dict();
  }
}

std::optional<VKItem> VKItemArray::lastItem() const {
  return count() == 0 ? std::nullopt : std::optional(VKItem(items_->entries.back()));
}

void VKItemArray::checkIndex(std::size_t index, std::size_t end) const {
  if (index >= end) {
    throw std::out_of_range("VKItemArray: index " + std::to_string(index) + " is beyond the list of " +
                            std::to_string(count()));
  }
}

}  // namespace vennick
