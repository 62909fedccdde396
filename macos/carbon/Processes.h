// SPDX-License-Identifier: MIT
//
// The Process Manager: serial numbers of running processes, and the running application of a signature.
// A serial number is the host's process number. Any thread.
#ifndef MACOS_CARBON_PROCESSES_H
#define MACOS_CARBON_PROCESSES_H

#include <sys/types.h>

#include <cstdint>
#include <optional>

#include "macos/carbon/FourCharCode.h"
#include "macos/host/Services.h"

namespace macos {

inline constexpr OSErr procNotFound = -600;

struct ProcessSerialNumber {
  std::uint32_t highLongOfPSN = 0;
  std::uint32_t lowLongOfPSN = 0;

  friend bool operator==(const ProcessSerialNumber&, const ProcessSerialNumber&) = default;
};

ProcessSerialNumber processSerialNumberOf(pid_t processID);
// Empty for a serial number that no process can have.
std::optional<pid_t> processIDOf(const ProcessSerialNumber& number);

// Whether the process was started, by its environment, for this Mac and this user. One that names no root
// folder was started without regard to one and counts; one that has ended, or whose program has not begun,
// does not.
bool isProcessOfThisSession(const ProcessInfo& process);

// The first running application with that signature (NSBundle::signature); a process is an application's
// when its executable lies directly in the bundle's Contents/MacOS, and counts when it is of this session.
// procNotFound when there is none.
OSErr GetProcessBySignature(OSType signature, ProcessSerialNumber* number);

}  // namespace macos

#endif  // MACOS_CARBON_PROCESSES_H
