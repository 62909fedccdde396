// SPDX-License-Identifier: MIT
//
// A property-list value: one regular type over a closed set of kinds. Kinds never slide into one
// another: a boolean is not an integer, an integer is not a real, and a Value answers only for the kind
// that it holds.
//
// A Value is 16 bytes. Short strings and scalars lie inside it; long strings, data, arrays and
// dictionaries are shared and copied when they are first changed through one of their owners, so that a
// copy of a whole tree costs one reference. Values may be copied and destroyed on any thread; one Value
// is changed by one thread at a time, like any regular type.
#ifndef MACOS_FOUNDATION_VALUE_H
#define MACOS_FOUNDATION_VALUE_H

#include <array>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace macos {

class NSURL;
class Value;

// An integer of -2^63 … 2^64-1: what a property list can hold.
class Integer {
 public:
  constexpr Integer() = default;
  template <std::integral T>
  requires(!std::same_as<T, bool>) constexpr Integer(T value)
      : bits_(static_cast<std::uint64_t>(value)), negative_(std::is_signed_v<T> && value < T{}) {}

  constexpr bool isNegative() const { return negative_; }
  constexpr bool fitsSigned() const { return negative_ || bits_ <= INT64_MAX; }
  // The low 64 bits in two's complement.
  constexpr std::int64_t low64() const { return static_cast<std::int64_t>(bits_); }
  constexpr std::uint64_t bits() const { return bits_; }
  double toDouble() const;
  std::string toString() const;

  friend constexpr bool operator==(Integer, Integer) = default;
  friend constexpr std::strong_ordering operator<=>(Integer a, Integer b) {
    if (a.negative_ != b.negative_) {
      return a.negative_ ? std::strong_ordering::less : std::strong_ordering::greater;
    }
    return a.bits_ <=> b.bits_;
  }

 private:
  std::uint64_t bits_ = 0;
  bool negative_ = false;
};

// A point in time: seconds since 2001-01-01 00:00:00 UTC (CFAbsoluteTime).
struct NSDate {
  double secondsSinceReferenceDate = 0;

  static NSDate date();  // now, by the current host's clock
  static NSDate distantPast() { return {-63114076800.0}; }
  static NSDate dateWithTimeIntervalSinceNow(double seconds);
  // Negative for a date in the past.
  double timeIntervalSinceNow() const;

  friend bool operator==(NSDate, NSDate) = default;
  friend auto operator<=>(NSDate, NSDate) = default;
};

// Seconds from 1970-01-01 to 2001-01-01.
inline constexpr double kReferenceDateSince1970 = 978307200.0;

// Bytes; a type of its own so that data and strings are never taken for one another.
struct NSData {
  std::string bytes;

  std::size_t size() const { return bytes.size(); }
  bool empty() const { return bytes.empty(); }
  friend bool operator==(const NSData&, const NSData&) = default;
};

// An ordered list of values; a regular type whose copies share until one is changed.
class Array {
 public:
  Array() noexcept = default;
  Array(std::initializer_list<Value> values);
  Array(const Array& other) noexcept;
  Array(Array&& other) noexcept : node_(std::exchange(other.node_, nullptr)) {}
  Array& operator=(const Array& other) noexcept;
  Array& operator=(Array&& other) noexcept;
  ~Array();

  std::size_t size() const;
  bool empty() const { return size() == 0; }
  void reserve(std::size_t count);
  // REQUIRES: index < size()
  const Value& operator[](std::size_t index) const;
  Value& mutableAt(std::size_t index);
  const Value* begin() const;
  const Value* end() const;
  void append(Value value);
  // REQUIRES: index <= size()
  void insert(std::size_t index, Value value);
  // REQUIRES: index < size()
  void removeAt(std::size_t index);
  void removeAll();
  bool contains(const Value& value) const;

  friend bool operator==(const Array& a, const Array& b);

 private:
  friend class Value;
  friend class Dictionary;
  friend struct ValueStorage;
  struct Node;

  // Makes the node ours alone, with room for so many values.
  void own(std::size_t capacity);

  Node* node_ = nullptr;  // null when empty
};

// Values by string key. Keys are kept in the order of their UTF-16 units, which is the order in which
// they are enumerated and written; a regular type whose copies share until one is changed. Finding costs
// a binary search; setting a new key costs moving those behind it, so that many are best set in order.
class Dictionary {
 public:
  class Entry;     // key() and value(), both as long-lived as what find() gives
  class Iterator;  // random access over entries

  Dictionary() noexcept = default;
  // Of two entries with one key the later one stays.
  Dictionary(std::initializer_list<std::pair<std::string_view, Value>> entries);
  Dictionary(const Dictionary& other) noexcept;
  Dictionary(Dictionary&& other) noexcept : node_(std::exchange(other.node_, nullptr)) {}
  Dictionary& operator=(const Dictionary& other) noexcept;
  Dictionary& operator=(Dictionary&& other) noexcept;
  ~Dictionary();

