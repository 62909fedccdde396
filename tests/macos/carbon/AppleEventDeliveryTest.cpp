// SPDX-License-Identifier: MIT
#include "macos/carbon/AppleEventDelivery.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "tests/support/FinderStandIn.h"
#include "tests/support/Instance.h"
#include "tests/support/TestHost.h"

using macos::AEDesc;
using macos::AppleEvent;
using macos::fourCharCode;
using vennick::tests::FinderManner;
using vennick::tests::FinderStandIn;
using vennick::tests::TestHost;
using vennick::tests::TestHostOptions;

namespace {

constexpr macos::OSType kFinder = fourCharCode("MACS");
constexpr macos::UnixNanoseconds kSecond = 1'000'000'000;

macos::OSErr errorNumberIn(const AppleEvent& reply) {
  std::int16_t number = 0;
  const macos::OSErr code = macos::AEGetParamPtr(reply, macos::keyErrorNumber, macos::typeSInt16, nullptr,
                                                 &number, sizeof number, nullptr);
  return code == macos::noErr ? number : code;
}

AppleEvent refreshEvent(AEDesc address) {
  AppleEvent event = macos::AECreateAppleEvent(fourCharCode("fndr"), fourCharCode("fupd"), std::move(address),
                                               macos::kAutoGenerateReturnID, macos::kAnyTransactionID);
  macos::AEPutParamDesc(&event, macos::keyDirectObject, AEDesc::withData(macos::typeAlias, "12 bytes ..."));
  return event;
}

constexpr std::string_view kRefreshText = "fndr/fupd reco{----:alis(12)}";

TestHostOptions onTheMachinesClock() {
  TestHostOptions options;
  options.realClock = true;
  return options;
}

class AppleEventDelivery : public testing::Test {
 protected:
  static macos::UnixNanoseconds now() { return macos::Host::current().clock().monotonic(); }

  TestHost host_{onTheMachinesClock()};
};

}  // namespace

TEST_F(AppleEventDelivery, DeliversToTheProcessOfASignatureAndBringsTheReply) {
  const FinderStandIn finder(host_, FinderManner::Accepts);
  const AppleEvent event = refreshEvent(macos::addressOfSignature(kFinder));
  AppleEvent reply;
  EXPECT_EQ(macos::AESendMessage(event, &reply, macos::kAEWaitReply, 600), macos::noErr);
  EXPECT_EQ(reply.eventClass, macos::kCoreEventClass);
  EXPECT_EQ(reply.eventID, macos::kAEAnswer);
  EXPECT_EQ(reply.returnID, event.returnID);
  EXPECT_EQ(errorNumberIn(reply), macos::errAEDescNotFound) << "a success says nothing of errors";
  EXPECT_EQ(finder.events(), std::vector<std::string>{std::string(kRefreshText)});
}

TEST_F(AppleEventDelivery, DeliversToAProcessByItsNumber) {
  const FinderStandIn finder(host_, FinderManner::Accepts);
  const AEDesc address = macos::addressOfProcess(macos::processSerialNumberOf(finder.processID()));
  EXPECT_EQ(address.descriptorType, fourCharCode("psn "));
  EXPECT_EQ(address.data.size(), 8U);
  EXPECT_EQ(macos::AESendMessage(refreshEvent(address), nullptr, macos::kAENoReply, 600), macos::noErr);
  EXPECT_EQ(finder.waitForEvents(1), std::vector<std::string>{std::string(kRefreshText)});
}

TEST_F(AppleEventDelivery, BringsARefusalInTheReply) {
  const FinderStandIn finder(host_, FinderManner::Refuses);
  AppleEvent reply;
  EXPECT_EQ(macos::AESendMessage(refreshEvent(macos::addressOfSignature(kFinder)), &reply,
                                 macos::kAEWaitReply, 600),
            macos::noErr);
  EXPECT_EQ(errorNumberIn(reply), -1728);
}

TEST_F(AppleEventDelivery, StopsWaitingForASlowReceiver) {
  const FinderStandIn finder(host_, FinderManner::IsSlow);
  AppleEvent reply;
  const macos::UnixNanoseconds start = now();
  EXPECT_EQ(
      macos::AESendMessage(refreshEvent(macos::addressOfSignature(kFinder)), &reply, macos::kAEWaitReply, 30),
      -1712);
  EXPECT_GE(now() - start, kSecond / 2);
  EXPECT_LT(now() - start, 2 * kSecond);
  EXPECT_EQ(finder.events().size(), 1U) << "the event was received all the same";
}

TEST_F(AppleEventDelivery, WaitsForASlowReceiverAsLongAsItTakes) {
  const FinderStandIn finder(host_, FinderManner::IsSlow);
  AppleEvent reply;
  EXPECT_EQ(macos::AESendMessage(refreshEvent(macos::addressOfSignature(kFinder)), &reply,
                                 macos::kAEWaitReply, macos::kNoTimeOut),
            macos::noErr);
  EXPECT_EQ(reply.eventID, macos::kAEAnswer);
}

