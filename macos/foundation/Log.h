// SPDX-License-Identifier: MIT
//
// NSLog and syslog. Messages are made by the caller; they go to the current host's log sink.
#ifndef MACOS_FOUNDATION_LOG_H
#define MACOS_FOUNDATION_LOG_H

#include <string>
#include <string_view>

#include "macos/foundation/Value.h"
#include "macos/host/Status.h"

namespace macos {

// "2026-11-21 03:30:31.123 VennickMigrator[pid:tid] text", local time, one line feed at the end.
void NSLog(std::string_view message);
// The same for a Status that is not ok.
void NSLogStatus(const Status& status);

inline constexpr int LOG_PRIORITY_ALERT = 1;
// The text is what the caller made; it is never taken as a format.
void syslogMessage(int priority, std::string_view message);

// A value as %@ shows it, for log lines: strings as they stand at the top level; in containers the
// platform's old-style description. Data is shown by its byte count only, so that a log line stays short.
std::string description(const Value& value);

}  // namespace macos

#endif  // MACOS_FOUNDATION_LOG_H
