// SPDX-License-Identifier: MIT
//
// The scripts that people call: from whatever folder, and whatever their shell is set to.
#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace {

namespace fs = std::filesystem;

const fs::path kScripts = fs::path(VENNICK_SOURCE) / "script";

std::vector<std::string> scriptNames() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(kScripts)) {
    if (entry.path().extension() != ".sh") names.push_back(entry.path().filename());
  }
  return names;
}

// What a shell command prints, complaints included.
std::string outputOf(const std::string& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(("{ " + command + "; } 2>&1").c_str(), "r"), pclose);
  std::string output;
  std::array<char, 4096> piece;
  while (pipe) {
    const std::size_t count = std::fread(piece.data(), 1, piece.size(), pipe.get());
    if (count == 0) break;
    output.append(piece.data(), count);
  }
  return output;
}

TEST(Scripts, ShowTheirHelpFromAnyFolder) {
  const auto names = scriptNames();
  EXPECT_GE(names.size(), 8U);
  for (const std::string& name : names) {
    const std::string help = outputOf("cd / && '" + (kScripts / name).string() + "' --help");
    EXPECT_TRUE(help.starts_with("script/" + name)) << help;
  }
}

// A search path for "cd" on which there is another folder of the same name.
TEST(Scripts, DoNotMindASearchPathForFolders) {
  const std::string command =
      "cd '" VENNICK_SOURCE "' && CDPATH='" VENNICK_SOURCE "/tests:" VENNICK_SOURCE "' script/";
  for (const std::string& name : scriptNames()) {
    const std::string help = outputOf(command + name + " --help");
    EXPECT_TRUE(help.starts_with("script/" + name)) << help;
  }
}

}  // namespace
