// SPDX-License-Identifier: MIT
//
// Which version 4 setting becomes which version 5 one, and how: one table. Main thread.
#ifndef APP_SETTINGSMAPPING_H
#define APP_SETTINGSMAPPING_H

#include <array>
#include <cstdint>
#include <string_view>

#include "legacy/LegacyPreferences.h"
#include "macos/foundation/UserDefaults.h"

namespace vennick {

// The automatic update check: its key in both versions, and the domain in which version 4 kept it. It is
// no part of the table, because it is carried over only when it is on.
inline constexpr std::string_view kAutomaticChecks = "SUEnableAutomaticChecks";
inline constexpr std::string_view kPreferencePaneDomain = "com.quorvale.prefPane.Vennick";

// Where a version 4 value comes from.
struct LegacySource {
  std::string_view key;
  std::int64_t mask = 0;  // the bit that counts; 0 when the whole value does
  std::int64_t (*read)(LegacyPreferences&) = nullptr;
};

struct SettingsMapping {
  enum class Type : std::uint8_t { Boolean, Integer };

  std::string_view key;
  Type type = Type::Boolean;
  LegacySource source;
  std::int64_t (*transform)(std::int64_t) = nullptr;
};

inline constexpr std::size_t kMappedSettings = 25;
// In the order in which the settings are written.
const std::array<SettingsMapping, kMappedSettings>& settingsMappings();

// Writes every setting of the table, also one that the version 4 preferences do not hold: then its
// default arrives.
void mapSettings(LegacyPreferences& preferences, macos::NSUserDefaults& defaults);

// Command, shift, option and control in the layout of version 5. All other bits, caps lock among them,
// are dropped.
std::int64_t modifierFlagsFromLegacyMask(std::int64_t mask);

}  // namespace vennick

#endif  // APP_SETTINGSMAPPING_H
