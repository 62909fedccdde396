// SPDX-License-Identifier: MIT
//
// How many entries of a list are for a location, so that the look for duplicates walks over the list only
// when there are some, and no further than all of them. The list says what it adds and removes; a
// location that VKItem changes inside an entry makes the index anew. Whoever writes "url" into the
// dictionary of an entry by other means calls noteLocationChange(). Used under the list's lock.
#ifndef ITEMS_LOCATIONINDEX_H
#define ITEMS_LOCATIONINDEX_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string_view>
#include <unordered_map>

#include "platform/DeepCopy.h"

namespace vennick {

// Taking the oldest away costs no more than adding the newest.
using ItemEntries = std::deque<SharedDictionary>;

// Says that the "url" inside an entry has changed. Any thread.
void noteLocationChange();

class LocationIndex {
 public:
  // At most so many of the entries have a "url" that equals the text, exactly or without regard to letter
  // case.
  std::size_t mostEntriesFor(std::string_view text, const ItemEntries& entries);
  void added(const macos::Dictionary& entry);
  // Before its "url" changes any more.
  void removed(const macos::Dictionary& entry);
  void forget() { isKnown_ = false; }

 private:
  void count(const macos::Dictionary& entry, std::ptrdiff_t change);

  std::unordered_map<std::uint64_t, std::size_t> counts_;
  // Beyond ASCII texts of many spellings are equal: these are not told apart.
  std::size_t otherTexts_ = 0;
  std::size_t size_ = 0;
  std::uint64_t changes_ = 0;
  bool isKnown_ = false;
};

}  // namespace vennick

#endif  // ITEMS_LOCATIONINDEX_H
