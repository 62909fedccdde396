// SPDX-License-Identifier: MIT
//
// Log lines on standard error and in the machine's system log. Lines of several threads and of several
// processes that share the output do not mix: each line is one write, and no two threads write at once.
// What cannot be written is dropped.
#ifndef MACOS_HOST_STDERRLOGSINK_H
#define MACOS_HOST_STDERRLOGSINK_H

#include <mutex>

#include "macos/host/Services.h"

namespace macos {

class StderrLogSink : public LogSink {
 public:
  void writeLine(std::string_view line) override;
  void writeSystemLog(int priority, std::string_view message) override;

 private:
  std::mutex mutex_;
};

}  // namespace macos

#endif  // MACOS_HOST_STDERRLOGSINK_H
