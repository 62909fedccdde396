// SPDX-License-Identifier: MIT
//
// VKItemArray: an ordered list of item dictionaries, oldest first, that keeps recent-style lists free of
// duplicates and within a limit, and announces every change as an indexed change of one key of an owner.
//
// The list itself is shared: the store's property, the value that a content signal delivers and items()
// are one list, never a copy, and its entries are shared dictionaries. Changes that add or remove entries
// hold the list's recursive lock, announcements included; reads, sort() and setObject() take none.
// Before a content signal has delivered its first value there is no list: count 0, look-ups find nothing,
// adds announce and answer as usual and keep nothing.
#ifndef ITEMS_VKITEMARRAY_H
#define ITEMS_VKITEMARRAY_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "items/LocationIndex.h"
#include "items/VKItem.h"
#include "macos/foundation/KeyValueObserving.h"
#include "macos/foundation/URL.h"
#include "macos/foundation/Value.h"
#include "macos/frameworks/ReactiveObjC.h"

namespace vennick {

struct ItemList {
  ItemEntries entries;
  std::recursive_mutex mutex;
  LocationIndex locations;
};
using SharedItemList = std::shared_ptr<ItemList>;

// What sort() hands to its comparator: the raw values of two entries, null where an entry has none; a name
// that is no string counts as none.
struct SortValues {
  const macos::Value* xName;
  const macos::Value* yName;
  const macos::Value* xApplications;
  const macos::Value* yApplications;
  const macos::Value* xFileTypes;
  const macos::Value* yFileTypes;
  const macos::Value* xHotkey;
  const macos::Value* yHotkey;
};
// Negative, zero or positive for ascending, same and descending.
using ItemComparator = std::function<int(const SortValues& values)>;

// Whether addURL takes a location that does not exist.
enum class MissingLocation { Refuse, Accept };

class VKItemArray {
 public:
  // An empty list without an owner.
  VKItemArray();
  VKItemArray(const VKItemArray&) = delete;
  VKItemArray& operator=(const VKItemArray&) = delete;

  // An array without a list until the signal delivers one; then the delivered list itself, each time with
  // a plain change of the key. The owner is held weakly, since it is what mostly holds the array; the
  // signal holds the array weakly and keeps the subscription for its own life.
  static std::shared_ptr<VKItemArray> initWithContentSignal(
      const macos::RACSignal<SharedItemList>& contentSignal, std::weak_ptr<macos::NSObservable> kvoOwner,
      std::string kvoKey);

  // A new list with a lock of its own over the same dictionaries; no owner, no key.
  std::shared_ptr<VKItemArray> copy() const;

  struct Addition {
    std::optional<macos::NSURL> url = std::nullopt;
    std::optional<std::string> name = std::nullopt;
    std::optional<macos::NSDate> date = std::nullopt;
    std::uint32_t type = 0;
    std::optional<macos::Dictionary> hotkey = std::nullopt;
    std::int64_t limit = 0;
    MissingLocation missingLocation = MissingLocation::Refuse;
  };
  // Adds or refreshes a recent-style entry. The newest entry's location is refreshed in place, without a
  // notice; any other moves to the end. A limit below 1 means none. False for no location, and for one
  // that does not exist unless its path begins with "." or Addition says otherwise.
  bool addURL(const Addition& addition);  // addURL:name:date:type:hotkey:limit:
  // Appends a record for an application and a file type, "*" for nullopt. Always true. The entry is listed
  // in a fixed order that deliberately ends at the first missing value: without a bookmark it holds only
  // name, url and date.
  bool addURLForApp(const std::optional<macos::NSURL>& url, const std::optional<std::string>& forApp,
                    const std::optional<std::string>& fileType);  // addURL:forApp:fileType:

  std::optional<VKItem> itemForURL(const std::optional<macos::NSURL>& url) const;
  std::optional<VKItem> itemForApplication(const std::optional<std::string>& application,
                                           const std::optional<std::string>& fileType) const;
  // nullopt, not an empty list, when there is none.
  std::optional<std::vector<VKItem>> itemsForApplication(std::string_view application) const;
  std::optional<std::vector<VKItem>> itemsForFileType(std::string_view fileType) const;

  bool deleteItemForURL(const std::optional<macos::NSURL>& url);
  bool deleteItemForApplication(const std::optional<std::string>& application,
                                const std::optional<std::string>& fileType);

  void addItem(const VKItem& item);
  // An index out of range is std::out_of_range, before any notice, here and below.
  void insertItem(const VKItem& item, std::size_t atIndex);
  // Removes every entry equal to the item's dictionary, deliberately announcing the first one's index
  // only. A dictionary that is not in the list changes and announces nothing.
  void removeItem(const VKItem& item);
  void removeItemAtIndex(std::size_t index);
  void removeItemsBeyondCapacity(std::int64_t capacity);
  void removeAllItems();

  std::size_t count() const;
  void sort(const ItemComparator& comparator);  // stable
  std::vector<VKItem> objectsAtIndexes(const macos::NSIndexSet& indexes) const;
  VKItem objectAtIndexedSubscript(std::size_t index) const;
  // Deliberately silent: no notice and no lock, unlike every other change. At the count it appends.
  void setObject(const VKItem& item, std::size_t atIndexedSubscript);
  std::optional<VKItem> lastItem() const;

  std::shared_ptr<macos::NSObservable> kvoOwner() const;
  void setKvoOwner(std::shared_ptr<macos::NSObservable> owner);
  const std::optional<std::string>& kvoKey() const { return kvoKey_; }
  void setKvoKey(std::optional<std::string> key) { kvoKey_ = std::move(key); }
  const SharedItemList& items() const { return items_; }
  void setItems(SharedItemList items) { items_ = std::move(items); }

 private:
  class Announcement;
  struct SoughtLocation;

  void appendAnnounced(SharedDictionary entry);
  bool removeAnnounced(const macos::NSIndexSet& indexes);
  bool deleteMatching(const SoughtLocation& location);
  bool refreshNewest(const SoughtLocation& location, const Addition& addition, const std::string& name,
                     macos::NSDate date);
  void replaceContent(SharedItemList items);
  void checkIndex(std::size_t index, std::size_t end) const;

  // One of the two is set, or neither.
  std::shared_ptr<macos::NSObservable> strongOwner_;
  std::weak_ptr<macos::NSObservable> weakOwner_;
  std::optional<std::string> kvoKey_;
  SharedItemList items_;
};

}  // namespace vennick

#endif  // ITEMS_VKITEMARRAY_H
