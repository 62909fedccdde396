// SPDX-License-Identifier: MIT
//
// Alias records: what decodes is written and read again as the same record.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "macos/carbon/AliasRecord.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto record = macos::AliasRecord::decode({reinterpret_cast<const char*>(data), size});
  if (!record) return 0;
  for (const auto tag : {macos::AliasTag::UnicodeName, macos::AliasTag::UnicodeVolumeName})
    if (const auto name = record->unicodeName(tag); name && name->size() > size / 2) abort();
  if (record->directoryIDs().size() > size / 4) abort();

  // A record that fills its 65,535 bytes without an end field has no room for one.
  const auto bytes = record->encode();
  if (!bytes) return 0;
  const auto again = macos::AliasRecord::decode(*bytes);
  if (!again || !(*again == *record) || *again->encode() != *bytes) abort();
  return 0;
}
