// SPDX-License-Identifier: MIT
#include "macos/foundation/Value.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>

#include "macos/foundation/Text.h"
#include "macos/foundation/ValueStorage.h"

namespace macos {

namespace {

constexpr std::size_t kMaximumCount = std::numeric_limits<std::uint32_t>::max();

template <typename Node>
Node* allocateContainer(std::size_t capacity) {
  static_assert(sizeof(Node) % alignof(Value) == 0);
  if (capacity > kMaximumCount) throw std::length_error("a property-list container of 2^32 entries");
  auto* node = ::new (::operator new(sizeof(Node) + capacity * sizeof(Value))) Node;
  node->capacity = static_cast<std::uint32_t>(capacity);
  return node;
}

template <typename Node>
void retain(Node* node) {
  if (node != nullptr) node->retain();
}

// A node of that capacity with the values of another one: moved when it is ours alone, else shared.
template <typename Node>
Node* withCapacity(Node* old, std::size_t capacity) {
  auto* node = allocateContainer<Node>(capacity);
  if (old == nullptr) return node;
  if (old->isShared()) {
    std::uninitialized_copy_n(old->values(), old->count, node->values());
  } else {
    std::uninitialized_move_n(old->values(), old->count, node->values());
  }
  node->count = old->count;
  return node;
}

template <typename Node>
std::size_t grownCapacity(const Node* node, std::size_t wanted) {
  if (node == nullptr || wanted <= node->capacity) return wanted;
  return std::max<std::size_t>(wanted, node->capacity + node->capacity / 2);
}

// No value minds being moved in memory, so that a run of them moves at once.
void moveRun(Value* to, const Value* from, std::size_t count) {
  std::memmove(static_cast<void*>(to), static_cast<const void*>(from), count * sizeof(Value));
}

// Opens a gap in a run of values that has room for it, and fills it.
void insertInto(Value* values, std::size_t count, std::size_t index, Value value) {
  moveRun(values + index + 1, values + index, count - index);
  ::new (static_cast<void*>(values + index)) Value(std::move(value));
}

void removeFrom(Value* values, std::size_t count, std::size_t index) {
  values[index].~Value();
  moveRun(values + index, values + index + 1, count - index - 1);
}

}  // namespace

double Integer::toDouble() const {
  return negative_ ? static_cast<double>(low64()) : static_cast<double>(bits_);
}

std::string Integer::toString() const { return negative_ ? std::to_string(low64()) : std::to_string(bits_); }

namespace {

// What a dead container becomes while it waits for its content to be let go. The chain runs through the
// dead blocks themselves, so that a tree of any depth is taken down without a stack and without memory.
struct DeadContainer {
  DeadContainer* next;
  std::uint32_t count;
  std::uint32_t headSize;
};

template <typename Node>
DeadContainer* bury(Node* node, DeadContainer* next) {
  static_assert(sizeof(Node) >= sizeof(DeadContainer));
  const std::uint32_t count = node->count;
  return ::new (static_cast<void*>(node)) DeadContainer{next, count, sizeof(Node)};
}

}  // namespace

// Lets handles go. The chain of those that died of it is passed on.
struct ValueStorage::Undertaker {
  static DeadContainer* letGo(Array::Node* node, DeadContainer* dead) {
    return node != nullptr && node->release() ? bury(node, dead) : dead;
  }

  static DeadContainer* letGo(Dictionary::Node* node, DeadContainer* dead) {
    if (node == nullptr || !node->release()) return dead;
    dead = letGo(node->keys.node_, dead);
    return bury(node, dead);
  }

  static DeadContainer* letGo(Value& value, DeadContainer* dead) {
    if (value.tag_ == Value::Tag::Array) return letGo(value.get<Array>().node_, dead);
    if (value.tag_ == Value::Tag::Dictionary) return letGo(value.get<Dictionary>().node_, dead);
    value.~Value();
    return dead;
  }

