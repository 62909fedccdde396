// SPDX-License-Identifier: MIT
#include "tests/support/RecordingLog.h"

#include <algorithm>
#include <regex>

namespace vennick::tests {

void RecordingLog::writeLine(std::string_view line) {
  const std::lock_guard lock(mutex_);
  lines_.emplace_back(line);
}

void RecordingLog::writeSystemLog(int priority, std::string_view message) {
  const std::lock_guard lock(mutex_);
  system_.emplace_back(priority, message);
  lines_.emplace_back(message);
}

std::vector<std::string> RecordingLog::lines() {
  const std::lock_guard lock(mutex_);
  return lines_;
}

std::vector<std::string> RecordingLog::messages() {
  static const std::regex prefix(
      R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} [^\[\n]*\[[0-9a-fx]+:[0-9a-fx]+\] )");
  std::vector<std::string> result = lines();
  for (std::string& line : result) {
    std::smatch found;
    // Only the start is looked at: a regular expression over a long line would need a deep stack.
    const std::string start = line.substr(0, 256);
    if (std::regex_search(start, found, prefix)) line.erase(0, static_cast<std::size_t>(found.length()));
  }
  return result;
}

std::vector<std::pair<int, std::string>> RecordingLog::systemMessages() {
  const std::lock_guard lock(mutex_);
  return system_;
}

bool RecordingLog::contains(std::string_view text) {
  const std::lock_guard lock(mutex_);
  return std::any_of(lines_.begin(), lines_.end(),
                     [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

void RecordingLog::clear() {
  const std::lock_guard lock(mutex_);
  lines_.clear();
  system_.clear();
}

}  // namespace vennick::tests
