// SPDX-License-Identifier: MIT
#include "macos/foundation/KeyValueObserving.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace macos {
namespace {

// An object with plain properties and lists.
class Model : public NSObservable {
 public:
  Value valueForKey(std::string_view key) const override {
    ++questions;
    const auto found = properties.find(std::string(key));
    return found == properties.end() ? Value() : found->second;
  }
  Value valuesAtIndexes(const NSIndexSet& indexes, std::string_view key) const override {
    ++questions;
    Array values;
    const Value& list = properties.at(std::string(key));
    for (const std::size_t index : indexes) values.append((*list.ifArray())[index]);
    return Value(values);
  }
  void set(const std::string& key, Value value) {
    willChangeValueForKey(key);
    properties[key] = std::move(value);
    didChangeValueForKey(key);
  }

  std::map<std::string, Value> properties;
  mutable int questions = 0;
};

struct Notice {
  std::string keyPath;
  NSKeyValueChangeDictionary change;
};

class Recorder {
 public:
  NSKeyValueObserver observer() {
    return [this](std::string_view keyPath, const NSKeyValueChangeDictionary& change) {
      notices.push_back({std::string(keyPath), change});
    };
  }
  std::vector<Notice> notices;
};

constexpr unsigned kNewAndOld = NSKeyValueObservingOptionNew | NSKeyValueObservingOptionOld;

TEST(KeyValueObserving, TellsOldAndNewValueOfASetting) {
  Model model;
  Recorder recorder;
  const auto token = model.addObserver("name", kNewAndOld, recorder.observer());
  model.set("name", Value("first"));
  model.set("name", Value("second"));
  ASSERT_EQ(recorder.notices.size(), 2U);
  const auto& change = recorder.notices[1].change;
  EXPECT_EQ(recorder.notices[1].keyPath, "name");
  EXPECT_EQ(change.kind, NSKeyValueChange::Setting);
  EXPECT_EQ(change.oldValue, Value("first"));
  EXPECT_EQ(change.newValue, Value("second"));
  EXPECT_TRUE(change.indexes.empty());
  EXPECT_FALSE(change.isPrior);
}

TEST(KeyValueObserving, GivesNullForNil) {
  Model model;
  Recorder recorder;
  const auto token = model.addObserver("name", kNewAndOld, recorder.observer());
  model.set("name", Value("x"));
  ASSERT_EQ(recorder.notices.size(), 1U);
  ASSERT_TRUE(recorder.notices[0].change.oldValue.has_value());
  EXPECT_TRUE(recorder.notices[0].change.oldValue->isNull());
}

TEST(KeyValueObserving, GivesOnlyTheValuesThatWereAskedFor) {
  Model model;
  Recorder none;
  Recorder newOnly;
  Recorder oldOnly;
  const auto a = model.addObserver("name", 0, none.observer());
  const auto b = model.addObserver("name", NSKeyValueObservingOptionNew, newOnly.observer());
  const auto c = model.addObserver("name", NSKeyValueObservingOptionOld, oldOnly.observer());
  model.set("name", Value(1));
  EXPECT_FALSE(none.notices.at(0).change.oldValue || none.notices.at(0).change.newValue);
  EXPECT_TRUE(newOnly.notices.at(0).change.newValue && !newOnly.notices.at(0).change.oldValue);
  EXPECT_TRUE(oldOnly.notices.at(0).change.oldValue && !oldOnly.notices.at(0).change.newValue);
}

TEST(KeyValueObserving, AsksForNoValueThatNobodyWants) {
  Model model;
  Recorder recorder;
  model.set("name", Value(1));
  const auto token = model.addObserver("name", 0, recorder.observer());
  model.set("name", Value(2));
  EXPECT_EQ(model.questions, 0);
  EXPECT_EQ(recorder.notices.size(), 1U);
}

TEST(KeyValueObserving, TellsObserversOfTheirOwnKeyOnly) {
  Model model;
  Recorder recorder;
  const auto token = model.addObserver("values.name", 0, recorder.observer());
  model.set("name", Value(1));
  model.set("values", Value(1));
  EXPECT_TRUE(recorder.notices.empty());
  model.set("values.name", Value(1));
  EXPECT_EQ(recorder.notices.size(), 1U);
}

TEST(KeyValueObserving, InitialTellsTheNewValueOnceAndNoOldOne) {
  Model model;
  model.properties["name"] = Value("here");
  Recorder recorder;
  const auto token =
      model.addObserver("name", kNewAndOld | NSKeyValueObservingOptionInitial, recorder.observer());
  ASSERT_EQ(recorder.notices.size(), 1U);
  EXPECT_EQ(recorder.notices[0].change.kind, NSKeyValueChange::Setting);
  EXPECT_EQ(recorder.notices[0].change.newValue, Value("here"));
  EXPECT_FALSE(recorder.notices[0].change.oldValue.has_value());
  EXPECT_FALSE(recorder.notices[0].change.isPrior);
}

TEST(KeyValueObserving, PriorTellsTheOldValueBeforeTheChangeAndNeverTheNewOne) {
  Model model;
  model.properties["name"] = Value("old");
  Recorder recorder;
  const auto token =
      model.addObserver("name", kNewAndOld | NSKeyValueObservingOptionPrior, recorder.observer());
  model.willChangeValueForKey("name");
  ASSERT_EQ(recorder.notices.size(), 1U);
  EXPECT_TRUE(recorder.notices[0].change.isPrior);
  EXPECT_EQ(recorder.notices[0].change.oldValue, Value("old"));
  EXPECT_FALSE(recorder.notices[0].change.newValue.has_value());
  model.properties["name"] = Value("new");
  model.didChangeValueForKey("name");
  ASSERT_EQ(recorder.notices.size(), 2U);
  EXPECT_FALSE(recorder.notices[1].change.isPrior);
  EXPECT_EQ(recorder.notices[1].change.newValue, Value("new"));
}

class IndexedChanges : public testing::Test {
 protected:
  IndexedChanges() { model_.properties["list"] = Value(Array{Value("a"), Value("b"), Value("c")}); }

