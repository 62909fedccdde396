// SPDX-License-Identifier: MIT
#include "app/HotkeyText.h"

#include <array>
#include <string_view>
#include <utility>

#include "macos/foundation/Text.h"
#include "macos/frameworks/ShortcutRecorder.h"

namespace vennick {
namespace {

// In the order in which menus show them.
constexpr std::array<std::pair<std::int64_t, std::string_view>, 4> kModifiers{
    {{0x40000, "⌃"}, {0x80000, "⌥"}, {0x20000, "⇧"}, {0x100000, "⌘"}}};

// What a key event carries for keys that type no character.
constexpr char32_t kUpArrow = 0xF700;
constexpr std::array<std::string_view, 4> kArrows{"↑", "↓", "←", "→"};
constexpr char32_t kF1 = 0xF704;
constexpr char32_t kF35 = 0xF726;
constexpr char32_t kFirstReserved = 0xE000;
constexpr char32_t kLastReserved = 0xF8FF;

std::string keyText(std::string_view characters, std::int64_t keyCode) {
  std::string code = "key " + std::to_string(keyCode);
  if (characters.empty()) return code;
  const char32_t first = macos::codePointAt(characters, 0).value;
  if (first == ' ') return "Space";
  if (first >= kUpArrow && first < kUpArrow + kArrows.size()) return std::string(kArrows[first - kUpArrow]);
  if (first >= kF1 && first <= kF35) return "F" + std::to_string(first - kF1 + 1);
  if (first < ' ' || first == 0x7F || (first >= kFirstReserved && first <= kLastReserved)) return code;
  std::string text(characters);
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

}  // namespace

std::string hotkeyText(const macos::Dictionary& hotkey) {
  const auto number = [&](std::string_view key) {
    return hotkey.integer(key).value_or(macos::Integer()).low64();
  };
  std::string text;
  for (const auto& [flag, symbol] : kModifiers) {
    if ((number(macos::SRShortcutModifierFlagsKey) & flag) != 0) text += symbol;
  }
  return text + keyText(hotkey.string(macos::SRShortcutCharactersIgnoringModifiers).value_or(""),
                        number(macos::SRShortcutKeyCode));
}

}  // namespace vennick
