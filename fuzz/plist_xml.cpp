// SPDX-License-Identifier: MIT
//
// Bytes as an XML property list, in whatever encoding they are.
#include <cstddef>
#include <cstdint>

#include "fuzz/PropertyListRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  readAndCheck({static_cast<const char*>(static_cast<const void*>(data)), size});
  return 0;
}
