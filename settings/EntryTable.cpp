// SPDX-License-Identifier: MIT
#include "settings/EntryTable.h"

#include "macos/foundation/Log.h"

namespace vennick {

using macos::Array;
using macos::Dictionary;
using macos::Value;

SharedEntries entriesFromArray(const Array& array, std::string_view source) {
  SharedEntries entries;
  entries.reserve(array.size());
  std::size_t dropped = 0;
  for (const Value& value : array) {
    if (const Dictionary* dictionary = value.ifDictionary()) {
      entries.push_back(std::make_shared<Dictionary>(*dictionary));
    } else {
      ++dropped;
    }
  }
  if (dropped > 0) {
    macos::NSLog(std::string(source) + ": dropped " + std::to_string(dropped) +
                 (dropped == 1 ? " entry that is no dictionary" : " entries that are no dictionaries"));
  }
  return entries;
}

EntryTable::EntryTable(const Dictionary& dictionary, std::string_view source) {
  for (const auto& entry : dictionary) {
    if (const Array* array = entry.value().ifArray()) {
      lists_.emplace(entry.key(), entriesFromArray(*array, source));
    } else {
      lists_.emplace(entry.key(), entry.value());
    }
  }
}

Dictionary EntryTable::dictionary() const {
  Dictionary dictionary;
  for (const auto& [key, list] : lists_) {
    const auto* entries = std::get_if<SharedEntries>(&list);
    dictionary.set(key, entries != nullptr ? Value(arrayFromEntries(*entries)) : std::get<Value>(list));
  }
  return dictionary;
}

SharedEntries* EntryTable::find(std::string_view key) {
  const auto found = lists_.find(key);
  return found == lists_.end() ? nullptr : std::get_if<SharedEntries>(&found->second);
}

SharedEntries& EntryTable::findOrMake(std::string_view key) {
  if (SharedEntries* entries = find(key)) {
    return *entries;
  }
  return lists_.insert_or_assign(std::string(key), SharedEntries()).first->second.emplace<SharedEntries>();
}

}  // namespace vennick
