// SPDX-License-Identifier: MIT
//
// A Finder for tests: a process of its own, in the root's /System/Library/CoreServices, that receives Apple
// events and keeps a record of them (tests/programs/finder.cpp). A program that uses it depends on the
// target test_finder.
#ifndef TESTS_SUPPORT_FINDERSTANDIN_H
#define TESTS_SUPPORT_FINDERSTANDIN_H

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/TestHost.h"

namespace vennick::tests {

// Accepts everything and does nothing, refuses, accepts after two seconds, never answers, ends before it
// answers; and those that move what they are asked about to the Trash of the user: with nothing to say, with
// an error number of 0, and ending before they answer.
enum class FinderManner { Accepts, Refuses, IsSlow, IsStuck, Dies, Moves, MovesAndSaysZero, MovesAndDies };

// Runs from the end of the constructor on; the test's host ends it at the latest.
class FinderStandIn {
 public:
  // Where its bundle lies, "MACS" being its signature in Info.plist.
  static constexpr std::string_view kBundle = "/System/Library/CoreServices/Finder.app";

  FinderStandIn(TestHost& host, FinderManner manner, std::string_view bundle = kBundle);

  pid_t processID() const { return process_; }
  // What was received until now, an event a line: class/identifier reco{keyword:type{…} or type(code or
  // size)}.
  std::vector<std::string> events() const;
  // The same as soon as there are so many, or after ten seconds.
  std::vector<std::string> waitForEvents(std::size_t count) const;
  // Kills it and waits until it is gone.
  void end();

 private:
  std::vector<std::string> lines() const;
  std::vector<std::string> waitForLines(std::size_t count) const;

  TestHost& host_;
  std::string record_;
  pid_t process_ = -1;
};

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_FINDERSTANDIN_H
