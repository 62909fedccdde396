// SPDX-License-Identifier: MIT
#include "legacy/CopyNames.h"

#include <gtest/gtest.h>

#include "tests/support/BundleSketch.h"
#include "tests/support/TestHost.h"

namespace vennick {
namespace {

// Makes a host whose main bundle has a table of the content.
class Table {
 public:
  explicit Table(const std::string& content) {
    const auto root = std::make_shared<tests::TemporaryRoot>();
    tests::TestHostOptions options;
    options.root = root;
    options.executable = tests::makeBundle(*root, "/Applications/Tool.app", "Tool");
    root->writeFile("/Applications/Tool.app/Contents/Resources/en.lproj/Localizable.strings", content);
    host_ = std::make_unique<tests::TestHost>(options);
  }

 private:
  std::unique_ptr<tests::TestHost> host_;
};

TEST(CopyNames, AreEnglishWithoutATable) {
  const tests::TestHost host;
  EXPECT_EQ(nameWithNumber(u"a", 7), u"a (7)");
  EXPECT_EQ(nameOfCopy(u"a.txt", 1), u"a.txt copy");
  EXPECT_EQ(nameOfCopy(u"a.txt", 2), u"a.txt copy 2");
}

TEST(CopyNames, FollowTheTableInItsOrder) {
  const Table table("\"%@ (%d)\" = \"%2$d: %1$@ 100%%\"; \"%@ copy\" = \"%@ %d %x\";");
  EXPECT_EQ(nameWithNumber(u"a", 7), u"7: a 100%");
  EXPECT_EQ(nameOfCopy(u"a", 1), u"a 1 %x");
}

TEST(CopyNames, AreNoneWithoutAText) {
  const Table table("\"%@ (%d)\" = \"\"; \"%@ copy\" = \"\";");
  EXPECT_EQ(nameWithNumber(u"a", 7), std::nullopt);
  EXPECT_EQ(nameOfCopy(u"a", 1), std::nullopt);
}

TEST(CopyNames, TakeDirectivesInANameForText) {
  const tests::TestHost host;
  EXPECT_EQ(nameWithNumber(u"%@ %d %%", 1), u"%@ %d %% (1)");
}

}  // namespace
}  // namespace vennick
