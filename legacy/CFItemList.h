// SPDX-License-Identifier: MIT
//
// CFItemList: one version 4 item list, validated, repaired, resolved and edited. It works on a shared
// array of shared item dictionaries: what it repairs or stores is in its owner's array. Copies of a list
// see one array; their dates and flags go apart. What may write an item works on a copy of its dictionary
// and puts the copy in its place. Indexes outside the list do nothing. Main thread.
#ifndef LEGACY_CFITEMLIST_H
#define LEGACY_CFITEMLIST_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "legacy/CFItem.h"
#include "legacy/ItemArray.h"
#include "macos/carbon/AliasManager.h"
#include "macos/foundation/URL.h"
#include "macos/foundation/Value.h"

namespace vennick {

class CFItemList {
 public:
  explicit CFItemList(ResolveMode mode) : resolveMode_(mode) {}

  const LegacyItemArray& array() const { return array_; }
  // When the list last changed in structure, an item's alias or an item's name; nullopt before.
  const std::optional<macos::NSDate>& modificationDate() const { return modificationDate_; }
  ResolveMode resolveMode() const { return resolveMode_; }
  bool allResolved() const { return allResolved_; }
  // Whether a newly assigned array is repaired at once. True at first.
  bool repairOnSet() const { return repairOnSet_; }
  void setRepairOnSet(bool repairs) { repairOnSet_ = repairs; }

  std::int64_t count() const;
  // The stored dictionary; null, with the reason in the system log, when there is none.
  LegacyItem itemAt(std::int64_t index) const;

  // The location caches of the old array's items are cleared, deliberately also when it is the same array
  // again.
  void setArray(LegacyItemArray array);
  // Removes every item without a name or without a valid alias, with its messages, from the last to the
  // first.
  void repair();
  void clearLocations();
  void resolveAll();
  void removeAll();
  // By name without regard to case; what is no dictionary comes first. Stable; the date stays.
  void sort();

  // Adds an item for the alias. Unless duplicates are allowed, the first item of the same name and
  // location is moved there instead, and the new record is dropped with the date unchanged. An item whose
  // alias does not resolve is kept, without the alias. Deliberate. The index must lie in 0 … count().
  void insert(std::int64_t index, macos::AliasHandle alias, const std::optional<std::string>& name,
              bool allowDuplicates);
  void insertAlias(std::int64_t index, macos::AliasHandle alias, bool allowDuplicates);
  void insertFSRef(std::int64_t index, const macos::FSRef& ref, bool allowDuplicates);
  void insertURL(std::int64_t index, const macos::NSURL& url, bool allowDuplicates);
  void remove(std::int64_t index);
  // The item goes before the one that is at `to` now, counted before it is taken out: moving to the next
  // place changes nothing, and no move reaches the last place. Deliberate. The date stays.
  void move(std::int64_t from, std::int64_t to);

  std::string nameAt(std::int64_t index) const;  // "" when the item is missing
  std::optional<macos::NSData> aliasDataAt(std::int64_t index) const;
  // A corrupted alias is removed from the stored item.
  bool isAliasValidAt(std::int64_t index);
  bool getDataAt(std::int64_t index, std::string_view key, std::span<char> buffer, std::size_t* length) const;
  bool getCommandKeyAt(std::int64_t index, CommandKey* commandKey) const;
  bool isOnServerAt(std::int64_t index) const;

  bool resolveAt(std::int64_t index);
  std::optional<macos::NSURL> urlAt(std::int64_t index);
  bool getFSRefAt(std::int64_t index, macos::FSRef* ref);
  // These two renew the date, and the items count as unresolved again; the other setters do neither.
  void setAliasAt(std::int64_t index, macos::AliasHandle alias);
  void setNameAt(std::int64_t index, std::string_view name);
  void setURLAt(std::int64_t index, const macos::NSURL& url);
  void setFSRefAt(std::int64_t index, const macos::FSRef& ref);
  void setDataAt(std::int64_t index, std::string_view key, std::string_view bytes);
  void setCommandKeyAt(std::int64_t index, const CommandKey& commandKey);

 private:
  bool isInside(std::int64_t index) const { return index >= 0 && index < count(); }
  LegacyItem storedItem(std::int64_t index) const;
  CFItem viewOf(std::int64_t index) const { return CFItem(itemAt(index), resolveMode_); }
  bool changeItem(std::int64_t index, const std::function<void(CFItem&)>& change);
  void clearLocationOf(std::int64_t index);
  void removeThose(const std::vector<bool>& areLost);
  bool moveDuplicate(CFItem& item, std::int64_t index);
  void renewDate();

  LegacyItemArray array_;
  std::optional<macos::NSDate> modificationDate_;
  ResolveMode resolveMode_;
  bool allResolved_ = false;
  bool repairOnSet_ = true;
};

}  // namespace vennick

#endif  // LEGACY_CFITEMLIST_H
