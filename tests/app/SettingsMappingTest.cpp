// SPDX-License-Identifier: MIT
//
// The settings on their way, as observers of the user defaults see them.
#include "app/SettingsMapping.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/TestHost.h"

namespace vennick {
namespace {

// None is there before, so that the writing of each is told.
TEST(SettingsMapping, WritesTheSettingsInTheirOrder) {
  const std::vector<std::string> order = {"openInTerminal",
                                          "openInTerminalModifiers",
                                          "switchToFinder",
                                          "hotkeysInFinderOnly",
                                          "hotkeysOutsideFileDialogs",
                                          "menusShowIcons",
                                          "menusHierarchical",
                                          "menusShowParents",
                                          "menusShowPreviews",
                                          "menusShowDiskSpace",
                                          "menusSortRecentByName",
                                          "toolbarStyle",
                                          "toolbarOnLeft",
                                          "toolbarShowAttributesOnOpen",
                                          "toolbarShowAttributesOnSave",
                                          "historySize",
                                          "finderClick",
                                          "finderClickName",
                                          "finderClickDesktop",
                                          "finderClickShadow",
                                          "finderClickModifiers",
                                          "defaultToDocumentFolder",
                                          "reboundSelection",
                                          "createAliasesInLibrary",
                                          "showItemsInPackages"};
  const tests::TestHost host;
  const auto defaults = macos::NSUserDefaults::initWithSuiteName("com.quorvale.Vennick5");
  std::vector<std::string> told;
  std::vector<macos::ObservationToken> tokens;
  for (const std::string& key : order) {
    tokens.push_back(defaults->addObserver(
        key, 0, [&told](std::string_view keyPath, const macos::NSKeyValueChangeDictionary& /*change*/) {
          told.emplace_back(keyPath);
        }));
  }
  LegacyPreferences preferences;
  mapSettings(preferences, *defaults);
  EXPECT_EQ(told, order);
}

}  // namespace
}  // namespace vennick
