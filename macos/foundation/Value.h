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

#include <compare>
#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace macos {

class Array;
class Dictionary;
class NSURL;

// An integer of -2^63 … 2^64-1: what a property list can hold.
class Integer {
 public:
  constexpr Integer() = default;
  template <std::integral T>
    requires(!std::same_as<T, bool>)
  constexpr Integer(T value)
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
    if (a.negative_ != b.negative_) return a.negative_ ? std::strong_ordering::less : std::strong_ordering::greater;
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

class Value {
 public:
  enum class Kind : std::uint8_t { Null, Boolean, Integer, Real, Date, Data, String, URL, Array, Dictionary };

  Value() noexcept;  // null
  template <std::same_as<bool> B>
  explicit Value(B boolean);
  template <std::integral I>
    requires(!std::same_as<I, bool>)
  explicit Value(I integer) : Value(Integer(integer)) {}
  explicit Value(Integer integer);
  explicit Value(double real);
  explicit Value(NSDate date);
  explicit Value(const NSData& data);
  // Valid UTF-8; bytes that are not are replaced by U+FFFD.
  explicit Value(std::string_view string);
  explicit Value(const std::string& string) : Value(std::string_view(string)) {}
  explicit Value(const char* string) : Value(std::string_view(string)) {}
  explicit Value(const NSURL& url);
  explicit Value(Array array);
  explicit Value(Dictionary dictionary);
  template <typename T>
  explicit Value(T*) = delete;  // a pointer is not a boolean

  Value(const Value& other) noexcept;
  Value(Value&& other) noexcept;
  Value& operator=(const Value& other) noexcept;
  Value& operator=(Value&& other) noexcept;
  ~Value();

  Kind kind() const;
  bool isNull() const { return kind() == Kind::Null; }

  // Asking: empty, or null, when the value is of another kind. Views and pointers live as long as this
  // Value is neither changed nor destroyed nor moved.
  std::optional<bool> ifBoolean() const;
  std::optional<Integer> ifInteger() const;
  std::optional<double> ifReal() const;
  std::optional<NSDate> ifDate() const;
  std::optional<std::string_view> ifData() const;
  std::optional<std::string_view> ifString() const;
  const NSURL* ifURL() const;
  const Array* ifArray() const;
  const Dictionary* ifDictionary() const;
  // For changing in place: detaches this value from those that share its content.
  Array* ifArray();
  Dictionary* ifDictionary();

  // Same kind and same content. Reals compare as numbers do, except that NaN equals NaN.
  friend bool operator==(const Value& a, const Value& b);
};

// An ordered list of values; a regular type whose copies share until one is changed.
class Array {
 public:
  Array() noexcept;
  Array(std::initializer_list<Value> values);

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
  void removeAt(std::size_t index);
  void removeAll();
  bool contains(const Value& value) const;

  friend bool operator==(const Array& a, const Array& b);
};

// Values by string key. Keys are kept in the order of their UTF-16 units, which is the order in which
// they are enumerated and written; a regular type whose copies share until one is changed.
class Dictionary {
 public:
  struct Entry;  // { std::string_view key(); const Value& value(); } in enumeration

  Dictionary() noexcept;
  Dictionary(std::initializer_list<std::pair<std::string_view, Value>> entries);

  std::size_t size() const;
  bool empty() const { return size() == 0; }
  // Null when the key is absent. The pointer lives until the dictionary is changed or destroyed.
  const Value* find(std::string_view key) const;
  Value* findMutable(std::string_view key);
  bool contains(std::string_view key) const { return find(key) != nullptr; }
  // Adds or replaces.
  void set(std::string_view key, Value value);
  // Whether there was anything to remove.
  bool remove(std::string_view key);
  void removeAll();
  // begin() and end() enumerate in key order; an entry has key() and value().
  // (declared with the implementation's iterator)

  // The value when it is there and of that kind.
  std::optional<bool> boolean(std::string_view key) const;
  std::optional<Integer> integer(std::string_view key) const;
  std::optional<double> real(std::string_view key) const;
  std::optional<NSDate> date(std::string_view key) const;
  std::optional<std::string_view> data(std::string_view key) const;
  std::optional<std::string_view> string(std::string_view key) const;
  const Array* array(std::string_view key) const;
  const Dictionary* dictionary(std::string_view key) const;

  friend bool operator==(const Dictionary& a, const Dictionary& b);
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_VALUE_H
