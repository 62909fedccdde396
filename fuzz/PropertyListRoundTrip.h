// SPDX-License-Identifier: MIT
//
// What every property-list fuzzer checks once bytes were read: what is written of the value reads back as
// the same value, in both formats.
#ifndef FUZZ_PROPERTYLISTROUNDTRIP_H
#define FUZZ_PROPERTYLISTROUNDTRIP_H

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "macos/foundation/PropertyList.h"

inline macos::Value afterXML(const macos::Value& value);

inline macos::Array afterXML(const macos::Array& array) {
  macos::Array result;
  for (const macos::Value& element : array) result.append(afterXML(element));
  return result;
}

inline macos::Dictionary afterXML(const macos::Dictionary& dictionary) {
  macos::Dictionary result;
  for (const auto& entry : dictionary) result.set(entry.key(), afterXML(entry.value()));
  return result;
}

// The value as XML holds it: without fractions of seconds.
inline macos::Value afterXML(const macos::Value& value) {
  if (const auto date = value.ifDate()) {
    return macos::Value(macos::NSDate{std::floor(date->secondsSinceReferenceDate)});
  }
  if (const macos::Array* array = value.ifArray()) return macos::Value(afterXML(*array));
  if (const macos::Dictionary* dictionary = value.ifDictionary()) return macos::Value(afterXML(*dictionary));
  return value;
}

inline void checkRoundTrip(const macos::Value& value, macos::NSPropertyListFormat format,
                           const macos::Value& expected) {
  const auto bytes = macos::NSPropertyListSerialization::dataWithPropertyList(value, format);
  if (!bytes.ok()) return;  // holds a null
  const auto again = macos::NSPropertyListSerialization::propertyListWithData(*bytes);
  if (!again.ok() || again->format != format || !(again->value == expected)) std::abort();
}

inline void readAndCheck(std::string_view bytes) {
  const auto reading = macos::NSPropertyListSerialization::propertyListWithData(bytes);
  if (!reading.ok()) return;
  checkRoundTrip(reading->value, macos::NSPropertyListFormat::Binary, reading->value);
  checkRoundTrip(reading->value, macos::NSPropertyListFormat::XML, afterXML(reading->value));
}

#endif  // FUZZ_PROPERTYLISTROUNDTRIP_H
