// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "legacy/AppleEventUtilities.h"
#include "tests/support/TestHost.h"

using macos::AEDesc;
using macos::AppleEvent;
using macos::fourCharCode;

namespace {

constexpr macos::AEKeyword kKey = fourCharCode("keyT");

AppleEvent eventWith(AEDesc desc) {
  AppleEvent event = macos::AECreateAppleEvent(fourCharCode("test"), fourCharCode("test"), {}, 1, 0);
  macos::AEPutParamDesc(&event, kKey, std::move(desc));
  return event;
}

AppleEvent eventWithText(std::string text) {
  return eventWith(AEDesc::withData(vennick::kTextParamType, std::move(text)));
}

class AppleEventURLParam : public testing::Test {
 protected:
  vennick::tests::TestHost host_;
};

}  // namespace

TEST_F(AppleEventURLParam, GetFSRefFromURLParamLeadsToTheItem) {
  host_.root().writeFile("/Users/anna/a file", "content");
  macos::FSRef ref;
  ASSERT_EQ(vennick::GetFSRefFromURLParam(eventWithText("file:///Users/anna/a%20file"), kKey, &ref),
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
    EXPECT_EQ(vennick::GetFSRefFromURLParam(eventWithText(text), kKey, &ref), -108) << text.substr(0, 40);
  }
  EXPECT_FALSE(ref.isValid());
}

TEST_F(AppleEventURLParam, GetFSRefFromURLParamReturnsOtherCodes) {
  macos::FSRef ref;
  EXPECT_EQ(vennick::GetFSRefFromURLParam(AppleEvent(), kKey, &ref), -1701);
  EXPECT_EQ(vennick::GetFSRefFromURLParam(eventWith(AEDesc::withData(macos::typeUTF8Text, "x")), kKey, &ref),
            -1700);
}
