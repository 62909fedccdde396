// SPDX-License-Identifier: MIT
#include "macos/foundation/StringsFile.h"

#include "macos/foundation/PropertyList.h"

namespace macos {

Result<Dictionary> stringsTableWithData(std::string_view bytes) {
  // The forms tell themselves apart: a compiled table is a binary list, and the text of one is what an
  // old-style list is without its braces.
  Result<PropertyListReading> reading = NSPropertyListSerialization::propertyListWithData(bytes);
  if (!reading) return reading.status();
  const Dictionary* entries = reading->value.ifDictionary();
  if (entries == nullptr) return Status(ErrorCode::Corrupt, "string table", "no dictionary");
  Dictionary table;
  for (const auto& entry : *entries) {
    if (entry.value().kind() == Value::Kind::String) table.set(entry.key(), entry.value());
  }
  return table;
}

}  // namespace macos
