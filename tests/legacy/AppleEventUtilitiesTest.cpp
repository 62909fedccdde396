// SPDX-License-Identifier: MIT
#include "legacy/AppleEventUtilities.h"

#include <gtest/gtest.h>

#include <new>

#include "tests/support/AppleEvents.h"
#include "tests/support/FinderStandIn.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/TestHost.h"

using macos::AEBuildArgument;
using macos::AEDesc;
using macos::AliasHandle;
using macos::AppleEvent;
using macos::fourCharCode;
using macos::OSErr;
using vennick::tests::eventWith;
using vennick::tests::eventWithText;
using vennick::tests::FinderManner;
using vennick::tests::FinderStandIn;
using vennick::tests::kEventKey;
using vennick::tests::TestHost;
using vennick::tests::TestHostOptions;

// The thread sanitizer's operators cannot be replaced.
#ifndef VENNICK_THREAD_SANITIZED
namespace {

bool noMemory = false;

}  // namespace

// So that a test can have the utilities' allocation fail.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return noMemory ? nullptr : ::operator new[](size);
}
#endif

namespace {

constexpr macos::OSType kFinder = fourCharCode("MACS");
constexpr macos::DescType kText = fourCharCode("pUT8");
constexpr std::string_view kMoveFormat =
    "insh:obj {\tform:prop,\twant:type(prop),\tseld:type(trsh),\tfrom:'null'()},'----':alis(@@)";

TestHostOptions onTheMachinesClock() {
  TestHostOptions options;
  options.realClock = true;
  return options;
}

class AppleEventUtilities : public testing::Test {
 protected:
  static OSErr sendMove(macos::OSType signature, AppleEvent* reply, std::int32_t timeout = 600) {
    const std::vector<AEBuildArgument> arguments{AliasHandle{"an alias"}};
    return vennick::SendEventToSignature(fourCharCode("core"), fourCharCode("move"), signature, timeout,
                                         reply, kMoveFormat, arguments);
  }

  TestHost host_{onTheMachinesClock()};
};

}  // namespace

TEST_F(AppleEventUtilities, SendEventToSignatureReachesTheRunningProcess) {
  const FinderStandIn finder(host_, FinderManner::Accepts);
  AppleEvent reply;
  EXPECT_EQ(sendMove(kFinder, &reply), macos::noErr);
  EXPECT_EQ(reply.eventID, macos::kAEAnswer);
  EXPECT_EQ(finder.events(), std::vector<std::string>{
                                 "core/move reco{insh:obj {form:enum(prop),want:type(prop),seld:type(trsh),"
                                 "from:null(0)},----:alis(8)}"});
}

