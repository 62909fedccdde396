// SPDX-License-Identifier: MIT
#include "macos/carbon/AppleEventDelivery.h"

#include <algorithm>
#include <cstring>

#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr UnixNanoseconds kSecond = 1'000'000'000;
constexpr UnixNanoseconds kTicksPerSecond = 60;
constexpr UnixNanoseconds kDefaultTimeoutSeconds = 60;

// The first byte of a message says whether the sender waits for a reply.
constexpr char kWaitsForReply = 'w';
constexpr char kWantsNoReply = 'n';

UnixNanoseconds now() { return Host::current().clock().monotonic(); }

UnixNanoseconds deadlineAfter(std::int32_t ticks) {
  if (ticks == kNoTimeOut) return kNoDeadline;
  if (ticks == kAEDefaultTimeout) return now() + kDefaultTimeoutSeconds * kSecond;
  return now() + std::max<UnixNanoseconds>(ticks, 0) * kSecond / kTicksPerSecond;
}

std::optional<ProcessSerialNumber> numberIn(const AEDesc& address) {
  ProcessSerialNumber number;
  if (address.isRecord || address.data.size() != sizeof number) return std::nullopt;
  std::memcpy(&number, address.data.data(), sizeof number);
  return number;
}

OSErr resolveAddress(const AEDesc& address, ProcessSerialNumber* number) {
  if (address.descriptorType == typeProcessSerialNumber) {
    const auto stored = numberIn(address);
    if (!stored) return errAEUnknownAddressType;
    *number = *stored;
    return noErr;
  }
  const auto signature = codeOfDesc(address);
  if (address.descriptorType != typeApplSignature || !signature) return errAEUnknownAddressType;
  return GetProcessBySignature(*signature, number);
}

OSErr codeOf(const Status& status) {
  switch (status.code()) {
    case ErrorCode::Ok:
      return noErr;
    case ErrorCode::Cancelled:
      return errAETimeout;
    case ErrorCode::Corrupt:
      return errAECorruptData;
    default:
      return connectionInvalid;
  }
}

}  // namespace

AEDesc addressOfProcess(const ProcessSerialNumber& number) {
  std::string data(sizeof number, '\0');
  std::memcpy(data.data(), &number, sizeof number);
  return AEDesc::withData(typeProcessSerialNumber, std::move(data));
}

AEDesc addressOfSignature(OSType signature) { return AEDesc::withCode(typeApplSignature, signature); }

OSStatus AESendMessage(const AppleEvent& event, AppleEvent* reply, AESendMode sendMode,
                       std::int32_t timeOutInTicks) {
  if (sendMode != kAENoReply && sendMode != kAEWaitReply) return errAEUnknownSendMode;
  const bool waits = sendMode == kAEWaitReply;
  const UnixNanoseconds deadline = deadlineAfter(timeOutInTicks);
  ProcessSerialNumber number;
  if (const OSErr code = resolveAddress(event.address, &number); code != noErr) return code;
  const auto processID = processIDOf(number);
  if (!processID) return connectionInvalid;

  auto connection = MessageConnection::connect(*processID, deadline);
  if (!connection) return codeOf(connection.status());
  const std::string message = (waits ? kWaitsForReply : kWantsNoReply) + AEFlattenEvent(event);
  if (const Status sent = connection->send(message, deadline); !sent.ok()) return codeOf(sent);
  if (!waits) return noErr;

  const auto answer = connection->receive(deadline);
  if (!answer) return codeOf(answer.status());
  AppleEvent received;
  const OSErr code = AEUnflattenEvent(*answer, &received);
  if (code == noErr && reply != nullptr) *reply = std::move(received);
  return code;
}

Result<AppleEventPort> AppleEventPort::open() {
  auto port = MessagePort::open();
  if (!port) return port.status();
  return AppleEventPort(std::move(*port));
}

bool AppleEventPort::receiveNext(UnixNanoseconds deadline, const Handler& handler) {
  for (;;) {
    auto connection = port_.accept(deadline);
    if (!connection) return false;
    const auto message = connection->receive(now() + kSecond);
    AppleEvent event;
    if (!message || message->empty() ||
        AEUnflattenEvent(std::string_view(*message).substr(1), &event) != noErr) {
      continue;
    }
    AppleEvent reply =
        AECreateAppleEvent(kCoreEventClass, kAEAnswer, {}, event.returnID, event.transactionID);
    if (const OSErr code = handler(event, &reply); code != noErr) {
      AEPutParamDesc(&reply, keyErrorNumber, AEDesc::withInteger(typeSInt32, code));
    }
    if (message->front() == kWaitsForReply) {
      // A sender that did not wait for it has its answer in its own result.
      (void)connection->send(AEFlattenEvent(reply), now() + kSecond).ok();
    }
    return true;
  }
}

}  // namespace macos
