// SPDX-License-Identifier: MIT
#include "legacy/CFItemList.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "tests/support/AliasFiles.h"
#include "tests/support/HeapUse.h"
#include "tests/support/ProcessorTime.h"
#include "tests/support/Sanitizers.h"

namespace vennick {
namespace {

using macos::AliasHandle;
using macos::Array;
using macos::Dictionary;
using macos::FSRef;
using macos::NSData;
using macos::NSDate;
using macos::NSURL;
using macos::Value;
using tests::aliasTo;
using tests::CountingFileSystem;
using tests::refTo;
using tests::TestHost;

using Names = std::vector<std::string>;

Value data(std::string bytes) { return Value(NSData{std::move(bytes)}); }

class List : public testing::Test {
 protected:
  List() {
    for (const char* name : {"a", "b", "c", "d", "e", "f"}) host.root().makeFolder(pathOfName(name));
    list.setRepairOnSet(false);
  }

  static std::string pathOfName(const std::string& name) { return "/Users/anna/" + name; }

  static Value entry(const std::string& name) {
    return Value(Dictionary{{"Name", Value(name)}, {"Alias", data(aliasTo(pathOfName(name)).bytes)}});
  }
  static LegacyItemArray arrayOf(const Names& names) {
    Array array;
    for (const std::string& name : names) array.append(entry(name));
    return itemArrayFromArray(array);
  }

  Names names(const CFItemList& of) const {
    Names result;
    for (std::int64_t i = 0; i < of.count(); ++i) result.push_back(of.nameAt(i));
    return result;
  }
  Names names() const { return names(list); }
  const Dictionary& stored(std::size_t index) const { return *std::get<LegacyItem>((*list.array())[index]); }

  Names log() {
    Names messages;
    for (const auto& [priority, message] : host.log().systemMessages()) {
      EXPECT_EQ(priority, 1);
      messages.push_back(message);
    }
    host.log().clear();
    return messages;
  }
  // Whether the date is another one after the change.
  bool renewsDate(const std::function<void()>& change) {
    const auto before = list.modificationDate();
    host.clock().advance(std::chrono::seconds(1));
    change();
    return list.modificationDate() != before;
  }

