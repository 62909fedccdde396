// SPDX-License-Identifier: MIT
//
// How Apple events get from one process to another: AESendMessage for the sender, an AppleEventPort for
// the receiver. They travel over a local socket that belongs to the receiver's process number.
#ifndef MACOS_CARBON_APPLEEVENTDELIVERY_H
#define MACOS_CARBON_APPLEEVENTDELIVERY_H

#include <cstdint>
#include <functional>

#include "macos/carbon/AppleEvents.h"
#include "macos/carbon/Processes.h"
#include "macos/host/MessagePort.h"

namespace macos {

using AESendMode = std::int32_t;
inline constexpr AESendMode kAENoReply = 1;
inline constexpr AESendMode kAEWaitReply = 3;

// Ticks are sixtieths of a second: 300 are 5.0 s.
inline constexpr std::int32_t kAEDefaultTimeout = -1;  // 60 s
inline constexpr std::int32_t kNoTimeOut = -2;

inline constexpr OSErr connectionInvalid = -609;
inline constexpr OSErr errAETimeout = -1712;
inline constexpr OSErr errAEUnknownSendMode = -1716;
inline constexpr OSErr errAEUnknownAddressType = -1732;

// Addresses of a process: by number ('psn '), or by signature ('sign').
AEDesc addressOfProcess(const ProcessSerialNumber& number);
AEDesc addressOfSignature(OSType signature);

// Sends the event to the process of its address, and with kAEWaitReply waits for the reply; kAENoReply
// is done when the event is handed over, and leaves reply, which may then be null, alone. Everything
// together takes no longer than the time-out. A reply is stored whatever the receiver says in it: its
// refusal is the reply's error number, not this result.
//
//   procNotFound             no process of that signature runs
//   connectionInvalid        the process of that number has ended, takes no events, or ends before it replies
//   errAETimeout             the time-out passed; the event may have been received
//   errAECorruptData         what came back is no reply
//   errAEUnknownAddressType, errAEUnknownSendMode
OSStatus AESendMessage(const AppleEvent& event, AppleEvent* reply, AESendMode sendMode,
                       std::int32_t timeOutInTicks);

// Receives the events that are sent to this process.
class AppleEventPort {
 public:
  // Carries out an event and puts what there is to say into the reply. A code other than noErr becomes the
  // reply's error number.
  using Handler = std::function<OSErr(const AppleEvent& event, AppleEvent* reply)>;

  static Result<AppleEventPort> open();

  // Readable when an event waits; for a run loop.
  int descriptor() const { return port_.descriptor(); }
  // Waits for the next event, has it handled, and replies when the sender waits for it. Whether there was
  // one before the deadline (of the host's monotonic clock); a message that is no event, and a sender that
  // goes away or takes longer than a second to say what it wants, are passed over.
  bool receiveNext(UnixNanoseconds deadline, const Handler& handler);

 private:
  explicit AppleEventPort(MessagePort port) : port_(std::move(port)) {}

  MessagePort port_;
};

}  // namespace macos

#endif  // MACOS_CARBON_APPLEEVENTDELIVERY_H
