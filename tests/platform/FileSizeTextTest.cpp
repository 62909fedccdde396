// SPDX-License-Identifier: MIT
#include "platform/FileSizeText.h"

#include <gtest/gtest.h>

#include "tests/support/BundleSketch.h"
#include "tests/support/TestHost.h"

namespace vennick {
namespace {

using tests::makeBundle;
using tests::TemporaryRoot;
using tests::TestHost;

std::optional<std::string> sizeText(std::uint64_t count, const std::string& table) {
  const auto root = std::make_shared<TemporaryRoot>();
  const std::string executable = makeBundle(*root, "/Test.app", "Test");
  root->writeFile("/Test.app/Contents/Resources/en.lproj/Localizable.strings", table);
  const TestHost host({.root = root, .executable = executable});
  return stringForFileSize(count);
}

TEST(FileSizeText, AThousandStaysInBytesAndMoreDoesNot) {
  const TestHost host;
  EXPECT_EQ(stringForFileSize(1000), "1000 bytes");
  EXPECT_EQ(stringForFileSize(1001), "1 KB");
  EXPECT_EQ(stringForFileSize(1'536'000), "1.53 MB");
  EXPECT_EQ(stringForFileSize(1'000'000), "1000 KB");
  EXPECT_EQ(stringForFileSize(10'000'000'000'000'000), "10000 TB");
}

TEST(FileSizeText, DecimalsAreCutNotRounded) {
  const TestHost host;
  EXPECT_EQ(stringForFileSize(0), "0 bytes");
  EXPECT_EQ(stringForFileSize(1), "1 bytes");
  EXPECT_EQ(stringForFileSize(1999), "1.99 KB");
  EXPECT_EQ(stringForFileSize(999'999), "999.99 KB");
}

TEST(FileSizeText, EveryStepIsInSinglePrecision) {
  const TestHost host;
  // In double precision these would be 1.05, 1.17, 1.12 and 1.99.
  EXPECT_EQ(stringForFileSize(1'050), "1.04 KB");
  EXPECT_EQ(stringForFileSize(1'170), "1.16 KB");
  EXPECT_EQ(stringForFileSize(1'130), "1.13 KB");
  EXPECT_EQ(stringForFileSize(1'999'999'999), "2 GB");
  EXPECT_EQ(stringForFileSize(UINT64_MAX), "1.84467e+07 TB");
}

TEST(FileSizeText, WordsAndFormatAreTheBundles) {
  EXPECT_EQ(sizeText(1'500, "\"KB\" = \"Ko\";"), "1.5 Ko");
  EXPECT_EQ(sizeText(1'500, "\"%g %@\" = \"%2$@: %1$g\";"), "KB: 1.5");
  EXPECT_EQ(sizeText(1'500, "\"%g %@\" = \"%g%%%@ %d\";"), "1.5%KB %d");
}

TEST(FileSizeText, AWordWithoutATranslationIsItsKey) {
  EXPECT_EQ(sizeText(1'500, "\"bytes\" = \"Byte\";"), "1.5 KB");
  EXPECT_EQ(sizeText(1'500, "\"KB\" = \"broken"), "1.5 KB") << "a table that does not parse has none";
}

TEST(FileSizeText, AnEmptyWordGivesNoText) {
  EXPECT_EQ(sizeText(1'500, "\"TB\" = \"\";"), std::nullopt) << "even one that is not needed";
  EXPECT_EQ(sizeText(1'500, "\"%g %@\" = \"\";"), std::nullopt);
}

}  // namespace
}  // namespace vennick
