// SPDX-License-Identifier: MIT
//
// Property lists as bytes: binary ("bplist00"), XML and old-style ASCII on reading, binary and XML on
// writing, the XML byte for byte as the platform writes it. Pure functions: bytes in, values out; any
// thread. Nothing here reads a file, follows an entity or opens an address.
#ifndef MACOS_FOUNDATION_PROPERTYLIST_H
#define MACOS_FOUNDATION_PROPERTYLIST_H

#include <string>
#include <string_view>

#include "macos/foundation/Value.h"
#include "macos/host/Status.h"

namespace macos {

enum class NSPropertyListFormat { OpenStep = 1, XML = 100, Binary = 200 };

struct PropertyListReading {
  Value value;
  NSPropertyListFormat format = NSPropertyListFormat::Binary;
};

class NSPropertyListSerialization {
 public:
  // Tries binary, XML and ASCII in that order. Bytes that are none of them are Corrupt, with the offset
  // in the message. Depth is limited to 512; shared references are charged to a budget of the input's
  // size, so that memory stays within a small multiple of it. A date of a binary list that no calendar holds
  // (infinite, no number, beyond the years of four digits) reads as null, unless it is all there is.
  static Result<PropertyListReading> propertyListWithData(std::string_view bytes);

  // InvalidArgument for a value that the format cannot hold (null, a URL, a date beyond the years of four
  // digits) and for OpenStep.
  static Result<std::string> dataWithPropertyList(const Value& value, NSPropertyListFormat format);
};

// The value without what no format can hold, at any depth: each is left out of the array or dictionary that
// it stands in. A value that holds none of it, or is itself such, is given as it is. What a file is read
// into may hold a null; without this nothing else that is in the file could be written any more.
Value writablePropertyList(const Value& value);

}  // namespace macos

#endif  // MACOS_FOUNDATION_PROPERTYLIST_H
