// SPDX-License-Identifier: MIT
//
// Whole runs of the migrator that find nothing to do: what its start and its end cost. The time shown is
// the process's own processor time, user and system, as a mean, and beside it the least of all runs, which
// is what counts on a machine that does other things too; then peak memory. The aim is at most 10 ms.
//
//   NothingToDo    a home without version 4 preferences and without a store; the main application ends at
//                  once
//   StoreIsThere   the same with the store of an earlier run
//   SampleHome     the sample home's preferences, whose folders are not here, for comparison
//   StartAlone     /bin/true, the floor: starting any program at all
//
// Each on the disk of the temporary folder, where 13 new files are flushed, and in memory, where flushing
// is free.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Cost {
  double processorSeconds = 0;
  long peakKilobytes = 0;
};

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

// Runs a program with the environment and nothing on its standard streams.
Cost costOf(const fs::path& program, std::vector<std::string> environment) {
  const pid_t process = fork();
  if (process == 0) {
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nothing, stream);
    std::vector<char*> variables;
    for (std::string& variable : environment) variables.push_back(variable.data());
    variables.push_back(nullptr);
    std::string name = program.string();
    char* const arguments[] = {name.data(), nullptr};
    execve(program.c_str(), arguments, variables.data());
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  wait4(process, &status, 0, &usage);
  if (status != 0) std::abort();
  return {seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_maxrss};
}

// A Mac in a temporary folder: the bundle with a main application that ends at once, and a home.
class Mac {
 public:
  explicit Mac(const fs::path& place) {
    std::string pattern = (place / "vennick-bench-XXXXXX").string();
    root_ = mkdtemp(pattern.data());
    fs::copy(fs::path(VENNICK_BUILD) / "Vennick 5.app", bundle(), fs::copy_options::recursive);
    fs::copy_file("/bin/true", bundle() / "Contents/MacOS/Vennick5", fs::copy_options::overwrite_existing);
    fs::create_directories(preferences());
  }
  ~Mac() { fs::remove_all(root_); }
  Mac(const Mac&) = delete;
  Mac& operator=(const Mac&) = delete;

  void copySamplePreferences() const {
    fs::copy(fs::path(VENNICK_SOURCE) / "samples/home/Library/Preferences", preferences(),
             fs::copy_options::overwrite_existing | fs::copy_options::recursive);
  }

  void removeStore() const {
    fs::remove_all(root_ / "Users/anna/Library/Application Support");
    fs::remove(preferences() / "com.quorvale.Vennick5.plist");
  }

  Cost run() const {
    return costOf(bundle() / "Contents/Helpers/VennickMigrator.app/Contents/MacOS/VennickMigrator",
                  {"MACOS_ROOT=" + root_.string(), "HOME=/Users/anna", "PATH=/usr/bin:/bin"});
  }

 private:
  fs::path bundle() const { return root_ / "Vennick 5.app"; }
  fs::path preferences() const { return root_ / "Users/anna/Library/Preferences"; }

  fs::path root_;
};

template <typename Run>
void measure(benchmark::State& state, Run run) {
  long peak = 0;
  double least = std::numeric_limits<double>::max();
  for ([[maybe_unused]] auto _ : state) {
    const Cost cost = run();
    state.SetIterationTime(cost.processorSeconds);
    least = std::min(least, cost.processorSeconds);
    peak = std::max(peak, cost.peakKilobytes);
  }
  state.counters["least_ms"] = least * 1e3;
  state.counters["peak_KiB"] = static_cast<double>(peak);
}

void NothingToDo(benchmark::State& state, const fs::path& place) {
  const Mac mac(place);
  measure(state, [&mac] {
    mac.removeStore();
    return mac.run();
  });
}

void StoreIsThere(benchmark::State& state, const fs::path& place) {
  const Mac mac(place);
  (void)mac.run();
  measure(state, [&mac] { return mac.run(); });
}

void SampleHome(benchmark::State& state, const fs::path& place) {
  const Mac mac(place);
  mac.copySamplePreferences();
  measure(state, [&mac] { return mac.run(); });
}

void StartAlone(benchmark::State& state) {
  measure(state, [] { return costOf("/bin/true", {}); });
}

void registerIn(const std::string& name, const fs::path& place) {
  using Benchmark = void (*)(benchmark::State&, const fs::path&);
  const std::pair<const char*, Benchmark> all[] = {
      {"NothingToDo/", NothingToDo}, {"StoreIsThere/", StoreIsThere}, {"SampleHome/", SampleHome}};
  for (const auto& [title, run] : all) {
    benchmark::RegisterBenchmark((title + name).c_str(), run, place)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond)
        ->Iterations(100);
  }
}

BENCHMARK(StartAlone)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(100);

}  // namespace

int main(int argc, char** argv) {
  registerIn("disk", fs::temp_directory_path());
  if (fs::is_directory("/dev/shm")) registerIn("memory", "/dev/shm");
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
