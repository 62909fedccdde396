// SPDX-License-Identifier: MIT
//
// Reads bytes with a program that shares no code with ours: a Python script of tests/readers.
#ifndef TESTS_SUPPORT_INDEPENDENTREADER_H
#define TESTS_SUPPORT_INDEPENDENTREADER_H

#include <string>
#include <string_view>

// What the script prints for a file of these bytes; "FAILED: " and its complaint when it refuses them.
std::string readIndependently(std::string_view script, std::string_view bytes,
                              std::string_view argument = "");

// The content of tests/data/<path>; a missing file fails the test.
std::string testData(std::string_view path);

#endif  // TESTS_SUPPORT_INDEPENDENTREADER_H
