// SPDX-License-Identifier: MIT
//
// What the tests of preferences and user defaults share: a host, and domain files written and read without
// the code under test.
#ifndef TESTS_MACOS_FOUNDATION_PREFERENCESTESTING_H
#define TESTS_MACOS_FOUNDATION_PREFERENCESTESTING_H

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/support/IndependentReader.h"
#include "tests/support/TestHost.h"

namespace vennick::tests {

inline constexpr std::string_view kPreferencesFolder = "/Users/anna/Library/Preferences";

// An XML property list with a dictionary at the top; the content is XML.
inline std::string xmlDomain(std::string_view content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + std::string(content) +
         "</dict></plist>\n";
}

class PreferencesTest : public testing::Test {
 protected:
  static std::string domainPath(std::string_view domain) {
    std::string path(kPreferencesFolder);
    path.append("/").append(domain).append(".plist");
    return path;
  }
  void writeDomain(std::string_view domain, std::string_view xmlContent) {
    host_.root().writeFile(domainPath(domain), xmlDomain(xmlContent));
  }
  // As Python reads it: "{'flag': True, 'number': 1}".
  std::string domainContent(std::string_view domain) {
    return readIndependently("property_list_repr.py", host_.root().readFile(domainPath(domain)));
  }
  bool domainExists(std::string_view domain) { return host_.root().exists(domainPath(domain)); }

  TestHost host_;
};

}  // namespace vennick::tests

#endif  // TESTS_MACOS_FOUNDATION_PREFERENCESTESTING_H
