// SPDX-License-Identifier: MIT
//
// Running a part of a test in a process of its own: to be killed, to be another user, to have its system
// calls counted.
#ifndef TESTS_SUPPORT_CHILDPROCESS_H
#define TESTS_SUPPORT_CHILDPROCESS_H

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace vennick::tests {

struct ChildResult {
  bool timedOut = false;  // and was killed
  int exitCode = -1;      // -1 when a signal ended it
  int signal = 0;
  bool succeeded() const { return exitCode == 0; }
};

// Runs the function in a forked child. It ends with 0, or with 1 when an expectation of the test failed in
// it (which it then prints) or something was thrown. No destructor of the parent's objects runs in it.
ChildResult runInChild(const std::function<void()>& function,
                       std::chrono::milliseconds limit = std::chrono::seconds(60));

// The same, as a part of the test: anything but success fails it.
void expectInChild(const std::function<void()>& function);

// The user that the next two become when the test is run by the superuser.
inline constexpr uid_t kOrdinaryUser = 65534;
// The same without the superuser's rights: permissions count.
ChildResult runAsOrdinaryUser(const std::function<void()>& function);
void expectAsOrdinaryUser(const std::function<void()>& function);

struct SystemCalls {
  long total = 0;  // without those that only manage memory or time
  std::map<long, long> byNumber;
  std::vector<long> inOrder;  // their numbers
};
// What the function calls, counted in a child process; threads that it starts are not counted. nullopt
// where the machine does not let a process be traced. In a sanitized build the first run of code may count
// some calls of the sanitizer's: to be exact let the code run once before.
std::optional<SystemCalls> countSystemCalls(const std::function<void()>& function);

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_CHILDPROCESS_H
