// SPDX-License-Identifier: MIT
//
// Layout data of any kind: searches and translations end, and stay inside the data. The first two bytes
// are the character that is looked for, the rest is the layout.
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "legacy/KeyConverter.h"
#include "macos/carbon/KeyboardLayout.h"

namespace {

constexpr std::uint8_t kModifiers[] = {0, 2, 8, 10, 0xFF};

void translate(std::string_view layout, std::uint16_t character) {
  std::uint32_t state = 0;
  for (std::uint16_t key = 0; key < 130; ++key) {
    for (const std::uint8_t modifiers : kModifiers) {
      const std::uint32_t options = character & 1;
      macos::UCKeyTranslate(layout, {key, macos::kUCKeyActionDown, modifiers}, character, options, &state);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size < 2) return 0;
  const auto character = static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
  // A copy of exactly the layout's size, so that a read one byte too far is seen.
  const std::size_t length = size - 2;
  const std::unique_ptr<char[]> copy(new char[length + (length == 0)]);
  std::copy(bytes + 2, bytes + size, copy.get());
  const std::string_view layout(copy.get(), length);

  vennick::KeyConverter converter{layout};
  vennick::KeyStrokes strokes{};
  const bool isFound = converter.getStrokes(character, &strokes);
  if (!isFound && (strokes[0] != 0 || strokes[1] != 0 || strokes[2] != 0 || strokes[3] != 0)) std::abort();
  if (isFound && (strokes[0] != character || strokes[3] > 1)) std::abort();
  translate(layout, character);
  return 0;
}