  std::size_t size() const;
  bool empty() const { return size() == 0; }
  // Null when the key is absent. The pointer lives until the dictionary is changed or destroyed.
  const Value* find(std::string_view key) const&;
  const Value* find(std::string_view key) const&& = delete;
  Value* findMutable(std::string_view key);
  bool contains(std::string_view key) const { return find(key) != nullptr; }
  // Adds or replaces. A key that is not valid UTF-8 is taken with U+FFFD in place of what is not.
  void set(std::string_view key, Value value);
  // Whether there was anything to remove.
  bool remove(std::string_view key);
  void removeAll();
  // Entries in key order.
  Iterator begin() const;
  Iterator end() const;

  // The value when it is there and of that kind.
  std::optional<bool> boolean(std::string_view key) const;
  std::optional<Integer> integer(std::string_view key) const;
  std::optional<double> real(std::string_view key) const;
  std::optional<NSDate> date(std::string_view key) const;
  std::optional<std::string_view> data(std::string_view key) const&;
  std::optional<std::string_view> data(std::string_view key) const&& = delete;
  std::optional<std::string_view> string(std::string_view key) const&;
  std::optional<std::string_view> string(std::string_view key) const&& = delete;
  const Array* array(std::string_view key) const&;
  const Array* array(std::string_view key) const&& = delete;
  const Dictionary* dictionary(std::string_view key) const&;
  const Dictionary* dictionary(std::string_view key) const&& = delete;

  friend bool operator==(const Dictionary& a, const Dictionary& b);

 private:
  friend class Value;
  friend struct ValueStorage;
  struct Node;

  // Where the key is, or where it belongs.
  std::size_t lowerBound(std::string_view key) const;
  bool hasKeyAt(std::size_t index, std::string_view key) const;
  // Makes the node ours alone, with room for so many values; the keys may stay shared.
  void own(std::size_t capacity);

  Node* node_ = nullptr;  // null when empty
};

class Value {
 public:
  enum class Kind : std::uint8_t { Null, Boolean, Integer, Real, Date, Data, String, URL, Array, Dictionary };

  Value() noexcept = default;  // null
  template <std::same_as<bool> B>
  explicit Value(B boolean) noexcept : tag_(Tag::Boolean) {
    put(boolean);
  }
  template <std::integral I>
  requires(!std::same_as<I, bool>) explicit Value(I integer) noexcept : Value(Integer(integer)) {}
  explicit Value(Integer integer) noexcept : tag_(integer.isNegative() ? Tag::Negative : Tag::Unsigned) {
    put(integer.bits());
  }
  explicit Value(double real) noexcept : tag_(Tag::Real) { put(real); }
  explicit Value(NSDate date) noexcept : tag_(Tag::Date) { put(date.secondsSinceReferenceDate); }
  explicit Value(const NSData& data) : Value(fromData(data.bytes)) {}
  // Valid UTF-8; bytes that are not are replaced by U+FFFD.
  explicit Value(std::string_view string);
  explicit Value(const std::string& string) : Value(std::string_view(string)) {}
  explicit Value(const char* string) : Value(std::string_view(string)) {}
  explicit Value(const NSURL& url);
  explicit Value(Array array) noexcept;
  explicit Value(Dictionary dictionary) noexcept;
  template <typename T>
  requires(!std::same_as<T, char> &&
           !std::same_as<T, const char>) explicit Value(T*) = delete;  // a pointer is not a boolean
  explicit Value(std::nullptr_t) = delete;

  // A data value of a copy of these bytes.
  static Value fromData(std::string_view bytes);

  Value(const Value& other) noexcept { share(other); }
  Value(Value&& other) noexcept { take(other); }
  Value& operator=(const Value& other) noexcept;
  Value& operator=(Value&& other) noexcept {
    // What is replaced may hold what replaces it, so it is let go last.
    Value old;
    old.take(*this);
    take(other);
    return *this;
  }
  ~Value() {
    if (isShared()) release();
  }

  Kind kind() const { return kKinds[static_cast<std::size_t>(tag_)]; }
  bool isNull() const { return tag_ == Tag::Null; }

  // Asking: empty, or null, when the value is of another kind. Views and pointers live as long as this
  // Value is neither changed nor destroyed nor moved, which is why a temporary cannot be asked for one.
  std::optional<bool> ifBoolean() const;
  std::optional<Integer> ifInteger() const;
  std::optional<double> ifReal() const;
  std::optional<NSDate> ifDate() const;
  std::optional<std::string_view> ifData() const&;
  std::optional<std::string_view> ifData() const&& = delete;
  std::optional<std::string_view> ifString() const&;
  std::optional<std::string_view> ifString() const&& = delete;
  const NSURL* ifURL() const&;
  const NSURL* ifURL() const&& = delete;
  const Array* ifArray() const&;
  const Array* ifArray() const&& = delete;
  const Dictionary* ifDictionary() const&;
  const Dictionary* ifDictionary() const&& = delete;
  // For changing in place. What is changed is this value alone, never one that shares its content.
  Array* ifArray() &;
  Dictionary* ifDictionary() &;

