// SPDX-License-Identifier: MIT
//
// What adding a location to an item list costs, and how that grows with the list: 10, 1,000, 10,000 and
// 100,000 entries, at the limit, so that every add also takes the oldest entry away. The aim is
// microseconds at 10,000.
//
//   AddNew         a folder on disk that is not in the list
//   AddAgain       the one before the newest: it moves to the end. Older ones cost more, as the look for them
//                  goes from the newest back
//   RefreshNewest  the one at the end, in place
//   AddUnseen      the same with a relative location, for which the disk is not asked: the list's own part
//
// The argument behind the count is 1 where the volume tells letter case apart and 0 where it does not.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "items/VKItemArray.h"
#include "macos/host/Host.h"

namespace {

namespace fs = std::filesystem;
using macos::Dictionary;
using macos::NSDate;
using macos::NSURL;
using macos::Value;

constexpr int kFolders = 16;

// The real volumes, all of which tell letter case apart, or none does.
class Volumes : public macos::VolumeTable {
 public:
  Volumes(std::shared_ptr<macos::VolumeTable> real, bool isCaseSensitive)
      : real_(std::move(real)), isCaseSensitive_(isCaseSensitive) {}

  std::vector<macos::VolumeInfo> volumes() override {
    auto all = real_->volumes();
    for (macos::VolumeInfo& volume : all) volume.isCaseSensitive = isCaseSensitive_;
    return all;
  }
  macos::VolumeInfo volumeForPath(std::string_view path, macos::FollowLinks follow) override {
    macos::VolumeInfo volume = real_->volumeForPath(path, follow);
    volume.isCaseSensitive = isCaseSensitive_;
    return volume;
  }

 private:
  const std::shared_ptr<macos::VolumeTable> real_;
  const bool isCaseSensitive_;
};

// A home in a temporary root folder with some folders in it, and a list of that many entries for others.
class Home {
 public:
  Home(std::size_t count, bool isCaseSensitive) {
    std::string pattern = (fs::temp_directory_path() / "item-array-bench-XXXXXX").string();
    root_ = mkdtemp(pattern.data());
    for (int i = 0; i < kFolders; ++i) fs::create_directories(root_ / folder(i).substr(1));
    writeLanguages();
    setenv("MACOS_ROOT", root_.c_str(), 1);
    setenv("HOME", "/Users/anna", 1);
    // The tools that are asked for the languages.
    setenv("PATH", VENNICK_TOOLS ":/usr/bin:/bin", 1);
    macos::Host::Parts parts = macos::posixHostParts();
    parts.volumes = std::make_shared<Volumes>(parts.volumes, isCaseSensitive);
    host_ = std::make_unique<macos::ScopedHost>(macos::Host::make(std::move(parts)));
    for (int i = 0; i < kFolders; ++i) urls_.push_back(NSURL::fileURLWithPathIsDirectory(folder(i), true));
    for (std::size_t i = 0; i < count; ++i) {
      const std::string text = "file:///Users/anna/Documents/Projects/Project%20" + std::to_string(i) + "/";
      list.items()->entries.push_back(std::make_shared<Dictionary>(
          Dictionary{{"date", Value(NSDate{1})}, {"name", Value("Project")}, {"url", Value(text)}}));
    }
  }
  ~Home() {
    host_.reset();
    fs::remove_all(root_);
  }
  Home(const Home&) = delete;
  Home& operator=(const Home&) = delete;

  const NSURL& url(std::size_t index) const { return urls_[index % urls_.size()]; }

  vennick::VKItemArray list;

 private:
  void writeLanguages() const {
    const fs::path preferences = root_ / "Users/anna/Library/Preferences";
    fs::create_directories(preferences);
    std::ofstream(preferences / ".GlobalPreferences.plist")
        << "<plist version=\"1.0\"><dict><key>AppleLanguages</key><array><string>en</string></array>"
           "<key>AppleLocale</key><string>en_US</string></dict></plist>";
  }
  static std::string folder(int number) { return "/Users/anna/Documents/Folder " + std::to_string(number); }

  fs::path root_;
  std::unique_ptr<macos::ScopedHost> host_;
  std::vector<NSURL> urls_;
};

std::size_t countOf(const benchmark::State& state) { return static_cast<std::size_t>(state.range(0)); }

void add(Home& home, const NSURL& url, std::size_t limit) {
  if (!home.list.addURL(
          {.url = url, .type = vennick::kItemTypeFolder, .limit = static_cast<std::int64_t>(limit)})) {
    std::abort();
  }
}

void AddNew(benchmark::State& state) {
  Home home(countOf(state), state.range(1) != 0);
  std::size_t next = 0;
  for ([[maybe_unused]] auto _ : state) {
    add(home, home.url(next++), countOf(state));
    state.PauseTiming();
    const vennick::VKItem other = home.list.objectAtIndexedSubscript(0).copy();
    home.list.removeItemAtIndex(home.list.count() - 1);
    home.list.insertItem(other, 0);
    state.ResumeTiming();
  }
}

void AddAgain(benchmark::State& state) {
  Home home(countOf(state), state.range(1) != 0);
  for (std::size_t i = 0; i < 2; ++i) add(home, home.url(i), countOf(state));
  std::size_t next = 0;
  for ([[maybe_unused]] auto _ : state) add(home, home.url(next++ % 2), countOf(state));
}

void RefreshNewest(benchmark::State& state) {
  Home home(countOf(state), state.range(1) != 0);
  add(home, home.url(0), countOf(state));
  for ([[maybe_unused]] auto _ : state) add(home, home.url(0), countOf(state));
}

void AddUnseen(benchmark::State& state) {
  Home home(countOf(state), state.range(1) != 0);
  const std::vector<NSURL> urls{*NSURL::URLWithString("./one"), *NSURL::URLWithString("./two")};
  std::size_t next = 0;
  for ([[maybe_unused]] auto _ : state) add(home, urls[next++ % 2], countOf(state));
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  for (const int count : {10, 1'000, 10'000, 100'000}) {
    for (const int isCaseSensitive : {1, 0}) benchmark->Args({count, isCaseSensitive});
  }
  benchmark->Unit(benchmark::kMicrosecond);
}

BENCHMARK(AddNew)->Apply(sizes);
BENCHMARK(AddAgain)->Apply(sizes);
BENCHMARK(RefreshNewest)->Apply(sizes);
BENCHMARK(AddUnseen)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
