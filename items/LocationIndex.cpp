// SPDX-License-Identifier: MIT
#include "items/LocationIndex.h"

#include <atomic>

#include "items/VKItem.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace vennick {

namespace {

struct LocationChanges {
  std::atomic<std::uint64_t> count{0};
};

// FNV-1a, without regard to the letter case of ASCII.
std::uint64_t hashOf(std::string_view text) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char c : text) {
    const char small = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    hash = (hash ^ static_cast<unsigned char>(small)) * 0x100000001b3;
  }
  return hash;
}

}  // namespace

void noteLocationChange() { macos::hostLocal<LocationChanges>().count.fetch_add(1); }

std::size_t LocationIndex::mostEntriesFor(std::string_view text, const ItemEntries& entries) {
  const std::uint64_t changes = macos::hostLocal<LocationChanges>().count.load();
  if (!isKnown_ || changes_ != changes || size_ != entries.size()) {
    *this = LocationIndex();
    counts_.reserve(entries.size());
    for (const SharedDictionary& entry : entries) {
      added(*entry);
    }
    changes_ = changes;
    isKnown_ = true;
  }
  if (!macos::isASCII(text)) {
    return entries.size();
  }
  const auto found = counts_.find(hashOf(text));
  // Any of the others may be equal to it.
  return (found == counts_.end() ? 0 : found->second) + otherTexts_;
}

void LocationIndex::added(const macos::Dictionary& entry) {
  ++size_;
  count(entry, 1);
}

void LocationIndex::removed(const macos::Dictionary& entry) {
  --size_;
  count(entry, -1);
}

// An entry whose "url" is no string is for no location.
void LocationIndex::count(const macos::Dictionary& entry, std::ptrdiff_t change) {
  const auto text = entry.string(ItemKeys::URL);
  if (!text) {
    return;
  }
  if (!macos::isASCII(*text)) {
    otherTexts_ += static_cast<std::size_t>(change);
    return;
  }
  const auto counted = counts_.try_emplace(hashOf(*text), 0).first;
  counted->second += static_cast<std::size_t>(change);
  if (counted->second == 0) {
    counts_.erase(counted);
  }
}

}  // namespace vennick