  TestHost host;
  CFItemList list = CFItemList(ResolveMode::AnyTarget);
};

TEST_F(List, BeginsWithoutArrayAndDateAndRepairs) {
  const CFItemList fresh(ResolveMode::FolderList);
  EXPECT_EQ(fresh.array(), nullptr);
  EXPECT_EQ(fresh.modificationDate(), std::nullopt);
  EXPECT_EQ(fresh.resolveMode(), ResolveMode::FolderList);
  EXPECT_FALSE(fresh.allResolved());
  EXPECT_TRUE(fresh.repairOnSet());
  EXPECT_EQ(fresh.count(), 0);
}

// --- itemAt and its messages

TEST_F(List, WithoutAnArraySaysSo) {
  EXPECT_EQ(list.itemAt(3), nullptr);
  EXPECT_EQ(log(), (Names{"CFItemList array is NULL", "CFItemList contains no dictionary at index 3"}));
}

TEST_F(List, OutsideItsRangeSaysSo) {
  list.setArray(arrayOf({"a", "b"}));
  for (const std::int64_t index : {std::int64_t{-1}, std::int64_t{2}, INT64_MAX, INT64_MIN}) {
    EXPECT_EQ(list.itemAt(index), nullptr);
    const std::string text = std::to_string(index);
    EXPECT_EQ(log(), (Names{"Index " + text + " is beyond the range (0, 2) of CFItemList array",
                            "CFItemList contains no dictionary at index " + text}));
  }
}

TEST_F(List, AtWhatIsNoDictionarySaysSo) {
  list.setArray(itemArrayFromArray({Value("text")}));
  EXPECT_EQ(list.itemAt(0), nullptr);
  EXPECT_EQ(log(), Names{"CFItemList contains no dictionary at index 0"});
}

TEST_F(List, GivesTheStoredDictionaryItself) {
  list.setArray(arrayOf({"a"}));
  EXPECT_EQ(list.itemAt(0), std::get<LegacyItem>(list.array()->front()));
  EXPECT_EQ(log(), Names());
}

// --- Repair

// "A list of three items whose middle one has no name loses exactly that one, logging the no-name message and
// then the deleting message, both with index 1."
TEST_F(List, LosesAnItemWithoutAName) {
  const LegacyItemArray array = arrayOf({"a", "b", "c"});
  std::get<LegacyItem>((*array)[1])->remove("Name");
  list.setRepairOnSet(true);
  list.setArray(array);
  EXPECT_EQ(log(), (Names{"** No name for item 1 **", "** Deleting item 1 **"}));
  EXPECT_EQ(names(), (Names{"a", "c"}));
}

// "An item with a name but an alias whose checksum matches neither byte order is deleted on setArray with the
// corrupted-alias message, the no-alias-data message and the deleting message, in that order."
TEST_F(List, LosesAnItemWithACorruptedAlias) {
  const LegacyItemArray array = arrayOf({"a", "b"});
  std::get<LegacyItem>((*array)[0])->set("AliasChecksum", data("xy"));
  list.setRepairOnSet(true);
  list.setArray(array);
  EXPECT_EQ(log(), (Names{"** Corrupted alias data for a - ignoring the alias **",
                          "** No alias data for item 0 (a) **", "** Deleting item 0 **"}));
  EXPECT_EQ(names(), Names{"b"});
}

TEST_F(List, LosesSeveralFromTheLastToTheFirst) {
  list.setRepairOnSet(true);
  list.setArray(itemArrayFromArray(
      {Value(Dictionary{{"Name", Value("x")}}), entry("a"), Value("no dictionary"), Value(Dictionary())}));
  EXPECT_EQ(log(),
            (Names{"** No name for item 3 **", "** Deleting item 3 **",
                   "CFItemList contains no dictionary at index 2", "** No name for item 2 **",
                   "** Deleting item 2 **", "** No alias data for item 0 (x) **", "** Deleting item 0 **"}));
  EXPECT_EQ(names(), Names{"a"});
}

// Each would take as long as there are items behind it.
TEST_F(List, LosesManyInTimeInProportionToTheirNumber) {
  constexpr std::size_t kCount = 100'000;
  const auto good = std::get<LegacyItem>(arrayOf({"a"})->front());
  auto array = std::make_shared<std::vector<LegacyEntry>>(kCount, std::make_shared<Dictionary>());
  array->insert(array->end(), kCount, good);
  list.setArray(array);
  const auto start = tests::processorTime();
  list.repair();
  EXPECT_LT(tests::processorTime() - start, std::chrono::seconds(10));
  EXPECT_EQ(list.count(), static_cast<std::int64_t>(kCount));
  EXPECT_EQ(list.nameAt(0), "a");
  EXPECT_EQ(log().size(), 2 * kCount);
}

TEST_F(List, KeepsAnItemWhoseWellFormedAliasLeadsNowhere) {
  const LegacyItemArray array = arrayOf({"a", "b"});
  host.root().remove(pathOfName("a"));
  list.setRepairOnSet(true);
  list.setArray(array);
  EXPECT_EQ(names(), (Names{"a", "b"}));
  EXPECT_FALSE(list.urlAt(0));
  EXPECT_EQ(list.urlAt(1)->path(), "/Users/anna/b");
  EXPECT_EQ(log(), Names());
}

TEST_F(List, DoesNotRepairWhenToldNotTo) {
  list.setArray(itemArrayFromArray({Value(Dictionary())}));
  EXPECT_EQ(list.count(), 1);
  EXPECT_EQ(log(), Names());
}

TEST_F(List, NameInTheRepairMessageIsComposedMacRomanOfAtMost1023Bytes) {
  const auto messageFor = [&](const std::string& name) {
    list.setArray(itemArrayFromArray({Value(Dictionary{{"Name", Value(name)}})}));
    list.repair();
    return log().front();
  };
  EXPECT_EQ(messageFor("Gro\u0308\u00DFe"), "** No alias data for item 0 (Größe) **");
  EXPECT_EQ(messageFor("日本"), "** No alias data for item 0 () **");
  EXPECT_EQ(messageFor(std::string(1023, 'n')),
            "** No alias data for item 0 (" + std::string(1023, 'n') + ") **");
  EXPECT_EQ(messageFor(std::string(1024, 'n')), "** No alias data for item 0 () **");
}

TEST_F(List, RepairsTheArrayOfItsOwner) {
  const LegacyItemArray owners = itemArrayFromArray({entry("a"), Value(Dictionary())});
  CFItemList repairing(ResolveMode::AnyTarget);
  repairing.setArray(owners);
  EXPECT_EQ(owners->size(), 1U);
  log();
  CFItemList again(ResolveMode::AnyTarget);
  again.setArray(owners);
  EXPECT_EQ(log(), Names()) << "each deletion is logged once";
}

// --- Sharing

TEST_F(List, CopiesSeeOneArrayAndHaveDatesOfTheirOwn) {
  list.setArray(arrayOf({"a", "b"}));
  CFItemList copy = list;
  const auto date = list.modificationDate();
  host.clock().advance(std::chrono::seconds(1));
  copy.remove(0);
  EXPECT_EQ(names(), Names{"b"});
  EXPECT_EQ(list.modificationDate(), date);
  EXPECT_NE(copy.modificationDate(), date);
}

TEST_F(List, WritesIntoACopyOfTheItemThatTakesItsPlace) {
  list.setArray(arrayOf({"a"}));
  const LegacyItem before = list.itemAt(0);
  EXPECT_TRUE(list.resolveAt(0));
  EXPECT_NE(list.itemAt(0), before);
  EXPECT_FALSE(before->contains("URL"));
  EXPECT_TRUE(stored(0).contains("URL"));
}

TEST_F(List, ReadsTheStoredItemDirectly) {
  list.setArray(arrayOf({"a"}));
  const LegacyItem before = list.itemAt(0);
  CommandKey key;
  std::size_t length = 0;
  list.nameAt(0);
  list.isAliasValidAt(0);
  list.aliasDataAt(0);
  list.getDataAt(0, "Alias", {}, &length);
  list.getCommandKeyAt(0, &key);
  list.isOnServerAt(0);
  EXPECT_EQ(list.itemAt(0), before);
  EXPECT_GT(length, 0U);
}

TEST_F(List, OutsideItsRangeGivesEmptyAnswers) {
  list.setArray(arrayOf({"a"}));
  FSRef ref;
  CommandKey key;
  std::size_t length = 5;
  EXPECT_EQ(list.nameAt(1), "");
  EXPECT_FALSE(list.aliasDataAt(-1));
  EXPECT_FALSE(list.isAliasValidAt(1));
  EXPECT_FALSE(list.resolveAt(1));
  EXPECT_FALSE(list.urlAt(1));
  EXPECT_FALSE(list.getFSRefAt(1, &ref));
  EXPECT_FALSE(list.getDataAt(1, "Alias", {}, &length));
  EXPECT_EQ(length, 0U);
  EXPECT_FALSE(list.getCommandKeyAt(1, &key));
  EXPECT_FALSE(list.isOnServerAt(1));
  list.setNameAt(1, "x");
  EXPECT_EQ(names(), Names{"a"});
}

// --- Dates and allResolved

TEST_F(List, DateIsRenewedByChangesOfStructureAliasAndName) {
  list.setArray(arrayOf({"a", "b", "c"}));
  EXPECT_TRUE(renewsDate([&] { list.insertURL(0, NSURL::fileURLWithPath("/Users/anna/d"), true); }));
  EXPECT_TRUE(renewsDate([&] { list.remove(0); }));
  EXPECT_TRUE(renewsDate([&] { list.setAliasAt(0, aliasTo("/Users/anna/e")); }));
  EXPECT_TRUE(renewsDate([&] { list.setNameAt(0, "new"); }));
  EXPECT_TRUE(renewsDate([&] { list.setArray(list.array()); }));
  EXPECT_TRUE(renewsDate([&] { list.removeAll(); }));
  EXPECT_EQ(list.modificationDate(), NSDate::date());
}

TEST_F(List, DateIsKeptByEverythingElse) {
  list.setArray(arrayOf({"b", "a", "c"}));
  EXPECT_FALSE(renewsDate([&] { list.sort(); }));
  EXPECT_FALSE(renewsDate([&] { list.move(0, 2); }));
  EXPECT_FALSE(renewsDate([&] { list.resolveAll(); }));
  EXPECT_FALSE(renewsDate([&] { list.clearLocations(); }));
  EXPECT_FALSE(renewsDate([&] { list.remove(3); }));
  EXPECT_FALSE(renewsDate([&] { list.remove(-1); }));
  EXPECT_FALSE(renewsDate([&] { list.insertAlias(4, aliasTo("/Users/anna/d"), true); }));
  EXPECT_FALSE(renewsDate([&] { list.insertAlias(-1, aliasTo("/Users/anna/d"), true); }));
  EXPECT_EQ(list.count(), 3);
}

TEST_F(List, OtherSettersNeitherRenewTheDateNorForgetThatAllIsResolved) {
  list.setArray(arrayOf({"a", "b"}));
  list.resolveAll();
  EXPECT_FALSE(renewsDate([&] { list.setURLAt(0, NSURL::fileURLWithPath("/Users/anna/c")); }));
  EXPECT_FALSE(renewsDate([&] { list.setFSRefAt(0, refTo("/Users/anna/d")); }));
  EXPECT_FALSE(renewsDate([&] { list.setDataAt(0, "Key", "x"); }));
  EXPECT_FALSE(renewsDate([&] { list.setCommandKeyAt(0, {0, 0, 0x100, 0}); }));
  EXPECT_TRUE(list.allResolved());
  EXPECT_EQ(list.urlAt(0)->path(), "/Users/anna/d");
}

TEST_F(List, ResolvesAllOnceUntilSomethingChanges) {
  list.setArray(arrayOf({"a", "b"}));
  list.resolveAll();
  EXPECT_TRUE(list.allResolved());
  EXPECT_TRUE(stored(0).contains("URL") && stored(1).contains("URL"));
  for (const std::function<void()>& change :
       {std::function<void()>([&] { list.clearLocations(); }),
        std::function<void()>([&] { list.setNameAt(0, "x"); }),
        std::function<void()>([&] { list.setAliasAt(0, aliasTo("/Users/anna/a")); }),
        std::function<void()>([&] { list.insertAlias(0, aliasTo("/Users/anna/c"), true); }),
        std::function<void()>([&] { list.setArray(list.array()); })}) {
    list.resolveAll();
    change();
    EXPECT_FALSE(list.allResolved());
  }
  list.resolveAll();
  const auto counter = host.interpose<CountingFileSystem>();
  list.resolveAll();
  EXPECT_EQ(counter->total(), 0);
}

TEST_F(List, ClearingLocationsRemovesThemAndNothingElse) {
  list.setArray(arrayOf({"a"}));
  list.resolveAll();
  list.clearLocations();
  EXPECT_FALSE(stored(0).contains("URL") || stored(0).contains("FSRef") ||
               stored(0).contains("ResolveError"));
  EXPECT_TRUE(stored(0).contains("Name") && stored(0).contains("Alias") &&
              stored(0).contains("AliasChecksum"));
}

// It looks like a mistake and is kept.
TEST_F(List, SettingTheSameArrayClearsItsCaches) {
  list.setArray(arrayOf({"a"}));
  list.resolveAll();
  ASSERT_TRUE(stored(0).contains("URL"));
  list.setArray(list.array());
  EXPECT_FALSE(stored(0).contains("URL"));
}

TEST_F(List, SettingAnotherArrayClearsTheCachesOfTheOldOne) {
  const LegacyItemArray old = arrayOf({"a"});
  list.setArray(old);
  list.resolveAll();
  list.setArray(arrayOf({"b"}));
  EXPECT_FALSE(std::get<LegacyItem>(old->front())->contains("URL"));
  list.setArray(nullptr);
  EXPECT_EQ(list.count(), 0);
}

// --- Moving and sorting

TEST_F(List, MovesBeforeTheItemThatIsThereNow) {
  const auto moved = [&](std::int64_t from, std::int64_t to) {
    list.setArray(arrayOf({"a", "b", "c"}));
    list.move(from, to);
    return names();
  };
  EXPECT_EQ(moved(0, 2), (Names{"b", "a", "c"}));
  EXPECT_EQ(moved(2, 0), (Names{"c", "a", "b"}));
  EXPECT_EQ(moved(1, 1), (Names{"a", "b", "c"}));
  for (const auto& [from, to] : std::vector<std::pair<int, int>>{{0, 3}, {3, 0}, {-1, 0}, {0, -1}}) {
    EXPECT_EQ(moved(from, to), (Names{"a", "b", "c"}));
  }
}

// It looks like a mistake and is kept.
TEST_F(List, MovingToTheNextPlaceChangesNothingAndNoMoveReachesTheLast) {
  list.setArray(arrayOf({"a", "b", "c"}));
  list.move(0, 1);
  EXPECT_EQ(names(), (Names{"a", "b", "c"}));
  list.move(1, 2);
  EXPECT_EQ(names(), (Names{"a", "b", "c"}));
}

TEST_F(List, SortsByNameWithoutRegardToCaseAndStably) {
  const auto named = [](const char* name, int mark) {
    return Value(Dictionary{{"Name", Value(name)}, {"Mark", Value(mark)}});
  };
  list.setArray(itemArrayFromArray({named("beta", 1), named("ALPHA", 2), Value("no dictionary"),
                                    named("alpha", 3), named("Beta", 4), Value(Dictionary())}));
  const auto counter = host.interpose<CountingFileSystem>();
  list.sort();
  EXPECT_EQ(counter->total(), 0) << "without resolving";
  EXPECT_EQ(arrayFromItemArray(list.array()),
            (Array{Value("no dictionary"), Value(Dictionary()), named("ALPHA", 2), named("alpha", 3),
                   named("beta", 1), named("Beta", 4)}));
}

// --- Inserting

TEST_F(List, InsertsIntoANewArrayWhenThereIsNone) {
  list.insertURL(0, NSURL::fileURLWithPath("/Users/anna/a"), false);
  list.insertFSRef(1, refTo("/Users/anna/b"), false);
  list.insert(0, aliasTo("/Users/anna/c"), "Named", false);
  EXPECT_EQ(names(), (Names{"Named", "a", "b"}));
  EXPECT_EQ(list.urlAt(0)->path(), "/Users/anna/c");
  list.insertURL(0, NSURL::fileURLWithPath("/none"), false);
  list.insertFSRef(0, FSRef(), false);
  EXPECT_EQ(list.count(), 3);
}

// "Inserting an item equal by name and URL to item 2 of five with index 0 moves item 2 to the front; with an
// index at or past the count the destination is 4, which move reads as before the item now at 4, so item 2
// ends at index 3."
TEST_F(List, InsertingADuplicateMovesTheItemThatIsThere) {
  for (const auto& [index, expected] : {std::pair{0, Names{"c", "a", "b", "d", "e"}},
                                        {2, Names{"a", "b", "c", "d", "e"}},
                                        {5, Names{"a", "b", "d", "c", "e"}},
                                        {99, Names{"a", "b", "d", "c", "e"}}}) {
    list.setArray(arrayOf({"a", "b", "c", "d", "e"}));
    // It looks like a mistake and is kept: the new record is dropped and the date stays.
    EXPECT_FALSE(renewsDate([&, at = index] { list.insertAlias(at, aliasTo("/Users/anna/c"), false); }));
    EXPECT_EQ(names(), expected) << index;
  }
}

TEST_F(List, WithAnotherNameOrAnotherPlaceIsNoDuplicate) {
  list.setArray(arrayOf({"a", "b"}));
  list.insert(0, aliasTo("/Users/anna/a"), "A", false);
  list.insert(0, aliasTo("/Users/anna/c"), "a", false);
  EXPECT_EQ(list.count(), 4);
}

TEST_F(List, InsertingWithANameClearsTheLocation) {
  list.insert(0, aliasTo("/Users/anna/a"), "Named", true);
  EXPECT_TRUE(stored(0).contains("Alias"));
  EXPECT_FALSE(stored(0).contains("URL") || stored(0).contains("ResolveError"));
  list.insert(0, aliasTo("/Users/anna/a"), std::nullopt, true);
  EXPECT_EQ(list.nameAt(0), "a");
  EXPECT_TRUE(stored(0).contains("URL"));
}

TEST_F(List, LookingForADuplicateStoresWhereTheOthersLead) {
  list.setArray(arrayOf({"a", "b"}));
  list.insert(2, aliasTo("/Users/anna/c"), "b", false);
  EXPECT_EQ(list.count(), 3);
  EXPECT_FALSE(stored(0).contains("URL")) << "of another name";
  EXPECT_TRUE(stored(1).contains("URL"));
}

TEST_F(List, AllowsDuplicatesWhenToldSo) {
  list.setArray(arrayOf({"a"}));
  list.insertAlias(1, aliasTo("/Users/anna/a"), true);
  EXPECT_EQ(names(), (Names{"a", "a"}));
}

// It looks like a mistake and is kept.
TEST_F(List, InsertingKeepsAnItemWhoseAliasDoesNotResolveWithoutTheAlias) {
  const AliasHandle gone = aliasTo("/Users/anna/a");
  host.root().remove("/Users/anna/a");
  list.insert(0, gone, "Gone", false);
  ASSERT_EQ(list.count(), 1);
  EXPECT_EQ(list.nameAt(0), "Gone");
  EXPECT_FALSE(stored(0).contains("Alias"));
}

TEST_F(List, ScanForDuplicatesStopsAfterItem32767) {
  const auto listWithDuplicateAt = [&](std::size_t place) {
    auto array = std::make_shared<std::vector<LegacyEntry>>();
    const auto filler = std::make_shared<Dictionary>(Dictionary{{"Name", Value("x")}});
    array->assign(32'769, LegacyEntry(filler));
    (*array)[place] = arrayOf({"a"})->front();
    list.setArray(array);
    list.insertAlias(0, aliasTo("/Users/anna/a"), false);
    return list.count();
  };
  EXPECT_EQ(listWithDuplicateAt(32'767), 32'769);
  EXPECT_EQ(listWithDuplicateAt(32'768), 32'770);
}

TEST_F(List, RemovesOneAndAll) {
  list.setArray(arrayOf({"a", "b", "c"}));
  list.remove(1);
  EXPECT_EQ(names(), (Names{"a", "c"}));
  list.removeAll();
  EXPECT_EQ(list.count(), 0);
  EXPECT_NE(list.array(), nullptr);
}

// --- Hotkeys and lists of folders

TEST_F(List, StoresAndReadsHotkeys) {
  list.setArray(arrayOf({"a"}));
  const CommandKey key{0x12, 0, 0x0900, 7};
  list.setCommandKeyAt(0, key);
  CommandKey read;
  EXPECT_TRUE(list.getCommandKeyAt(0, &read));
  EXPECT_EQ(read, key);
}

TEST_F(List, GivesItsModeToItsItems) {
  host.root().writeFile("/Users/anna/a/file", "");
  CFItemList folders(ResolveMode::FolderList);
  folders.insertURL(0, NSURL::fileURLWithPath("/Users/anna/a/file"), false);
  EXPECT_EQ(folders.urlAt(0)->path(), "/Users/anna/a");
}

// --- Cost

// Resolving a favorite takes no more than this many operations on files, however many there are: 37 for a
// folder whose record did not change. Some room is left because the volumes are looked up anew whenever
// something is mounted on the machine.
constexpr long kOperationsForEach = 40;

#ifdef VENNICK_SANITIZED
// Each takes several times as long, and is the same work; the other builds resolve them all.
constexpr std::size_t kMany = 1'000;
#else
constexpr std::size_t kMany = 10'000;
#endif

LegacyItemArray manyItems(std::size_t count) {
  const Value alias = data(aliasTo("/Users/anna/a").bytes);
  Array array;
  for (std::size_t i = 0; i < count; ++i) {
    array.append(Value(Dictionary{{"Name", Value("x")}, {"Alias", alias}}));
  }
  return itemArrayFromArray(array);
}

long costOf(TestHost& host, CFItemList& list, std::size_t count) {
  list.setArray(manyItems(count + 1));
  // The volumes are looked up anew as long as /Volumes changed within the last tick of the clock.
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  list.resolveAt(0);
  const auto counter = host.interpose<CountingFileSystem>();
  list.resolveAll();
  const long total = counter->total();
  host.removeInterposed();
  return total;
}

TEST_F(List, ResolvingAFavoriteCostsAFixedNumberOfOperations) {
  EXPECT_LE(costOf(host, list, 100), 100 * kOperationsForEach);
  EXPECT_LE(costOf(host, list, kMany), static_cast<long>(kMany) * kOperationsForEach);
  EXPECT_TRUE(stored(kMany).contains("URL"));
}

// Of one item again and again.
TEST_F(List, MemoryDoesNotGrowWithTheNumberResolved) {
  list.setArray(manyItems(1));
  const auto useAfter = [&](std::size_t times) {
    for (std::size_t i = 0; i < times; ++i) {
      EXPECT_TRUE(list.resolveAt(0));
      list.clearLocations();
    }
    return tests::allocatedBytes();
  };
  const std::size_t first = useAfter(kMany / 10);
  // Less than two bytes each.
  EXPECT_LE(useAfter(kMany - kMany / 10), first + 1024);
}

// Of different items, none of which is kept: more than are remembered anywhere.
TEST_F(List, MemoryDoesNotGrowWithTheNumberOfTargets) {
  const auto useAfter = [&](int from, int to) {
    for (int i = from; i < to; ++i) {
      const std::string path = "/Users/anna/a/" + std::to_string(i);
      host.root().makeFolder(path);
      CFItem item(std::make_shared<Dictionary>(), ResolveMode::AnyTarget);
      item.setAlias(aliasTo(path));
      EXPECT_TRUE(item.url());
    }
    return tests::allocatedBytes();
  };
  const std::size_t first = useAfter(10'000, 11'500);
  EXPECT_LE(useAfter(11'500, 13'000), first + 16 * 1024);
}

}  // namespace
}  // namespace vennick
