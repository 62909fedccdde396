// SPDX-License-Identifier: MIT
#include "macos/carbon/BundleVersion.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace macos {
namespace {

TEST(BundleVersion, VersionsAreOrderedPartByPartAsNumbers) {
  // From the oldest on.
  const std::vector<std::string> versions{
      "unknown", "0.9",    "1.0d1",  "1.0d12", "1.0a1",
      "1.0b2",   "1.0b10", "1.0fc1", "1.0",    "1.0.1",
      "1.2",     "1.10",   "2",      "10.0",   "123456789012345678901234567890"};
  for (std::size_t i = 1; i < versions.size(); ++i) {
    EXPECT_TRUE(compareBundleVersions(versions[i - 1], versions[i]) < 0)
        << versions[i - 1] << " " << versions[i];
    EXPECT_TRUE(compareBundleVersions(versions[i], versions[i - 1]) > 0)
        << versions[i] << " " << versions[i - 1];
  }
}

TEST(BundleVersion, AMissingPartIsZero) {
  EXPECT_TRUE(compareBundleVersions("1", "1.0.0") == 0);
  EXPECT_TRUE(compareBundleVersions("1.00", "1.0") == 0);
  EXPECT_TRUE(compareBundleVersions("1..2", "1.0.2") == 0);
  EXPECT_TRUE(compareBundleVersions("1.", "1") == 0);
}

TEST(BundleVersion, TextsThatAreNoVersionsAreAlike) {
  EXPECT_TRUE(compareBundleVersions("", "beta") == 0);
  EXPECT_TRUE(compareBundleVersions(".1", "x") == 0);
}

}  // namespace
}  // namespace macos
