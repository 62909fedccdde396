// SPDX-License-Identifier: MIT
#include "macos/foundation/PropertyList.h"

#include "macos/foundation/PropertyListCodecs.h"

namespace macos {

namespace {

// An XML list when it is one, else an old-style list. Of two failures the XML reader's comes first.
Result<PropertyListReading> readText(std::string_view bytes) {
  PropertyListText decoded;
  if (Status status = decodePropertyListText(bytes, decoded); !status.ok()) return status;
  Result<Value> xml = readXMLPropertyList(decoded.text);
  if (xml) return PropertyListReading{std::move(*xml), NSPropertyListFormat::XML};
  Result<Value> openStep = readOpenStepPropertyList(decoded.text);
  if (openStep) return PropertyListReading{std::move(*openStep), NSPropertyListFormat::OpenStep};
  return Status(ErrorCode::Corrupt, xml.status().message(), openStep.status().message());
}

}  // namespace

Result<PropertyListReading> NSPropertyListSerialization::propertyListWithData(std::string_view bytes) {
  if (bytes.empty()) return corruptPropertyList("property list", 0, "nothing there");
  if (!hasBinaryPropertyListMagic(bytes)) return readText(bytes);
  Result<Value> binary = readBinaryPropertyList(bytes);
  if (binary) return PropertyListReading{std::move(*binary), NSPropertyListFormat::Binary};
  Result<PropertyListReading> text = readText(bytes);
  // A binary list that was cut short within its header is no string for that.
  if (text && text->value.kind() != Value::Kind::String) return text;
  return binary.status();
}

Result<std::string> NSPropertyListSerialization::dataWithPropertyList(const Value& value,
                                                                      NSPropertyListFormat format) {
  switch (format) {
    case NSPropertyListFormat::Binary:
      return writeBinaryPropertyList(value);
    case NSPropertyListFormat::XML:
      return writeXMLPropertyList(value);
    case NSPropertyListFormat::OpenStep:
      break;
  }
  return Status(ErrorCode::InvalidArgument, "property list", "no writer for the old-style format");
}

}  // namespace macos
