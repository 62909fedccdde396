// SPDX-License-Identifier: MIT
//
// Bytes as a binary property list, as they are and as the objects and offsets of a file whose trailer is
// right: hardly any change of a file leaves its trailer so.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/PropertyListRoundTrip.h"

namespace {

// The first byte says how many offsets follow it; the rest is objects.
std::string withTrailer(std::string_view input) {
  constexpr std::size_t kMaximumObjects = 200;
  const std::size_t wanted = input.empty() ? 0 : static_cast<unsigned char>(input[0]) % kMaximumObjects + 1;
  const std::size_t count = std::min(wanted, input.size());
  std::string file = "bplist00";
  const std::string_view objects = input.substr(std::min(count + 1, input.size()), kMaximumObjects);
  file += objects;
  const std::size_t table = file.size();
  for (std::size_t i = 1; i <= count && i < input.size(); ++i) {
    file += static_cast<char>(8 + static_cast<unsigned char>(input[i]) %
                                      std::max<std::size_t>(objects.size(), 1));
  }
  const std::size_t written = file.size() - table;
  file += std::string(6, '\0') + "\x01\x01" + std::string(7, '\0') + static_cast<char>(written);
  return file + std::string(15, '\0') + static_cast<char>(table);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(static_cast<const char*>(static_cast<const void*>(data)), size);
  readAndCheck(input);
  readAndCheck(withTrailer(input));
  return 0;
}
