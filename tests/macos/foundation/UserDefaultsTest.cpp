// SPDX-License-Identifier: MIT
#include "macos/foundation/UserDefaults.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "macos/foundation/Preferences.h"
#include "macos/foundation/RunLoop.h"
#include "macos/foundation/URL.h"
#include "tests/macos/foundation/PreferencesTesting.h"
#include "tests/support/ChildProcess.h"

namespace macos {
namespace {

using vennick::tests::CountingFileSystem;
using vennick::tests::FileOperation;
using vennick::tests::PreferencesTest;
using vennick::tests::runInChild;
using vennick::tests::TestHost;
using vennick::tests::TestHostOptions;

constexpr std::string_view kSuite = "com.example.suite";

void turnLoop(double seconds = 0.1) {
  NSRunLoop::mainRunLoop().runUntilDate(NSDate::dateWithTimeIntervalSinceNow(seconds));
}

class UserDefaults : public PreferencesTest {
 protected:
  const std::shared_ptr<NSUserDefaults> defaults_ = NSUserDefaults::initWithSuiteName(kSuite);
};

TEST_F(UserDefaults, AnAbsentKeyHasNoValueAndConvertsToNothing) {
  EXPECT_EQ(defaults_->objectForKey("k"), std::nullopt);
  EXPECT_FALSE(defaults_->boolForKey("k"));
  EXPECT_EQ(defaults_->integerForKey("k"), 0);
  EXPECT_EQ(defaults_->stringForKey("k"), std::nullopt);
  EXPECT_EQ(defaults_->arrayForKey("k"), std::nullopt);
  EXPECT_EQ(defaults_->dictionaryForKey("k"), std::nullopt);
}

struct Conversion {
  Value stored;
  bool boolean;
  std::int64_t integer;
  std::optional<std::string> string;
};

TEST_F(UserDefaults, ConvertAsThePlatformDoes) {
  constexpr auto kMaximum = std::numeric_limits<std::int64_t>::max();
  constexpr auto kMinimum = std::numeric_limits<std::int64_t>::min();
  const Conversion cases[] = {
      {Value(true), true, 1, "1"},
      {Value(false), false, 0, "0"},
      {Value(5), true, 5, "5"},
      {Value(-5), true, -5, "-5"},
      {Value(0), false, 0, "0"},
      {Value(std::numeric_limits<std::uint64_t>::max()), true, -1, "18446744073709551615"},
      {Value(1.9), true, 1, "1.9"},
      {Value(-1.9), true, -1, "-1.9"},
      {Value(0.5), true, 0, "0.5"},
      {Value(0.0), false, 0, "0"},
      {Value(1e30), true, kMaximum, "1e+30"},
      {Value(-1e30), true, kMinimum, "-1e+30"},
      {Value(std::numeric_limits<double>::quiet_NaN()), true, 0, "nan"},
      {Value("YES"), true, 0, "YES"},
      {Value("yes"), true, 0, "yes"},
      {Value("true"), true, 0, "true"},
      {Value("1"), true, 1, "1"},
      {Value("2abc"), true, 2, "2abc"},
      {Value(" +007"), true, 7, " +007"},
      {Value("0"), false, 0, "0"},
      {Value("NO"), false, 0, "NO"},
      {Value("on"), false, 0, "on"},
      {Value("0x1"), false, 0, "0x1"},
      {Value("-12 apples"), true, -12, "-12 apples"},
      {Value("99999999999999999999"), true, kMaximum, "99999999999999999999"},
      {Value("-99999999999999999999"), true, kMinimum, "-99999999999999999999"},
      {Value(""), false, 0, ""},
      {Value(NSDate{1}), false, 0, std::nullopt},
      {Value::fromData("1"), false, 0, std::nullopt},
      {Value(Array{Value(true)}), false, 0, std::nullopt},
      {Value(Dictionary{{"1", Value(true)}}), false, 0, std::nullopt},
  };
  for (const Conversion& each : cases) {
    defaults_->setObject(each.stored, "k");
    EXPECT_EQ(defaults_->boolForKey("k"), each.boolean) << each.string.value_or("");
    EXPECT_EQ(defaults_->integerForKey("k"), each.integer) << each.string.value_or("");
    EXPECT_EQ(defaults_->stringForKey("k"), each.string);
  }
}

TEST_F(UserDefaults, ContainersAreGivenOfExactlyTheirKindOnly) {
  defaults_->setObject(Value(Array{Value(1)}), "array");
  defaults_->setObject(Value(Dictionary{{"a", Value(1)}}), "dictionary");
  EXPECT_EQ(defaults_->arrayForKey("array"), Array{Value(1)});
  EXPECT_EQ(defaults_->arrayForKey("dictionary"), std::nullopt);
  EXPECT_EQ(defaults_->dictionaryForKey("dictionary"), (Dictionary{{"a", Value(1)}}));
  EXPECT_EQ(defaults_->dictionaryForKey("array"), std::nullopt);
}

TEST_F(UserDefaults, SearchTheOwnTheGlobalAndTheRegisteredDomain) {
  writeDomain(kSuite, "<key>a</key><string>own</string>");
  writeDomain(".GlobalPreferences", "<key>a</key><string>global</string><key>b</key><string>global</string>");
  defaults_->registerDefaults(
      {{"a", Value("registered")}, {"b", Value("registered")}, {"c", Value("registered")}});
  EXPECT_EQ(defaults_->stringForKey("a"), "own");
  EXPECT_EQ(defaults_->stringForKey("b"), "global");
  EXPECT_EQ(defaults_->stringForKey("c"), "registered");
  EXPECT_EQ(defaults_->persistentObjectForKey("a"), Value("own"));
  EXPECT_EQ(defaults_->persistentObjectForKey("b"), std::nullopt);
  EXPECT_EQ(defaults_->persistentObjectForKey("c"), std::nullopt);
}

TEST_F(UserDefaults, RegisteredDefaultsEndEverySearchListAndAreNeverSaved) {
  defaults_->registerDefaults({{"flag", Value(true)}, {"n", Value(1)}});
  defaults_->registerDefaults({{"n", Value(2)}});
  const auto other = NSUserDefaults::initWithSuiteName("com.example.other");
  EXPECT_TRUE(other->boolForKey("flag"));
  EXPECT_EQ(other->integerForKey("n"), 2);
  EXPECT_EQ(CFPreferencesCopyAppValue("flag", kSuite), std::nullopt);
  EXPECT_TRUE(defaults_->synchronize());
  EXPECT_TRUE(flushPreferences());
  EXPECT_FALSE(domainExists(kSuite));
}

TEST_F(UserDefaults, AValueEqualOnlyToARegisteredDefaultIsWritten) {
  defaults_->registerDefaults({{"n", Value(1)}});
  defaults_->setInteger(1, "n");
  EXPECT_TRUE(defaults_->synchronize());
  EXPECT_EQ(domainContent(kSuite), "{'n': 1}");
}

TEST_F(UserDefaults, AValueEqualToTheOneThatTheDomainItselfHoldsWritesNothing) {
  writeDomain(kSuite, "<key>n</key><integer>1</integer>");
  const auto counting = host_.interpose<CountingFileSystem>();
  defaults_->setInteger(1, "n");
  EXPECT_TRUE(defaults_->synchronize());
  turnLoop();
  EXPECT_EQ(counting->changes(), 0);
}

TEST_F(UserDefaults, AnIntegerOneIsReplacedByTrue) {
  writeDomain(kSuite, "<key>n</key><integer>1</integer>");
  defaults_->setBool(true, "n");
  EXPECT_TRUE(defaults_->synchronize());
  EXPECT_EQ(domainContent(kSuite), "{'n': True}");
}

TEST_F(UserDefaults, KeepTheirPropertyListTypes) {
  defaults_->setBool(true, "flag");
  defaults_->setInteger(1, "n");
  defaults_->setObject(Value(1.0), "real");
  EXPECT_TRUE(defaults_->synchronize());
  EXPECT_EQ(domainContent(kSuite), "{'flag': True, 'n': 1, 'real': 1.0}");
}

TEST_F(UserDefaults, SettingNullRemovesTheKey) {
  writeDomain(kSuite, "<key>a</key><true/><key>b</key><true/><key>c</key><true/>");
  defaults_->setObject(Value(), "a");
  defaults_->removeObjectForKey("b");
  EXPECT_TRUE(defaults_->synchronize());
  EXPECT_EQ(domainContent(kSuite), "{'c': True}");
}

TEST_F(UserDefaults, AValueThatNoPropertyListCanHoldIsLoggedAndIgnored) {
  defaults_->setInteger(1, "a");
  defaults_->setObject(Value(NSURL::fileURLWithPathIsDirectory("/x", false)), "a");
  defaults_->setObject(Value(Array{Value()}), "a");
  EXPECT_EQ(defaults_->objectForKey("a"), Value(1));
  EXPECT_EQ(host_.log().lines().size(), 2U);
}

TEST_F(UserDefaults, TwoObjectsForOneSuiteSeeEachOthersWritesAtOnce) {
  const auto other = NSUserDefaults::initWithSuiteName(kSuite);
  defaults_->setInteger(5, "n");
  EXPECT_EQ(other->integerForKey("n"), 5);
  EXPECT_EQ(CFPreferencesCopyAppValue("n", kSuite), Value(5));
  CFPreferencesSetAppValue("n", Value(6), kSuite);
  EXPECT_EQ(defaults_->integerForKey("n"), 6);
}

TEST_F(UserDefaults, SynchronisingReadsWhatOtherProcessesWrote) {
  EXPECT_EQ(defaults_->integerForKey("n"), 0);
  writeDomain(kSuite, "<key>n</key><integer>1</integer>");
  writeDomain(".GlobalPreferences", "<key>g</key><integer>2</integer>");
  EXPECT_TRUE(defaults_->synchronize());
  EXPECT_EQ(defaults_->integerForKey("n"), 1);
  EXPECT_EQ(defaults_->integerForKey("g"), 2);
}

TEST_F(UserDefaults, TheGlobalDomainAndNamesThatLeadOutAreNoSuites) {
  EXPECT_EQ(NSUserDefaults::initWithSuiteName("NSGlobalDomain"), nullptr);
  EXPECT_EQ(NSUserDefaults::initWithSuiteName(".GlobalPreferences"), nullptr);
  EXPECT_EQ(NSUserDefaults::initWithSuiteName(""), nullptr);
  EXPECT_EQ(NSUserDefaults::initWithSuiteName("../x"), nullptr);
}

TEST_F(UserDefaults, TheStandardOnesAreTheMainBundlesAndOneObject) {
  const auto standard = NSUserDefaults::standardUserDefaults();
  EXPECT_EQ(standard, NSUserDefaults::standardUserDefaults());
  EXPECT_EQ(preferencesFilePath(standard->suiteName()),
            preferencesFilePath(kCFPreferencesCurrentApplication));
  const auto sameDomain = NSUserDefaults::initWithSuiteName(standard->suiteName());
  ASSERT_NE(sameDomain, nullptr);
  EXPECT_EQ(host_.log().lines().size(), 1U);
  sameDomain->setInteger(3, "n");
  EXPECT_EQ(standard->integerForKey("n"), 3);
}

// When changes reach the disk.
class SavedUserDefaults : public UserDefaults {};

TEST_F(SavedUserDefaults, AtTheNextIdleOfTheRunLoop) {
  defaults_->setInteger(1, "n");
  EXPECT_FALSE(domainExists(kSuite));
  turnLoop();
  EXPECT_EQ(domainContent(kSuite), "{'n': 1}");
}

TEST_F(SavedUserDefaults, OnceForManyChangesOfOneTurn) {
  const auto counting = host_.interpose<CountingFileSystem>();
  NSRunLoop::mainRunLoop().perform([&] {
    for (int i = 0; i < 100; ++i) defaults_->setInteger(i, "n" + std::to_string(i));
  });
  turnLoop();
  EXPECT_EQ(counting->count(FileOperation::Replace), 1);
}

TEST_F(SavedUserDefaults, WhenAnotherThreadChangesThemWhileTheLoopWaits) {
  TestHostOptions options;
  options.root = host_.sharedRoot();
  options.realClock = true;
  const TestHost process(options);
  const auto defaults = NSUserDefaults::initWithSuiteName(kSuite);
  // The first change makes the domain known to the loop.
  defaults->setInteger(1, "first");
  turnLoop(0.01);
  NSRunLoop& loop = NSRunLoop::mainRunLoop();
  const auto isSaved = [&] {
    return host_.root().readFile(domainPath(kSuite)).find("second") != std::string::npos;
  };
  bool wasSeen = false;
  std::atomic<bool> isOver{false};
  std::thread other([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    defaults->setInteger(2, "second");
    for (int i = 0; i < 500 && !isSaved(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    wasSeen = isSaved();
    isOver = true;
    loop.perform([] {});
  });
  while (!isOver) loop.runOnceBeforeDate(NSDate::dateWithTimeIntervalSinceNow(20));
  other.join();
  EXPECT_TRUE(wasSeen);
}

TEST_F(SavedUserDefaults, AtTheEndOfTheProcessInGoodOrder) {
  defaults_->setInteger(1, "n");
  EXPECT_TRUE(flushPreferences());
  EXPECT_EQ(domainContent(kSuite), "{'n': 1}");
}

TEST_F(SavedUserDefaults, NotWhatWasSetThroughCFPreferencesAlone) {
  CFPreferencesSetAppValue("n", Value(1), "com.example.pending");
  turnLoop();
  EXPECT_TRUE(flushPreferences());
  EXPECT_FALSE(domainExists("com.example.pending"));
  EXPECT_TRUE(CFPreferencesAppSynchronize("com.example.pending"));
  EXPECT_TRUE(domainExists("com.example.pending"));
}

TEST_F(SavedUserDefaults, AFailureAtIdleIsTriedAgainAfterTheNextChangeAndAtTheEnd) {
  host_.root().makeFolder(domainPath(kSuite));
  defaults_->setInteger(1, "n");
  const auto counting = host_.interpose<CountingFileSystem>();
  for (int i = 0; i < 20; ++i) turnLoop();
  EXPECT_EQ(counting->count(FileOperation::Lock), 1);
  EXPECT_FALSE(flushPreferences());
  EXPECT_EQ(counting->count(FileOperation::Lock), 2);
  host_.root().remove(domainPath(kSuite));
  defaults_->setInteger(2, "m");
  turnLoop();
  EXPECT_EQ(domainContent(kSuite), "{'m': 2, 'n': 1}");
}

TEST_F(SavedUserDefaults, NeitherSideLosesKeysWhenAnotherProcessChangesTheSameDomain) {
  writeDomain(kSuite, "<key>old</key><integer>0</integer>");
  EXPECT_EQ(defaults_->integerForKey("old"), 0);
  defaults_->setInteger(1, "ours");
  const auto result = runInChild([&] {
    TestHostOptions options;
    options.root = host_.sharedRoot();
    const TestHost process(options);
    const auto theirs = NSUserDefaults::initWithSuiteName(kSuite);
    theirs->setInteger(2, "theirs");
    EXPECT_TRUE(theirs->synchronize());
  });
  ASSERT_TRUE(result.succeeded());
  EXPECT_TRUE(defaults_->synchronize());
  EXPECT_EQ(domainContent(kSuite), "{'old': 0, 'ours': 1, 'theirs': 2}");
  EXPECT_EQ(defaults_->integerForKey("theirs"), 2);
}

// Who is told of changes.
struct Told {
  std::string keyPath;
  std::optional<Value> oldValue;
  std::optional<Value> newValue;
};

class ObservedDefaults : public UserDefaults {
 protected:
  ObservationToken observe(NSObservable& object, std::string_view keyPath, std::vector<Told>& told) {
    return object.addObserver(keyPath, NSKeyValueObservingOptionNew | NSKeyValueObservingOptionOld,
                              [&told](std::string_view path, const NSKeyValueChangeDictionary& change) {
                                EXPECT_EQ(change.kind, NSKeyValueChange::Setting);
                                told.push_back({std::string(path), change.oldValue, change.newValue});
                              });
  }
  std::vector<Told> told_;
};

TEST_F(ObservedDefaults, AreObservedUnderTheDefaultsKey) {
  const auto token = observe(*defaults_, "n", told_);
  defaults_->setInteger(1, "n");
  defaults_->setInteger(2, "n");
  defaults_->setInteger(9, "other");
  defaults_->removeObjectForKey("n");
  ASSERT_EQ(told_.size(), 3U);
  EXPECT_EQ(told_[0].keyPath, "n");
  EXPECT_EQ(told_[0].oldValue, Value());
  EXPECT_EQ(told_[0].newValue, Value(1));
  EXPECT_EQ(told_[1].oldValue, Value(1));
  EXPECT_EQ(told_[1].newValue, Value(2));
  EXPECT_EQ(told_[2].newValue, Value());
}

TEST_F(ObservedDefaults, AKeyWithADotIsAKeyLikeAnyOther) {
  const auto token = observe(*defaults_, "com.example.key", told_);
  defaults_->setInteger(1, "com.example.key");
  EXPECT_EQ(told_.size(), 1U);
}

TEST_F(ObservedDefaults, WhatChangesNothingIsNotTold) {
  defaults_->setInteger(1, "n");
  const auto token = observe(*defaults_, "n", told_);
  defaults_->setInteger(1, "n");
  defaults_->removeObjectForKey("absent");
  defaults_->registerDefaults({{"n", Value(5)}});
  EXPECT_TRUE(told_.empty());
}

TEST_F(ObservedDefaults, AWriteThroughAnotherObjectOrCFPreferencesOrTheGlobalDomainIsTold) {
  const auto token = observe(*defaults_, "n", told_);
  NSUserDefaults::initWithSuiteName(kSuite)->setInteger(1, "n");
  CFPreferencesSetAppValue("n", std::nullopt, kSuite);
  CFPreferencesSetAppValue("n", Value(3), kCFPreferencesAnyApplication);
  ASSERT_EQ(told_.size(), 3U);
  EXPECT_EQ(told_[2].newValue, Value(3));
}

TEST_F(ObservedDefaults, OfAnotherDomainAreNotTold) {
  const auto token = observe(*defaults_, "n", told_);
  NSUserDefaults::initWithSuiteName("com.example.other")->setInteger(1, "n");
  EXPECT_TRUE(told_.empty());
}

TEST_F(ObservedDefaults, AnObserverMayWriteTheSameKey) {
  const auto corrector =
      defaults_->addObserver("n", 0, [&](std::string_view, const NSKeyValueChangeDictionary&) {
        if (defaults_->integerForKey("n") > 10) defaults_->setInteger(10, "n");
      });
  defaults_->setInteger(99, "n");
  EXPECT_EQ(defaults_->integerForKey("n"), 10);
}

TEST_F(ObservedDefaults, ObjectsThatAreGoneAreNotTold) {
  auto other = NSUserDefaults::initWithSuiteName(kSuite);
  const auto token = observe(*other, "n", told_);
  other.reset();
  defaults_->setInteger(1, "n");
  EXPECT_TRUE(told_.empty());
}

class DefaultsController : public ObservedDefaults {
 protected:
  const std::shared_ptr<NSUserDefaultsController> controller_ = NSUserDefaultsController::initWithDefaults(
      defaults_, {{"n", Value(100)}, {"initial", Value("initial")}});
};

TEST_F(DefaultsController, GivesAndTakesValuesUnderTheirPath) {
  EXPECT_EQ(controller_->defaults(), defaults_);
  EXPECT_EQ(controller_->valueForKeyPath("values.absent"), std::nullopt);
  controller_->setValue(Value(1), "values.a");
  EXPECT_EQ(controller_->valueForKeyPath("values.a"), Value(1));
  EXPECT_EQ(defaults_->integerForKey("a"), 1);
  controller_->setValue(Value(), "values.a");
  EXPECT_EQ(defaults_->objectForKey("a"), std::nullopt);
}

TEST_F(DefaultsController, InitialValuesLieBelowTheDefaultsAndAreNotRegistered) {
  EXPECT_EQ(controller_->valueForKeyPath("values.initial"), Value("initial"));
  EXPECT_EQ(defaults_->objectForKey("initial"), std::nullopt);
  defaults_->registerDefaults({{"n", Value(50)}});
  EXPECT_EQ(controller_->valueForKeyPath("values.n"), Value(50));
}

TEST_F(DefaultsController, APathOfAnotherFormHasNoValueAndTakesNone) {
  controller_->setValue(Value(1), "a");
  controller_->setValue(Value(1), "other.a");
  EXPECT_EQ(defaults_->objectForKey("a"), std::nullopt);
  EXPECT_EQ(controller_->valueForKeyPath("initial"), std::nullopt);
}

TEST_F(DefaultsController, IsObservedUnderTheWholePathWhoeverWrites) {
  const auto token = observe(*controller_, "values.n", told_);
  controller_->setValue(Value(1), "values.n");
  defaults_->setInteger(2, "n");
  CFPreferencesSetAppValue("n", std::nullopt, kSuite);
  ASSERT_EQ(told_.size(), 3U);
  EXPECT_EQ(told_[0].keyPath, "values.n");
  EXPECT_EQ(told_[0].oldValue, Value(100));
  EXPECT_EQ(told_[0].newValue, Value(1));
  EXPECT_EQ(told_[1].newValue, Value(2));
  EXPECT_EQ(told_[2].newValue, Value(100));
}

TEST_F(DefaultsController, AWriteThroughItIsToldToObserversOfTheDefaultsToo) {
  const auto token = observe(*defaults_, "n", told_);
  controller_->setValue(Value(1), "values.n");
  EXPECT_EQ(told_.size(), 1U);
}

TEST_F(DefaultsController, AppliesChangesImmediatelyUnlessToldOtherwise) {
  EXPECT_TRUE(controller_->appliesImmediately());
  controller_->setAppliesImmediately(false);
  EXPECT_FALSE(controller_->appliesImmediately());
  const auto token = observe(*controller_, "values.n", told_);
  controller_->setValue(Value(1), "values.n");
  EXPECT_TRUE(controller_->hasUnappliedChanges());
  EXPECT_EQ(controller_->valueForKeyPath("values.n"), Value(1));
  EXPECT_EQ(defaults_->objectForKey("n"), std::nullopt);
  ASSERT_EQ(told_.size(), 1U);
  EXPECT_EQ(told_[0].newValue, Value(1));
  controller_->save();
  EXPECT_FALSE(controller_->hasUnappliedChanges());
  EXPECT_EQ(defaults_->objectForKey("n"), Value(1));
  EXPECT_EQ(controller_->valueForKeyPath("values.n"), Value(1));
}

TEST_F(DefaultsController, RevertingDropsWhatWaits) {
  defaults_->setInteger(1, "n");
  controller_->setAppliesImmediately(false);
  controller_->setValue(Value(2), "values.n");
  const auto token = observe(*controller_, "values.n", told_);
  controller_->revert();
  EXPECT_FALSE(controller_->hasUnappliedChanges());
  EXPECT_EQ(controller_->valueForKeyPath("values.n"), Value(1));
  ASSERT_EQ(told_.size(), 1U);
  EXPECT_EQ(told_[0].oldValue, Value(2));
  EXPECT_EQ(told_[0].newValue, Value(1));
}

TEST_F(DefaultsController, AnEditThatWaitsHidesTheDefaultsAndTheirChanges) {
  controller_->setAppliesImmediately(false);
  controller_->setValue(Value(2), "values.n");
  const auto token = observe(*controller_, "values.n", told_);
  defaults_->setInteger(9, "n");
  EXPECT_TRUE(told_.empty());
  EXPECT_EQ(controller_->valueForKeyPath("values.n"), Value(2));
}

TEST_F(DefaultsController, AnImmediateChangeTakesThePlaceOfAnEditThatWaits) {
  controller_->setAppliesImmediately(false);
  controller_->setValue(Value(2), "values.n");
  controller_->setAppliesImmediately(true);
  controller_->setValue(Value(3), "values.n");
  EXPECT_FALSE(controller_->hasUnappliedChanges());
  EXPECT_EQ(defaults_->integerForKey("n"), 3);
}

TEST_F(DefaultsController, TheSharedOneIsOverTheStandardDefaultsAndOneObject) {
  const auto shared = NSUserDefaultsController::sharedUserDefaultsController();
  EXPECT_EQ(shared, NSUserDefaultsController::sharedUserDefaultsController());
  EXPECT_EQ(shared->defaults(), NSUserDefaults::standardUserDefaults());
}

TEST_F(DefaultsController, MirroringBothWaysComesToRest) {
  const auto edition = NSUserDefaults::initWithSuiteName("com.example.edition");
  const auto editionController = NSUserDefaultsController::initWithDefaults(edition, {});
  const auto there =
      editionController->addObserver("values.n", NSKeyValueObservingOptionNew,
                                     [&](std::string_view, const NSKeyValueChangeDictionary& change) {
                                       defaults_->setObject(*change.newValue, "n");
                                     });
  const auto back = controller_->addObserver("values.n", NSKeyValueObservingOptionNew,
                                             [&](std::string_view, const NSKeyValueChangeDictionary& change) {
                                               edition->setObject(*change.newValue, "n");
                                             });
  editionController->setValue(Value(1), "values.n");
  EXPECT_EQ(defaults_->integerForKey("n"), 1);
  defaults_->setInteger(2, "n");
  EXPECT_EQ(edition->integerForKey("n"), 2);
}

TEST_F(ObservedDefaults, ThreadsMayReadWriteAndObserveAtTheSameTime) {
  std::vector<std::thread> threads;
  for (int number = 0; number < 3; ++number) {
    threads.emplace_back([this, number] {
      const ThreadHost host(host_.shared());
      const auto own = NSUserDefaults::initWithSuiteName(kSuite);
      for (int i = 0; i < 100; ++i) {
        const auto token = own->addObserver("k0", NSKeyValueObservingOptionNew,
                                            [](std::string_view, const NSKeyValueChangeDictionary&) {});
        own->setInteger(i, "k" + std::to_string(number));
        own->integerForKey("k" + std::to_string(i % 3));
      }
    });
  }
  for (int i = 0; i < 20; ++i) turnLoop(0.001);
  for (auto& thread : threads) thread.join();
  EXPECT_TRUE(defaults_->synchronize());
  EXPECT_EQ(domainContent(kSuite), "{'k0': 99, 'k1': 99, 'k2': 99}");
}

}  // namespace
}  // namespace macos
