// SPDX-License-Identifier: MIT
//
// Lists of entries that are handed out live: hotkeys, and file actions by application. An entry is a
// shared dictionary; a change made on one that was handed out is a change of the table. Main thread.
#ifndef SETTINGS_ENTRYTABLE_H
#define SETTINGS_ENTRYTABLE_H

#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "macos/foundation/Value.h"
#include "platform/DeepCopy.h"

namespace vennick {

using SharedEntries = std::vector<SharedDictionary>;

// One dictionary of its own for each entry. What is no dictionary is dropped, with one line in the log that
// names the source.
SharedEntries entriesFromArray(const macos::Array& array, std::string_view source);
// Of any sequence of entries.
template <typename Entries>
macos::Array arrayFromEntries(const Entries& entries) {
  macos::Array array;
  array.reserve(entries.size());
  for (const SharedDictionary& entry : entries) {
    array.append(macos::Value(*entry));
  }
  return array;
}

// Entries by application key. A value that is no array is kept as it is until entries are added for its
// key, so that saving loses nothing.
class EntryTable {
 public:
  EntryTable() = default;
  EntryTable(const macos::Dictionary& dictionary, std::string_view source);
  macos::Dictionary dictionary() const;

  // Null when the key holds no list.
  SharedEntries* find(std::string_view key);
  // A new empty list takes the place of anything else.
  SharedEntries& findOrMake(std::string_view key);

 private:
  std::map<std::string, std::variant<SharedEntries, macos::Value>, std::less<>> lists_;
};

}  // namespace vennick

#endif  // SETTINGS_ENTRYTABLE_H
