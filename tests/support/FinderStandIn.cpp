// SPDX-License-Identifier: MIT
#include "tests/support/FinderStandIn.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "tests/support/Instance.h"

namespace vennick::tests {

namespace {

constexpr std::chrono::milliseconds kPause(5);
constexpr int kMostPauses = 2000;

const char* argumentFor(FinderManner manner) {
  switch (manner) {
    case FinderManner::Accepts:
      return "accept";
    case FinderManner::Refuses:
      return "refuse";
    case FinderManner::IsSlow:
      return "slow";
    case FinderManner::IsStuck:
      return "stuck";
    case FinderManner::Dies:
      return "die";
    case FinderManner::Moves:
      return "move";
    case FinderManner::MovesAndSaysZero:
      return "move-zero";
    case FinderManner::MovesAndDies:
      return "move-die";
  }
  return "";
}

}  // namespace

FinderStandIn::FinderStandIn(TestHost& host, FinderManner manner, std::string_view bundle)
    : host_(host), record_(host.root().hostPath(std::string(bundle) + ".record")) {
  const std::string contents = std::string(bundle) + "/Contents";
  const std::string name = std::filesystem::path(bundle).stem().string();
  host.root().writeFile(contents + "/Info.plist", infoPlist({{"CFBundleIdentifier", "com.apple.finder"},
                                                             {"CFBundleExecutable", name},
                                                             {"CFBundlePackageType", "FNDR"},
                                                             {"CFBundleSignature", "MACS"}}));
  host.root().copyIn(VENNICK_TEST_FINDER, contents + "/MacOS/" + name);
  macos::LaunchRequest request;
  request.executable = contents + "/MacOS/" + name;
  request.arguments = {argumentFor(manner), record_};
  request.environment = host.host().environment();
  const auto process = host.host().processes().launch(request);
  if (!process.ok()) throw std::runtime_error(process.status().message());
  process_ = *process;
  if (waitForLines(1).empty()) throw std::runtime_error("the Finder did not start");
}

std::vector<std::string> FinderStandIn::lines() const {
  std::vector<std::string> result;
  std::ifstream file(record_);
  for (std::string line; std::getline(file, line) && !file.eof();) result.push_back(line);
  return result;
}

std::vector<std::string> FinderStandIn::waitForLines(std::size_t count) const {
  for (int pause = 0; pause < kMostPauses && lines().size() < count; ++pause) {
    std::this_thread::sleep_for(kPause);
  }
  return lines();
}

std::vector<std::string> FinderStandIn::events() const { return waitForEvents(0); }

std::vector<std::string> FinderStandIn::waitForEvents(std::size_t count) const {
  std::vector<std::string> events = waitForLines(count + 1);
  events.erase(events.begin());
  return events;
}

void FinderStandIn::end() {
  if (process_ <= 0) return;
  ::kill(process_, SIGKILL);
  while (host_.host().processes().process(process_)) std::this_thread::sleep_for(kPause);
}

}  // namespace vennick::tests
