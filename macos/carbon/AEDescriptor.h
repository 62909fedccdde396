// SPDX-License-Identifier: MIT
//
// Apple event descriptors: typed data, and records of keyed descriptors, which may be of any type. Numbers
// and four-character codes are stored in the machine's own byte order. Regular values; any thread.
#ifndef MACOS_CARBON_AEDESCRIPTOR_H
#define MACOS_CARBON_AEDESCRIPTOR_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "macos/carbon/FourCharCode.h"

namespace macos {

using DescType = OSType;
using AEKeyword = OSType;

inline constexpr DescType typeNull = fourCharCode("null");
inline constexpr DescType typeWildCard = fourCharCode("****");
inline constexpr DescType typeType = fourCharCode("type");
inline constexpr DescType typeEnumerated = fourCharCode("enum");
inline constexpr DescType typeKeyword = fourCharCode("keyw");
inline constexpr DescType typeAERecord = fourCharCode("reco");
inline constexpr DescType typeAlias = fourCharCode("alis");
inline constexpr DescType typeUTF8Text = fourCharCode("utf8");
inline constexpr DescType typeProcessSerialNumber = fourCharCode("psn ");
inline constexpr DescType typeApplSignature = fourCharCode("sign");
inline constexpr DescType typeSInt16 = fourCharCode("shor");
inline constexpr DescType typeSInt32 = fourCharCode("long");
inline constexpr DescType typeSInt64 = fourCharCode("comp");
inline constexpr DescType typeUInt32 = fourCharCode("magn");

inline constexpr OSErr errAECoercionFail = -1700;
inline constexpr OSErr errAEDescNotFound = -1701;
inline constexpr OSErr errAECorruptData = -1702;

// Records inside records, no deeper than this.
inline constexpr int kDeepestAERecord = 64;

struct AERecordField;

struct AEDesc {
  DescType descriptorType = typeNull;
  std::string data;                   // when it is no record
  std::vector<AERecordField> fields;  // when it is one; no keyword twice
  bool isRecord = false;

  static AEDesc withData(DescType type, std::string data);
  static AEDesc withCode(DescType type, OSType code);
  static AEDesc withInteger(DescType type, std::int64_t value);

  // Null when the record has no such field.
  const AEDesc* field(AEKeyword keyword) const;
  // Adds, or replaces the one of that keyword.
  void setField(AEKeyword keyword, AEDesc desc);

  friend bool operator==(const AEDesc& a, const AEDesc& b);
};

struct AERecordField {
  AEKeyword keyword = 0;
  AEDesc desc;

  friend bool operator==(const AERecordField& a, const AERecordField& b) = default;
};

// The value of a descriptor of one of the integer types; empty for another type or a wrong size.
std::optional<std::int64_t> integerOfDesc(const AEDesc& desc);
// The code of a four-byte descriptor, whatever its type.
std::optional<OSType> codeOfDesc(const AEDesc& desc);

// The descriptor as one of another type: the same for its own type and the wild card; integers convert
// into one another where the value fits; 'type' and 'enum' are one another's. Everything else is
// errAECoercionFail, texts of different types too.
OSErr AECoerceDesc(const AEDesc& desc, DescType toType, AEDesc* result);

}  // namespace macos

#endif  // MACOS_CARBON_AEDESCRIPTOR_H
