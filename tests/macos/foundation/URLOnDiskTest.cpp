// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "macos/foundation/URL.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::TestHost;

std::string textOf(const NSURL& url) { return url.absoluteString(); }

TEST(URLOnDisk, AnExistingFolderGetsASlash) {
  TestHost host;
  host.root().writeFile("/Users/anna/x", "");
  host.root().makeLink("/Users/anna/link", "/Library");
  EXPECT_EQ(textOf(NSURL::fileURLWithPath("/Users/anna")), "file:///Users/anna/");
  EXPECT_EQ(textOf(NSURL::fileURLWithPath("/Users/anna/x")), "file:///Users/anna/x");
  EXPECT_EQ(textOf(NSURL::fileURLWithPath("/Users/anna/missing")), "file:///Users/anna/missing");
  EXPECT_EQ(textOf(NSURL::fileURLWithPath("/Users/anna/missing/")), "file:///Users/anna/missing/");
  EXPECT_EQ(textOf(NSURL::fileURLWithPath("/Users/anna/link")), "file:///Users/anna/link/")
      << "a link to a folder is one";
  EXPECT_EQ(textOf(NSURL::fileURLWithPath("Users")), "file:///Users/");
  EXPECT_EQ(textOf(NSURL::fileURLWithPath("")), "file:///");
}

TEST(URLOnDisk, AFolderIsRecognisedUnderItsOtherSpelling) {
  TestHost host;
  host.root().makeFolder("/\u00DCbung");
  EXPECT_EQ(textOf(NSURL::fileURLWithPath("/U\u0308bung")), "file:///U%CC%88bung/");
  EXPECT_EQ(textOf(NSURL::fileURLWithPath("/\u00DCbung")), "file:///U%CC%88bung/");
}

TEST(URLOnDisk, AppendingAsksWhetherTheResultIsAFolder) {
  TestHost host;
  const NSURL users = NSURL::fileURLWithPath("/Users");
  EXPECT_EQ(textOf(users.URLByAppendingPathComponent("anna")), "file:///Users/anna/");
  EXPECT_EQ(textOf(users.URLByAppendingPathComponent("berta")), "file:///Users/berta");
  EXPECT_EQ(textOf(users.URLByAppendingPathComponent("berta/")), "file:///Users/berta/");
  EXPECT_EQ(textOf(NSURL::URLWithString("http://h/Users")->URLByAppendingPathComponent("anna")),
            "http://h/Users/anna");
}

TEST(URLOnDisk, StandardizingKeepsTheSlashAtTheEnd) {
  TestHost host;
  host.root().writeFile("/private/tmp/x", "");
  host.root().makeLink("/tmp", "private/tmp");
  const auto standardized = [](std::string_view text) {
    return textOf(NSURL::URLWithString(text)->URLByStandardizingPath());
  };
  EXPECT_EQ(standardized("file:///a/./b//c/"), "file:///a/b/c/");
  EXPECT_EQ(standardized("file:///a/../c"), "file:///c");
  EXPECT_EQ(standardized("file:///private/tmp/x"), "file:///tmp/x");
  EXPECT_EQ(standardized("file:///caf%C3%A9"), "file:///cafe%CC%81") << "the text is made anew";
  EXPECT_EQ(standardized("http://h/a/../c"), "http://h/a/../c");
  EXPECT_EQ(standardized("file:///%00"), "file:///%00");
}

TEST(URLOnDisk, ResolvingLinksAsksAnewWhetherItIsAFolder) {
  TestHost host;
  host.root().makeLink("/Users/anna/link", "/Library");
  host.root().makeLink("/Users/anna/dangling", "/nowhere");
  const auto resolved = [](std::string_view text) {
    return textOf(NSURL::URLWithString(text)->URLByResolvingSymlinksInPath());
  };
  EXPECT_EQ(resolved("file:///Users/anna/link"), "file:///Library/");
  EXPECT_EQ(resolved("file:///Users/anna/dangling/"), "file:///nowhere");
  EXPECT_EQ(resolved("VKMenuSeparator"), "VKMenuSeparator");
}

TEST(URLOnDisk, ANameThatIsNotUTF8IsFound) {
  TestHost host;
  host.root().makeFolder("/caf\xE9");
  const NSURL url = NSURL::fileURLWithPath("/caf\xE9");
  EXPECT_EQ(textOf(url), "file:///caf%E9/");
  EXPECT_EQ(textOf(url.URLByResolvingSymlinksInPath()), "file:///caf%E9/");
}

}  // namespace
}  // namespace macos
