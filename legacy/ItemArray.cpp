// SPDX-License-Identifier: MIT
#include "legacy/ItemArray.h"

namespace vennick {

LegacyItemArray itemArrayFromArray(const macos::Array& stored) {
  auto items = std::make_shared<std::vector<LegacyEntry>>();
  items->reserve(stored.size());
  for (const macos::Value& value : stored) {
    if (const macos::Dictionary* dictionary = value.ifDictionary()) {
      items->emplace_back(std::make_shared<macos::Dictionary>(*dictionary));
    } else {
      items->emplace_back(value);
    }
  }
  return items;
}

macos::Array arrayFromItemArray(const LegacyItemArray& items) {
  macos::Array array;
  if (!items) return array;
  array.reserve(items->size());
  for (const LegacyEntry& entry : *items) {
    const auto* item = std::get_if<LegacyItem>(&entry);
    array.append(item ? macos::Value(**item) : std::get<macos::Value>(entry));
  }
  return array;
}

}  // namespace vennick
