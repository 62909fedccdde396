// SPDX-License-Identifier: MIT
//
// The shared blocks behind Value, Array and Dictionary, for the codecs that fill them in one go. Not for
// use outside this folder. A block is counted by the handles that point to it and is changed only by a
// handle that is its only one.
#ifndef MACOS_FOUNDATION_VALUESTORAGE_H
#define MACOS_FOUNDATION_VALUESTORAGE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "macos/foundation/URL.h"
#include "macos/foundation/Value.h"

namespace macos {

// A reference costs 16 bytes of memory in its holder, so that 32 bits do not overflow before 64 GiB of
// handles to one block.
struct SharedBlock {
  std::atomic<std::uint32_t> references{1};

  void retain() noexcept { references.fetch_add(1, std::memory_order_relaxed); }
  // Whether the last reference is gone.
  bool release() noexcept { return references.fetch_sub(1, std::memory_order_acq_rel) == 1; }
  bool isShared() const noexcept { return references.load(std::memory_order_acquire) != 1; }
};

// What arrays and dictionaries have in common: a run of values behind the head, of which `count` live.
struct alignas(8) ContainerBlock : SharedBlock {
  std::uint32_t capacity = 0;
  std::uint32_t count = 0;
};

struct Array::Node : ContainerBlock {
  Value* values() { return static_cast<Value*>(static_cast<void*>(this + 1)); }
};

// Dictionaries with the same keys may share them: what the codecs read does.
struct Dictionary::Node : ContainerBlock {
  Array keys;  // sorted, each once; as many as there are values

  Value* values() { return static_cast<Value*>(static_cast<void*>(this + 1)); }
};

struct Value::BytesNode : SharedBlock {
  std::size_t size = 0;

  char* bytes() { return static_cast<char*>(static_cast<void*>(this + 1)); }
};

struct Value::URLNode : SharedBlock {
  NSURL url;
};

struct ValueStorage {
  // REQUIRES: valid UTF-8
  static Value stringFromValidUTF8(std::string_view text);
  // A dictionary of these keys. The value of the i-th key is moved from values[order[i]].
  // REQUIRES: the keys are strings, sorted, each once
  template <typename Position>
  static Dictionary dictionary(const Array& keys, Value* values, const Position* order);
  // An array of the values moved out of the run.
  static Array array(Value* values, std::size_t count);
  // The keys; null for the empty dictionary. Dictionaries that share their keys give the same block.
  static const Array* keys(const Dictionary& dictionary) {
    return dictionary.node_ == nullptr ? nullptr : &dictionary.node_->keys;
  }
  static const void* block(const Array& array) { return array.node_; }

  // What a container holds, in order.
  static std::span<const Value> values(const Array& array) {
    return array.node_ == nullptr ? std::span<const Value>()
                                  : std::span<const Value>(array.node_->values(), array.node_->count);
  }
  static std::span<const Value> values(const Dictionary& dictionary) {
    return dictionary.node_ == nullptr
               ? std::span<const Value>()
               : std::span<const Value>(dictionary.node_->values(), dictionary.node_->count);
  }
  // REQUIRES: a string or data
  static std::string_view bytes(const Value& value) {
    if (!value.isShared()) {
      return {static_cast<const char*>(static_cast<const void*>(value.storage_)), value.shortLength_};
    }
    auto* node = value.get<Value::BytesNode*>();
    return {node->bytes(), node->size};
  }
  // Brings near what the value points to, for a caller that will look at it soon.
  static void fetch(const Value& value) {
    if (!value.isShared()) return;
    // Whatever it points to, the pointer comes first.
    const void* block = nullptr;
    std::memcpy(&block, value.storage_, sizeof block);
    __builtin_prefetch(block);
  }

  struct Undertaker;
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_VALUESTORAGE_H
