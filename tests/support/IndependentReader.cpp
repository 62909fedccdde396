// SPDX-License-Identifier: MIT
#include "tests/support/IndependentReader.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "tests/support/Python.h"

std::string readIndependently(std::string_view script, std::string_view bytes, std::string_view argument) {
  std::string file = testing::TempDir() + "readXXXXXX";
  const int descriptor = mkstemp(file.data());
  if (descriptor < 0) return "FAILED: no temporary file";
  close(descriptor);
  std::ofstream(file, std::ios::binary) << bytes;

  const std::string command = std::string(vennick::tests::kPython) +
                              " -S '" VENNICK_SOURCE "/tests/readers/" + std::string(script) + "' '" + file +
                              "' " + std::string(argument) + " 2>&1";
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return "FAILED: no shell";
  std::array<char, 4096> buffer;
  while (const std::size_t count = fread(buffer.data(), 1, buffer.size(), pipe)) {
    output.append(buffer.data(), count);
  }
  const int status = pclose(pipe);
  unlink(file.c_str());
  return status == 0 ? output : "FAILED: " + output;
}

std::string testData(std::string_view path) {
  std::ifstream file(VENNICK_TEST_DATA "/" + std::string(path), std::ios::binary);
  EXPECT_TRUE(file.good()) << path;
  return std::string(std::istreambuf_iterator<char>(file), {});
}
