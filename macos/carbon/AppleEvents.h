// SPDX-License-Identifier: MIT
//
// Apple events: requests that one application sends another, and the replies. An event has a class, an
// identifier, the address of its receiver, parameters, and attributes that the Apple Event Manager keeps.
// Results are the platform's codes. An AppleEvent is a value; reading a parameter marks it as read, so
// one event belongs to one thread.
//
// AESendMessage, and the receiving side, are in AppleEventDelivery.h.
#ifndef MACOS_CARBON_APPLEEVENTS_H
#define MACOS_CARBON_APPLEEVENTS_H

#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "macos/carbon/AEDescriptor.h"
#include "macos/carbon/AliasManager.h"

namespace macos {

using AEEventClass = OSType;
using AEEventID = OSType;
using AEReturnID = std::int16_t;
using AETransactionID = std::int32_t;

inline constexpr AEEventClass kCoreEventClass = fourCharCode("aevt");
inline constexpr AEEventID kAEAnswer = fourCharCode("ansr");

inline constexpr AEKeyword keyDirectObject = fourCharCode("----");
inline constexpr AEKeyword keyErrorNumber = fourCharCode("errn");
inline constexpr AEKeyword keyErrorString = fourCharCode("errs");

// Attributes.
inline constexpr AEKeyword keyAddressAttr = fourCharCode("addr");
inline constexpr AEKeyword keyEventClassAttr = fourCharCode("evcl");
inline constexpr AEKeyword keyEventIDAttr = fourCharCode("evid");
inline constexpr AEKeyword keyReturnIDAttr = fourCharCode("rtid");
inline constexpr AEKeyword keyTransactionIDAttr = fourCharCode("tran");
inline constexpr AEKeyword keyMissedKeywordAttr = fourCharCode("miss");

inline constexpr AEReturnID kAutoGenerateReturnID = -1;
inline constexpr AETransactionID kAnyTransactionID = 0;

inline constexpr OSErr errAEEventNotHandled = -1708;
inline constexpr OSErr errAEParamMissed = -1715;
inline constexpr OSErr aeBuildSyntaxErr = -1762;

struct AppleEvent {
  AEEventClass eventClass = 0;
  AEEventID eventID = 0;
  AEDesc address;
  AEReturnID returnID = 0;
  AETransactionID transactionID = kAnyTransactionID;
  AEDesc parameters = {.descriptorType = typeAERecord, .data = {}, .fields = {}, .isRecord = true};

  // Keywords of the parameters that were read.
  mutable std::set<AEKeyword> readParameters;
};

// An event without parameters. kAutoGenerateReturnID gives it a number that no other event of this
// process has for a long time.
AppleEvent AECreateAppleEvent(AEEventClass eventClass, AEEventID eventID, AEDesc address, AEReturnID returnID,
                              AETransactionID transactionID);

void AEPutParamDesc(AppleEvent* event, AEKeyword keyword, AEDesc desc);

// Reading parameters. errAEDescNotFound when there is none of that keyword, errAECoercionFail when it does
// not convert to the desired type. Success marks the parameter as read.
OSErr AEGetParamDesc(const AppleEvent& event, AEKeyword keyword, DescType desiredType, AEDesc* result);
// Copies at most maximumSize bytes of the data and stores the whole size, of the converted descriptor, and
// the type that it had before; both outputs may be null. A record has no data to point to:
// errAECoercionFail.
OSErr AEGetParamPtr(const AppleEvent& event, AEKeyword keyword, DescType desiredType, DescType* actualType,
                    void* data, std::size_t maximumSize, std::size_t* actualSize);
// Type and data size as stored; both outputs may be null. Does not count as reading. The size of a record
// is the sum of its fields' sizes.
OSErr AESizeOfParam(const AppleEvent& event, AEKeyword keyword, DescType* type, std::size_t* size);

// The attributes named above; keyMissedKeywordAttr is the keyword of the first parameter that was not
// read yet, and errAEDescNotFound when all were.
OSErr AEGetAttributeDesc(const AppleEvent& event, AEKeyword keyword, DescType desiredType, AEDesc* result);
OSErr AEGetAttributePtr(const AppleEvent& event, AEKeyword keyword, DescType desiredType,
                        DescType* actualType, void* data, std::size_t maximumSize, std::size_t* actualSize);

// An argument of a building format.
using AEBuildArgument = std::variant<AliasHandle, std::int32_t, std::string>;

// Where a building format went wrong.
struct AEBuildError {
  std::size_t position = 0;  // in the format's bytes
};

// Builds an event from a format in the Apple Event Manager's building language and its arguments:
//
//   parameters := [ pair { ',' pair } ]          pair  := word ':' value
//   value      := word                           an 'enum' of the word
//               | word '(' ')'                   the type named by the word, without data
//               | word '(' word ')'              that type with the second word's code
//               | word '(' '@@' ')'              that type with the data of the next argument, a handle
//               | word '{' parameters '}'        a record of that type
//
// A word is a bare one or one in single quotes, of one to four characters, padded to four with blanks.
// Blanks, tabs and new lines separate. The rest of the language (numbers, strings, lists, untyped records,
// other kinds of arguments) is not taken: that, anything malformed, and an argument that is missing, of
// another kind, or a null handle is aeBuildSyntaxErr; error, unless null, then holds the place. A keyword
// that comes twice keeps its last value. Arguments that the format does not ask for are left alone.
OSErr vAEBuildAppleEvent(AEEventClass eventClass, AEEventID eventID, const AEDesc& address,
                         AEReturnID returnID, AETransactionID transactionID, AppleEvent* result,
                         AEBuildError* error, std::string_view format,
                         std::span<const AEBuildArgument> arguments);

// An event as a message, and back. The message is this library's own form and goes no further than from
// one process to the next on one machine. errAECorruptData for bytes that are no event.
std::string AEFlattenEvent(const AppleEvent& event);
OSErr AEUnflattenEvent(std::string_view bytes, AppleEvent* event);

}  // namespace macos

#endif  // MACOS_CARBON_APPLEEVENTS_H