TEST_F(AppleEventDelivery, DoesNotWaitWithoutAReply) {
  const FinderStandIn finder(host_, FinderManner::IsSlow);
  const macos::UnixNanoseconds start = now();
  AppleEvent untouched;
  untouched.returnID = 99;
  EXPECT_EQ(macos::AESendMessage(refreshEvent(macos::addressOfSignature(kFinder)), &untouched,
                                 macos::kAENoReply, 600),
            macos::noErr);
  EXPECT_LT(now() - start, kSecond);
  EXPECT_EQ(untouched.returnID, 99);
  EXPECT_EQ(finder.waitForEvents(1).size(), 1U);
}

TEST_F(AppleEventDelivery, LosesItsConnectionToAReceiverThatDies) {
  const FinderStandIn finder(host_, FinderManner::Dies);
  AppleEvent reply;
  EXPECT_EQ(macos::AESendMessage(refreshEvent(macos::addressOfSignature(kFinder)), &reply,
                                 macos::kAEWaitReply, macos::kNoTimeOut),
            -609);
}

TEST_F(AppleEventDelivery, FindsNoProcessOfASignatureThatDoesNotRun) {
  AppleEvent reply;
  EXPECT_EQ(
      macos::AESendMessage(refreshEvent(macos::addressOfSignature(kFinder)), &reply, macos::kAEWaitReply, 60),
      -600);
  EXPECT_EQ(macos::AESendMessage(refreshEvent(macos::addressOfSignature(0)), &reply, macos::kAEWaitReply, 60),
            -600);
}

TEST_F(AppleEventDelivery, HasNoConnectionToADeadProcess) {
  FinderStandIn finder(host_, FinderManner::Accepts);
  const macos::ProcessSerialNumber number = macos::processSerialNumberOf(finder.processID());
  finder.end();
  AppleEvent reply;
  EXPECT_EQ(
      macos::AESendMessage(refreshEvent(macos::addressOfProcess(number)), &reply, macos::kAEWaitReply, 60),
      -609);
  EXPECT_EQ(
      macos::AESendMessage(refreshEvent(macos::addressOfProcess(number)), nullptr, macos::kAENoReply, 60),
      -609);
  EXPECT_EQ(
      macos::AESendMessage(refreshEvent(macos::addressOfSignature(kFinder)), &reply, macos::kAEWaitReply, 60),
      -600);
}

TEST_F(AppleEventDelivery, HasNoConnectionToANumberThatIsNoProcesss) {
  AppleEvent reply;
  for (const macos::ProcessSerialNumber number :
       {macos::ProcessSerialNumber{0, 0}, macos::ProcessSerialNumber{1, 1},
        macos::ProcessSerialNumber{0, 0xFFFFFFFF}}) {
    EXPECT_EQ(
        macos::AESendMessage(refreshEvent(macos::addressOfProcess(number)), &reply, macos::kAEWaitReply, 60),
        -609);
  }
}

TEST_F(AppleEventDelivery, HasNoConnectionToAProcessThatTakesNoEvents) {
  vennick::tests::makeApplication(host_.root(), "/Applications/Deaf.app", "com.example.Deaf");
  const vennick::tests::Instance deaf(host_.root().hostPath("/Applications/Deaf.app/Contents/MacOS/Deaf"),
                                      vennick::tests::Quits::AtOnce);
  AppleEvent reply;
  const AEDesc address = macos::addressOfProcess(macos::processSerialNumberOf(deaf.processID()));
  EXPECT_EQ(macos::AESendMessage(refreshEvent(address), &reply, macos::kAEWaitReply, 60), -609);
}

TEST_F(AppleEventDelivery, KnowsNoOtherAddressesAndModes) {
  AppleEvent reply;
  EXPECT_EQ(macos::AESendMessage(refreshEvent({}), &reply, macos::kAEWaitReply, 60), -1732);
  EXPECT_EQ(macos::AESendMessage(refreshEvent(AEDesc::withCode(macos::typeType, kFinder)), &reply,
                                 macos::kAEWaitReply, 60),
            -1732);
  EXPECT_EQ(macos::AESendMessage(refreshEvent(AEDesc::withData(macos::typeProcessSerialNumber, "short")),
                                 &reply, macos::kAEWaitReply, 60),
            -1732);
  EXPECT_EQ(macos::AESendMessage(refreshEvent(AEDesc::withData(macos::typeApplSignature, "abcde")), &reply,
                                 macos::kAEWaitReply, 60),
            -1732);
  EXPECT_EQ(macos::AESendMessage(refreshEvent(macos::addressOfSignature(kFinder)), &reply, 2, 60), -1716);
}

TEST_F(AppleEventDelivery, FindsTheFirstProcessOfASignature) {
  const FinderStandIn first(host_, FinderManner::Accepts);
  const FinderStandIn second(host_, FinderManner::Accepts, "/Applications/Finder.app");
  macos::ProcessSerialNumber number;
  ASSERT_EQ(macos::GetProcessBySignature(kFinder, &number), macos::noErr);
  EXPECT_EQ(macos::processIDOf(number), std::min(first.processID(), second.processID()));
}

