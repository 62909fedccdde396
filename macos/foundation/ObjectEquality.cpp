// SPDX-License-Identifier: MIT
#include "macos/foundation/ObjectEquality.h"

#include <algorithm>
#include <cmath>

namespace macos {
namespace {

// The kinds that the platform keeps in its one number class.
bool isNumber(const Value& value) {
  const Value::Kind kind = value.kind();
  return kind == Value::Kind::Boolean || kind == Value::Kind::Integer || kind == Value::Kind::Real;
}

// A number that is whole and in the range of integers, as an integer: a double cannot hold every integer,
// so that the comparison must not go through it.
std::optional<Integer> wholeNumber(const Value& value) {
  if (auto boolean = value.ifBoolean()) {
    return Integer(*boolean ? 1 : 0);
  }
  if (auto integer = value.ifInteger()) {
    return integer;
  }
  const double real = *value.ifReal();
  constexpr double kTwoTo63 = 9223372036854775808.0;
  if (real != std::floor(real) || real < -kTwoTo63 || real >= 2 * kTwoTo63) {
    return std::nullopt;
  }
  return real < 0 ? Integer(static_cast<std::int64_t>(real)) : Integer(static_cast<std::uint64_t>(real));
}

bool areEqualNumbers(const Value& a, const Value& b) {
  const auto wholeA = wholeNumber(a);
  const auto wholeB = wholeNumber(b);
  // Two numbers of which neither is whole are both reals.
  return wholeA || wholeB ? wholeA == wholeB : a == b;
}

}  // namespace

bool isEqual(const Value& a, const Value& b) {
  if (isNumber(a) && isNumber(b)) {
    return areEqualNumbers(a, b);
  }
  if (const Array* array = a.ifArray()) {
    return b.ifArray() != nullptr && isEqual(*array, *b.ifArray());
  }
  if (const Dictionary* dictionary = a.ifDictionary()) {
    return b.ifDictionary() != nullptr && isEqual(*dictionary, *b.ifDictionary());
  }
  return a == b;
}

bool isEqual(const Array& a, const Array& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const Value& x, const Value& y) { return isEqual(x, y); });
}

bool isEqual(const Dictionary& a, const Dictionary& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
    return x.key() == y.key() && isEqual(x.value(), y.value());
  });
}

bool containsObject(const Array& array, const Value& value) {
  return std::any_of(array.begin(), array.end(), [&](const Value& each) { return isEqual(each, value); });
}

}  // namespace macos
