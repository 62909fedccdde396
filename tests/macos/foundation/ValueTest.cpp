// SPDX-License-Identifier: MIT
#include "macos/foundation/Value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "macos/foundation/Text.h"
#include "macos/foundation/URL.h"
#include "tests/support/Sanitizers.h"

namespace macos {
namespace {

using Kind = Value::Kind;

// What must not compile, and beside each what must: were the deleted overload lost, the first would start
// to hold; were everything deleted, the second would stop.
template <typename T>
concept AsksATemporaryForItsText = requires {
  std::declval<T>().ifString();
};
template <typename T>
concept AsksATemporaryForItsArray = requires {
  std::declval<T>().ifArray();
};
template <typename T>
concept AsksATemporaryForAKey = requires {
  std::declval<T>().find("key");
};

static_assert(!std::is_constructible_v<Value, int*>);
static_assert(!std::is_constructible_v<Value, const void*>);
static_assert(!std::is_constructible_v<Value, std::nullptr_t>);
static_assert(std::is_constructible_v<Value, bool>);
static_assert(std::is_constructible_v<Value, int>);
static_assert(std::is_constructible_v<Value, const char*>);
static_assert(!std::is_convertible_v<bool, Value>);
static_assert(!std::is_convertible_v<int, Value>);
static_assert(!std::is_convertible_v<const char*, Value>);
static_assert(!std::is_convertible_v<Value, bool>);
static_assert(!AsksATemporaryForItsText<Value>);
static_assert(AsksATemporaryForItsText<Value&>);
static_assert(!AsksATemporaryForItsArray<Value>);
static_assert(AsksATemporaryForItsArray<const Value&>);
static_assert(!AsksATemporaryForAKey<Dictionary>);
static_assert(AsksATemporaryForAKey<const Dictionary&>);
static_assert(std::is_nothrow_move_constructible_v<Value>);
static_assert(sizeof(Value) == 16);

std::string longText() { return std::string(100, 'x'); }

std::vector<std::string> keysOf(const Dictionary& dictionary) {
  std::vector<std::string> keys;
  for (const auto& entry : dictionary) keys.emplace_back(entry.key());
  return keys;
}

TEST(Value, IsNullUntilGivenSomething) {
  Value value;
  EXPECT_TRUE(value.isNull());
  EXPECT_EQ(value.kind(), Kind::Null);
}

TEST(Value, AnswersOnlyForTheKindItHolds) {
  const std::vector<Value> values = {Value(true),
                                     Value(1),
                                     Value(1.0),
                                     Value(NSDate{1}),
                                     Value(NSData{"1"}),
                                     Value("1"),
                                     Value(Array{Value(1)}),
                                     Value(Dictionary{{"1", Value(1)}})};
  for (const Value& value : values) {
    SCOPED_TRACE(static_cast<int>(value.kind()));
    EXPECT_EQ(value.ifBoolean().has_value(), value.kind() == Kind::Boolean);
    EXPECT_EQ(value.ifInteger().has_value(), value.kind() == Kind::Integer);
    EXPECT_EQ(value.ifReal().has_value(), value.kind() == Kind::Real);
    EXPECT_EQ(value.ifDate().has_value(), value.kind() == Kind::Date);
    EXPECT_EQ(value.ifData().has_value(), value.kind() == Kind::Data);
    EXPECT_EQ(value.ifString().has_value(), value.kind() == Kind::String);
    EXPECT_EQ(value.ifArray() != nullptr, value.kind() == Kind::Array);
    EXPECT_EQ(value.ifDictionary() != nullptr, value.kind() == Kind::Dictionary);
    EXPECT_EQ(value.ifURL(), nullptr);
  }
}

TEST(Value, ValuesOfDifferentKindsAreNeverEqual) {
  const std::vector<Value> values = {Value(),
                                     Value(true),
                                     Value(1),
                                     Value(1.0),
                                     Value(NSDate{1}),
                                     Value(NSData{"1"}),
                                     Value("1"),
                                     Value(Array{Value(1)}),
                                     Value(Array()),
                                     Value(Dictionary{{"1", Value(1)}}),
                                     Value(Dictionary())};
  for (std::size_t i = 0; i < values.size(); ++i) {
    for (std::size_t j = 0; j < values.size(); ++j) {
      EXPECT_EQ(values[i] == values[j], i == j) << i << " and " << j;
    }
  }
}

TEST(Value, GivesBackWhatItWasGiven) {
  EXPECT_EQ(Value(false).ifBoolean(), false);
  EXPECT_EQ(Value(-5).ifInteger(), Integer(-5));
  EXPECT_EQ(Value(INT64_MIN).ifInteger()->low64(), INT64_MIN);
  EXPECT_EQ(Value(UINT64_MAX).ifInteger()->bits(), UINT64_MAX);
  EXPECT_FALSE(Value(UINT64_MAX).ifInteger()->fitsSigned());
  EXPECT_EQ(Value(0.5).ifReal(), 0.5);
  EXPECT_EQ(Value(NSDate{-3.25}).ifDate(), NSDate{-3.25});
}

TEST(Value, KeepsTextAndDataOfEveryLength) {
  for (std::size_t length = 0; length < 40; ++length) {
    const std::string text(length, 'a');
    const Value string(text);
    const Value data(NSData{text});
    EXPECT_EQ(string.ifString(), text);
    EXPECT_EQ(data.ifData(), text);
    EXPECT_EQ(Value(string), string);
    EXPECT_NE(string, data);
    EXPECT_NE(string, Value(text + "b"));
  }
}

TEST(Value, HoldsURLs) {
  const NSURL url = NSURL::fileURLWithPathIsDirectory("/Users/a", true);
  const Value value(url);
  Value copy = value;
  ASSERT_NE(copy.ifURL(), nullptr);
  EXPECT_EQ(*copy.ifURL(), url);
  EXPECT_EQ(value, Value(url));
  EXPECT_NE(value, Value(NSURL::fileURLWithPathIsDirectory("/Users/b", true)));
  EXPECT_NE(value, Value(url.absoluteString()));
}

TEST(Value, KeepsNulBytes) {
  const std::string text("a\0b", 3);
  const Value string(text);
  const Value data = Value::fromData(text);
  EXPECT_EQ(string.ifString(), text);
  EXPECT_EQ(data.ifData(), text);
}

TEST(Value, ReplacesWhatIsNotUTF8) {
  const Value value("a\xFFz");
  EXPECT_EQ(value.ifString(), "a\xEF\xBF\xBDz");
  const Value data(NSData{"a\xFFz"});
  EXPECT_EQ(data.ifData(), "a\xFFz");
}

TEST(Value, MinusOneIsNotTheLargestInteger) {
  EXPECT_NE(Value(-1), Value(UINT64_MAX));
  EXPECT_LT(Integer(-1), Integer(UINT64_MAX));
  EXPECT_LT(Integer(INT64_MIN), Integer(-1));
  EXPECT_EQ(Integer(UINT64_MAX).low64(), -1);
  EXPECT_EQ(Integer(-1).toString(), "-1");
  EXPECT_EQ(Integer(UINT64_MAX).toString(), "18446744073709551615");
  EXPECT_EQ(Integer(UINT64_MAX).toDouble(), 18446744073709551616.0);
  EXPECT_EQ(Integer(INT64_MIN).toDouble(), -9223372036854775808.0);
}

TEST(Value, NotANumberEqualsItself) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(Value(nan), Value(nan));
  EXPECT_NE(Value(nan), Value(0.0));
  EXPECT_EQ(Value(0.0), Value(-0.0));
}

TEST(Value, MovingLeavesNull) {
  Value from(longText());
  const Value to(std::move(from));
  EXPECT_EQ(to.ifString(), longText());
  EXPECT_TRUE(from.isNull());  // NOLINT(bugprone-use-after-move): this is what is tested
}

TEST(Value, MayBeReplacedByAPartOfItself) {
  Value value(Array{Value(longText()), Value(Array{Value(longText())})});
  value = (*value.ifArray())[1];
  ASSERT_EQ(value.ifArray()->size(), 1U);
  Value dictionary(Dictionary{{"inner", Value(Dictionary{{"key", Value(longText())}})}});
  dictionary = std::move(*dictionary.ifDictionary()->findMutable("inner"));
  EXPECT_EQ(dictionary.ifDictionary()->string("key"), longText());
}

TEST(Value, ChangingACopyLeavesTheOriginal) {
  const Value original(Dictionary{{"list", Value(Array{Value(1), Value(longText())})}, {"n", Value(1)}});
  const Value untouched(Dictionary{{"list", Value(Array{Value(1), Value(longText())})}, {"n", Value(1)}});
  Value copy = original;
  copy.ifDictionary()->findMutable("list")->ifArray()->append(Value(3));
  copy.ifDictionary()->set("added", Value(true));
  copy.ifDictionary()->remove("n");
  EXPECT_EQ(original, untouched);
  EXPECT_EQ(copy, Value(Dictionary{{"added", Value(true)},
                                   {"list", Value(Array{Value(1), Value(longText()), Value(3)})}}));
}

TEST(Value, ATreeOfAMillionLevelsIsTakenDownWithoutAStack) {
  Value arrays;
  Value dictionaries;
#ifdef VENNICK_SANITIZED
  // A stack would not do for these either, and each takes several times as long.
  constexpr int kLevels = 200'000;
#else
  constexpr int kLevels = 1'000'000;
#endif
  for (int i = 0; i < kLevels; ++i) {
    Array level;
    level.append(std::move(arrays));
    arrays = Value(std::move(level));
    Dictionary outer;
    outer.set("a key that is too long to be kept inside", std::move(dictionaries));
    dictionaries = Value(std::move(outer));
  }
  arrays = Value();
  EXPECT_TRUE(arrays.isNull());
  Value kept = dictionaries.ifDictionary()->begin()->value();
  dictionaries = Value();
  EXPECT_NE(kept.ifDictionary(), nullptr);
}

TEST(Value, IsCopiedAndDestroyedOnManyThreads) {
  const Value shared(Dictionary{{"list", Value(Array{Value(longText()), Value(2)})}});
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&shared] {
      for (int i = 0; i < 2000; ++i) {
        Value mine = shared;
        mine.ifDictionary()->findMutable("list")->ifArray()->append(Value(i));
        EXPECT_EQ(mine.ifDictionary()->array("list")->size(), 3U);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(shared.ifDictionary()->array("list")->size(), 2U);
}

TEST(Array, InsertsAndRemovesAnywhere) {
  Array array{Value("b")};
  array.insert(0, Value("a"));
  array.insert(2, Value("d"));
  array.insert(2, Value("c"));
  EXPECT_EQ(array, (Array{Value("a"), Value("b"), Value("c"), Value("d")}));
  array.removeAt(0);
  array.removeAt(2);
  EXPECT_EQ(array, (Array{Value("b"), Value("c")}));
  EXPECT_TRUE(array.contains(Value("c")));
  EXPECT_FALSE(array.contains(Value("a")));
  array.removeAll();
  EXPECT_TRUE(array.empty());
  EXPECT_EQ(array, Array());
  EXPECT_EQ(array.begin(), array.end());
}

TEST(Array, MayBeGivenItsOwnElementsAndItself) {
  Array array{Value(longText())};
  for (int i = 0; i < 20; ++i) array.append(array[0]);
  array.append(Value(array));
  ASSERT_EQ(array.size(), 22U);
  EXPECT_EQ(array[20].ifString(), longText());
  EXPECT_EQ(array[21].ifArray()->size(), 21U);
}

TEST(Array, ChangesInPlace) {
  Array array{Value(1), Value(2)};
  const Array copy = array;
  array.mutableAt(0) = Value("one");
  EXPECT_EQ(array[0].ifString(), "one");
  EXPECT_EQ(copy[0], Value(1));
}

TEST(Dictionary, SetsFindsAndRemoves) {
  Dictionary dictionary;
  EXPECT_EQ(dictionary.find("a"), nullptr);
  EXPECT_FALSE(dictionary.remove("a"));
  dictionary.set("b", Value(2));
  dictionary.set("a", Value(1));
  dictionary.set("b", Value("two"));
  EXPECT_EQ(dictionary.size(), 2U);
  EXPECT_EQ(dictionary.integer("a"), Integer(1));
  EXPECT_EQ(dictionary.string("b"), "two");
  EXPECT_EQ(dictionary.string("a"), std::nullopt);
  EXPECT_TRUE(dictionary.contains("a"));
  EXPECT_TRUE(dictionary.remove("a"));
  EXPECT_FALSE(dictionary.contains("a"));
  EXPECT_TRUE(dictionary.remove("b"));
  EXPECT_TRUE(dictionary.empty());
  EXPECT_EQ(dictionary, Dictionary());
  EXPECT_EQ(dictionary.begin(), dictionary.end());
}

TEST(Dictionary, AsksForOneKindAtATime) {
  const Dictionary dictionary{{"bool", Value(true)},
                              {"int", Value(1)},
                              {"real", Value(1.0)},
                              {"date", Value(NSDate{1})},
                              {"data", Value(NSData{"x"})},
                              {"array", Value(Array())},
                              {"dictionary", Value(Dictionary())}};
  EXPECT_EQ(dictionary.boolean("bool"), true);
  EXPECT_EQ(dictionary.boolean("int"), std::nullopt);
  EXPECT_EQ(dictionary.integer("bool"), std::nullopt);
  EXPECT_EQ(dictionary.integer("real"), std::nullopt);
  EXPECT_EQ(dictionary.real("int"), std::nullopt);
  EXPECT_EQ(dictionary.real("real"), 1.0);
  EXPECT_EQ(dictionary.date("date"), NSDate{1});
  EXPECT_EQ(dictionary.data("data"), "x");
  EXPECT_NE(dictionary.array("array"), nullptr);
  EXPECT_EQ(dictionary.array("dictionary"), nullptr);
  EXPECT_NE(dictionary.dictionary("dictionary"), nullptr);
  EXPECT_EQ(dictionary.dictionary("missing"), nullptr);
}

TEST(Dictionary, EnumeratesInTheOrderOfUTF16Units) {
  // U+1F600 is D83D DE00 in UTF-16 and so comes before U+FB01, though its code point is larger.
  Dictionary dictionary;
  for (const char* key : {"\xEF\xAC\x81", "a", "10", "", "\xF0\x9F\x98\x80", "9", "Z", "ab", "\xED\x9F\xBF",
                          "\xEE\x80\x80", "\xEF\xBF\xBD"}) {
    dictionary.set(key, Value(1));
  }
  const std::vector<std::string> expected = {"",
                                             "10",
                                             "9",
                                             "Z",
                                             "a",
                                             "ab",
                                             "\xED\x9F\xBF",
                                             "\xF0\x9F\x98\x80",
                                             "\xEE\x80\x80",
                                             "\xEF\xAC\x81",
                                             "\xEF\xBF\xBD"};
  EXPECT_EQ(keysOf(dictionary), expected);
}

TEST(Dictionary, RandomKeysComeOutAsTheirUTF16UnitsSort) {
  std::mt19937 random(7);
  const std::vector<std::string> pieces = {"a",
                                           "\x7F",
                                           "\xC2\x80",
                                           "\xED\x9F\xBF",
                                           "\xEE\x80\x80",
                                           "\xEF\xBF\xBF",
                                           "\xF0\x90\x80\x80",
                                           "\xF4\x8F\xBF\xBF"};
  Dictionary dictionary;
  std::vector<std::u16string> expected;
  for (int i = 0; i < 500; ++i) {
    std::string key;
    for (unsigned n = random() % 5; n > 0; --n) key += pieces[random() % pieces.size()];
    if (!dictionary.contains(key)) expected.push_back(utf16FromUTF8(key));
    dictionary.set(key, Value(i));
  }
  std::sort(expected.begin(), expected.end());
  std::vector<std::u16string> keys;
  for (const auto& entry : dictionary) keys.push_back(utf16FromUTF8(entry.key()));
  EXPECT_EQ(keys, expected);
}

TEST(Dictionary, EqualityIgnoresTheOrderOfSetting) {
  const Dictionary one{{"a", Value(1)}, {"b", Value(2)}};
  const Dictionary other{{"b", Value(2)}, {"a", Value(1)}};
  EXPECT_EQ(one, other);
  EXPECT_NE(one, (Dictionary{{"a", Value(1)}, {"b", Value(3)}}));
  EXPECT_NE(one, (Dictionary{{"a", Value(1)}, {"c", Value(2)}}));
  EXPECT_NE(one, (Dictionary{{"a", Value(1)}}));
}

TEST(Dictionary, TakesAKeyThatIsNotUTF8InItsRepairedForm) {
  Dictionary dictionary;
  dictionary.set("a\xFF", Value(1));
  dictionary.set("a\xFE", Value(2));
  EXPECT_EQ(dictionary.size(), 1U);
  EXPECT_EQ(dictionary.integer("a\xEF\xBF\xBD"), Integer(2));
}

TEST(Dictionary, MayBeSetFromItsOwnContent) {
  Dictionary dictionary{{"key", Value(longText())}};
  for (int i = 0; i < 50; ++i) {
    dictionary.set(*dictionary.string("key"), Value(dictionary));
    dictionary.set("key", Value(longText() + std::to_string(i)));
  }
  EXPECT_EQ(dictionary.size(), 51U);
}

TEST(Dictionary, HoldsManyKeys) {
  Dictionary dictionary;
  for (int i = 0; i < 5000; ++i) dictionary.set("key " + std::to_string(i * 7919 % 5000), Value(i));
  ASSERT_EQ(dictionary.size(), 5000U);
  for (int i = 0; i < 5000; ++i) {
    ASSERT_EQ(dictionary.integer("key " + std::to_string(i * 7919 % 5000)), Integer(i));
  }
}

}  // namespace
}  // namespace macos
