// SPDX-License-Identifier: MIT
#include "macos/carbon/AppleEvents.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "macos/host/Host.h"

namespace macos {

namespace {

// The numbers of the events that this process makes.
struct ReturnIDs {
  std::atomic<std::uint16_t> last{0};

  AEReturnID next() { return static_cast<AEReturnID>((++last % 0x7FFF) + 1); }
};

std::size_t dataSize(const AEDesc& desc) {
  std::size_t size = desc.data.size();
  for (const AERecordField& field : desc.fields) size += dataSize(field.desc);
  return size;
}

OSErr copyData(const AEDesc& desc, DescType storedType, DescType* actualType, void* data,
               std::size_t maximumSize, std::size_t* actualSize) {
  if (desc.isRecord) return errAECoercionFail;
  if (actualType != nullptr) *actualType = storedType;
  if (actualSize != nullptr) *actualSize = desc.data.size();
  const std::size_t count = std::min(maximumSize, desc.data.size());
  if (count != 0) std::memcpy(data, desc.data.data(), count);
  return noErr;
}

std::optional<AEDesc> attributeOf(const AppleEvent& event, AEKeyword keyword) {
  switch (keyword) {
    case keyAddressAttr:
      return event.address;
    case keyEventClassAttr:
      return AEDesc::withCode(typeType, event.eventClass);
    case keyEventIDAttr:
      return AEDesc::withCode(typeType, event.eventID);
    case keyReturnIDAttr:
      return AEDesc::withInteger(typeSInt16, event.returnID);
    case keyTransactionIDAttr:
      return AEDesc::withInteger(typeSInt32, event.transactionID);
    case keyMissedKeywordAttr:
      for (const AERecordField& field : event.parameters.fields) {
        if (!event.readParameters.contains(field.keyword)) {
          return AEDesc::withCode(typeKeyword, field.keyword);
        }
      }
      return std::nullopt;
    default:
      return std::nullopt;
  }
}

}  // namespace

AppleEvent AECreateAppleEvent(AEEventClass eventClass, AEEventID eventID, AEDesc address, AEReturnID returnID,
                              AETransactionID transactionID) {
  AppleEvent event;
  event.eventClass = eventClass;
  event.eventID = eventID;
  event.address = std::move(address);
  event.returnID = returnID == kAutoGenerateReturnID ? hostLocal<ReturnIDs>().next() : returnID;
  event.transactionID = transactionID;
  return event;
}

void AEPutParamDesc(AppleEvent* event, AEKeyword keyword, AEDesc desc) {
  event->parameters.setField(keyword, std::move(desc));
}

OSErr AEGetParamDesc(const AppleEvent& event, AEKeyword keyword, DescType desiredType, AEDesc* result) {
  const AEDesc* stored = event.parameters.field(keyword);
  if (stored == nullptr) return errAEDescNotFound;
  const OSErr code = AECoerceDesc(*stored, desiredType, result);
  if (code == noErr) event.readParameters.insert(keyword);
  return code;
}

OSErr AEGetParamPtr(const AppleEvent& event, AEKeyword keyword, DescType desiredType, DescType* actualType,
                    void* data, std::size_t maximumSize, std::size_t* actualSize) {
  const AEDesc* stored = event.parameters.field(keyword);
  if (stored == nullptr) return errAEDescNotFound;
  AEDesc desc;
  OSErr code = AECoerceDesc(*stored, desiredType, &desc);
  if (code == noErr) code = copyData(desc, stored->descriptorType, actualType, data, maximumSize, actualSize);
  if (code == noErr) event.readParameters.insert(keyword);
  return code;
}

OSErr AESizeOfParam(const AppleEvent& event, AEKeyword keyword, DescType* type, std::size_t* size) {
  const AEDesc* stored = event.parameters.field(keyword);
  if (stored == nullptr) return errAEDescNotFound;
  if (type != nullptr) *type = stored->descriptorType;
  if (size != nullptr) *size = dataSize(*stored);
  return noErr;
}

OSErr AEGetAttributeDesc(const AppleEvent& event, AEKeyword keyword, DescType desiredType, AEDesc* result) {
  const auto stored = attributeOf(event, keyword);
  return stored ? AECoerceDesc(*stored, desiredType, result) : errAEDescNotFound;
}

OSErr AEGetAttributePtr(const AppleEvent& event, AEKeyword keyword, DescType desiredType,
                        DescType* actualType, void* data, std::size_t maximumSize, std::size_t* actualSize) {
  const auto stored = attributeOf(event, keyword);
  if (!stored) return errAEDescNotFound;
  AEDesc desc;
  const OSErr code = AECoerceDesc(*stored, desiredType, &desc);
  if (code != noErr) return code;
  return copyData(desc, stored->descriptorType, actualType, data, maximumSize, actualSize);
}

}  // namespace macos
