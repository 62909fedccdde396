// SPDX-License-Identifier: MIT
//
// popen: a shell command's output as text. Any thread; blocks until the command has ended.
#ifndef MACOS_FOUNDATION_PROCESS_H
#define MACOS_FOUNDATION_PROCESS_H

#include <optional>
#include <string>

namespace macos {

// popen for reading, all of the output, pclose. Malformed UTF-8 in it reads as U+FFFD; nothing is trimmed,
// and the exit status is not looked at. nullopt, with a log line, when the command could not be started, or
// was ended because it ran for more than 2 s or printed more than 64 KiB.
std::optional<std::string> popenAndRead(const std::string& command);

}  // namespace macos

#endif  // MACOS_FOUNDATION_PROCESS_H
