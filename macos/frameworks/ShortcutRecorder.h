// SPDX-License-Identifier: MIT
//
// The parts of the ShortcutRecorder framework that stored hotkeys need: the keys of a shortcut
// dictionary and the text of a key code.
#ifndef MACOS_FRAMEWORKS_SHORTCUTRECORDER_H
#define MACOS_FRAMEWORKS_SHORTCUTRECORDER_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "macos/carbon/TextInputSources.h"

namespace macos {

// A shortcut dictionary: the virtual key code, the NSEvent modifier flags, and what the key types.
inline constexpr std::string_view SRShortcutKeyCode = "keyCode";
inline constexpr std::string_view SRShortcutModifierFlagsKey = "modifierFlags";
inline constexpr std::string_view SRShortcutCharactersIgnoringModifiers = "charactersIgnoringModifiers";

// The text of key codes on the current keyboard layout, found when the transformer is made. The shared
// one may be used on any thread.
class SRKeyCodeTransformer {
 public:
  SRKeyCodeTransformer();

  // One for each host.
  static SRKeyCodeTransformer& sharedASCIITransformer();

  // What a key event carries for the key: the character that the key types with the implicit modifiers
  // only (NSEvent flags; 0 gives the unmodified character), a dead key giving its accent, and for a key
  // that types none the character that stands for it (U+F700 … for arrows, function and editing keys).
  // The explicit modifiers belong to the shortcut, not to its text, and change nothing.
  //
  // Never an empty string. nullopt for a number that is no key's, and for a key whose text a property
  // list cannot hold safely (the control characters of Escape and Enter): such a shortcut is kept without
  // its text.
  std::optional<std::string> transformedValue(std::uint16_t keyCode, std::uint32_t implicitModifierFlags,
                                              std::uint32_t explicitModifierFlags);

 private:
  std::optional<std::string> textOfKey(std::uint16_t keyCode, std::uint8_t modifierKeyState) const;

  std::shared_ptr<const TISInputSource> source_;
  std::mutex mutex_;
  std::unordered_map<std::uint32_t, std::optional<std::string>> texts_;  // by modifier byte and key code
};

}  // namespace macos

#endif  // MACOS_FRAMEWORKS_SHORTCUTRECORDER_H
