// SPDX-License-Identifier: MIT
#include "macos/carbon/AEDescriptor.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace macos {

namespace {

template <typename T>
std::string bytesOf(T value) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

template <typename T>
std::optional<T> valueOf(const std::string& bytes) {
  T value;
  if (bytes.size() != sizeof value) return std::nullopt;
  std::memcpy(&value, bytes.data(), sizeof value);
  return value;
}

template <typename T>
std::optional<std::string> bytesIfItFits(std::int64_t value) {
  if (value < std::int64_t{std::numeric_limits<T>::min()} ||
      value > std::int64_t{std::numeric_limits<T>::max()}) {
    return std::nullopt;
  }
  return bytesOf(static_cast<T>(value));
}

// Empty when the type is none of the integers, or cannot hold the value.
std::optional<std::string> integerBytes(DescType type, std::int64_t value) {
  switch (type) {
    case typeSInt16:
      return bytesIfItFits<std::int16_t>(value);
    case typeSInt32:
      return bytesIfItFits<std::int32_t>(value);
    case typeUInt32:
      return bytesIfItFits<std::uint32_t>(value);
    case typeSInt64:
      return bytesOf(value);
    default:
      return std::nullopt;
  }
}

bool isCodeType(DescType type) { return type == typeType || type == typeEnumerated; }

}  // namespace

bool operator==(const AEDesc& a, const AEDesc& b) {
  return a.descriptorType == b.descriptorType && a.isRecord == b.isRecord && a.data == b.data &&
         a.fields == b.fields;
}

AEDesc AEDesc::withData(DescType type, std::string data) {
  AEDesc desc;
  desc.descriptorType = type;
  desc.data = std::move(data);
  return desc;
}

AEDesc AEDesc::withCode(DescType type, OSType code) { return withData(type, bytesOf(code)); }

AEDesc AEDesc::withInteger(DescType type, std::int64_t value) {
  return withData(type, integerBytes(type, value).value_or(std::string()));
}

const AEDesc* AEDesc::field(AEKeyword keyword) const {
  const auto found = std::find_if(fields.begin(), fields.end(),
                                  [&](const AERecordField& field) { return field.keyword == keyword; });
  return found == fields.end() ? nullptr : &found->desc;
}

void AEDesc::setField(AEKeyword keyword, AEDesc desc) {
  const auto found = std::find_if(fields.begin(), fields.end(),
                                  [&](const AERecordField& field) { return field.keyword == keyword; });
  if (found != fields.end()) {
    found->desc = std::move(desc);
  } else {
    fields.push_back({keyword, std::move(desc)});
  }
}

std::optional<std::int64_t> integerOfDesc(const AEDesc& desc) {
  if (desc.isRecord) return std::nullopt;
  switch (desc.descriptorType) {
    case typeSInt16:
      return valueOf<std::int16_t>(desc.data);
    case typeSInt32:
      return valueOf<std::int32_t>(desc.data);
    case typeUInt32:
      return valueOf<std::uint32_t>(desc.data);
    case typeSInt64:
      return valueOf<std::int64_t>(desc.data);
    default:
      return std::nullopt;
  }
}

std::optional<OSType> codeOfDesc(const AEDesc& desc) {
  return desc.isRecord ? std::nullopt : valueOf<OSType>(desc.data);
}

OSErr AECoerceDesc(const AEDesc& desc, DescType toType, AEDesc* result) {
  if (toType == desc.descriptorType || toType == typeWildCard) {
    *result = desc;
    return noErr;
  }
  if (isCodeType(toType) && isCodeType(desc.descriptorType) && !desc.isRecord) {
    *result = AEDesc::withData(toType, desc.data);
    return noErr;
  }
  const auto value = integerOfDesc(desc);
  auto bytes = value ? integerBytes(toType, *value) : std::nullopt;
  if (!bytes) return errAECoercionFail;
  *result = AEDesc::withData(toType, std::move(*bytes));
  return noErr;
}

}  // namespace macos
