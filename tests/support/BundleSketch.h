// SPDX-License-Identifier: MIT
//
// Makes small bundles and language settings in a temporary root.
#ifndef TESTS_SUPPORT_BUNDLESKETCH_H
#define TESTS_SUPPORT_BUNDLESKETCH_H

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/TemporaryRoot.h"

namespace vennick::tests {

// An Info.plist with the content of its dictionary, "<key>…</key><string>…</string>".
std::string infoPropertyList(std::string_view content);

// A bundle at the path whose executable has the name; gives the executable's path outside the root, which
// makes it the main bundle when a TestHost gets it.
std::string makeBundle(const TemporaryRoot& root, const std::string& path, std::string_view executable,
                       std::string_view info = "");

// The user's list of languages, in the global domain; other is more content for that file's dictionary.
void setLanguages(const TemporaryRoot& root, const std::vector<std::string>& languages,
                  std::string_view other = "");

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_BUNDLESKETCH_H
