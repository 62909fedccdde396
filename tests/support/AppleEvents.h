// SPDX-License-Identifier: MIT
//
// Apple events with one parameter, for tests. A program that uses it links legacy.
#ifndef TESTS_SUPPORT_APPLEEVENTS_H
#define TESTS_SUPPORT_APPLEEVENTS_H

#include <string>
#include <utility>

#include "legacy/AppleEventUtilities.h"

namespace vennick::tests {

inline constexpr macos::AEKeyword kEventKey = macos::fourCharCode("keyT");

inline macos::AppleEvent eventWith(macos::AEDesc desc) {
  macos::AppleEvent event =
      macos::AECreateAppleEvent(macos::fourCharCode("test"), macos::fourCharCode("test"), {}, 1, 0);
  macos::AEPutParamDesc(&event, kEventKey, std::move(desc));
  return event;
}

inline macos::AppleEvent eventWithText(std::string text) {
  return eventWith(macos::AEDesc::withData(kTextParamType, std::move(text)));
}

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_APPLEEVENTS_H
