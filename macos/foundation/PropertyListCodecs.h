// SPDX-License-Identifier: MIT
//
// The codecs behind NSPropertyListSerialization, one per format. Not for use outside this folder.
#ifndef MACOS_FOUNDATION_PROPERTYLISTCODECS_H
#define MACOS_FOUNDATION_PROPERTYLISTCODECS_H

#include <cstddef>
#include <string>
#include <string_view>

#include "macos/foundation/Value.h"
#include "macos/host/Status.h"

namespace macos {

// How many arrays and dictionaries may lie within one another, in every format, on reading and writing.
inline constexpr std::size_t kPropertyListMaximumDepth = 512;

// Containers keep their counts in 32 bits: a longer input is refused before anything is counted.
inline constexpr std::size_t kPropertyListMaximumSize = 0xFFFFFFFF;

// The key of the one-entry dictionary that stands for an archiver's unique identifier.
inline constexpr std::string_view kUIDKey = "CF$UID";

// The dates that have a four-digit year before or after the era: what every format can hold.
inline constexpr double kEarliestDate = -378683424000.0;  // -9999-01-01 00:00:00
inline constexpr double kLatestDate = 252423993600.0;     // 10000-01-01 00:00:00, not included

// Whether a date is one that the formats can hold; one that is no number is none.
inline bool isInCalendar(NSDate date) {
  return date.secondsSinceReferenceDate >= kEarliestDate && date.secondsSinceReferenceDate < kLatestDate;
}

// Whether the formats have a form for the value; of an array or dictionary without what is in it.
bool hasPropertyListForm(const Value& value);

// Corrupt, with the byte and the cause.
Status corruptPropertyList(std::string_view format, std::size_t offset, std::string_view cause);

bool hasBinaryPropertyListMagic(std::string_view bytes);
Result<Value> readBinaryPropertyList(std::string_view bytes);
// REQUIRES (all three): valid UTF-8
Result<Value> readXMLPropertyList(std::string_view text);
Result<Value> readOpenStepPropertyList(std::string_view text);

// InvalidArgument for what the format cannot hold.
Result<std::string> writeBinaryPropertyList(const Value& value);
Result<std::string> writeXMLPropertyList(const Value& value);

// Bytes of a text format as UTF-8. The text is a view of the bytes where these are UTF-8 already, else
// of `converted`.
struct PropertyListText {
  std::string_view text;
  std::string converted;
};

// Judges by the byte order mark, then by the zero bytes of UTF-16 and UTF-32, then by what an XML
// declaration names; else UTF-8. Fills `decoded`, which must stay where it is while the text is used.
Status decodePropertyListText(std::string_view bytes, PropertyListText& decoded);

}  // namespace macos

#endif  // MACOS_FOUNDATION_PROPERTYLISTCODECS_H
