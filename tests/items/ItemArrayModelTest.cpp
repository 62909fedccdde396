// SPDX-License-Identifier: MIT
//
// A long random run of VKItemArray beside a list that is kept the simplest way: plain copies of
// dictionaries, compared after every operation, announcements included. The seed of a failure is printed;
// VENNICK_SEED replays it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "items/VKItemArray.h"
#include "macos/host/DiskMemory.h"
#include "tests/items/RecordingOwner.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/TestHost.h"

namespace vennick {
namespace {

using macos::Array;
using macos::Dictionary;
using macos::NSDate;
using macos::NSURL;
using macos::Value;
using Strings = std::vector<std::string>;

#ifdef VENNICK_SANITIZED
// Each takes several times as long, and the other builds make the whole run.
constexpr int kOperations = 20'000;
#else
constexpr int kOperations = 100'000;
#endif
constexpr int kFolders = 9;

// What the array should hold and have announced. It knows nothing of the disk: every location exists, is
// spelled one way and lies on a volume that tells letter case apart.
class SimpleList {
 public:
  std::vector<Dictionary> entries;
  Strings notices;

  void insert(std::size_t index, Dictionary entry) {
    note("will insert", {index});
    entries.insert(entries.begin() + static_cast<std::ptrdiff_t>(index), std::move(entry));
    note("did insert", {index});
  }

  void remove(std::vector<std::size_t> indexes) {
    if (indexes.empty()) return;
    note("will remove", indexes);
    for (auto index = indexes.rbegin(); index != indexes.rend(); ++index) {
      entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(*index));
    }
    note("did remove", indexes);
  }

  void add(const std::string& url, const std::string& name, NSDate date, std::int64_t limit) {
    if (!entries.empty() && entries.back().string("url") == url) {
      entries.back().set("name", Value(name));
      entries.back().set("date", Value(date));
      return;
    }
    remove(indexesOf(url));
    insert(entries.size(),
           {{"name", Value(name)}, {"url", Value(url)}, {"date", Value(date)}, {"itemType", Value(2U)}});
    trim(limit);
  }

  std::vector<std::size_t> indexesOf(const std::string& url) const {
    std::vector<std::size_t> indexes;
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (entries[i].string("url") == url) indexes.push_back(i);
    }
    return indexes;
  }

  void trim(std::int64_t limit) {
    while (limit > 0 && entries.size() > static_cast<std::size_t>(limit)) remove({0});
  }

  static bool lists(const Dictionary& entry, const char* key, const std::string& wanted) {
    const Array* list = entry.array(key);
    if (wanted.empty()) return list == nullptr || list->empty();
    return list != nullptr && list->contains(Value(wanted));
  }

  bool deleteFor(const std::string& application, const std::string& type) {
    bool found = false;
    std::vector<std::size_t> emptied;
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (!lists(entries[i], "applications", application) || !lists(entries[i], "fileTypes", type)) continue;
      found = true;
      if (!application.empty() || !type.empty()) {
        note("will replace", {i});
        without(entries[i], "applications", application);
        without(entries[i], "fileTypes", type);
        note("did replace", {i});
      }
      if (lists(entries[i], "applications", "") && lists(entries[i], "fileTypes", "")) emptied.push_back(i);
    }
    remove(emptied);
    return found;
  }

  void removeEqual(const Dictionary& entry) {
    const auto first = std::find(entries.begin(), entries.end(), entry);
    if (first == entries.end()) return;
    const auto index = static_cast<std::size_t>(first - entries.begin());
    note("will remove", {index});
    std::erase(entries, Dictionary(entry));
    note("did remove", {index});
  }

  void sort() {
    std::vector<std::size_t> all(entries.size());
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
    note("will replace", all);
    std::stable_sort(entries.begin(), entries.end(), [](const Dictionary& a, const Dictionary& b) {
      return a.string("name").value_or("") < b.string("name").value_or("");
    });
    note("did replace", all);
  }

  void removeAll() {
    std::vector<std::size_t> all(entries.size());
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
    note("will remove", all);
    entries.clear();
    note("did remove", all);
  }

 private:
  void note(const std::string& what, const std::vector<std::size_t>& indexes) {
    std::string text;
    for (const std::size_t index : indexes) text += (text.empty() ? "" : " ") + std::to_string(index);
    notices.push_back(what + " [" + text + "] of " + std::to_string(entries.size()));
  }

  static void without(Dictionary& entry, const char* key, const std::string& string) {
    if (string.empty() || entry.array(key) == nullptr) return;
    Array kept;
    for (const Value& value : *entry.array(key)) {
      if (value.ifString() != string) kept.append(value);
    }
    entry.set(key, Value(kept));
  }
};

class RandomRun {
 public:
  explicit RandomRun(std::uint32_t seed) : random_(seed) {
    for (int i = 0; i < kFolders; ++i) host_.root().makeFolder(path(i));
    array_.setKvoOwner(owner_);
    array_.setKvoKey("favorites");
    owner_->array = &array_;
  }

  void run() {
    for (int step = 0; step < kOperations && !testing::Test::HasFailure(); ++step) {
      operate(pick(17));
      compare(step);
    }
  }

 private:
  static std::string path(int number) { return "/folder " + std::to_string(number); }
  static NSURL url(int number) { return NSURL::fileURLWithPathIsDirectory(path(number), true); }
  int pick(int count) { return static_cast<int>(random_() % static_cast<std::uint32_t>(count)); }
  std::string application() { return Strings{"", "a", "b", "*"}[static_cast<std::size_t>(pick(4))]; }
  static std::optional<std::string> orNothing(const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(text);
  }
  std::size_t index() { return static_cast<std::size_t>(pick(static_cast<int>(array_.count()))); }