  // Same kind and same content. Reals compare as numbers do, except that NaN equals NaN.
  friend bool operator==(const Value& a, const Value& b);

 private:
  friend class Dictionary;
  friend struct ValueStorage;

  // The kinds as they are stored. Those from Data on point to a block that is shared.
  enum class Tag : std::uint8_t {
    Null,
    Boolean,
    Unsigned,
    Negative,
    Real,
    Date,
    ShortData,
    ShortString,
    Data,
    String,
    URL,
    Array,
    Dictionary
  };
  static constexpr std::array<Kind, 13> kKinds = {
      Kind::Null,   Kind::Boolean, Kind::Integer, Kind::Integer, Kind::Real,  Kind::Date,      Kind::Data,
      Kind::String, Kind::Data,    Kind::String,  Kind::URL,     Kind::Array, Kind::Dictionary};
  static constexpr std::size_t kShortCapacity = 14;
  struct BytesNode;
  struct URLNode;

  Value(Tag shortTag, Tag sharedTag, std::string_view bytes);

  bool isShared() const { return tag_ >= Tag::Data; }
  template <typename T>
  void put(T content) noexcept {
    // NOLINTNEXTLINE(bugprone-sizeof-expression): a pointer is meant where T is one
    static_assert(sizeof(T) <= kShortCapacity && alignof(T) <= 8);
    ::new (static_cast<void*>(storage_)) T(std::move(content));
  }
  template <typename T>
  T& get() {
    return *std::launder(static_cast<T*>(static_cast<void*>(storage_)));
  }
  template <typename T>
  const T& get() const {
    return *std::launder(static_cast<const T*>(static_cast<const void*>(storage_)));
  }
  std::string_view bytes() const;
  void share(const Value& other) noexcept {
    copyBits(other);
    if (isShared()) retain();
  }
  void take(Value& other) noexcept {
    copyBits(other);
    other.tag_ = Tag::Null;
  }
  // No content minds being moved in memory.
  void copyBits(const Value& other) noexcept {
    std::memcpy(static_cast<void*>(this), static_cast<const void*>(&other), sizeof(Value));
  }
  void retain() noexcept;
  void release() noexcept;

  // A short text or data, a scalar, a pointer to a shared block, an Array or a Dictionary: tag_ says which.
  alignas(8) unsigned char storage_[kShortCapacity] = {};
  std::uint8_t shortLength_ = 0;
  Tag tag_ = Tag::Null;
};

static_assert(sizeof(Value) == 16);

// One key and its value, seen in enumeration.
class Dictionary::Entry {
 public:
  Entry(const Value& key, const Value& value) : key_(&key), value_(&value) {}
  std::string_view key() const { return *key_->ifString(); }
  const Value& value() const { return *value_; }

 private:
  const Value* key_;
  const Value* value_;
};

class Dictionary::Iterator {
 public:
  using iterator_concept = std::random_access_iterator_tag;
  using iterator_category = std::input_iterator_tag;
  using value_type = Entry;
  using difference_type = std::ptrdiff_t;
  using reference = Entry;
  // Keeps the entry alive while a member of it is asked for.
  class pointer {
   public:
    explicit pointer(Entry entry) : entry_(entry) {}
    const Entry* operator->() const { return &entry_; }

   private:
    Entry entry_;
  };

  Iterator() = default;
  Iterator(const Value* key, const Value* value) : key_(key), value_(value) {}

  Entry operator*() const { return {*key_, *value_}; }
  pointer operator->() const { return pointer(**this); }
  Entry operator[](difference_type n) const { return *(*this + n); }
  Iterator& operator+=(difference_type n) {
    key_ += n;
    value_ += n;
    return *this;
  }
  Iterator& operator-=(difference_type n) { return *this += -n; }
  Iterator& operator++() { return *this += 1; }
  Iterator& operator--() { return *this += -1; }
  Iterator operator++(int) { return std::exchange(*this, *this + 1); }
  Iterator operator--(int) { return std::exchange(*this, *this - 1); }
  friend Iterator operator+(Iterator i, difference_type n) { return i += n; }
  friend Iterator operator+(difference_type n, Iterator i) { return i += n; }
  friend Iterator operator-(Iterator i, difference_type n) { return i -= n; }
  friend difference_type operator-(Iterator a, Iterator b) { return a.value_ - b.value_; }
  friend bool operator==(Iterator a, Iterator b) { return a.value_ == b.value_; }
  friend auto operator<=>(Iterator a, Iterator b) { return a.value_ <=> b.value_; }

 private:
  const Value* key_ = nullptr;
  const Value* value_ = nullptr;
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_VALUE_H
