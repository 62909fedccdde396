// SPDX-License-Identifier: MIT
#include "legacy/AppleEventUtilities.h"

#include <cstring>
#include <memory>
#include <new>

#include "macos/foundation/Text.h"

namespace vennick {

namespace {

using macos::AEDesc;
using macos::AEKeyword;
using macos::AppleEvent;
using macos::DescType;
using macos::OSErr;

constexpr std::size_t kLongestUniStr = 255;

OSErr sendTo(const AEDesc& address, macos::AEEventClass eventClass, macos::AEEventID eventID,
             std::int32_t timeout, AppleEvent* reply, std::string_view format,
             std::span<const macos::AEBuildArgument> arguments) {
  AppleEvent event;
  const OSErr code = macos::vAEBuildAppleEvent(eventClass, eventID, address, macos::kAutoGenerateReturnID,
                                               macos::kAnyTransactionID, &event, nullptr, format, arguments);
  if (code != macos::noErr) return code;
  const macos::AESendMode mode = reply != nullptr ? macos::kAEWaitReply : macos::kAENoReply;
  return static_cast<OSErr>(macos::AESendMessage(event, reply, mode, timeout));
}

}  // namespace

OSErr SendEventToSignature(macos::AEEventClass eventClass, macos::AEEventID eventID, macos::OSType signature,
                           std::int32_t timeout, AppleEvent* reply, std::string_view format,
                           std::span<const macos::AEBuildArgument> arguments) {
  macos::ProcessSerialNumber process;
  const bool runs = macos::GetProcessBySignature(signature, &process) == macos::noErr;
  const AEDesc address = runs ? macos::addressOfProcess(process) : macos::addressOfSignature(signature);
  return sendTo(address, eventClass, eventID, timeout, reply, format, arguments);
}

OSErr SendEventToProcess(macos::AEEventClass eventClass, macos::AEEventID eventID,
                         const macos::ProcessSerialNumber& process, std::int32_t timeout, AppleEvent* reply,
                         std::string_view format, std::span<const macos::AEBuildArgument> arguments) {
  return sendTo(macos::addressOfProcess(process), eventClass, eventID, timeout, reply, format, arguments);
}

OSErr CheckRequiredParams(const AppleEvent& event) {
  AEDesc missed;
  const OSErr code =
      macos::AEGetAttributeDesc(event, macos::keyMissedKeywordAttr, macos::typeWildCard, &missed);
  if (code == macos::errAEDescNotFound) return macos::noErr;
  return code == macos::noErr ? macos::errAEEventNotHandled : code;
}

OSErr GetCStringParam(const AppleEvent& event, AEKeyword keyword, DescType type, char* buffer,
                      std::size_t capacity, std::size_t* length) {
  std::size_t size = 0;
  OSErr code = macos::AESizeOfParam(event, keyword, nullptr, &size);
  if (code != macos::noErr) return code;
  if (length != nullptr) *length = size + 1;
  if (buffer == nullptr || capacity == 0) return macos::noErr;
  if (size >= capacity) return macos::paramErr;

  std::size_t stored = 0;
  code = macos::AEGetParamPtr(event, keyword, type, nullptr, buffer, size, &stored);
  if (code == macos::noErr) buffer[std::min(size, stored)] = '\0';
  return code;
}

OSErr GetStringParam(const AppleEvent& event, AEKeyword keyword, DescType type, std::string* string) {
  std::size_t capacity = 0;
  OSErr code = GetCStringParam(event, keyword, type, nullptr, 0, &capacity);
  if (code != macos::noErr) return code;
  const std::unique_ptr<char[]> buffer(new (std::nothrow) char[capacity]);
  if (buffer == nullptr) return macos::noErr;
  code = GetCStringParam(event, keyword, type, buffer.get(), capacity, nullptr);
  if (code != macos::noErr) return code;
  const std::string_view text(buffer.get());
  if (!macos::isValidUTF8(text)) return macos::memFullErr;
  *string = text;
  return macos::noErr;
}

OSErr GetUniStr255Param(const AppleEvent& event, AEKeyword keyword, macos::HFSUniStr255* string) {
  std::string text;
  const OSErr code = GetStringParam(event, keyword, kTextParamType, &text);
  if (code == macos::noErr) *string = macos::utf16FromUTF8(text).substr(0, kLongestUniStr);
  return code;
}

OSErr GetAliasParam(const AppleEvent& event, AEKeyword keyword, macos::AliasHandle* alias) {
  *alias = {};
  AEDesc desc;
  const OSErr code = macos::AEGetParamDesc(event, keyword, macos::typeAlias, &desc);
  if (code != macos::noErr) return code;
  // No bytes are the null handle: a record that cannot be held.
  if (desc.isRecord || desc.data.empty()) return macos::memFullErr;
  alias->bytes = std::move(desc.data);
  return macos::noErr;
}

}  // namespace vennick