  static void work(DeadContainer* dead) {
    while (dead != nullptr) {
      DeadContainer* container = std::exchange(dead, dead->next);
      void* run = static_cast<char*>(static_cast<void*>(container)) + container->headSize;
      auto* values = static_cast<Value*>(run);
      for (std::uint32_t i = 0; i < container->count; ++i) dead = letGo(values[i], dead);
      ::operator delete(static_cast<void*>(container));
    }
  }
};

Value ValueStorage::stringFromValidUTF8(std::string_view text) {
  return Value(Value::Tag::ShortString, Value::Tag::String, text);
}

template <typename Position>
Dictionary ValueStorage::dictionary(const Array& keys, Value* values, const Position* order) {
  Dictionary dictionary;
  const std::size_t count = keys.size();
  if (count == 0) return dictionary;
  auto* node = allocateContainer<Dictionary::Node>(count);
  dictionary.node_ = node;
  node->keys = keys;
  for (std::size_t i = 0; i < count; ++i) {
    ::new (static_cast<void*>(node->values() + i)) Value(std::move(values[order[i]]));
  }
  node->count = static_cast<std::uint32_t>(count);
  return dictionary;
}

template Dictionary ValueStorage::dictionary(const Array&, Value*, const std::uint16_t*);
template Dictionary ValueStorage::dictionary(const Array&, Value*, const std::uint32_t*);

Array ValueStorage::array(Value* values, std::size_t count) {
  Array array;
  if (count == 0) return array;
  array.node_ = allocateContainer<Array::Node>(count);
  std::uninitialized_move_n(values, count, array.node_->values());
  array.node_->count = static_cast<std::uint32_t>(count);
  return array;
}

// ---- Array

Array::Array(std::initializer_list<Value> values) {
  reserve(values.size());
  for (const Value& value : values) append(value);
}

Array::Array(const Array& other) noexcept : node_(other.node_) { retain(node_); }

Array& Array::operator=(const Array& other) noexcept {
  Array copy(other);
  std::swap(node_, copy.node_);
  return *this;
}

Array& Array::operator=(Array&& other) noexcept {
  Array moved(std::move(other));
  std::swap(node_, moved.node_);
  return *this;
}

Array::~Array() { ValueStorage::Undertaker::work(ValueStorage::Undertaker::letGo(node_, nullptr)); }

std::size_t Array::size() const { return node_ == nullptr ? 0 : node_->count; }

void Array::own(std::size_t capacity) {
  if (node_ != nullptr && !node_->isShared() && node_->capacity >= capacity) return;
  Array old;
  old.node_ = std::exchange(node_, withCapacity(node_, grownCapacity(node_, capacity)));
}

void Array::reserve(std::size_t count) {
  if (count > size()) own(count);
}

const Value& Array::operator[](std::size_t index) const {
  assert(index < size());
  return node_->values()[index];
}

Value& Array::mutableAt(std::size_t index) {
  assert(index < size());
  own(size());
  return node_->values()[index];
}

const Value* Array::begin() const { return node_ == nullptr ? nullptr : node_->values(); }

const Value* Array::end() const { return begin() + size(); }

void Array::append(Value value) {
  const std::size_t count = size();
  own(count + 1);
  ::new (static_cast<void*>(node_->values() + count)) Value(std::move(value));
  ++node_->count;
}

void Array::insert(std::size_t index, Value value) {
  const std::size_t count = size();
  assert(index <= count);
  own(count + 1);
  insertInto(node_->values(), count, index, std::move(value));
  ++node_->count;
}

void Array::removeAt(std::size_t index) {
  const std::size_t count = size();
  assert(index < count);
  own(count);
  removeFrom(node_->values(), count, index);
  --node_->count;
}

void Array::removeAll() { *this = Array(); }

bool Array::contains(const Value& value) const { return std::find(begin(), end(), value) != end(); }

bool operator==(const Array& a, const Array& b) {
  return a.node_ == b.node_ || std::equal(a.begin(), a.end(), b.begin(), b.end());
}

// ---- Dictionary

Dictionary::Dictionary(std::initializer_list<std::pair<std::string_view, Value>> entries) {
  for (const auto& [key, value] : entries) set(key, value);
}

Dictionary::Dictionary(const Dictionary& other) noexcept : node_(other.node_) { retain(node_); }

Dictionary& Dictionary::operator=(const Dictionary& other) noexcept {
  Dictionary copy(other);
  std::swap(node_, copy.node_);
  return *this;
}

Dictionary& Dictionary::operator=(Dictionary&& other) noexcept {
  Dictionary moved(std::move(other));
  std::swap(node_, moved.node_);
  return *this;
}

Dictionary::~Dictionary() { ValueStorage::Undertaker::work(ValueStorage::Undertaker::letGo(node_, nullptr)); }

std::size_t Dictionary::size() const { return node_ == nullptr ? 0 : node_->count; }

Dictionary::Iterator Dictionary::begin() const {
  return node_ == nullptr ? Iterator() : Iterator(node_->keys.begin(), node_->values());
}

Dictionary::Iterator Dictionary::end() const { return begin() + static_cast<std::ptrdiff_t>(size()); }

void Dictionary::own(std::size_t capacity) {
  if (node_ != nullptr && !node_->isShared() && node_->capacity >= capacity) return;
  Node* node = withCapacity(node_, grownCapacity(node_, capacity));
  if (node_ != nullptr) node->keys = node_->keys;
  Dictionary old;
  old.node_ = std::exchange(node_, node);
}

std::size_t Dictionary::lowerBound(std::string_view key) const {
  if (node_ == nullptr) return 0;
  const auto isBefore = [](const Value& a, std::string_view b) {
    return std::is_lt(compareLiteral(a.bytes(), b));
  };
  const Value* first = node_->keys.begin();
  const Value* last = node_->keys.end();
  // Keys mostly come in order.
  if (isBefore(last[-1], key)) return size();
  return static_cast<std::size_t>(std::lower_bound(first, last, key, isBefore) - first);
}

bool Dictionary::hasKeyAt(std::size_t index, std::string_view key) const {
  return index < size() && node_->keys[index].bytes() == key;
}

const Value* Dictionary::find(std::string_view key) const& {
  constexpr std::uint32_t kFew = 12;
  if (node_ != nullptr && node_->count <= kFew) {
    // To look at each is faster than to search: most are told apart by their lengths.
    const Value* keys = node_->keys.node_->values();
    for (std::uint32_t index = node_->count; index-- > 0;) {
      if (keys[index].bytes() == key) return node_->values() + index;
    }
    return nullptr;
  }
  const std::size_t index = lowerBound(key);
  return hasKeyAt(index, key) ? node_->values() + index : nullptr;
}

Value* Dictionary::findMutable(std::string_view key) {
  const std::size_t index = lowerBound(key);
  if (!hasKeyAt(index, key)) return nullptr;
  own(size());
  return node_->values() + index;
}

void Dictionary::set(std::string_view key, Value value) {
  Value text(key);
  const std::string_view valid = text.bytes();
  const std::size_t index = lowerBound(valid);
  const std::size_t count = size();
  if (hasKeyAt(index, valid)) {
    own(count);
    node_->values()[index] = std::move(value);
    return;
  }
  own(count + 1);
  node_->keys.insert(index, std::move(text));
  insertInto(node_->values(), count, index, std::move(value));
  ++node_->count;
}

bool Dictionary::remove(std::string_view key) {
  const std::size_t index = lowerBound(key);
  if (!hasKeyAt(index, key)) return false;
  const std::size_t count = size();
  if (count == 1) {
    removeAll();
    return true;
  }
  own(count);
  node_->keys.removeAt(index);
  removeFrom(node_->values(), count, index);
  --node_->count;
  return true;
}

void Dictionary::removeAll() { *this = Dictionary(); }

std::optional<bool> Dictionary::boolean(std::string_view key) const {
  const Value* value = find(key);
  return value == nullptr ? std::nullopt : value->ifBoolean();
}

std::optional<Integer> Dictionary::integer(std::string_view key) const {
  const Value* value = find(key);
  return value == nullptr ? std::nullopt : value->ifInteger();
}

std::optional<double> Dictionary::real(std::string_view key) const {
  const Value* value = find(key);
  return value == nullptr ? std::nullopt : value->ifReal();
}

std::optional<NSDate> Dictionary::date(std::string_view key) const {
  const Value* value = find(key);
  return value == nullptr ? std::nullopt : value->ifDate();
}

std::optional<std::string_view> Dictionary::data(std::string_view key) const& {
  const Value* value = find(key);
  return value == nullptr ? std::nullopt : value->ifData();
}

std::optional<std::string_view> Dictionary::string(std::string_view key) const& {
  const Value* value = find(key);
  return value == nullptr ? std::nullopt : value->ifString();
}

const Array* Dictionary::array(std::string_view key) const& {
  const Value* value = find(key);
  return value == nullptr ? nullptr : value->ifArray();
}

const Dictionary* Dictionary::dictionary(std::string_view key) const& {
  const Value* value = find(key);
  return value == nullptr ? nullptr : value->ifDictionary();
}

bool operator==(const Dictionary& a, const Dictionary& b) {
  if (a.node_ == b.node_) return true;
  return a.size() == b.size() && a.node_ != nullptr && b.node_ != nullptr && a.node_->keys == b.node_->keys &&
         std::equal(a.node_->values(), a.node_->values() + a.size(), b.node_->values());
}

// ---- Value

Value::Value(Tag shortTag, Tag sharedTag, std::string_view bytes) {
  if (bytes.size() <= kShortCapacity) {
    std::copy(bytes.begin(), bytes.end(), storage_);
    shortLength_ = static_cast<std::uint8_t>(bytes.size());
    tag_ = shortTag;
    return;
  }
  auto* node = ::new (::operator new(sizeof(BytesNode) + bytes.size())) BytesNode;
  node->size = bytes.size();
  std::copy(bytes.begin(), bytes.end(), node->bytes());
  put(node);
  tag_ = sharedTag;
}

Value::Value(std::string_view string)
    : Value(isASCII(string) || isValidUTF8(string) ? ValueStorage::stringFromValidUTF8(string)
                                                   : ValueStorage::stringFromValidUTF8(validUTF8(string))) {}

Value::Value(const NSURL& url) {
  auto* node = new URLNode;
  node->url = url;
  put(node);
  tag_ = Tag::URL;
}

Value::Value(Array array) noexcept : tag_(Tag::Array) { put(std::move(array)); }

Value::Value(Dictionary dictionary) noexcept : tag_(Tag::Dictionary) { put(std::move(dictionary)); }

Value Value::fromData(std::string_view bytes) { return Value(Tag::ShortData, Tag::Data, bytes); }

Value& Value::operator=(const Value& other) noexcept {
  Value copy(other);
  return *this = std::move(copy);
}

void Value::retain() noexcept {
  switch (tag_) {
    case Tag::Data:
    case Tag::String:
      get<BytesNode*>()->retain();
      break;
    case Tag::URL:
      get<URLNode*>()->retain();
      break;
    case Tag::Array:
      macos::retain(get<Array>().node_);
      break;
    case Tag::Dictionary:
      macos::retain(get<Dictionary>().node_);
      break;
    default:
      break;
  }
}

void Value::release() noexcept {
  switch (tag_) {
    case Tag::Data:
    case Tag::String:
      if (BytesNode* node = get<BytesNode*>(); node->release()) ::operator delete(static_cast<void*>(node));
      break;
    case Tag::URL:
      if (URLNode* node = get<URLNode*>(); node->release()) delete node;
      break;
    case Tag::Array:
      get<Array>().~Array();
      break;
    case Tag::Dictionary:
      get<Dictionary>().~Dictionary();
      break;
    default:
      break;
  }
}

std::string_view Value::bytes() const {
  if (!isShared()) return {static_cast<const char*>(static_cast<const void*>(storage_)), shortLength_};
  BytesNode* node = get<BytesNode*>();
  return {node->bytes(), node->size};
}

std::optional<bool> Value::ifBoolean() const {
  return tag_ == Tag::Boolean ? std::optional(get<bool>()) : std::nullopt;
}

std::optional<Integer> Value::ifInteger() const {
  if (tag_ == Tag::Unsigned) return Integer(get<std::uint64_t>());
  if (tag_ == Tag::Negative) return Integer(static_cast<std::int64_t>(get<std::uint64_t>()));
  return std::nullopt;
}

std::optional<double> Value::ifReal() const {
  return tag_ == Tag::Real ? std::optional(get<double>()) : std::nullopt;
}

std::optional<NSDate> Value::ifDate() const {
  return tag_ == Tag::Date ? std::optional(NSDate{get<double>()}) : std::nullopt;
}

std::optional<std::string_view> Value::ifData() const& {
  return tag_ == Tag::ShortData || tag_ == Tag::Data ? std::optional(bytes()) : std::nullopt;
}

std::optional<std::string_view> Value::ifString() const& {
  return tag_ == Tag::ShortString || tag_ == Tag::String ? std::optional(bytes()) : std::nullopt;
}

const NSURL* Value::ifURL() const& { return tag_ == Tag::URL ? &get<URLNode*>()->url : nullptr; }

const Array* Value::ifArray() const& { return tag_ == Tag::Array ? &get<Array>() : nullptr; }

const Dictionary* Value::ifDictionary() const& {
  return tag_ == Tag::Dictionary ? &get<Dictionary>() : nullptr;
}

Array* Value::ifArray() & { return tag_ == Tag::Array ? &get<Array>() : nullptr; }

Dictionary* Value::ifDictionary() & { return tag_ == Tag::Dictionary ? &get<Dictionary>() : nullptr; }

bool operator==(const Value& a, const Value& b) {
  const Value::Kind kind = a.kind();
  if (kind != b.kind()) return false;
  switch (kind) {
    case Value::Kind::Null:
      return true;
    case Value::Kind::Boolean:
      return a.get<bool>() == b.get<bool>();
    case Value::Kind::Integer:
      return a.tag_ == b.tag_ && a.get<std::uint64_t>() == b.get<std::uint64_t>();
    case Value::Kind::Real:
    case Value::Kind::Date: {
      const double x = a.get<double>();
      const double y = b.get<double>();
      return x == y || (std::isnan(x) && std::isnan(y));
    }
    case Value::Kind::Data:
    case Value::Kind::String:
      return a.bytes() == b.bytes();
    case Value::Kind::URL:
      return a.get<Value::URLNode*>() == b.get<Value::URLNode*>() || *a.ifURL() == *b.ifURL();
    case Value::Kind::Array:
      return a.get<Array>() == b.get<Array>();
    case Value::Kind::Dictionary:
      return a.get<Dictionary>() == b.get<Dictionary>();
  }
  return false;
}

}  // namespace macos
