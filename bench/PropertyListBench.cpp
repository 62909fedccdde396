// SPDX-License-Identifier: MIT
//
// How fast property lists are read and written, and in how much memory, beside Debian's libplist on the
// same bytes in the same run. What counts are the ratios; the times are this machine's.
//
//     PropertyListBench            1 MB and 50 MB, in two shapes
//     PropertyListBench --quick    0.1 MB and 2 MB, one round: does it still run
//
// Every operation is done once in a process of its own, so that neither library pays for the heap that the
// other one left behind, and both pay for the memory that they take: as a program does that reads its list
// once. The rounds of the two libraries alternate and the best of each counts. A small list and a large one
// are measured alike, so that what a byte of each costs can be compared. Memory is what the process has at
// its peak beyond what it began with, its input included: the bytes of the file when it reads, the tree of
// values when it writes.
#include <plist/plist.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/PropertyList.h"

namespace {

using macos::Array;
using macos::Dictionary;
using macos::NSDate;
using macos::NSPropertyListFormat;
using macos::NSPropertyListSerialization;
using macos::Value;

// ---- The data

// Sets of folders as a user keeps them: names, alias data, a date, a hotkey.
Value folderSet(std::mt19937_64& random) {
  Array favorites;
  for (int i = 0; i < 20; ++i) {
    std::string alias(300 + random() % 200, '\0');
    for (char& c : alias) c = static_cast<char>(random());
    const std::string number = std::to_string(random() % 1000000);
    Dictionary favorite;
    favorite.set("Alias", Value::fromData(alias));
    favorite.set("Created", Value(NSDate{static_cast<double>(random() % 800000000)}));
    favorite.set("HotKey", Value(random() % 128));
    favorite.set("Name", Value("Folder " + number));
    favorite.set("Path", Value("/Users/anna/Documents/Projects/" + number + "/Folder"));
    favorites.append(Value(std::move(favorite)));
  }
  Dictionary set;
  set.set("Favorite", Value(std::move(favorites)));
  set.set("Name", Value("Set " + std::to_string(random() % 1000000)));
  return Value(std::move(set));
}

// Records of a few small fields.
Value smallRecord(std::mt19937_64& random) {
  Dictionary record;
  record.set("count", Value(random() % 100000));
  record.set("enabled", Value(random() % 2 == 0));
  record.set("name", Value("item " + std::to_string(random() % 100000000)));
  record.set("ratio", Value(static_cast<double>(random() % 1000000) / 7));
  record.set("tags", Value(Array{Value("red"), Value(random() % 10)}));
  return Value(std::move(record));
}

struct Shape {
  const char* name;
  Value (*element)(std::mt19937_64&);
};

constexpr Shape kShapes[] = {{"folder sets", folderSet}, {"small records", smallRecord}};

std::string serialize(const Value& value, NSPropertyListFormat format) {
  auto bytes = NSPropertyListSerialization::dataWithPropertyList(value, format);
  if (!bytes.ok()) std::abort();
  return std::move(*bytes);
}

// A list of that many bytes, more or less, in that format.
Value listOfSize(const Shape& shape, NSPropertyListFormat format, double size) {
  const auto listOf = [&shape](std::size_t count) {
    std::mt19937_64 random(20260721);
    Array list;
    for (std::size_t i = 0; i < count; ++i) list.append(shape.element(random));
    return Value(Dictionary{{"list", Value(std::move(list))}});
  };
  std::size_t count = 100;
  // What an element takes grows with the number of them: references become wider.
  for (int i = 0; i < 2; ++i) {
    const double reached = static_cast<double>(serialize(listOf(count), format).size());
    count = std::max<std::size_t>(1, static_cast<std::size_t>(size / reached * static_cast<double>(count)));
  }
  return listOf(count);
}

// ---- The operations

// Keeps what an operation made until its time was taken.
using Made = std::function<void()>;

Made readOurs(const std::string& bytes) {
  auto reading = NSPropertyListSerialization::propertyListWithData(bytes);
  if (!reading.ok()) std::abort();
  return [value = std::move(reading->value)] {};
}

Made freeing(plist_t node) {
  if (node == nullptr) std::abort();
  return [node] { plist_free(node); };
}

plist_t libplistFromBinary(const std::string& bytes) {
  plist_t node = nullptr;
  plist_from_bin(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &node);
  return node;
}

plist_t libplistFromXML(const std::string& bytes) {
  plist_t node = nullptr;
  plist_from_xml(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &node);
  return node;
}

using LibplistWriter = decltype(&plist_to_xml);

Made writeTheirs(plist_t node, LibplistWriter writer) {
  char* text = nullptr;
  std::uint32_t length = 0;
  writer(node, &text, &length);
  if (text == nullptr) std::abort();
  return [text] { std::free(text); };
}

Made writeOurs(const Value& value, NSPropertyListFormat format) {
  return [bytes = serialize(value, format)] {};
}

// ---- One measurement, in a process of its own

// Processor time, which other processes of the machine disturb less than time on the clock. The thread's:
// under a limit of processor time the clock of the process only moves in ticks.
double processorSeconds() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// "VmHWM" (the peak) or "VmRSS" (now), in bytes.
double residentBytes(std::string_view field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(field)) return std::atof(line.c_str() + field.size() + 1) * 1024;
  }
  std::abort();
}

