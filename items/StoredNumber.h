// SPDX-License-Identifier: MIT
//
// Numbers that entries of the store hold. Pure; any thread.
#ifndef ITEMS_STOREDNUMBER_H
#define ITEMS_STOREDNUMBER_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "macos/foundation/Value.h"

namespace vennick {

// A number of any kind, cut to 32 bits as the platform's unsignedIntValue cuts it; nullopt for what is no
// number.
std::optional<std::uint32_t> number32(const macos::Dictionary& dictionary, std::string_view key);

}  // namespace vennick

#endif  // ITEMS_STOREDNUMBER_H
