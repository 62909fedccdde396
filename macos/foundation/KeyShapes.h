// SPDX-License-Identifier: MIT
//
// The keys of the dictionaries that one file holds. A file mostly holds many dictionaries with the same
// keys in the same order; such dictionaries share one list of sorted keys, and a key that is met again
// where it was met before is neither copied nor looked up. For the property-list readers; belongs to one
// reading. What it keeps is bounded: dictionaries with many keys, or with ever new ones, are left to
// looseDictionary().
#ifndef MACOS_FOUNDATION_KEYSHAPES_H
#define MACOS_FOUNDATION_KEYSHAPES_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "macos/foundation/Value.h"

namespace macos {

// Which of two entries with the same key stays.
enum class Duplicates { FirstStays, LastStays };

class KeyShapes {
 public:
  // A shape is a sequence of keys in a file's order; it is named by its last key's place in a tree.
  using Shape = std::uint32_t;
  static constexpr Shape kEmpty = 0;
  static constexpr Shape kNone = 0xFFFFFFFF;

  explicit KeyShapes(Duplicates duplicates);

  // The shape that followed this one last, and its last key; kNone when none did.
  Shape likelyNext(Shape shape) const { return nodes_[shape].likelyNext; }
  std::string_view lastKey(Shape shape) const { return *nodes_[shape].key.ifString(); }
  std::uint64_t lastIdentity(Shape shape) const { return nodes_[shape].identity; }

  // The shape with one more key, if it is known. The identity is the caller's number for the key: a
  // reference, or a hash of the text, in which case the text decides.
  Shape next(Shape shape, std::uint64_t identity);
  Shape next(Shape shape, std::uint64_t hash, std::string_view text);
  bool hasRoomAfter(Shape shape) const;
  // Adds it; kNone when there is no more room, and the dictionary must go on loosely.
  Shape add(Shape shape, std::uint64_t identity, Value key);

  // The keys of a shape, in the file's order.
  std::vector<Value> keys(Shape shape) const;

  struct Totals {
    std::size_t keys = 0;
    std::size_t bytes = 0;  // of all the keys' text
  };
  Totals totals(Shape shape) const { return {nodes_[shape].depth, nodes_[shape].bytes}; }

  // The dictionary of a shape's keys and these values, in the file's order, which are moved out.
  Dictionary dictionary(Shape shape, Value* values);

 private:
  struct Node {
    Value key;
    std::uint64_t identity = 0;
    Shape parent = kNone;
    Shape likelyNext = kNone;
    std::uint32_t depth = 0;
    bool isSorted = false;  // whether sortedKeys and order are there
    std::size_t bytes = 0;
    Array sortedKeys;
    std::vector<std::uint16_t> order;  // of the i-th sorted key: its place in the file's order
  };

  template <typename IsSame>
  Shape find(Shape shape, std::uint64_t identity, IsSame isSame);
  std::size_t slotOf(Shape shape, std::uint64_t identity) const;
  void sort(Shape shape);

  Duplicates duplicates_;
  std::vector<Node> nodes_;
  std::vector<Shape> table_;
};

// The dictionary of keys, which are strings, and values, in any order, which are moved out.
Dictionary looseDictionary(Value* keys, Value* values, std::size_t count, Duplicates duplicates);

}  // namespace macos

#endif  // MACOS_FOUNDATION_KEYSHAPES_H
