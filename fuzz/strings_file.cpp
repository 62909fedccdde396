// SPDX-License-Identifier: MIT
//
// Bytes as a string table: what is read of it holds text only.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "macos/foundation/StringsFile.h"
#include "macos/foundation/Text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto table =
      macos::stringsTableWithData({static_cast<const char*>(static_cast<const void*>(data)), size});
  if (!table.ok()) return 0;
  for (const auto& entry : *table) {
    const auto text = entry.value().ifString();
    if (!text || !macos::isValidUTF8(*text) || !macos::isValidUTF8(entry.key())) std::abort();
  }
  return 0;
}
