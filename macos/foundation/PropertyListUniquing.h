// SPDX-License-Identifier: MIT
//
// How the writer of binary property lists knows what it numbered: the list of objects, and tables that find
// the number of a leaf by its content, so that equal leaves are written once. The tables of a large list are
// larger than the cache, so they are kept small and can be asked to bring near what is needed soon. They
// point into the tree that is written, which must stay as it is. Not for use outside this folder.
#ifndef MACOS_FOUNDATION_PROPERTYLISTUNIQUING_H
#define MACOS_FOUNDATION_PROPERTYLISTUNIQUING_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "macos/foundation/Value.h"

namespace macos {

using ObjectIndex = std::uint32_t;
inline constexpr ObjectIndex kNoObject = 0xFFFFFFFF;

// A run of numbers or pointers that grows with realloc(), which moves the pages of a large run instead of
// copying them: a vector would take new memory for all of it again and again, and twice as much at its peak.
// What is reserved and not used costs no memory.
template <typename T>
class Run {
 public:
  static_assert(std::is_trivially_copyable_v<T>);

  Run() = default;
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;
  ~Run() { std::free(elements_); }

  std::size_t size() const { return size_; }
  T* data() { return elements_; }
  T operator[](std::size_t index) const { return elements_[index]; }
  // Makes room for more at the end, whose content is undefined, and gives the index of the first.
  std::size_t extend(std::size_t count) {
    if (size_ + count > capacity_) grow(std::max<std::size_t>({size_ + count, 4 * capacity_, 1024}));
    return std::exchange(size_, size_ + count);
  }
  void append(T element) {
    const std::size_t index = extend(1);
    elements_[index] = element;
  }

 private:
  void grow(std::size_t capacity) {
    void* grown = std::realloc(elements_, capacity * sizeof(T));
    if (grown == nullptr) throw std::bad_alloc();
    elements_ = static_cast<T*>(grown);
    capacity_ = capacity;
  }

  T* elements_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

// An object that gets written; when it is, the place where it was.
union WrittenObject {
  const Value* value;
  std::size_t offset;
};
// By number; of leaves that are equal the one that was met first.
using WrittenObjects = Run<WrittenObject>;

// Texts and data that were numbered, found by their content.
class TextTable {
 public:
  TextTable() : slots_(1024) {}

  static std::uint32_t hash(const Value& leaf);
  // What findOrAdd() with that hash looks at first is brought near.
  void fetch(std::uint32_t hash) const { __builtin_prefetch(&slots_[hash & (slots_.size() - 1)]); }
  // The object that equals the leaf. When there is none yet the number that the next object gets becomes it
  // and is returned.
  ObjectIndex findOrAdd(const Value& leaf, std::uint32_t hash, const WrittenObjects& objects);

 private:
  // Small, for the table of a large list is larger than the cache: the object says where the content is.
  struct Slot {
    ObjectIndex object = kNoObject;
    std::uint32_t hash = 0;
  };

  void grow();

  std::vector<Slot> slots_;
  std::size_t used_ = 0;
};

// Booleans, numbers and dates that were numbered lately. Each has one place, which it loses to the next
// that has the same: so what repeats is found, and the cost does not grow with how many there are.
class NumberTable {
 public:
  NumberTable() : slots_(kSlots) {}

  ObjectIndex findOrAdd(const Value& leaf, ObjectIndex next);

 private:
  static constexpr unsigned kSlotBits = 12;
  static constexpr std::size_t kSlots = std::size_t{1} << kSlotBits;
  struct Slot {
    std::uint64_t bits = 0;
    ObjectIndex object = kNoObject;
    std::uint32_t kind = 0;  // a negative integer is of another kind than one that is not
  };

  std::vector<Slot> slots_;
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_PROPERTYLISTUNIQUING_H
