// SPDX-License-Identifier: MIT
//
// layout-compiler SPECIAL-KEYS LAYOUT OUTPUT: compiles a keyboard layout's table to 'uchr' data.
#include <fstream>
#include <iostream>
#include <sstream>

#include "tools/layout-compiler/LayoutEncoder.h"
#include "tools/layout-compiler/LayoutTable.h"

namespace {

std::optional<std::string> contentOf(const char* path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  if (!file || !(text << file.rdbuf())) return std::nullopt;
  return text.str();
}

int fail(std::string_view context, std::string_view cause) {
  std::cerr << context << ": " << cause << '\n';
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return fail("usage", "layout-compiler SPECIAL-KEYS LAYOUT OUTPUT");
  const auto specialKeys = contentOf(argv[1]);
  if (!specialKeys) return fail(argv[1], "cannot be read");
  const auto layout = contentOf(argv[2]);
  if (!layout) return fail(argv[2], "cannot be read");

  const auto table = layout_compiler::parseLayoutTable(*specialKeys, *layout);
  if (!table) return fail(argv[2], table.status().message());
  std::ofstream output(argv[3], std::ios::binary | std::ios::trunc);
  output << layout_compiler::encodeLayout(*table) << std::flush;
  return output ? 0 : fail(argv[3], "cannot be written");
}
