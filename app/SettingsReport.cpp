// SPDX-License-Identifier: MIT
#include "app/SettingsReport.h"

#include <optional>
#include <string_view>

#include "app/SettingsMapping.h"
#include "legacy/PreferenceKeys.h"
#include "macos/foundation/Log.h"
#include "macos/foundation/Preferences.h"
#include "settings/SettingsKeys.h"

namespace vennick {
namespace {

std::string shown(const macos::Value& value) {
  if (const auto boolean = value.ifBoolean()) return *boolean ? "true" : "false";
  if (const auto integer = value.ifInteger()) return integer->toString();
  return macos::description(value);
}

std::string shown(const std::optional<macos::Value>& value) { return value ? shown(*value) : "-"; }

// The settings that count for version 4: those of their own domain, else the main domain's.
macos::Dictionary legacySettings() {
  for (const std::string_view domain : {kLegacySettingsDomain, kLegacyDomain}) {
    const auto stored = macos::CFPreferencesCopyAppValue(LegacyKeys::Settings, domain);
    if (const macos::Dictionary* settings = stored ? stored->ifDictionary() : nullptr) return *settings;
  }
  return {};
}

std::string legacyValue(const macos::Dictionary& settings, const LegacySource& source) {
  std::string name(source.key);
  if (source.mask != 0) name += ", bit " + std::to_string(source.mask);
  const macos::Value* value = settings.find(source.key);
  const auto integer = value ? value->ifInteger() : std::nullopt;
  if (source.mask != 0 && integer) {
    return name + ((integer->low64() & source.mask) != 0 ? ": set" : ": clear");
  }
  return name + ": " + (value ? shown(*value) : "-");
}

std::string newValue(std::string_view key) {
  return shown(macos::CFPreferencesCopyAppValue(key, kMainApplicationIdentifier));
}

}  // namespace

std::vector<SettingReport> reportSettings() {
  std::vector<SettingReport> report;
  const macos::Dictionary legacy = legacySettings();
  for (const SettingsMapping& mapping : settingsMappings()) {
    report.push_back({std::string(mapping.key), legacyValue(legacy, mapping.source), newValue(mapping.key)});
  }
  report.push_back({std::string(kAutomaticChecks),
                    std::string(kAutomaticChecks) + ": " +
                        shown(macos::CFPreferencesCopyAppValue(kAutomaticChecks, kPreferencePaneDomain)),
                    newValue(kAutomaticChecks)});
  return report;
}

}  // namespace vennick
