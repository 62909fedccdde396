// SPDX-License-Identifier: MIT
#include "legacy/ContainerReading.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>

using macos::Array;
using macos::Dictionary;
using macos::Value;

namespace vennick {
namespace {

// A parent with a second level under it, like an application's search list.
class LayeredParent : public ContainerParent {
 public:
  std::optional<Value> read(std::string_view key) const override {
    if (const Value* value = upper.find(key)) return *value;
    const Value* value = lower.find(key);
    return value ? std::optional(*value) : std::nullopt;
  }
  void write(std::string_view key, std::optional<Value> value) override {
    if (value) {
      upper.set(key, *value);
    } else {
      upper.remove(key);
    }
  }

  Dictionary upper;
  Dictionary lower;
};

TEST(ContainerReading, ANonEmptyContainerOfTheKindIsCopied) {
  Dictionary parent = {{"List", Value(Array{Value("a")})}, {"Map", Value(Dictionary{{"k", Value(1)}})}};
  const Dictionary before = parent;
  const auto list = readArray(parent, "List");
  const auto map = readDictionary(parent, "Map");
  EXPECT_FALSE(list.created);
  EXPECT_EQ(list.value, (Array{Value("a")}));
  EXPECT_FALSE(map.created);
  EXPECT_EQ(map.value, (Dictionary{{"k", Value(1)}}));
  EXPECT_EQ(parent, before);
}

TEST(ContainerReading, ChangingTheCopyDoesNotChangeTheParent) {
  Dictionary parent = {{"Map", Value(Dictionary{{"k", Value(1)}})}};
  auto map = readDictionary(parent, "Map");
  map.value.set("k", Value(2));
  EXPECT_EQ(parent, (Dictionary{{"Map", Value(Dictionary{{"k", Value(1)}})}}));
}

TEST(ContainerReading, AMissingContainerIsMadeAndStored) {
  Dictionary parent;
  EXPECT_TRUE(readArray(parent, "List").created);
  EXPECT_TRUE(readDictionary(parent, "Map").created);
  EXPECT_EQ(parent, (Dictionary{{"List", Value(Array())}, {"Map", Value(Dictionary())}}));
}

TEST(ContainerReading, AContainerOfAnotherKindIsReplaced) {
  Dictionary parent = {{"List", Value(Dictionary{{"k", Value(1)}})}, {"Map", Value("text")}};
  const auto list = readArray(parent, "List");
  EXPECT_TRUE(list.created);
  EXPECT_TRUE(list.value.empty());
  EXPECT_TRUE(readDictionary(parent, "Map").created);
  EXPECT_EQ(parent, (Dictionary{{"List", Value(Array())}, {"Map", Value(Dictionary())}}));
}

TEST(ContainerReading, AnEmptyContainerInADictionaryIsMadeAnew) {
  Dictionary parent = {{"Map", Value(Dictionary())}};
  EXPECT_TRUE(readDictionary(parent, "Map").created);
  EXPECT_EQ(parent, (Dictionary{{"Map", Value(Dictionary())}}));
}

TEST(ContainerReading, WhenAnEmptyContainerIsRemovedALowerLevelShinesThrough) {
  LayeredParent parent;
  parent.upper = {{"Map", Value(Dictionary())}};
  parent.lower = {{"Map", Value(Dictionary{{"k", Value(1)}})}};
  const auto map = readDictionary(parent, "Map");
  EXPECT_FALSE(map.created);
  EXPECT_EQ(map.value, (Dictionary{{"k", Value(1)}}));
  EXPECT_TRUE(parent.upper.empty());
}

TEST(ContainerReading, AnEmptyContainerBelowAnEmptyOneCountsAsMissing) {
  LayeredParent parent;
  parent.upper = {{"List", Value(Array())}};
  parent.lower = {{"List", Value(Array())}};
  EXPECT_TRUE(readArray(parent, "List").created);
  EXPECT_EQ(parent.upper, (Dictionary{{"List", Value(Array())}}));
}

TEST(ContainerReading, AStringThatIsEmptyOrOfAnotherKindIsReplacedByTheDefault) {
  Dictionary parent = {{"Full", Value("there")}, {"Empty", Value("")}, {"Number", Value(7)}};
  EXPECT_EQ(readString(parent, "Full", "default"), "there");
  EXPECT_EQ(readString(parent, "Empty", "default"), "default");
  EXPECT_EQ(readString(parent, "Number", "default"), "default");
  EXPECT_EQ(readString(parent, "Missing", "default"), "default");
  EXPECT_EQ(parent, (Dictionary{{"Full", Value("there")},
                                {"Empty", Value("default")},
                                {"Number", Value("default")},
                                {"Missing", Value("default")}}));
}

TEST(ContainerReading, OnlyANumberOfIntegerTypeIsAnInteger) {
  const struct {
    const char* name;
    Value stored;
  } kMissing[] = {{"boolean", Value(true)},
                  {"real", Value(3.0)},
                  {"text", Value("3")},
                  {"data", Value(macos::NSData{"3"})},
                  {"list", Value(Array{Value(3)})}};
  for (const auto& row : kMissing) {
    Dictionary parent = {{"Key", row.stored}};
    EXPECT_EQ(readInteger(parent, "Key", 42), 42) << row.name;
    EXPECT_EQ(parent, (Dictionary{{"Key", Value(42)}})) << row.name;
  }
  Dictionary parent = {{"Key", Value(-3)}};
  EXPECT_EQ(readInteger(parent, "Key", 42), -3);
  EXPECT_EQ(readInteger(parent, "Missing", 42), 42);
  EXPECT_EQ(parent, (Dictionary{{"Key", Value(-3)}, {"Missing", Value(42)}}));
}

TEST(ContainerReading, AnIntegerOf2To63AndMoreReadsAsItsLow64Bits) {
  Dictionary parent = {{"Least", Value(std::uint64_t{1} << 63)},
                       {"Most", Value(std::numeric_limits<std::uint64_t>::max())}};
  EXPECT_EQ(readInteger(parent, "Least", 0), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(readInteger(parent, "Most", 0), -1);
}

}  // namespace
}  // namespace vennick
