// SPDX-License-Identifier: MIT
#include "macos/foundation/KeyShapes.h"

#include <algorithm>
#include <numeric>

#include "macos/foundation/Text.h"
#include "macos/foundation/ValueStorage.h"

namespace macos {

namespace {

constexpr std::size_t kMaximumKeys = 48;
constexpr std::size_t kMaximumShapes = 4096;
constexpr std::size_t kTableSize = 2 * kMaximumShapes;
// A file made so that its keys collide is read loosely, not slowly.
constexpr std::size_t kMostProbes = 16;

// The places of the keys in sorted order. Equal keys stay in the file's order.
template <typename Position, typename KeyAt>
std::vector<Position> sortedOrder(std::size_t count, KeyAt keyAt) {
  std::vector<Position> order(count);
  std::iota(order.begin(), order.end(), Position{0});
  const auto isBefore = [&](Position a, Position b) {
    return std::is_lt(compareLiteral(keyAt(a), keyAt(b)));
  };
  if (!std::is_sorted(order.begin(), order.end(), isBefore)) {
    std::stable_sort(order.begin(), order.end(), isBefore);
  }
  return order;
}

// Leaves one of the places that hold the same key.
template <typename Position, typename KeyAt>
void removeDuplicates(std::vector<Position>& order, Duplicates duplicates, KeyAt keyAt) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < order.size(); ++i) {
    const bool isRepeated = kept > 0 && keyAt(order[kept - 1]) == keyAt(order[i]);
    if (!isRepeated) {
      order[kept++] = order[i];
    } else if (duplicates == Duplicates::LastStays) {
      order[kept - 1] = order[i];
    }
  }
  order.resize(kept);
}

}  // namespace

KeyShapes::KeyShapes(Duplicates duplicates) : duplicates_(duplicates), nodes_(1) {}

std::size_t KeyShapes::slotOf(Shape shape, std::uint64_t identity) const {
  const std::uint64_t mixed = (identity ^ (std::uint64_t{shape} << 32)) * 0x9E3779B97F4A7C15U;
  return static_cast<std::size_t>(mixed >> 40) % kTableSize;
}

template <typename IsSame>
KeyShapes::Shape KeyShapes::find(Shape shape, std::uint64_t identity, IsSame isSame) {
  const auto matches = [&](Shape candidate) {
    const Node& node = nodes_[candidate];
    return node.parent == shape && node.identity == identity && isSame(node);
  };
  Node& from = nodes_[shape];
  if (from.likelyNext != kNone && matches(from.likelyNext)) return from.likelyNext;
  if (table_.empty()) return kNone;
  std::size_t slot = slotOf(shape, identity);
  for (std::size_t probe = 0; probe < kMostProbes && table_[slot] != kNone; ++probe) {
    if (matches(table_[slot])) return from.likelyNext = table_[slot];
    slot = (slot + 1) % kTableSize;
  }
  return kNone;
}

KeyShapes::Shape KeyShapes::next(Shape shape, std::uint64_t identity) {
  return find(shape, identity, [](const Node&) { return true; });
}

KeyShapes::Shape KeyShapes::next(Shape shape, std::uint64_t hash, std::string_view text) {
  return find(shape, hash, [text](const Node& node) { return *node.key.ifString() == text; });
}

bool KeyShapes::hasRoomAfter(Shape shape) const {
  return nodes_.size() < kMaximumShapes && nodes_[shape].depth < kMaximumKeys;
}

KeyShapes::Shape KeyShapes::add(Shape shape, std::uint64_t identity, Value key) {
  if (!hasRoomAfter(shape)) return kNone;
  if (table_.empty()) table_.assign(kTableSize, kNone);
  std::size_t slot = slotOf(shape, identity);
  for (std::size_t probe = 0; table_[slot] != kNone; ++probe) {
    if (probe + 1 >= kMostProbes) return kNone;
    slot = (slot + 1) % kTableSize;
  }
  Node node;
  node.identity = identity;
  node.parent = shape;
  node.depth = nodes_[shape].depth + 1;
  node.bytes = nodes_[shape].bytes + key.ifString()->size();
  node.key = std::move(key);
  const auto added = static_cast<Shape>(nodes_.size());
  nodes_.push_back(std::move(node));
  nodes_[shape].likelyNext = added;
  return table_[slot] = added;
}

std::vector<Value> KeyShapes::keys(Shape shape) const {
  std::vector<Value> keys(nodes_[shape].depth);
  for (auto key = keys.rbegin(); key != keys.rend(); ++key) {
    *key = nodes_[shape].key;
    shape = nodes_[shape].parent;
  }
  return keys;
}

void KeyShapes::sort(Shape shape) {
  const std::vector<Value> keys = this->keys(shape);
  const auto keyAt = [&keys](std::uint16_t i) { return *keys[i].ifString(); };
  Node& node = nodes_[shape];
  node.isSorted = true;
  node.order = sortedOrder<std::uint16_t>(keys.size(), keyAt);
  removeDuplicates(node.order, duplicates_, keyAt);
  node.sortedKeys.reserve(node.order.size());
  for (const std::uint16_t place : node.order) node.sortedKeys.append(keys[place]);
}

Dictionary KeyShapes::dictionary(Shape shape, Value* values) {
  if (!nodes_[shape].isSorted) sort(shape);
  const Node& node = nodes_[shape];
  return ValueStorage::dictionary(node.sortedKeys, values, node.order.data());
}

Dictionary looseDictionary(Value* keys, Value* values, std::size_t count, Duplicates duplicates) {
  const auto keyAt = [keys](std::uint32_t i) { return *keys[i].ifString(); };
  std::vector<std::uint32_t> order = sortedOrder<std::uint32_t>(count, keyAt);
  removeDuplicates(order, duplicates, keyAt);
  Array sortedKeys;
  sortedKeys.reserve(order.size());
  for (const std::uint32_t place : order) sortedKeys.append(std::move(keys[place]));
  return ValueStorage::dictionary(sortedKeys, values, order.data());
}

}  // namespace macos
