// SPDX-License-Identifier: MIT
//
// A log sink that keeps what is written. Any thread.
#ifndef TESTS_SUPPORT_RECORDINGLOG_H
#define TESTS_SUPPORT_RECORDINGLOG_H

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "macos/host/Services.h"

namespace vennick::tests {

class RecordingLog : public macos::LogSink {
 public:
  void writeLine(std::string_view line) override;
  void writeSystemLog(int priority, std::string_view message) override;

  // Everything that went to standard error, in order: the system log's messages too.
  std::vector<std::string> lines();
  // The lines without what NSLog puts before the message ("date time program[ids] ").
  std::vector<std::string> messages();
  std::vector<std::pair<int, std::string>> systemMessages();
  // Whether a line has the text in it.
  bool contains(std::string_view text);
  void clear();

 private:
  std::mutex mutex_;
  std::vector<std::string> lines_;
  std::vector<std::pair<int, std::string>> system_;
};

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_RECORDINGLOG_H
