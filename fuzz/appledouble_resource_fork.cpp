// SPDX-License-Identifier: MIT
//
// AppleDouble files, and the bytes themselves and the carried fork as resource forks: what decodes is
// never larger than the input and is written and read again as the same value.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "macos/carbon/AppleDouble.h"
#include "macos/carbon/ResourceFork.h"

namespace {

void checkFork(std::string_view bytes) {
  const auto fork = macos::ResourceFork::decode(bytes);
  if (!fork) return;
  std::size_t held = 0;
  for (const auto& resource : fork->resources()) held += resource.data.size() + resource.name.size();
  if (held > bytes.size()) abort();
  const auto written = fork->encode();
  if (!written) return;
  const auto again = macos::ResourceFork::decode(*written);
  if (!again || again->resources().size() != fork->resources().size() || *again->encode() != *written)
    abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  checkFork(bytes);
  const auto file = macos::AppleDouble::decode(bytes);
  if (!file) return 0;
  checkFork(file->resourceFork);
  const auto written = file->encode();
  if (!written) return 0;
  const auto again = macos::AppleDouble::decode(*written);
  if (!again || !(*again == *file)) abort();
  return 0;
}
