// SPDX-License-Identifier: MIT
#include "platform/DeepCopy.h"

#include <gtest/gtest.h>

namespace vennick {
namespace {

using macos::Array;
using macos::Dictionary;
using macos::Value;

TEST(DeepCopy, ACopySharesNothingAtAnyDepth) {
  const auto original = std::make_shared<Dictionary>(
      Dictionary{{"name", Value("a")}, {"list", Value(Array{Value(Dictionary{{"inner", Value(1)}})})}});
  const SharedDictionary copy = mutableCopyDeep(original);
  ASSERT_NE(copy, original);
  EXPECT_EQ(*copy, *original);
  copy->findMutable("list")->ifArray()->mutableAt(0).ifDictionary()->set("inner", Value(2));
  copy->set("name", Value("b"));
  EXPECT_EQ(*original, (Dictionary{{"name", Value("a")},
                                   {"list", Value(Array{Value(Dictionary{{"inner", Value(1)}})})}}));
  EXPECT_EQ(*copy, (Dictionary{{"name", Value("b")},
                               {"list", Value(Array{Value(Dictionary{{"inner", Value(2)}})})}}));
}

TEST(DeepCopy, NothingCopiesToNothing) { EXPECT_EQ(mutableCopyDeep(nullptr), nullptr); }

}  // namespace
}  // namespace vennick
