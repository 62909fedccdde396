// SPDX-License-Identifier: MIT
#include "legacy/CFItemList.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "macos/foundation/Log.h"
#include "macos/foundation/Text.h"

namespace vennick {

using macos::AliasHandle;
using macos::FSRef;
using macos::NSData;
using macos::NSURL;

namespace {

// The scan for a duplicate counts in 16 bits: lists are taken to be shorter.
constexpr std::int64_t kLastScannedIndex = 32767;
constexpr std::size_t kNameBuffer = 1024;

void logAlert(const std::string& message) { macos::syslogMessage(macos::LOG_PRIORITY_ALERT, message); }

std::string ofItem(std::int64_t index) { return "item " + std::to_string(index); }

// The name as a buffer in the Mac's text encoding holds it; what does not fit there is empty.
std::string nameForLog(const std::string& name) {
  const auto macRoman = macos::macRomanFromUTF8(macos::composed(name));
  return macRoman && macRoman->size() < kNameBuffer ? macos::utf8FromMacRoman(*macRoman) : std::string();
}

const LegacyItem* itemOf(const LegacyEntry& entry) { return std::get_if<LegacyItem>(&entry); }

bool comesBefore(const LegacyEntry& x, const LegacyEntry& y) {
  const LegacyItem* a = itemOf(x);
  const LegacyItem* b = itemOf(y);
  if (a == nullptr || b == nullptr) {
    return a == nullptr && b != nullptr;
  }
  return macos::compareCaseInsensitiveLiteral((*a)->string(LegacyItemKeys::Name).value_or(""),
                                              (*b)->string(LegacyItemKeys::Name).value_or("")) < 0;
}

}  // namespace

std::int64_t CFItemList::count() const { return array_ ? static_cast<std::int64_t>(array_->size()) : 0; }

// Without a word in the log.
LegacyItem CFItemList::storedItem(std::int64_t index) const {
  const LegacyItem* item = isInside(index) ? itemOf((*array_)[static_cast<std::size_t>(index)]) : nullptr;
  return item != nullptr ? *item : nullptr;
}

LegacyItem CFItemList::itemAt(std::int64_t index) const {
  LegacyItem item = storedItem(index);
  if (!item) {
    if (!array_) {
      logAlert("CFItemList array is NULL");
    } else if (!isInside(index)) {
      logAlert("Index " + std::to_string(index) + " is beyond the range (0, " + std::to_string(count()) +
               ") of CFItemList array");
    }
    logAlert("CFItemList contains no dictionary at index " + std::to_string(index));
  }
  return item;
}

void CFItemList::renewDate() { modificationDate_ = macos::NSDate::date(); }

void CFItemList::setArray(LegacyItemArray array) {
  clearLocations();
  array_ = std::move(array);
  renewDate();
  if (array_ && repairOnSet_) {
    repair();
  }
}

void CFItemList::repair() {
  std::vector<bool> isLost(static_cast<std::size_t>(count()));
  for (std::int64_t index = count(); index-- > 0;) {
    const std::string name = nameAt(index);
    if (name.empty()) {
      logAlert("** No name for " + ofItem(index) + " **");
    } else if (!isAliasValidAt(index)) {
      logAlert("** No alias data for " + ofItem(index) + " (" + nameForLog(name) + ") **");
    } else {
      continue;
    }
    logAlert("** Deleting " + ofItem(index) + " **");
    isLost[static_cast<std::size_t>(index)] = true;
  }
  removeThose(isLost);
}

// At once: to take out one after the other would move all that are behind it each time.
void CFItemList::removeThose(const std::vector<bool>& areLost) {
  if (std::find(areLost.begin(), areLost.end(), true) == areLost.end()) {
    return;
  }
  std::vector<LegacyEntry> kept;
  for (std::size_t i = 0; i < areLost.size(); ++i) {
    if (!areLost[i]) {
      kept.push_back(std::move((*array_)[i]));
    }
  }
  array_->swap(kept);
  renewDate();
}

void CFItemList::clearLocations() {
  for (std::int64_t index = 0; index < count(); ++index) {
    clearLocationOf(index);
  }
  allResolved_ = false;
}

// What is no dictionary has no location, and no word in the log either.
void CFItemList::clearLocationOf(std::int64_t index) {
  if (storedItem(index)) {
    changeItem(index, [](CFItem& item) { item.clearLocation(); });
  }
}

void CFItemList::resolveAll() {
  if (allResolved_) {
    return;
  }
  for (std::int64_t index = 0; index < count(); ++index) {
    resolveAt(index);
  }
  allResolved_ = true;
}

void CFItemList::removeAll() {
  if (array_) {
    array_->clear();
  }
  renewDate();
}

void CFItemList::sort() {
  if (array_) {
    std::stable_sort(array_->begin(), array_->end(), comesBefore);
  }
}

void CFItemList::insert(std::int64_t index, AliasHandle alias, const std::optional<std::string>& name,
                        bool allowDuplicates) {
  allResolved_ = false;
  if (!array_) {
    array_ = std::make_shared<std::vector<LegacyEntry>>();
  }
  CFItem item(std::make_shared<macos::Dictionary>(), resolveMode_);
  item.setAlias(std::move(alias));
  if (name) {
    item.setName(*name);
  }
  const bool wasThere = !allowDuplicates && moveDuplicate(item, index);
  if (!wasThere && index >= 0 && index <= count()) {
    array_->insert(array_->begin() + static_cast<std::ptrdiff_t>(index), item.dictionary());
    renewDate();
  }
}

// Whether an item of the same name and location was there; it is moved to the index.
bool CFItemList::moveDuplicate(CFItem& item, std::int64_t index) {
  const std::string name = item.name();
  for (std::int64_t match = 0; match < count() && match <= kLastScannedIndex; ++match) {
    if (nameAt(match) != name) {
      continue;
    }
    const auto there = urlAt(match);
    const auto here = item.url();
    if (!there || !here || !(*there == *here)) {
      continue;
    }
    const std::int64_t destination = index < count() ? index : count() - 1;
    if (destination != match) {
      move(match, destination);
    }
    return true;
  }
  return false;
}

void CFItemList::insertAlias(std::int64_t index, AliasHandle alias, bool allowDuplicates) {
  insert(index, std::move(alias), std::nullopt, allowDuplicates);
}

void CFItemList::insertFSRef(std::int64_t index, const FSRef& ref, bool allowDuplicates) {
  AliasHandle alias;
  if (macos::FSNewAlias(nullptr, ref, &alias) == macos::noErr) {
    insertAlias(index, std::move(alias), allowDuplicates);
  }
}

void CFItemList::insertURL(std::int64_t index, const NSURL& url, bool allowDuplicates) {
  FSRef ref;
  if (macos::CFURLGetFSRef(url, &ref)) {
    insertFSRef(index, ref, allowDuplicates);
  }
}

void CFItemList::remove(std::int64_t index) {
  if (isInside(index)) {
    array_->erase(array_->begin() + static_cast<std::ptrdiff_t>(index));
    renewDate();
  }
}

void CFItemList::move(std::int64_t from, std::int64_t to) {
  if (!isInside(from) || !isInside(to)) {
    return;
  }
  const auto taken = array_->begin() + static_cast<std::ptrdiff_t>(from);
  if (to > from) {
    std::rotate(taken, std::next(taken), array_->begin() + static_cast<std::ptrdiff_t>(to));
  } else {
    std::rotate(array_->begin() + static_cast<std::ptrdiff_t>(to), taken, std::next(taken));
  }
}

// Works on a copy of the item, which takes the item's place. Whether there is an item.
bool CFItemList::changeItem(std::int64_t index, const std::function<void(CFItem&)>& change) {
  const LegacyItem stored = itemAt(index);
  if (!stored) {
    return false;
  }
  CFItem copy(std::make_shared<macos::Dictionary>(*stored), resolveMode_);
  change(copy);
  if (isInside(index)) {
    (*array_)[static_cast<std::size_t>(index)] = copy.dictionary();
  }
  return true;
}

std::string CFItemList::nameAt(std::int64_t index) const { return viewOf(index).name(); }

std::optional<NSData> CFItemList::aliasDataAt(std::int64_t index) const { return viewOf(index).aliasData(); }

bool CFItemList::isAliasValidAt(std::int64_t index) { return !viewOf(index).aliasHandle().isNull(); }

bool CFItemList::getDataAt(std::int64_t index, std::string_view key, std::span<char> buffer,
                           std::size_t* length) const {
  return viewOf(index).getData(key, buffer, length);
}

bool CFItemList::getCommandKeyAt(std::int64_t index, CommandKey* commandKey) const {
  return viewOf(index).getCommandKey(commandKey);
}

bool CFItemList::isOnServerAt(std::int64_t index) const { return viewOf(index).isOnServer(); }

bool CFItemList::resolveAt(std::int64_t index) {
  bool isResolved = false;
  changeItem(index, [&](CFItem& item) { isResolved = item.resolve(); });
  return isResolved;
}

std::optional<NSURL> CFItemList::urlAt(std::int64_t index) {
  std::optional<NSURL> url;
  changeItem(index, [&](CFItem& item) { url = item.url(); });
  return url;
}

bool CFItemList::getFSRefAt(std::int64_t index, FSRef* ref) {
  bool isKnown = false;
  changeItem(index, [&](CFItem& item) { isKnown = item.getFSRef(ref); });
  return isKnown;
}

void CFItemList::setAliasAt(std::int64_t index, AliasHandle alias) {
  if (changeItem(index, [&](CFItem& item) { item.setAlias(std::move(alias)); })) {
    allResolved_ = false;
    renewDate();
  }
}

void CFItemList::setNameAt(std::int64_t index, std::string_view name) {
  if (changeItem(index, [&](CFItem& item) { item.setName(name); })) {
    allResolved_ = false;
    renewDate();
  }
}

void CFItemList::setURLAt(std::int64_t index, const NSURL& url) {
  changeItem(index, [&](CFItem& item) { item.setURL(url); });
}

void CFItemList::setFSRefAt(std::int64_t index, const FSRef& ref) {
  changeItem(index, [&](CFItem& item) { item.setFSRef(ref); });
}

void CFItemList::setDataAt(std::int64_t index, std::string_view key, std::string_view bytes) {
  changeItem(index, [&](CFItem& item) { item.setData(key, bytes); });
}

void CFItemList::setCommandKeyAt(std::int64_t index, const CommandKey& commandKey) {
  changeItem(index, [&](CFItem& item) { item.setCommandKey(commandKey); });
}

}  // namespace vennick
