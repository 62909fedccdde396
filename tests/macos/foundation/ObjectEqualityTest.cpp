// SPDX-License-Identifier: MIT
#include "macos/foundation/ObjectEquality.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace macos {
namespace {

TEST(ObjectEquality, ComparesNumbersByValueAcrossKinds) {
  EXPECT_TRUE(isEqual(Value(1), Value(true)));
  EXPECT_TRUE(isEqual(Value(1.0), Value(1)));
  EXPECT_TRUE(isEqual(Value(false), Value(0.0)));
  EXPECT_TRUE(isEqual(Value(-0.0), Value(0)));
  EXPECT_TRUE(isEqual(Value(UINT64_MAX), Value(UINT64_MAX)));
  EXPECT_FALSE(isEqual(Value(2), Value(true)));
  EXPECT_FALSE(isEqual(Value(1.5), Value(1)));
  EXPECT_FALSE(isEqual(Value(-1), Value(UINT64_MAX)));
  EXPECT_FALSE(isEqual(Value("1"), Value(1)));
}

TEST(ObjectEquality, DoesNotLoseAnIntegersDigitsInAReal) {
  const std::int64_t beyondReals = (std::int64_t{1} << 53) + 1;
  EXPECT_FALSE(isEqual(Value(beyondReals), Value(static_cast<double>(beyondReals))));
  EXPECT_TRUE(isEqual(Value(INT64_MIN), Value(-9223372036854775808.0)));
  EXPECT_TRUE(isEqual(Value(std::uint64_t{1} << 63), Value(9223372036854775808.0)));
  EXPECT_FALSE(isEqual(Value(UINT64_MAX), Value(18446744073709551616.0)));
  EXPECT_FALSE(isEqual(Value(0), Value(1e300)));
}

TEST(ObjectEquality, LooksIntoContainers) {
  EXPECT_TRUE(isEqual(Array{Value(1), Value(Array{Value(true)})}, Array{Value(1.0), Value(Array{Value(1)})}));
  EXPECT_FALSE(isEqual(Array{Value(1)}, Array{Value(1), Value(1)}));
  EXPECT_TRUE(isEqual(Dictionary{{"a", Value(1)}}, Dictionary{{"a", Value(true)}}));
  EXPECT_FALSE(isEqual(Dictionary{{"a", Value(1)}}, Dictionary{{"b", Value(1)}}));
  EXPECT_FALSE(isEqual(Value(Array{}), Value(Dictionary{})));
}

TEST(ObjectEquality, IsWhatMembershipGoesBy) {
  EXPECT_TRUE(containsObject(Array{Value("a"), Value(true)}, Value(1)));
  EXPECT_FALSE(containsObject(Array{Value("a")}, Value("A")));
  EXPECT_FALSE(Array{Value(true)}.contains(Value(1))) << "a value's own equality keeps the kinds apart";
}

}  // namespace
}  // namespace macos
