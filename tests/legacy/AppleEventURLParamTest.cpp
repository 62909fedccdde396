// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "legacy/AppleEventUtilities.h"
#include "tests/support/AppleEvents.h"
#include "tests/support/TestHost.h"

using macos::AEDesc;
using macos::AppleEvent;
using vennick::tests::eventWith;
using vennick::tests::eventWithText;
using vennick::tests::kEventKey;

namespace {

class AppleEventURLParam : public testing::Test {
 protected:
  vennick::tests::TestHost host_;
};

}  // namespace

TEST_F(AppleEventURLParam, GetFSRefFromURLParamLeadsToTheItem) {
  host_.root().writeFile("/Users/anna/a file", "content");
  macos::FSRef ref;
  ASSERT_EQ(vennick::GetFSRefFromURLParam(eventWithText("file:///Users/anna/a%20file"), kEventKey, &ref),
            macos::noErr);
  std::string path;
  EXPECT_EQ(macos::FSRefMakePath(ref, &path), macos::noErr);
  EXPECT_EQ(path, "/Users/anna/a file");
}

TEST_F(AppleEventURLParam, GetFSRefFromURLParamHasNoMemoryForWhatIsNoURLOrNoItem) {
  macos::FSRef ref;
  for (const std::string& text :
       {std::string(), std::string("file:///Users/anna/missing"), std::string("http://example.com/"),
        std::string("\xFF"), std::string("file:///a b%"), std::string("file:///\0", 9),
        "file:///" + std::string(1 << 20, 'x')}) {
    EXPECT_EQ(vennick::GetFSRefFromURLParam(eventWithText(text), kEventKey, &ref), -108)
        << text.substr(0, 40);
  }
  EXPECT_FALSE(ref.isValid());
}

TEST_F(AppleEventURLParam, GetFSRefFromURLParamReturnsOtherCodes) {
  macos::FSRef ref;
  EXPECT_EQ(vennick::GetFSRefFromURLParam(AppleEvent(), kEventKey, &ref), -1701);
  EXPECT_EQ(
      vennick::GetFSRefFromURLParam(eventWith(AEDesc::withData(macos::typeUTF8Text, "x")), kEventKey, &ref),
      -1700);
}
