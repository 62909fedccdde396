// SPDX-License-Identifier: MIT
//
// The checksum that version 4 keeps beside an alias record: CRC-16 with polynomial 0x1021, initial value
// 0xFFFF, most significant bit first (CRC-16/CCITT-FALSE). Pure; any thread.
#ifndef LEGACY_ALIASCHECKSUM_H
#define LEGACY_ALIASCHECKSUM_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vennick {

// Only the low 16 bits of the length count: of 65,545 bytes the first 9 are summed. Deliberate, since
// version 4 wrote its sums so. REQUIRES: bytes.size() is at least that.
std::uint16_t ComputeAliasChecksum(std::size_t length, std::string_view bytes);

}  // namespace vennick

#endif  // LEGACY_ALIASCHECKSUM_H
