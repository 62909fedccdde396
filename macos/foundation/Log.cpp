// SPDX-License-Identifier: MIT
#include "macos/foundation/Log.h"

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <ctime>

#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr std::size_t kLongestMessage = std::size_t{16} << 20;
constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

std::string banner() {
  Host& host = Host::current();
  const UnixNanoseconds now = host.clock().now();
  std::int64_t seconds = now / kNanosecondsPerSecond;
  std::int64_t rest = now % kNanosecondsPerSecond;
  if (rest < 0) {
    --seconds;
    rest += kNanosecondsPerSecond;
  }
  const auto time = static_cast<std::time_t>(seconds);
  std::tm local{};
  localtime_r(&time, &local);
  char date[48];
  const std::size_t length = std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", &local);
  char milliseconds[8];
  std::snprintf(milliseconds, sizeof milliseconds, ".%03d", static_cast<int>(rest / 1'000'000));

  const std::string_view executable = host.executable();
  std::string text(date, length);
  text += milliseconds;
  text += ' ';
  text += executable.substr(executable.rfind('/') + 1);
  text += '[';
  text += std::to_string(getpid());
  text += ':';
  text += std::to_string(gettid());
  text += "] ";
  return text;
}

}  // namespace

void NSLog(std::string_view message) {
  if (message.empty() || message.size() > kLongestMessage) return;
  if (message.back() == '\n') message.remove_suffix(1);
  std::string line = banner();
  line += message;
  Host::current().log().writeLine(line);
}

void NSLogStatus(const Status& status) {
  if (!status.ok()) NSLog(status.message());
}

void syslogMessage(int priority, std::string_view message) {
  Host::current().log().writeSystemLog(priority, message);
}

}  // namespace macos
