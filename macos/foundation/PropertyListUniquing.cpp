// SPDX-License-Identifier: MIT
#include "macos/foundation/PropertyListUniquing.h"

#include <array>
#include <bit>
#include <cstring>
#include <functional>
#include <string_view>

#include "macos/foundation/ValueStorage.h"

namespace macos {

// Long content is judged by its length, its beginning, its middle and its end: that tells apart what is
// different, but for content made to look alike, and leaves most of it where it is.
std::uint32_t TextTable::hash(const Value& leaf) {
  constexpr std::size_t kWhole = 96;
  constexpr std::size_t kPiece = 32;
  const std::string_view bytes = ValueStorage::bytes(leaf);
  const std::hash<std::string_view> hashOf;
  std::uint64_t hash = leaf.kind() == Value::Kind::String ? 0 : ~std::uint64_t{0};
  if (bytes.size() <= kWhole) {
    hash ^= hashOf(bytes);
  } else {
    std::array<char, 3 * kPiece> pieces;
    std::memcpy(pieces.data(), bytes.data(), kPiece);
    std::memcpy(pieces.data() + kPiece, bytes.data() + bytes.size() / 2, kPiece);
    std::memcpy(pieces.data() + 2 * kPiece, bytes.data() + bytes.size() - kPiece, kPiece);
    hash ^= hashOf({pieces.data(), pieces.size()}) + bytes.size();
  }
  return static_cast<std::uint32_t>(hash >> 32 ^ hash);
}

ObjectIndex TextTable::findOrAdd(const Value& leaf, std::uint32_t hash, const WrittenObjects& objects) {
  // Content made to collide costs a second copy of an object, not time.
  constexpr std::size_t kMaximumProbes = 32;
  if (used_ * 3 >= slots_.size() * 2) grow();
  const auto next = static_cast<ObjectIndex>(objects.size());
  std::size_t at = hash & (slots_.size() - 1);
  for (std::size_t probe = 0; probe < kMaximumProbes; ++probe) {
    Slot& slot = slots_[at];
    if (slot.object == kNoObject) {
      slot = {next, hash};
      ++used_;
      return next;
    }
    if (slot.hash == hash && *objects[slot.object].value == leaf) return slot.object;
    at = (at + 1) & (slots_.size() - 1);
  }
  return next;
}

void TextTable::grow() {
  std::vector<Slot> old(2 * slots_.size());
  old.swap(slots_);
  for (const Slot& slot : old) {
    if (slot.object == kNoObject) continue;
    std::size_t at = slot.hash & (slots_.size() - 1);
    while (slots_[at].object != kNoObject) at = (at + 1) & (slots_.size() - 1);
    slots_[at] = slot;
  }
}

ObjectIndex NumberTable::findOrAdd(const Value& leaf, ObjectIndex next) {
  Slot wanted;
  wanted.object = next;
  wanted.kind = 2 * static_cast<std::uint32_t>(leaf.kind());
  switch (leaf.kind()) {
    case Value::Kind::Integer: {
      const Integer integer = *leaf.ifInteger();
      wanted.bits = integer.bits();
      wanted.kind += integer.isNegative() ? 1 : 0;
      break;
    }
    case Value::Kind::Real:
      wanted.bits = std::bit_cast<std::uint64_t>(*leaf.ifReal());
      break;
    case Value::Kind::Date:
      wanted.bits = std::bit_cast<std::uint64_t>(leaf.ifDate()->secondsSinceReferenceDate);
      break;
    default:
      wanted.bits = *leaf.ifBoolean() ? 1 : 0;
  }
  Slot& slot = slots_[(wanted.bits + wanted.kind) * 0x9E3779B97F4A7C15U >> (64 - kSlotBits)];
  if (slot.object == kNoObject || slot.bits != wanted.bits || slot.kind != wanted.kind) slot = wanted;
  return slot.object;
}

}  // namespace macos
