// SPDX-License-Identifier: MIT
//
// The Python interpreter that independent readers and second computations run in.
#ifndef TESTS_SUPPORT_PYTHON_H
#define TESTS_SUPPORT_PYTHON_H

namespace vennick::tests {

// The path of the program itself: what is found as python3 may be a script that chooses one. Start it with
// -S: the scripts need no package that somebody installed, and looking for them takes most of the time of a
// start.
extern const char* const kPython;

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_PYTHON_H
