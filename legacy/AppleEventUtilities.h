// SPDX-License-Identifier: MIT
//
// Building, sending and reading Apple events in one call each. Results are the platform's codes, noErr for
// success. All run on the calling thread.
#ifndef LEGACY_APPLEEVENTUTILITIES_H
#define LEGACY_APPLEEVENTUTILITIES_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "macos/carbon/AppleEventDelivery.h"
#include "macos/carbon/AppleEvents.h"
#include "macos/carbon/Files.h"

namespace vennick {

// The type of text parameters here. It is not the platform's UTF-8 type, and no text of that type is
// taken for it; deliberately.
inline constexpr macos::DescType kTextParamType = macos::fourCharCode("pUT8");

// Builds an event from a format of vAEBuildAppleEvent's language and its arguments, and sends it to the
// running process with that signature: by its process serial number when there is one, else by the
// signature. With a reply waits for it, up to the time-out in ticks; with null does not wait.
macos::OSErr SendEventToSignature(macos::AEEventClass eventClass, macos::AEEventID eventID,
                                  macos::OSType signature, std::int32_t timeout, macos::AppleEvent* reply,
                                  std::string_view format, std::span<const macos::AEBuildArgument> arguments);
// The same to a given process.
macos::OSErr SendEventToProcess(macos::AEEventClass eventClass, macos::AEEventID eventID,
                                const macos::ProcessSerialNumber& process, std::int32_t timeout,
                                macos::AppleEvent* reply, std::string_view format,
                                std::span<const macos::AEBuildArgument> arguments);

// Whether all parameters of the event were read: noErr, or errAEEventNotHandled when one was not.
macos::OSErr CheckRequiredParams(const macos::AppleEvent& event);

// Stores the size that a buffer needs for the parameter's bytes and a zero byte. Without a buffer, or with
// a capacity of 0, that is all; else the bytes and the zero byte are stored in the buffer too, or it is
// paramErr when they do not fit. length may be null.
macos::OSErr GetCStringParam(const macos::AppleEvent& event, macos::AEKeyword keyword, macos::DescType type,
                             char* buffer, std::size_t capacity, std::size_t* length);
// The parameter as a string, which ends at the first zero byte; memFullErr when the bytes are not UTF-8.
// When there is no memory for the bytes the result is noErr and the string is left alone; deliberately.
macos::OSErr GetStringParam(const macos::AppleEvent& event, macos::AEKeyword keyword, macos::DescType type,
                            std::string* string);
// The text parameter, cut to 255 UTF-16 units.
macos::OSErr GetUniStr255Param(const macos::AppleEvent& event, macos::AEKeyword keyword,
                               macos::HFSUniStr255* string);
// The item that the text parameter, a URL, leads to; memFullErr when it is no URL or leads to no item.
macos::OSErr GetFSRefFromURLParam(const macos::AppleEvent& event, macos::AEKeyword keyword,
                                  macos::FSRef* ref);
// The alias parameter; a null handle with any other code than noErr, memFullErr for an alias without bytes.
macos::OSErr GetAliasParam(const macos::AppleEvent& event, macos::AEKeyword keyword,
                           macos::AliasHandle* alias);

}  // namespace vennick

#endif  // LEGACY_APPLEEVENTUTILITIES_H
