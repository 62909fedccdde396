// SPDX-License-Identifier: MIT
//
// NSLog and syslog, and values as they are shown in their messages. Messages are made by the caller; they
// go to the current host's log sink. Any thread.
#ifndef MACOS_FOUNDATION_LOG_H
#define MACOS_FOUNDATION_LOG_H

#include <string>
#include <string_view>

#include "macos/foundation/Value.h"
#include "macos/host/Status.h"

namespace macos {

// "2026-11-21 03:30:31.123 VennickMigrator[pid:tid] text", local time by the host's clock, milliseconds
// cut, numbers decimal; one line feed at the end, also when the message brings one. An empty message
// and one of more than 16 MiB are dropped.
void NSLog(std::string_view message);
// The message of a Status that is not ok; nothing for one that is.
void NSLogStatus(const Status& status);

inline constexpr int LOG_PRIORITY_ALERT = 1;
// The text is what the caller made; it is never taken as a format.
void syslogMessage(int priority, std::string_view message);

// How data is shown: by its byte count only, so that a log line stays short, or with its bytes.
enum class DataDescription { Length, Bytes };

// A value as %@ shows it: null as "(null)", strings as they stand, numbers in decimal, dates in UTC; an
// array or dictionary in the platform's old-style description over several lines, with strings quoted
// where they need it, every character outside ASCII as \Uxxxx, and null as "<null>".
std::string description(const Value& value, DataDescription data = DataDescription::Length);

}  // namespace macos

#endif  // MACOS_FOUNDATION_LOG_H
