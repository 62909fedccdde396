// SPDX-License-Identifier: MIT
//
// What the property-list tests share: a text of a value that says all there is to say about it, trees
// made from a seed, and files. The text is written the same way by tests/readers/property_lists.py, so that
// two programs can be compared by it.
#ifndef TESTS_SUPPORT_PROPERTYLISTTESTING_H
#define TESTS_SUPPORT_PROPERTYLISTTESTING_H

#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/Value.h"

namespace vennick::tests {

// "T" and "F", "i-5", "r" and "d" with the sixteen hexadecimal digits of the double, "x" with the bytes in
// hexadecimal, "s" with a quoted text, "[…]", "{"key":value,…}", "n".
std::string dump(const macos::Value& value);

struct TreeOptions {
  int maximumDepth = 5;
  // What some readers or formats have no place for.
  bool hasControlCharacters = false;
  bool hasFractionalDates = false;
  bool hasLargeIntegers = true;  // from 2^63 on
  bool hasInfinities = true;
  bool hasNegativeZero = true;
  bool hasUIDs = false;
};

// The same tree for the same state of the generator.
macos::Value randomTree(std::mt19937_64& random, const TreeOptions& options);

std::string readTestFile(const std::filesystem::path& path);
void writeTestFile(const std::filesystem::path& path, std::string_view bytes);
// Every file below a folder of the test data, sorted.
std::vector<std::filesystem::path> testDataFiles(std::string_view folder);

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_PROPERTYLISTTESTING_H
