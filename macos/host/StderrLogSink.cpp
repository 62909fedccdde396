// SPDX-License-Identifier: MIT
#include "macos/host/StderrLogSink.h"

#include <poll.h>
#include <syslog.h>
#include <unistd.h>

#include <string>

#include "macos/host/Descriptor.h"

namespace macos {

namespace {

// Whoever reads our output slowly may hold us up, but whoever does not read it at all must not stop us.
bool waitToWrite() {
  constexpr int kPatienceMilliseconds = 1000;
  pollfd output{STDERR_FILENO, POLLOUT, 0};
  return uninterrupted([&] { return ::poll(&output, 1, kPatienceMilliseconds); }) > 0;
}

void writeToStandardError(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = uninterrupted([&] { return ::write(STDERR_FILENO, text.data(), text.size()); });
    if (written < 0 && errno == EAGAIN && waitToWrite()) continue;
    if (written <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace

void StderrLogSink::writeLine(std::string_view line) {
  std::string text;
  text.reserve(line.size() + 1);
  text.append(line).append("\n");
  const std::lock_guard lock(mutex_);
  writeToStandardError(text);
}

void StderrLogSink::writeSystemLog(int priority, std::string_view message) {
  ::syslog(LOG_USER | (priority & LOG_PRIMASK), "%s", std::string(message).c_str());
  writeLine(message);
}

}  // namespace macos