TEST_F(AppleEventDelivery, ReadsTheSignatureForwards) {
  const FinderStandIn finder(host_, FinderManner::Accepts);
  macos::ProcessSerialNumber number;
  EXPECT_EQ(macos::GetProcessBySignature(0x4D414353, &number), macos::noErr);
  EXPECT_EQ(macos::GetProcessBySignature(fourCharCode("SCAM"), &number), macos::procNotFound);
}

TEST_F(AppleEventDelivery, ReadsTheSignatureFromPkgInfoWhereInfoPlistHasNone) {
  vennick::tests::makeApplication(host_.root(), "/Applications/Old.app", "com.example.Old");
  host_.root().writeFile("/Applications/Old.app/Contents/PkgInfo", "APPLoldy");
  const vennick::tests::Instance old(host_.root().hostPath("/Applications/Old.app/Contents/MacOS/Old"),
                                     vennick::tests::Quits::AtOnce);
  macos::ProcessSerialNumber number;
  ASSERT_EQ(macos::GetProcessBySignature(fourCharCode("oldy"), &number), macos::noErr);
  EXPECT_EQ(macos::processIDOf(number), old.processID());
}

TEST_F(AppleEventDelivery, DoesNotFindAnotherMacsProcess) {
  TestHost otherMac{onTheMachinesClock()};
  const FinderStandIn itsFinder(otherMac, FinderManner::Accepts);
  macos::ProcessSerialNumber number;
  ASSERT_EQ(macos::GetProcessBySignature(kFinder, &number), macos::noErr) << "on that Mac";
  const macos::ScopedHost here(host_.shared());
  EXPECT_EQ(macos::GetProcessBySignature(kFinder, &number), macos::procNotFound);
}

// The receiving side, against senders that do not behave.
TEST_F(AppleEventDelivery, PassesOverMessagesThatAreNoEvents) {
  auto port = macos::AppleEventPort::open();
  ASSERT_TRUE(port.ok());
  const pid_t receiver = ::getpid();
  std::thread sender([&, shared = host_.shared()] {
    for (const char* message : {"", "w", "wAEv1", "nonsense"}) {
      auto connection = macos::MessageConnection::connect(receiver, now() + kSecond);
      EXPECT_TRUE(connection.ok() && connection->send(message, now() + kSecond).ok());
    }
    macos::MessageConnection::connect(receiver, now() + kSecond).ok();
    const AEDesc self = macos::addressOfProcess(macos::processSerialNumberOf(receiver));
    AppleEvent reply;
    EXPECT_EQ(macos::AESendMessage(refreshEvent(self), &reply, macos::kAEWaitReply, 600), macos::noErr);
    EXPECT_EQ(errorNumberIn(reply), -50);
  });
  int handled = 0;
  EXPECT_TRUE(
      port->receiveNext(now() + 20 * kSecond, [&](const AppleEvent& event, AppleEvent*) -> macos::OSErr {
        ++handled;
        EXPECT_EQ(event.eventID, fourCharCode("fupd"));
        return macos::paramErr;
      }));
  sender.join();
  EXPECT_EQ(handled, 1);
  EXPECT_FALSE(port->receiveNext(now(), [&](const AppleEvent&, AppleEvent*) -> macos::OSErr {
    ++handled;
    return macos::noErr;
  }));
}

TEST_F(AppleEventDelivery, DoesNotTakeNonsenseForAReply) {
  auto port = macos::MessagePort::open();
  ASSERT_TRUE(port.ok());
  const AEDesc self = macos::addressOfProcess(macos::processSerialNumberOf(::getpid()));
  std::thread receiver([&, shared = host_.shared()] {
    auto connection = port->accept(now() + 20 * kSecond);
    ASSERT_TRUE(connection.ok());
    EXPECT_TRUE(connection->receive(now() + 20 * kSecond).ok());
    EXPECT_TRUE(connection->send("nonsense", now() + kSecond).ok());
  });
  AppleEvent reply;
  EXPECT_EQ(macos::AESendMessage(refreshEvent(self), &reply, macos::kAEWaitReply, 600), -1702);
  receiver.join();
}

// With a clock that moves only when somebody waits: how long the time-outs are, to the nanosecond.
TEST(AppleEventTimeOut, Is5SecondsFor300TicksAndAMinuteByDefault) {
  for (const auto& [ticks, expected] :
       {std::pair(300, std::chrono::nanoseconds(5 * kSecond)),
        std::pair(1, std::chrono::nanoseconds(16'666'666)), std::pair(0, std::chrono::nanoseconds(0)),
        std::pair(-1, std::chrono::nanoseconds(60 * kSecond)), std::pair(-3, std::chrono::nanoseconds(0))}) {
    TestHost host;
    auto port = macos::MessagePort::open();  // that nobody serves
    ASSERT_TRUE(port.ok());
    const AEDesc self = macos::addressOfProcess(macos::processSerialNumberOf(::getpid()));
    AppleEvent reply;
    EXPECT_EQ(macos::AESendMessage(refreshEvent(self), &reply, macos::kAEWaitReply, ticks), -1712);
    EXPECT_EQ(host.clock().waited(), expected) << ticks;
  }
}