TEST_F(AppleEventUtilities, SendEventToSignatureWithoutAReplyDoesNotWait) {
  const FinderStandIn finder(host_, FinderManner::IsSlow);
  const macos::UnixNanoseconds start = host_.host().clock().monotonic();
  EXPECT_EQ(sendMove(kFinder, nullptr), macos::noErr);
  EXPECT_LT(host_.host().clock().monotonic() - start, 1'000'000'000);
  EXPECT_EQ(finder.waitForEvents(1).size(), 1U);
}

TEST_F(AppleEventUtilities, SendEventToSignatureHasNoProcessToSendTo) {
  AppleEvent reply;
  EXPECT_EQ(sendMove(kFinder, &reply), -600);
  EXPECT_EQ(sendMove(kFinder, nullptr), -600);
}

TEST_F(AppleEventUtilities, SendEventToSignatureStopsAtTheTimeOut) {
  const FinderStandIn finder(host_, FinderManner::IsSlow);
  AppleEvent reply;
  EXPECT_EQ(sendMove(kFinder, &reply, 12), -1712);
}

TEST_F(AppleEventUtilities, SendEventToSignatureRefusesAMalformedFormat) {
  const FinderStandIn finder(host_, FinderManner::Accepts);
  AppleEvent reply;
  EXPECT_EQ(vennick::SendEventToSignature(fourCharCode("core"), fourCharCode("move"), kFinder, 60, &reply,
                                          "'----':", {}),
            -1762);
  EXPECT_EQ(vennick::SendEventToSignature(fourCharCode("core"), fourCharCode("move"), kFinder, 60, &reply,
                                          "'----':alis(@@)", {}),
            -1762);
  EXPECT_TRUE(finder.events().empty());
}

TEST_F(AppleEventUtilities, SendEventToProcessReachesThatProcess) {
  const FinderStandIn first(host_, FinderManner::Accepts);
  const FinderStandIn second(host_, FinderManner::Accepts, "/Applications/Finder.app");
  AppleEvent reply;
  EXPECT_EQ(
      vennick::SendEventToProcess(fourCharCode("core"), fourCharCode("quit"),
                                  macos::processSerialNumberOf(second.processID()), 600, &reply, "", {}),
      macos::noErr);
  EXPECT_EQ(second.events(), std::vector<std::string>{"core/quit reco{}"});
  EXPECT_TRUE(first.events().empty());
}

TEST_F(AppleEventUtilities, SendEventToProcessHasNoConnectionToADeadOne) {
  FinderStandIn finder(host_, FinderManner::Accepts);
  const auto number = macos::processSerialNumberOf(finder.processID());
  finder.end();
  AppleEvent reply;
  EXPECT_EQ(
      vennick::SendEventToProcess(fourCharCode("core"), fourCharCode("quit"), number, 60, &reply, "", {}),
      -609);
}

TEST_F(AppleEventUtilities, CheckRequiredParamsIsContentWhenAllWereRead) {
  const AppleEvent event = eventWithText("text");
  std::string text;
  ASSERT_EQ(vennick::GetStringParam(event, kEventKey, kText, &text), macos::noErr);
  EXPECT_EQ(vennick::CheckRequiredParams(event), macos::noErr);
  EXPECT_EQ(vennick::CheckRequiredParams(AppleEvent()), macos::noErr);
}

TEST_F(AppleEventUtilities, CheckRequiredParamsReportsOneThatWasNotRead) {
  EXPECT_EQ(vennick::CheckRequiredParams(eventWithText("text")), -1708);
}

TEST_F(AppleEventUtilities, GetCStringParamReportsTheSizePlusOne) {
  const AppleEvent event = eventWithText("hello");
  std::size_t length = 0;
  EXPECT_EQ(vennick::GetCStringParam(event, kEventKey, kText, nullptr, 0, &length), macos::noErr);
  EXPECT_EQ(length, 6U);
  char buffer[1] = {'x'};
  length = 0;
  EXPECT_EQ(vennick::GetCStringParam(event, kEventKey, kText, buffer, 0, &length), macos::noErr)
      << "a capacity of 0";
  EXPECT_EQ(length, 6U);
  EXPECT_EQ(buffer[0], 'x');
  EXPECT_EQ(vennick::GetCStringParam(event, kEventKey, kText, nullptr, 100, &length), macos::noErr)
      << "no buffer";
}

TEST_F(AppleEventUtilities, GetCStringParamStoresTheBytesAndAZero) {
  char buffer[6] = {'x', 'x', 'x', 'x', 'x', 'x'};
  EXPECT_EQ(
      vennick::GetCStringParam(eventWithText("hello"), kEventKey, kText, buffer, sizeof buffer, nullptr),
      macos::noErr);
  EXPECT_STREQ(buffer, "hello");
  EXPECT_EQ(vennick::GetCStringParam(eventWithText(""), kEventKey, kText, buffer, 1, nullptr), macos::noErr);
  EXPECT_STREQ(buffer, "");
}

TEST_F(AppleEventUtilities, GetCStringParamRefusesABufferThatIsTooSmallAndStillReportsTheSize) {
  char buffer[5] = {'x', 'x', 'x', 'x', 'x'};
  std::size_t length = 0;
  EXPECT_EQ(
      vennick::GetCStringParam(eventWithText("hello"), kEventKey, kText, buffer, sizeof buffer, &length),
      -50);
  EXPECT_EQ(length, 6U);
  EXPECT_EQ(std::string(buffer, 5), "xxxxx");
}

TEST_F(AppleEventUtilities, GetCStringParamReportsTheSizeAsStored) {
  // A number that converts to a shorter one: its stored size counts.
  const AppleEvent event = eventWith(AEDesc::withInteger(macos::typeSInt32, 65));
  std::size_t length = 0;
  char buffer[5] = {'x', 'x', 'x', 'x', 'x'};
  EXPECT_EQ(vennick::GetCStringParam(event, kEventKey, macos::typeSInt16, buffer, 4, &length), -50);
  EXPECT_EQ(length, 5U);
  EXPECT_EQ(vennick::GetCStringParam(event, kEventKey, macos::typeSInt16, buffer, 5, &length), macos::noErr);
  EXPECT_EQ(length, 5U);
  EXPECT_EQ(buffer[2], '\0');
}

TEST_F(AppleEventUtilities, GetCStringParamReturnsOtherCodes) {
  char buffer[10];
  EXPECT_EQ(vennick::GetCStringParam(AppleEvent(), kEventKey, kText, buffer, sizeof buffer, nullptr), -1701);
  const AppleEvent number = eventWith(AEDesc::withInteger(macos::typeSInt32, 5));
  EXPECT_EQ(vennick::GetCStringParam(number, kEventKey, kText, buffer, sizeof buffer, nullptr), -1700);
}

TEST_F(AppleEventUtilities, GetStringParamEndsAtTheFirstZeroByte) {
  std::string text;
  EXPECT_EQ(vennick::GetStringParam(eventWithText("gr\xC3\xBC\xC3\x9F"), kEventKey, kText, &text),
            macos::noErr);
  EXPECT_EQ(text, "gr\xC3\xBC\xC3\x9F");
  EXPECT_EQ(vennick::GetStringParam(eventWithText(std::string("ab\0\xFF", 4)), kEventKey, kText, &text),
            macos::noErr);
  EXPECT_EQ(text, "ab");
  EXPECT_EQ(vennick::GetStringParam(eventWithText(""), kEventKey, kText, &text), macos::noErr);
  EXPECT_EQ(text, "");
}

TEST_F(AppleEventUtilities, GetStringParamHasNoMemoryForAStringThatIsNotUTF8) {
  std::string text = "before";
  EXPECT_EQ(vennick::GetStringParam(eventWithText("\xFF\xFE"), kEventKey, kText, &text), -108);
  EXPECT_EQ(text, "before");
}

#ifndef VENNICK_THREAD_SANITIZED
// Without memory for the bytes the answer is a success without a string; kept.
TEST_F(AppleEventUtilities, GetStringParamAnswersZeroWithoutAStringWhenThereIsNoMemory) {
  std::string text = "before";
  noMemory = true;
  const OSErr code = vennick::GetStringParam(eventWithText("hello"), kEventKey, kText, &text);
  noMemory = false;
  EXPECT_EQ(code, macos::noErr);
  EXPECT_EQ(text, "before");
}
#endif

TEST_F(AppleEventUtilities, GetStringParamReturnsOtherCodes) {
  std::string text;
  EXPECT_EQ(vennick::GetStringParam(AppleEvent(), kEventKey, kText, &text), -1701);
  // The text type of these events is not the platform's UTF-8 type; kept.
  EXPECT_EQ(
      vennick::GetStringParam(eventWith(AEDesc::withData(macos::typeUTF8Text, "x")), kEventKey, kText, &text),
      -1700);
}

TEST_F(AppleEventUtilities, GetUniStr255ParamStoresAtMost255Units) {
  for (const auto& [size, expected] : {std::pair(0U, 0U), std::pair(255U, 255U), std::pair(256U, 255U)}) {
    macos::HFSUniStr255 name;
    EXPECT_EQ(vennick::GetUniStr255Param(eventWithText(std::string(size, 'n')), kEventKey, &name),
              macos::noErr);
    EXPECT_EQ(name, std::u16string(expected, u'n'));
  }
  macos::HFSUniStr255 name;
  EXPECT_EQ(vennick::GetUniStr255Param(eventWithText("\xF0\x9F\x98\x80"), kEventKey, &name), macos::noErr);
  EXPECT_EQ(name, u"\U0001F600");
}

TEST_F(AppleEventUtilities, GetUniStr255ParamReturnsOtherCodes) {
  macos::HFSUniStr255 name;
  EXPECT_EQ(vennick::GetUniStr255Param(AppleEvent(), kEventKey, &name), -1701);
  EXPECT_EQ(vennick::GetUniStr255Param(eventWithText("\xFF"), kEventKey, &name), -108);
  EXPECT_EQ(
      vennick::GetUniStr255Param(eventWith(AEDesc::withData(macos::typeUTF8Text, "x")), kEventKey, &name),
      -1700);
}

TEST_F(AppleEventUtilities, GetAliasParamGivesANewHandle) {
  AliasHandle alias;
  EXPECT_EQ(
      vennick::GetAliasParam(eventWith(AEDesc::withData(macos::typeAlias, "record")), kEventKey, &alias),
      macos::noErr);
  EXPECT_EQ(alias.bytes, "record");
  const std::string large(1 << 20, 'a');
  EXPECT_EQ(vennick::GetAliasParam(eventWith(AEDesc::withData(macos::typeAlias, large)), kEventKey, &alias),
            macos::noErr);
  EXPECT_EQ(alias.bytes, large);
}

TEST_F(AppleEventUtilities, GetAliasParamGivesTheNullHandleWhenItFails) {
  AliasHandle alias{"before"};
  EXPECT_EQ(vennick::GetAliasParam(AppleEvent(), kEventKey, &alias), -1701);
  EXPECT_TRUE(alias.isNull());
  alias.bytes = "before";
  EXPECT_EQ(vennick::GetAliasParam(eventWithText("text"), kEventKey, &alias), -1700);
  EXPECT_TRUE(alias.isNull());
  alias.bytes = "before";
  EXPECT_EQ(vennick::GetAliasParam(eventWith(AEDesc::withData(macos::typeAlias, "")), kEventKey, &alias),
            -108);
  EXPECT_TRUE(alias.isNull());
}