  Model model_;
  Recorder recorder_;
  const ObservationToken token_ =
      model_.addObserver("list", kNewAndOld | NSKeyValueObservingOptionPrior, recorder_.observer());
};

TEST_F(IndexedChanges, AnInsertionTellsIndexesAndNewValuesOnly) {
  model_.willChangeValuesAtIndexes(NSKeyValueChange::Insertion, {3}, "list");
  model_.properties["list"] = Value(Array{Value("a"), Value("b"), Value("c"), Value("d")});
  model_.didChangeValuesAtIndexes(NSKeyValueChange::Insertion, {3}, "list");
  ASSERT_EQ(recorder_.notices.size(), 2U);
  const auto& prior = recorder_.notices[0].change;
  EXPECT_TRUE(prior.isPrior);
  EXPECT_EQ(prior.kind, NSKeyValueChange::Insertion);
  EXPECT_EQ(prior.indexes, NSIndexSet{3});
  EXPECT_FALSE(prior.oldValue || prior.newValue);
  const auto& change = recorder_.notices[1].change;
  EXPECT_EQ(change.indexes, NSIndexSet{3});
  EXPECT_EQ(change.newValue, Value(Array{Value("d")}));
  EXPECT_FALSE(change.oldValue.has_value());
}

TEST_F(IndexedChanges, ARemovalTellsTheValuesThatWereThereAtWillChange) {
  model_.willChangeValuesAtIndexes(NSKeyValueChange::Removal, {0, 2}, "list");
  model_.properties["list"] = Value(Array{Value("b")});
  model_.didChangeValuesAtIndexes(NSKeyValueChange::Removal, {0, 2}, "list");
  ASSERT_EQ(recorder_.notices.size(), 2U);
  for (const Notice& notice : recorder_.notices) {
    EXPECT_EQ(notice.change.indexes, (NSIndexSet{0, 2}));
    EXPECT_EQ(notice.change.oldValue, Value(Array{Value("a"), Value("c")}));
    EXPECT_FALSE(notice.change.newValue.has_value());
  }
}

TEST_F(IndexedChanges, AReplacementTellsBoth) {
  model_.willChangeValuesAtIndexes(NSKeyValueChange::Replacement, {1}, "list");
  model_.properties["list"] = Value(Array{Value("a"), Value("B"), Value("c")});
  model_.didChangeValuesAtIndexes(NSKeyValueChange::Replacement, {1}, "list");
  const auto& change = recorder_.notices.at(1).change;
  EXPECT_EQ(change.kind, NSKeyValueChange::Replacement);
  EXPECT_EQ(change.oldValue, Value(Array{Value("b")}));
  EXPECT_EQ(change.newValue, Value(Array{Value("B")}));
}

TEST_F(IndexedChanges, AReplacementOfTheWholeContentIsASettingWithoutIndexes) {
  model_.willChangeValuesAtIndexes(NSKeyValueChange::Setting, {0, 1, 2}, "list");
  model_.properties["list"] = Value(Array{Value("z")});
  model_.didChangeValuesAtIndexes(NSKeyValueChange::Setting, {0, 1, 2}, "list");
  const auto& change = recorder_.notices.at(1).change;
  EXPECT_EQ(change.kind, NSKeyValueChange::Setting);
  EXPECT_TRUE(change.indexes.empty());
  EXPECT_EQ(change.oldValue, Value(Array{Value("a"), Value("b"), Value("c")}));
  EXPECT_EQ(change.newValue, Value(Array{Value("z")}));
}

TEST_F(IndexedChanges, ADidChangeOfOtherIndexesOrKindTellsNobody) {
  model_.willChangeValuesAtIndexes(NSKeyValueChange::Replacement, {1}, "list");
  recorder_.notices.clear();
  model_.didChangeValuesAtIndexes(NSKeyValueChange::Replacement, {2}, "list");
  model_.didChangeValuesAtIndexes(NSKeyValueChange::Removal, {1}, "list");
  model_.didChangeValueForKey("list");
  EXPECT_TRUE(recorder_.notices.empty());
  model_.didChangeValuesAtIndexes(NSKeyValueChange::Replacement, {1}, "list");
  EXPECT_EQ(recorder_.notices.size(), 1U);
}

TEST(KeyValueObserving, NestedPairsOfOneKeyAreAnsweredFromTheInnermost) {
  Model model;
  model.properties["n"] = Value(0);
  Recorder recorder;
  const auto token = model.addObserver("n", kNewAndOld, recorder.observer());
  model.willChangeValueForKey("n");
  model.properties["n"] = Value(1);
  model.willChangeValueForKey("n");
  model.properties["n"] = Value(2);
  model.didChangeValueForKey("n");
  model.properties["n"] = Value(3);
  model.didChangeValueForKey("n");
  ASSERT_EQ(recorder.notices.size(), 2U);
  EXPECT_EQ(recorder.notices[0].change.oldValue, Value(1));
  EXPECT_EQ(recorder.notices[0].change.newValue, Value(2));
  EXPECT_EQ(recorder.notices[1].change.oldValue, Value(0));
  EXPECT_EQ(recorder.notices[1].change.newValue, Value(3));
}

TEST(KeyValueObserving, PairsOfDifferentKeysMayOverlap) {
  Model model;
  Recorder recorder;
  const auto a = model.addObserver("a", 0, recorder.observer());
  const auto b = model.addObserver("b", 0, recorder.observer());
  model.willChangeValueForKey("a");
  model.willChangeValueForKey("b");
  model.didChangeValueForKey("a");
  model.didChangeValueForKey("b");
  ASSERT_EQ(recorder.notices.size(), 2U);
  EXPECT_EQ(recorder.notices[0].keyPath, "a");
  EXPECT_EQ(recorder.notices[1].keyPath, "b");
}

TEST(KeyValueObserving, ADidChangeWithoutItsWillChangeTellsNobody) {
  Model model;
  Recorder recorder;
  const auto token = model.addObserver("n", 0, recorder.observer());
  model.didChangeValueForKey("n");
  EXPECT_TRUE(recorder.notices.empty());
}

TEST(KeyValueObserving, AnObserverThatCameAfterTheWillChangeIsNotTold) {
  Model model;
  Recorder recorder;
  model.willChangeValueForKey("n");
  const auto token = model.addObserver("n", 0, recorder.observer());
  model.didChangeValueForKey("n");
  EXPECT_TRUE(recorder.notices.empty());
  model.set("n", Value(1));
  EXPECT_EQ(recorder.notices.size(), 1U);
}

TEST(KeyValueObserving, AnObservationEndsWithItsToken) {
  Model model;
  Recorder recorder;
  {
    const auto token = model.addObserver("n", 0, recorder.observer());
    model.set("n", Value(1));
  }
  model.set("n", Value(2));
  EXPECT_EQ(recorder.notices.size(), 1U);
}

TEST(KeyValueObserving, AnEndBetweenWillAndDidChangeIsKept) {
  Model model;
  Recorder recorder;
  auto token = model.addObserver("n", 0, recorder.observer());
  model.willChangeValueForKey("n");
  token.end();
  model.didChangeValueForKey("n");
  EXPECT_TRUE(recorder.notices.empty());
}

TEST(KeyValueObserving, AnObserverMayEndAnotherOneThatWasToBeToldNext) {
  Model model;
  Recorder recorder;
  ObservationToken second;
  const auto first =
      model.addObserver("n", 0, [&](std::string_view, const NSKeyValueChangeDictionary&) { second.end(); });
  second = model.addObserver("n", 0, recorder.observer());
  model.set("n", Value(1));
  EXPECT_TRUE(recorder.notices.empty());
}

TEST(KeyValueObserving, AnObserverMayEndItself) {
  Model model;
  int told = 0;
  ObservationToken token;
  token = model.addObserver("n", 0, [&](std::string_view, const NSKeyValueChangeDictionary&) {
    ++told;
    token.end();
  });
  model.set("n", Value(1));
  model.set("n", Value(2));
  EXPECT_EQ(told, 1);
}

TEST(KeyValueObserving, AnObserverAddedWhileOthersAreToldIsToldOfTheNextChange) {
  Model model;
  Recorder late;
  ObservationToken lateToken;
  const auto token = model.addObserver("n", 0, [&](std::string_view, const NSKeyValueChangeDictionary&) {
    if (!lateToken) lateToken = model.addObserver("n", 0, late.observer());
  });
  model.set("n", Value(1));
  EXPECT_TRUE(late.notices.empty());
  model.set("n", Value(2));
  EXPECT_EQ(late.notices.size(), 1U);
}

TEST(KeyValueObserving, AnObserverMayChangeTheKeyAgainAndTheOthersAreToldWhatTheFirstChangeWas) {
  Model model;
  Recorder recorder;
  const auto changer = model.addObserver("n", 0, [&](std::string_view, const NSKeyValueChangeDictionary&) {
    if (model.properties["n"] == Value(1)) model.set("n", Value(2));
  });
  const auto token = model.addObserver("n", kNewAndOld, recorder.observer());
  model.set("n", Value(1));
  ASSERT_EQ(recorder.notices.size(), 2U);
  EXPECT_EQ(recorder.notices[0].change.oldValue, Value(1));
  EXPECT_EQ(recorder.notices[0].change.newValue, Value(2));
  EXPECT_TRUE(recorder.notices[1].change.oldValue->isNull());
  EXPECT_EQ(recorder.notices[1].change.newValue, Value(1));
}

TEST(KeyValueObserving, ATokenMayOutliveItsObject) {
  ObservationToken token;
  {
    Model model;
    token = model.addObserver("n", 0, [](std::string_view, const NSKeyValueChangeDictionary&) {});
  }
  token.end();
  EXPECT_FALSE(token);
}

TEST(KeyValueObserving, AnObserverMayReleaseTheObjectThatTellsIt) {
  auto model = std::make_unique<Model>();
  Recorder recorder;
  Model& reference = *model;
  const auto first =
      model->addObserver("n", 0, [&](std::string_view, const NSKeyValueChangeDictionary&) { model.reset(); });
  const auto second = model->addObserver("n", NSKeyValueObservingOptionNew, recorder.observer());
  reference.set("n", Value(1));
  EXPECT_EQ(model, nullptr);
  ASSERT_EQ(recorder.notices.size(), 1U);
  EXPECT_EQ(recorder.notices[0].change.newValue, Value(1));
}

TEST(KeyValueObserving, TokensAreMovedAndADetachedOneLeavesItsObservation) {
  Model model;
  Recorder recorder;
  {
    ObservationToken token = model.addObserver("n", 0, recorder.observer());
    ObservationToken moved = std::move(token);
    EXPECT_TRUE(moved);
    moved.detach();
  }
  model.set("n", Value(1));
  EXPECT_EQ(recorder.notices.size(), 1U);
}

TEST(KeyValueObserving, AssigningATokenEndsTheObservationThatItStoodFor) {
  Model model;
  Recorder first;
  Recorder second;
  ObservationToken token = model.addObserver("n", 0, first.observer());
  token = model.addObserver("n", 0, second.observer());
  model.set("n", Value(1));
  EXPECT_TRUE(first.notices.empty());
  EXPECT_EQ(second.notices.size(), 1U);
}

TEST(KeyValueObserving, PairsOfTwoThreadsAreKeptApart) {
  Model model;
  std::atomic<int> told{0};
  const auto token =
      model.addObserver("n", 0, [&](std::string_view, const NSKeyValueChangeDictionary&) { ++told; });
  model.willChangeValueForKey("n");
  std::thread([&] { model.didChangeValueForKey("n"); }).join();
  EXPECT_EQ(told, 0);
  model.didChangeValueForKey("n");
  EXPECT_EQ(told, 1);
}

TEST(KeyValueObserving, ThreadsMayAnnounceAndObserveAtTheSameTime) {
  class Silent : public NSObservable {
  } object;
  std::atomic<int> told{0};
  constexpr int kRounds = 500;
  const auto standing =
      object.addObserver("n", 0, [&](std::string_view, const NSKeyValueChangeDictionary&) { ++told; });
  const auto announce = [&] {
    for (int i = 0; i < kRounds; ++i) {
      object.willChangeValueForKey("n");
      object.didChangeValueForKey("n");
    }
  };
  const auto observe = [&] {
    for (int i = 0; i < kRounds; ++i) {
      const auto token = object.addObserver("n", NSKeyValueObservingOptionPrior,
                                            [](std::string_view, const NSKeyValueChangeDictionary&) {});
    }
  };
  std::thread a(announce);
  std::thread b(announce);
  std::thread c(observe);
  a.join();
  b.join();
  c.join();
  EXPECT_EQ(told, 2 * kRounds);
}

}  // namespace
}  // namespace macos
