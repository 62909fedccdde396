// SPDX-License-Identifier: MIT
//
// How fast property lists are read and written, and in how much memory, beside Debian's libplist on the
// same bytes in the same run. What counts are the ratios; the times are this machine's.
//
//     PropertyListBench            1 MB and 50 MB, in two shapes
//     PropertyListBench --quick    0.1 MB and 2 MB, one round: does it still run
//
// The rounds of the two libraries alternate and the best of each counts. Memory is measured in a process
// of its own, as what the operation adds at its peak, the input included, over the size of the file.
#include <plist/plist.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <optional>
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

// ---- Time

// Processor time, which other processes of the machine disturb less than time on the clock.
double processorSeconds() {
  timespec time{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double seconds(const std::function<Made()>& operation) {
  const double started = processorSeconds();
  Made made = operation();
  const double taken = processorSeconds() - started;
  made();
  return taken;
}

struct Times {
  double ours = std::numeric_limits<double>::infinity();
  double theirs = std::numeric_limits<double>::infinity();
};

Times alternate(int rounds, const std::function<Made()>& ours, const std::function<Made()>& theirs) {
  constexpr double kEnough = 3;  // seconds, after which two rounds must do
  Times best;
  double spent = 0;
  for (int i = 0; i < rounds && (i < 2 || spent < kEnough); ++i) {
    const double oursNow = seconds(ours);
    const double theirsNow = theirs ? seconds(theirs) : std::numeric_limits<double>::infinity();
    best = {std::min(best.ours, oursNow), std::min(best.theirs, theirsNow)};
    spent += oursNow + (theirs ? theirsNow : 0);
  }
  return best;
}

// The time that an operation takes in a process that is ended when the limit is over; infinity then.
double secondsWithin(unsigned limit, const std::function<Made()>& operation) {
  int ends[2];
  if (::pipe(ends) != 0) std::abort();
  const pid_t child = ::fork();
  if (child == 0) {
    const rlimit processorTime{limit, limit};
    ::setrlimit(RLIMIT_CPU, &processorTime);
    const double taken = seconds(operation);
    const bool isWritten = ::write(ends[1], &taken, sizeof taken) == static_cast<ssize_t>(sizeof taken);
    ::_exit(isWritten ? 0 : 1);
  }
  ::close(ends[1]);
  double taken = 0;
  const bool isRead = ::read(ends[0], &taken, sizeof taken) == static_cast<ssize_t>(sizeof taken);
  ::close(ends[0]);
  ::waitpid(child, nullptr, 0);
  return isRead ? taken : std::numeric_limits<double>::infinity();
}

// ---- Memory

std::string readFile(const std::string& path) {
  std::string bytes(std::filesystem::file_size(path), '\0');
  std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return bytes;
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

// The part of a run that a process of its own does: prints the peak over the size of the file.
int measureMemory(std::string_view operation, const std::string& path) {
  const double before = residentBytes("VmRSS");
  const double size = static_cast<double>(std::filesystem::file_size(path));
  const bool isWriting = operation.starts_with("write");
  const bool isOurs = operation.ends_with("ours");
  const bool isXML = operation.find("xml") != std::string_view::npos;
  std::string input = readFile(path);
  std::optional<Value> value;
  plist_t node = nullptr;
  if (isOurs) {
    auto reading = NSPropertyListSerialization::propertyListWithData(input);
    value = std::move(reading->value);
  } else {
    node = isXML ? libplistFromXML(input) : libplistFromBinary(input);
  }
  Made made = [] {};
  if (isWriting) {
    input = std::string();
    resetPeak();
    if (isOurs) {
      std::string text = serialize(*value, isXML ? NSPropertyListFormat::XML : NSPropertyListFormat::Binary);
      made = [kept = std::move(text)] {};
    } else {
      made = writeTheirs(node, plist_to_xml);
    }
  }
  std::printf("%f\n", (residentBytes("VmHWM") - before) / size);
  made();
  return 0;
}

double peakOverSize(const std::string& self, const std::string& operation, const std::string& path) {
  const std::string command = "'" + self + "' --memory " + operation + " '" + path + "'";
  FILE* pipe = ::popen(command.c_str(), "r");
  double ratio = std::numeric_limits<double>::quiet_NaN();
  if (pipe == nullptr || std::fscanf(pipe, "%lf", &ratio) != 1) std::abort();
  ::pclose(pipe);
  return ratio;
}

// ---- The run

struct Settings {
  double smallSize = 1e6;
  double largeSize = 50e6;
  int rounds = 5;
  unsigned limit = 10;  // seconds for one write of libplist's binary form
};

void printTimes(const char* operation, const char* shape, double megabytes, const Times& times, double aim) {
  std::printf("%-13s %-14s %6.1f MB  ours %8.4f s  libplist %8.4f s  ratio %.2f (aim %.2f)\n", operation,
              shape, megabytes, times.ours, times.theirs, times.ours / times.theirs, aim);
}

void runXML(const Shape& shape, double size, const Settings& settings) {
  const Value value = listOfSize(shape, NSPropertyListFormat::XML, size);
  const std::string xml = serialize(value, NSPropertyListFormat::XML);
  const double megabytes = static_cast<double>(xml.size()) / 1e6;
  const auto read = alternate(
      settings.rounds, [&] { return readOurs(xml); }, [&] { return freeing(libplistFromXML(xml)); });
  printTimes("read XML", shape.name, megabytes, read, 0.33);
  const plist_t node = libplistFromXML(xml);
  const auto write = alternate(
      settings.rounds, [&]() -> Made { return [text = serialize(value, NSPropertyListFormat::XML)] {}; },
      [&] { return writeTheirs(node, plist_to_xml); });
  printTimes("write XML", shape.name, megabytes, write, 0.5);
  plist_free(node);
}

// Gives the time of our writer per megabyte.
double runBinary(const Shape& shape, double size, const Settings& settings) {
  const Value value = listOfSize(shape, NSPropertyListFormat::Binary, size);
  const std::string binary = serialize(value, NSPropertyListFormat::Binary);
  const double megabytes = static_cast<double>(binary.size()) / 1e6;
  const auto read = alternate(
      settings.rounds, [&] { return readOurs(binary); }, [&] { return freeing(libplistFromBinary(binary)); });
  printTimes("read binary", shape.name, megabytes, read, 0.5);
  Times write = alternate(
      settings.rounds, [&]() -> Made { return [bytes = serialize(value, NSPropertyListFormat::Binary)] {}; },
      nullptr);
  const plist_t node = libplistFromBinary(binary);
  write.theirs = secondsWithin(settings.limit, [&] { return writeTheirs(node, plist_to_bin); });
  plist_free(node);
  std::printf("%-13s %-14s %6.1f MB  ours %8.4f s  libplist ", "write binary", shape.name, megabytes,
              write.ours);
  if (write.theirs == std::numeric_limits<double>::infinity()) {
    std::printf("not done in %u s, ratio below %.3f\n", settings.limit, write.ours / settings.limit);
  } else {
    std::printf("%8.4f s  ratio %.2f\n", write.theirs, write.ours / write.theirs);
  }
  return write.ours / megabytes;
}

void runMemory(const std::string& self, const Shape& shape, NSPropertyListFormat format, double size) {
  const bool isXML = format == NSPropertyListFormat::XML;
  std::string path = (std::filesystem::temp_directory_path() / "property-list-bench-XXXXXX").string();
  const int file = ::mkstemp(path.data());
  if (file < 0) std::abort();
  ::close(file);
  std::ofstream(path, std::ios::binary) << serialize(listOfSize(shape, format, size), format);
  const char* name = isXML ? "XML" : "binary";
  const auto peak = [&](const char* operation, const char* whose) {
    return peakOverSize(self, std::string(operation) + (isXML ? "-xml-" : "-binary-") + whose, path);
  };
  std::printf("peak memory   %-14s read %s: %.2f x input (aim 3.00), libplist %.2f\n", shape.name, name,
              peak("read", "ours"), peak("read", "theirs"));
  std::printf("peak memory   %-14s write %s: %.2f x output, the value included", shape.name, name,
              peak("write", "ours"));
  if (isXML) std::printf(", libplist %.2f", peak("write", "theirs"));
  std::printf("\n");
  std::filesystem::remove(path);
}

int run(const std::string& self, const Settings& settings) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  for (const Shape& shape : kShapes) {
    runXML(shape, settings.smallSize, settings);
    runXML(shape, settings.largeSize, settings);
    const double small = runBinary(shape, settings.smallSize, settings) * settings.smallSize;
    const double large = runBinary(shape, settings.largeSize, settings) * settings.largeSize;
    const double sizes = settings.largeSize / settings.smallSize;
    std::printf("write binary  %-14s %.0f times the size takes %.1f times the time (aim %.0f)\n", shape.name,
                sizes, large / small, sizes * 1.4);
    runMemory(self, shape, NSPropertyListFormat::XML, settings.largeSize);
    runMemory(self, shape, NSPropertyListFormat::Binary, settings.largeSize);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::string_view(argv[1]) == "--memory") return measureMemory(argv[2], argv[3]);
  Settings settings;
  if (argc == 2 && std::string_view(argv[1]) == "--quick") {
    settings = {.smallSize = 1e5, .largeSize = 2e6, .rounds = 1, .limit = 5};
  } else if (argc != 1) {
    std::fprintf(stderr, "usage: %s [--quick]\n", argv[0]);
    return 2;
  }
  return run(std::filesystem::read_symlink("/proc/self/exe").string(), settings);
}
