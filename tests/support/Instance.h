// SPDX-License-Identifier: MIT
//
// Real applications for tests: bundles made in a temporary root, and processes started from them as
// children of the test (tests/programs/instance.cpp).
#ifndef TESTS_SUPPORT_INSTANCE_H
#define TESTS_SUPPORT_INSTANCE_H

#include <sys/types.h>

#include <chrono>
#include <map>
#include <string>
#include <string_view>

#include "tests/support/TemporaryRoot.h"

namespace vennick::tests {

// An Info.plist with these strings.
std::string infoPlist(const std::map<std::string, std::string>& entries);

// Makes an application bundle whose executable, named like the bundle without ".app", is the instance
// program. Gives the executable's path on the machine.
std::string makeApplication(const TemporaryRoot& root, std::string_view bundle, std::string_view identifier);

enum class Quits { AtOnce, AfterTwoSeconds, Never };

// A child process that runs the instance program or a copy of it, ready to be asked to quit. Killed at the
// end if it still runs.
class Instance {
 public:
  // The environment is the test's, less MACOS_ROOT and HOME, and these entries.
  Instance(const std::string& executable, Quits quits,
           const std::map<std::string, std::string>& environment = {});
  ~Instance();
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  pid_t processID() const { return process_; }
  // Whether it ends within the time. It is not reaped: until the end of this object it stays a zombie.
  bool endsWithin(std::chrono::milliseconds time) const;

 private:
  pid_t process_ = -1;
};

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_INSTANCE_H
