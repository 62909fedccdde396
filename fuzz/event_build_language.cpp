// SPDX-License-Identifier: MIT
//
// Formats of the Apple events' building language: what is built goes through a message unchanged. The same
// bytes are read as a message, too.
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "macos/carbon/AppleEvents.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  const std::vector<macos::AEBuildArgument> arguments{macos::AliasHandle{"alias"},
                                                      macos::AliasHandle{"another"}, std::int32_t{5}};
  macos::AppleEvent built;
  macos::AEBuildError error;
  const macos::OSErr code = macos::vAEBuildAppleEvent(
      macos::fourCharCode("core"), macos::fourCharCode("move"), {}, 1, 0, &built, &error, text, arguments);
  if (code != macos::noErr && (code != macos::aeBuildSyntaxErr || error.position > size)) std::abort();
  if (code == macos::noErr) {
    macos::AppleEvent back;
    if (macos::AEUnflattenEvent(macos::AEFlattenEvent(built), &back) != macos::noErr) std::abort();
    if (!(back.parameters == built.parameters)) std::abort();
  }

  macos::AppleEvent received;
  if (macos::AEUnflattenEvent(text, &received) == macos::noErr && macos::AEFlattenEvent(received) != text) {
    std::abort();
  }
  return 0;
}
