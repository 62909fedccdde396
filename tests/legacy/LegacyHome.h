// SPDX-License-Identifier: MIT
//
// A home whose preference domains a test writes and reads as files.
#ifndef TESTS_LEGACY_LEGACYHOME_H
#define TESTS_LEGACY_LEGACYHOME_H

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "legacy/PreferenceKeys.h"
#include "macos/foundation/Preferences.h"
#include "macos/foundation/PropertyList.h"
#include "macos/foundation/Value.h"
#include "tests/support/TestHost.h"

namespace vennick {

class LegacyHomeTest : public testing::Test {
 protected:
  static constexpr std::string_view kPreferencesFolder = "/Users/anna/Library/Preferences";

  static std::string domainFile(std::string_view domain) {
    return std::string(kPreferencesFolder).append("/").append(domain).append(".plist");
  }

  void writeDomain(std::string_view domain, const macos::Dictionary& content) {
    const auto data = macos::NSPropertyListSerialization::dataWithPropertyList(
        macos::Value(content), macos::NSPropertyListFormat::XML);
    host_.root().writeFile(domainFile(domain), data.value());
  }

  // The main domain with nothing but settings.
  void writeSettings(const macos::Dictionary& settings) {
    writeDomain(kLegacyDomain, {{LegacyKeys::Settings, macos::Value(settings)}});
  }

  // The main domain with folder sets and the active one's name.
  void writeSets(const macos::Dictionary& sets, std::string_view activeSet) {
    const macos::Dictionary settings = {{LegacyKeys::ActiveSet, macos::Value(activeSet)}};
    writeDomain(kLegacyDomain, {{LegacyKeys::FolderSets, macos::Value(sets)},
                                {LegacyKeys::Settings, macos::Value(settings)}});
  }

  // What a domain's file holds; empty without a file.
  macos::Dictionary readDomain(std::string_view domain) {
    if (!host_.root().exists(domainFile(domain))) return {};
    auto read =
        macos::NSPropertyListSerialization::propertyListWithData(host_.root().readFile(domainFile(domain)));
    return read ? *read->value.ifDictionary() : macos::Dictionary();
  }

  // As a run opens the three domains.
  static void openReadOnly() {
    for (const std::string_view domain : {kLegacyDomain, kLegacySettingsDomain, kLegacyFavoritesDomain}) {
      macos::openPreferencesDomainReadOnly(domain);
    }
  }

  tests::TestHost host_;
};

}  // namespace vennick

#endif  // TESTS_LEGACY_LEGACYHOME_H