void resetPeak() { std::ofstream("/proc/self/clear_refs") << "5"; }

std::string readFile(const std::string& path) {
  std::string bytes(std::filesystem::file_size(path), '\0');
  std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

struct Measurement {
  double seconds = std::numeric_limits<double>::infinity();
  double input = 0;  // bytes in memory
  double peak = 0;   // bytes in memory, those of the input included
};

Measurement measure(double atStart, const std::function<Made()>& operation) {
  resetPeak();
  Measurement measurement;
  measurement.input = residentBytes("VmRSS") - atStart;
  const double started = processorSeconds();
  const Made made = operation();
  measurement.seconds = processorSeconds() - started;
  measurement.peak = residentBytes("VmHWM") - atStart;
  made();
  return measurement;
}

// The operations by name: "read" or "write", "XML" or "binary", "ours" or "libplist".
Measurement measureOperation(std::string_view name, const std::string& path) {
  const double atStart = residentBytes("VmRSS");
  const bool isXML = name.find("XML") != std::string_view::npos;
  const bool isOurs = name.ends_with("ours");
  std::string input = readFile(path);
  const auto read = isXML ? libplistFromXML : libplistFromBinary;
  if (name.starts_with("read")) {
    if (isOurs) return measure(atStart, [&] { return readOurs(input); });
    return measure(atStart, [&] { return freeing(read(input)); });
  }
  if (isOurs) {
    const Value value = NSPropertyListSerialization::propertyListWithData(input)->value;
    std::string().swap(input);
    const auto format = isXML ? NSPropertyListFormat::XML : NSPropertyListFormat::Binary;
    return measure(atStart, [&] { return writeOurs(value, format); });
  }
  const plist_t node = read(input);
  std::string().swap(input);
  const Measurement written =
      measure(atStart, [&] { return writeTheirs(node, isXML ? plist_to_xml : plist_to_bin); });
  plist_free(node);
  return written;
}

int printMeasurement(std::string_view name, const std::string& path, int limit) {
  const auto seconds = static_cast<rlim_t>(limit);
  const rlimit processorTime{seconds, seconds};
  ::setrlimit(RLIMIT_CPU, &processorTime);
  const Measurement measurement = measureOperation(name, path);
  std::printf("%.9f %.0f %.0f\n", measurement.seconds, measurement.input, measurement.peak);
  return 0;
}

// ---- The run

struct Settings {
  double smallSize = 1e6;
  double largeSize = 50e6;
  int smallRounds = 25;
  int largeRounds = 7;
  int limit = 10;  // seconds for a process
};

// A list in a file, for as long as this lives.
class ListFile {
 public:
  ListFile(const Shape& shape, NSPropertyListFormat format, double size)
      : path_((std::filesystem::temp_directory_path() / "property-list-bench-XXXXXX").string()) {
    const int file = ::mkstemp(path_.data());
    if (file < 0) std::abort();
    ::close(file);
    std::ofstream(path_, std::ios::binary) << serialize(listOfSize(shape, format, size), format);
    size_ = static_cast<double>(std::filesystem::file_size(path_));
  }
  ListFile(const ListFile&) = delete;
  ListFile& operator=(const ListFile&) = delete;
  ~ListFile() { std::filesystem::remove(path_); }

  const std::string& path() const { return path_; }
  double size() const { return size_; }

 private:
  std::string path_;
  double size_ = 0;
};

// Infinite seconds when the process reached its limit.
Measurement measureInProcess(const std::string& operation, const ListFile& file, int limit) {
  const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
  const std::string command =
      "exec '" + self + "' --measure " + operation + " '" + file.path() + "' " + std::to_string(limit);
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) std::abort();
  Measurement measurement;
  const int fields =
      std::fscanf(pipe, "%lf %lf %lf", &measurement.seconds, &measurement.input, &measurement.peak);
  ::pclose(pipe);
  return fields == 3 ? measurement : Measurement();
}

