// SPDX-License-Identifier: MIT
#include "app/SettingsMapping.h"

#include "app/AppDelegate.h"

namespace vennick {
namespace {

using Type = SettingsMapping::Type;

template <const auto& Setting>
constexpr LegacySource kPlain = {Setting.key, 0, [](LegacyPreferences& preferences) -> std::int64_t {
                                   return preferences.readSetting(Setting);
                                 }};

template <std::int64_t Mask>
constexpr LegacySource kMiscellaneous = {LegacySettings::MiscellaneousFlags.key, Mask,
                                         [](LegacyPreferences& preferences) -> std::int64_t {
                                           return AppDelegate::boolFromMiscPrefs(preferences, Mask);
                                         }};

template <std::int64_t Mask>
constexpr LegacySource kFinderClick = {LegacySettings::FinderClickOptions.key, Mask,
                                       [](LegacyPreferences& preferences) -> std::int64_t {
                                         return AppDelegate::boolFromFinderClickPrefs(preferences, Mask);
                                       }};

template <std::int64_t Mask>
constexpr LegacySource kSpotlight = {LegacyKeys::SpotlightOptions, Mask,
                                     [](LegacyPreferences& preferences) -> std::int64_t {
                                       return (preferences.spotlightOptions() & Mask) != 0;
                                     }};

// The getter gives the opposite of what is stored, so that the row inverts it again.
constexpr LegacySource kFolderSynchronization = {
    LegacySettings::DoFolderSynchronization.key, 0,
    [](LegacyPreferences& preferences) -> std::int64_t { return preferences.doFolderSynchronization(); }};

constexpr std::int64_t asIs(std::int64_t value) { return value; }
constexpr std::int64_t inverted(std::int64_t value) { return value == 0; }

// Every place of the old toolbar with bit 4 or 8 is style 4, all others are style 1. Deliberate.
constexpr std::int64_t toolbarStyle(std::int64_t anchorLocation) {
  return (anchorLocation & 12) != 0 ? 4 : 1;
}

constexpr std::array<SettingsMapping, kMappedSettings> kMappings = {{
    {"openInTerminal", Type::Boolean, kPlain<LegacySettings::OpenInTerminal>, asIs},
    {"openInTerminalModifiers", Type::Integer, kPlain<LegacySettings::OpenInTerminalKey>,
     modifierFlagsFromLegacyMask},
    {"switchToFinder", Type::Boolean, kPlain<LegacySettings::DisableSwitchToFinder>, inverted},
    {"hotkeysInFinderOnly", Type::Boolean, kMiscellaneous<16>, inverted},
    {"hotkeysOutsideFileDialogs", Type::Boolean, kMiscellaneous<8>, asIs},
    {"menusShowIcons", Type::Boolean, kPlain<LegacySettings::ShowMenuIcons>, asIs},
    {"menusHierarchical", Type::Boolean, kMiscellaneous<64>, asIs},
    {"menusShowParents", Type::Boolean, kMiscellaneous<8192>, inverted},
    {"menusShowPreviews", Type::Boolean, kPlain<LegacySettings::ShowPreviewsInMenus>, asIs},
    {"menusShowDiskSpace", Type::Boolean, kPlain<LegacySettings::ShowDiskSpace>, asIs},
    {"menusSortRecentByName", Type::Boolean, kMiscellaneous<2>, asIs},
    {"toolbarStyle", Type::Integer, kPlain<LegacySettings::AnchorLocation>, toolbarStyle},
    {"toolbarOnLeft", Type::Boolean, kPlain<LegacySettings::ToolbarOnLeft>, asIs},
    {"toolbarShowAttributesOnOpen", Type::Boolean, kSpotlight<4>, asIs},
    {"toolbarShowAttributesOnSave", Type::Boolean, kSpotlight<1>, asIs},
    {"historySize", Type::Integer, kPlain<LegacySettings::MaxRecentFolders>, asIs},
    {"finderClick", Type::Boolean, kFinderClick<1>, asIs},
    {"finderClickName", Type::Boolean, kFinderClick<4>, asIs},
    {"finderClickDesktop", Type::Boolean, kFinderClick<32>, inverted},
    {"finderClickShadow", Type::Boolean, kFinderClick<2>, asIs},
    {"finderClickModifiers", Type::Integer, kPlain<LegacySettings::FinderClickKey>,
     modifierFlagsFromLegacyMask},
    {"defaultToDocumentFolder", Type::Boolean, kMiscellaneous<2048>, asIs},
    {"reboundSelection", Type::Boolean, kPlain<LegacySettings::ReboundToLastSelection>, asIs},
    {"createAliasesInLibrary", Type::Boolean, kFolderSynchronization, inverted},
    {"showItemsInPackages", Type::Boolean, kPlain<LegacySettings::AddRecentFoldersWithinPackages>, asIs},
}};

}  // namespace

const std::array<SettingsMapping, kMappedSettings>& settingsMappings() { return kMappings; }

void mapSettings(LegacyPreferences& preferences, macos::NSUserDefaults& defaults) {
  for (const SettingsMapping& mapping : kMappings) {
    const std::int64_t value = mapping.transform(mapping.source.read(preferences));
    if (mapping.type == Type::Boolean) {
      defaults.setBool(value != 0, mapping.key);
    } else {
      defaults.setInteger(value, mapping.key);
    }
  }
}

std::int64_t modifierFlagsFromLegacyMask(std::int64_t mask) {
  struct Bits {
    std::int64_t legacy;
    std::int64_t modern;
  };
  constexpr std::array<Bits, 4> kModifiers = {
      {{0x0100, 0x100000}, {0x0200, 0x20000}, {0x0800, 0x80000}, {0x1000, 0x40000}}};
  std::int64_t flags = 0;
  for (const Bits& bits : kModifiers) {
    if ((mask & bits.legacy) != 0) flags |= bits.modern;
  }
  return flags;
}

}  // namespace vennick
