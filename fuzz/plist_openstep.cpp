// SPDX-License-Identifier: MIT
//
// Bytes as an old-style property list.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/PropertyListRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A list that begins with a brace is none of the other formats.
  std::string text = "{ key = ";
  text.append(data, data + size);
  readAndCheck(text);
  readAndCheck(std::string_view(text).substr(text.size() - size));
  return 0;
}