struct Pair {
  Measurement ours;
  Measurement theirs;
};

Pair alternate(const std::string& operation, const ListFile& file, int rounds, int limit) {
  const auto keepBest = [](Measurement& best, const Measurement& next) {
    if (next.seconds < best.seconds) best = next;
  };
  Pair best;
  bool isTheirsDone = true;
  for (int i = 0; i < rounds; ++i) {
    keepBest(best.ours, measureInProcess(operation + "-ours", file, limit));
    if (isTheirsDone) keepBest(best.theirs, measureInProcess(operation + "-libplist", file, limit));
    // What took longer than the limit once is not tried again.
    isTheirsDone = best.theirs.seconds != std::numeric_limits<double>::infinity();
  }
  return best;
}

// Measures one operation on one list and prints it. Gives our time per byte.
double run(const char* operation, const Shape& shape, const ListFile& file, int rounds, int limit,
           double aim) {
  const Pair best = alternate(operation, file, rounds, limit);
  std::printf("%-13s %-14s %5.1f MB  ours %8.4f s", operation, shape.name, file.size() / 1e6,
              best.ours.seconds);
  if (best.theirs.seconds == std::numeric_limits<double>::infinity()) {
    std::printf("  libplist not done in %d s, ratio below %.3f", limit, best.ours.seconds / limit);
  } else {
    std::printf("  libplist %8.4f s  ratio %.2f", best.theirs.seconds,
                best.ours.seconds / best.theirs.seconds);
  }
  if (aim > 0) std::printf(" (aim %.2f)", aim);
  std::printf("  peak %.2f x input, %.2f x file", best.ours.peak / best.ours.input,
              best.ours.peak / file.size());
  if (best.theirs.peak > 0) std::printf(", libplist %.2f x file", best.theirs.peak / file.size());
  std::printf("\n");
  return best.ours.seconds / file.size();
}

void runShape(const Shape& shape, const Settings& settings) {
  const double sizes = settings.largeSize / settings.smallSize;
  double writingPerByte[2] = {};
  for (const bool isLarge : {false, true}) {
    const double size = isLarge ? settings.largeSize : settings.smallSize;
    const int rounds = isLarge ? settings.largeRounds : settings.smallRounds;
    {
      const ListFile xml(shape, NSPropertyListFormat::XML, size);
      run("read-XML", shape, xml, rounds, settings.limit, 0.33);
      run("write-XML", shape, xml, rounds, settings.limit, 0.5);
    }
    const ListFile binary(shape, NSPropertyListFormat::Binary, size);
    run("read-binary", shape, binary, rounds, settings.limit, 0.5);
    writingPerByte[isLarge ? 1 : 0] = run("write-binary", shape, binary, rounds, settings.limit, 0);
  }
  std::printf("write-binary  %-14s %.0f times the size takes %.1f times the time (aim %.0f)\n", shape.name,
              sizes, sizes * writingPerByte[1] / writingPerByte[0], sizes * 1.4);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 5 && std::string_view(argv[1]) == "--measure") {
    return printMeasurement(argv[2], argv[3], std::atoi(argv[4]));
  }
  Settings settings;
  if (argc == 2 && std::string_view(argv[1]) == "--quick") {
    settings = {.smallSize = 1e5, .largeSize = 2e6, .smallRounds = 1, .largeRounds = 1, .limit = 5};
  } else if (argc != 1) {
    std::fprintf(stderr, "usage: %s [--quick]\n", argv[0]);
    return 2;
  }
  std::printf(
      "peaks: aim 3.00 x input; the input is the file when reading, the tree of values when writing\n");
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  for (const Shape& shape : kShapes) runShape(shape, settings);
  return 0;
}
