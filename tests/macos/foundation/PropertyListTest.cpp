// SPDX-License-Identifier: MIT
#include "macos/foundation/PropertyList.h"

#include <gtest/gtest.h>

#include <limits>

#include "macos/foundation/URL.h"

namespace macos {
namespace {

TEST(WritablePropertyList, LeavesOutWhatNoFormatHoldsAtAnyDepth) {
  const Value url(NSURL::fileURLWithPathIsDirectory("/x", false));
  const Value noDate(NSDate{std::numeric_limits<double>::quiet_NaN()});
  const Value lateDate(NSDate{252423993600.0});
  const Dictionary inner{{"a", Value()}, {"b", Value(Array{noDate, url, Value("x"), lateDate})}};
  const Value value(Array{Value(1), Value(), Value(inner), Value(Array{Value()})});
  const Value expected(Array{Value(1), Value(Dictionary{{"b", Value(Array{Value("x")})}}), Value(Array{})});
  EXPECT_EQ(writablePropertyList(value), expected);
  for (const auto format : {NSPropertyListFormat::Binary, NSPropertyListFormat::XML}) {
    EXPECT_FALSE(NSPropertyListSerialization::dataWithPropertyList(value, format).ok());
    EXPECT_TRUE(NSPropertyListSerialization::dataWithPropertyList(expected, format).ok());
  }
}

TEST(WritablePropertyList, IsTheValueWhenThereIsNothingToLeaveOut) {
  Value nested(Array{});
  for (int i = 1; i < 512; ++i) nested = Value(Array{nested});
  for (const Value& value :
       {Value(), Value(1), Value(Dictionary{{"a", Value(NSDate{252423993599.0})}}), nested}) {
    EXPECT_EQ(writablePropertyList(value), value);
  }
}

}  // namespace
}  // namespace macos