  SharedDictionary plainEntry() {
    auto entry = std::make_shared<Dictionary>();
    entry->set("name", Value(std::string(1, static_cast<char>('a' + pick(4)))));
    for (const char* key : {"applications", "fileTypes"}) {
      Array list;
      for (int i = pick(3); i > 0; --i) list.append(Value(i == 1 ? "a" : "b"));
      if (pick(3) > 0) entry->set(key, Value(list));
    }
    return entry;
  }

  void operate(int operation) {
    const int number = pick(kFolders);
    const NSDate date{static_cast<double>(pick(1000))};
    const std::int64_t limit = pick(4) == 0 ? pick(12) - 1 : 0;
    const std::string app = application();
    const std::string type = application();
    const std::string text = url(number).absoluteString();
    const bool isEmpty = array_.count() == 0;
    if (operation < 5) {
      const std::string name = "folder " + std::to_string(number);
      EXPECT_TRUE(array_.addURL({.url = url(number), .date = date, .type = kItemTypeFolder, .limit = limit}));
      simple_.add(text, name, date, limit);
    } else if (operation == 5) {
      array_.addURLForApp(url(number), orNothing(app), orNothing(type));
      simple_.insert(simple_.entries.size(), {{"name", Value("folder " + std::to_string(number))},
                                              {"url", Value(text)},
                                              {"date", Value(NSDate::date())},
                                              {"itemType", Value(2U)},
                                              {"applications", Value(Array{Value(app.empty() ? "*" : app)})},
                                              {"fileTypes", Value(Array{Value(type.empty() ? "*" : type)})},
                                              {"flags", Value(2U)}});
    } else if (operation == 6) {
      const auto indexes = simple_.indexesOf(text);
      EXPECT_EQ(array_.deleteItemForURL(url(number)), !indexes.empty());
      simple_.remove(indexes);
    } else if (operation == 7) {
      EXPECT_EQ(array_.deleteItemForApplication(orNothing(app), orNothing(type)),
                simple_.deleteFor(app, type));
    } else if (operation == 8 || operation == 9) {
      const auto entry = plainEntry();
      array_.addItem(VKItem(entry));
      simple_.insert(simple_.entries.size(), *entry);
    } else if (operation == 10) {
      const auto entry = plainEntry();
      const auto at = static_cast<std::size_t>(pick(static_cast<int>(array_.count()) + 1));
      array_.insertItem(VKItem(entry), at);
      simple_.insert(at, *entry);
    } else if (operation == 11 && !isEmpty) {
      const std::size_t at = index();
      const Dictionary sought = simple_.entries[at];
      array_.removeItem(array_.objectAtIndexedSubscript(at));
      simple_.removeEqual(sought);
    } else if (operation == 12 && !isEmpty) {
      const std::size_t at = index();
      array_.removeItemAtIndex(at);
      simple_.remove({at});
    } else if (operation == 13) {
      array_.removeItemsBeyondCapacity(limit + 5);
      simple_.trim(limit + 5);
    } else if (operation == 14 && pick(50) == 0) {
      array_.removeAllItems();
      simple_.removeAll();
    } else if (operation == 15) {
      array_.sort([](const SortValues& values) {
        const auto textOf = [](const Value* value) {
          return value != nullptr ? value->ifString().value_or("") : std::string_view();
        };
        return textOf(values.xName).compare(textOf(values.yName));
      });
      simple_.sort();
    } else if (operation == 16 && !isEmpty) {
      const auto entry = plainEntry();
      const std::size_t at = index();
      array_.setObject(VKItem(entry), at);
      simple_.entries[at] = *entry;
    }
  }

  void compare(int step) {
    ASSERT_EQ(array_.count(), simple_.entries.size()) << "step " << step;
    for (std::size_t i = 0; i < simple_.entries.size(); ++i) {
      // The bookmark is the disk's business; that it is there for what addURL made is checked here.
      Dictionary entry = *array_.items()->entries[i];
      const bool isLocation = entry.contains("url");
      ASSERT_EQ(entry.remove("bookmark"), isLocation) << "step " << step;
      ASSERT_EQ(entry, simple_.entries[i]) << "entry " << i << " at step " << step;
    }
    ASSERT_EQ(owner_->notices, simple_.notices) << "step " << step;
    owner_->notices.clear();
    simple_.notices.clear();
    const int number = pick(kFolders);
    const auto indexes = simple_.indexesOf(url(number).absoluteString());
    const auto found = array_.itemForURL(url(number));
    ASSERT_EQ(found.has_value(), !indexes.empty());
    if (found) {
      ASSERT_EQ(found->dict(), array_.items()->entries[indexes.front()]);
    }
  }

  // The folders do not change during the run, so that the disk may be asked for each once.
  static tests::TestHostOptions withMemory() {
    return {.adjust = [](macos::Host::Parts& parts) {
      const auto memory = std::make_shared<macos::DiskMemory>();
      parts.files = std::make_shared<macos::RememberingFileSystem>(parts.files, memory);
      parts.volumes = std::make_shared<macos::RememberingVolumeTable>(parts.volumes, memory);
    }};
  }

  std::mt19937 random_;
  tests::TestHost host_{withMemory()};
  macos::RememberedDisk disk_;
  std::shared_ptr<tests::RecordingOwner> owner_ = std::make_shared<tests::RecordingOwner>();
  VKItemArray array_;
  SimpleList simple_;
};

TEST(ItemArrayModel, AgreesWithASimpleListOverManyRandomOperations) {
  const char* given = std::getenv("VENNICK_SEED");
  const std::uint32_t seed = given != nullptr ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10))
                                              : std::random_device()();
  SCOPED_TRACE("VENNICK_SEED=" + std::to_string(seed));
  RandomRun(seed).run();
}

}  // namespace
}  // namespace vennick
