// SPDX-License-Identifier: MIT
#include "macos/carbon/Gestalt.h"

#include <gtest/gtest.h>

#include "tests/support/Instance.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::infoPlist;
using vennick::tests::TestHost;

constexpr std::int32_t kUntouched = -1;

std::int32_t gestalt(OSType selector) {
  std::int32_t response = kUntouched;
  EXPECT_EQ(Gestalt(selector, &response), noErr);
  return response;
}

std::string version() {
  return std::to_string(gestalt(gestaltSystemVersionMajor)) + "." +
         std::to_string(gestalt(gestaltSystemVersionMinor)) + "." +
         std::to_string(gestalt(gestaltSystemVersionBugFix));
}

void writeVersion(TestHost& host, const std::string& text) {
  host.root().writeFile("/System/Library/CoreServices/SystemVersion.plist",
                        infoPlist({{"ProductVersion", text}}));
}

TEST(Gestalt, TheProcessorsClockIsNotKnown) {
  TestHost host;
  std::int32_t response = kUntouched;
  EXPECT_EQ(Gestalt(gestaltProcClkSpeedMHz, &response), gestaltUndefSelectorErr);
  EXPECT_EQ(response, kUntouched);
  EXPECT_EQ(Gestalt(fourCharCode("what"), &response), gestaltUndefSelectorErr);
}

TEST(Gestalt, TheSystemsVersionIsThatOfTheDisk) {
  for (const auto& [text, expected, packed] :
       std::vector<std::tuple<std::string, std::string, std::int32_t>>{{"10.9.5", "10.9.5", 0x1095},
                                                                       {"10.15.7", "10.15.7", 0x1097},
                                                                       {"10.3.15", "10.3.15", 0x1039},
                                                                       {"14.2.1", "14.2.1", 0x1421},
                                                                       {"11.0", "11.0.0", 0x1100},
                                                                       {"26", "26.0.0", 0x2600}}) {
    TestHost host;
    writeVersion(host, text);
    EXPECT_EQ(version(), expected);
    EXPECT_EQ(gestalt(gestaltSystemVersion), packed) << text;
  }
}

TEST(Gestalt, WithoutAReadableVersionTheSystemIsACurrentOne) {
  for (const auto* text : {"", "ten", "10.", "10.-1", "10.100", "1.2.3.4", "10 .4", "99999999999999999999"}) {
    TestHost host;
    writeVersion(host, text);
    EXPECT_GE(gestalt(gestaltSystemVersionMajor), 14) << text;
    EXPECT_LE(gestalt(gestaltSystemVersionMajor), 99) << text;
  }
  TestHost host;
  EXPECT_GE(gestalt(gestaltSystemVersionMajor), 14);
  TestHost broken;
  broken.root().writeFile("/System/Library/CoreServices/SystemVersion.plist", "bplist00\xFF");
  EXPECT_GE(gestalt(gestaltSystemVersionMajor), 14);
}

}  // namespace
}  // namespace macos
