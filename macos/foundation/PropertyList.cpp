// SPDX-License-Identifier: MIT
#include "macos/foundation/PropertyList.h"

#include <algorithm>
#include <utility>

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

// What is nested too deep for any list is not looked at.
bool isWritable(const Value& value, std::size_t depth) {
  if (!hasPropertyListForm(value)) return false;
  if (depth >= kPropertyListMaximumDepth) return true;
  if (const Array* array = value.ifArray()) {
    return std::all_of(array->begin(), array->end(),
                       [depth](const Value& element) { return isWritable(element, depth + 1); });
  }
  if (const Dictionary* dictionary = value.ifDictionary()) {
    return std::all_of(dictionary->begin(), dictionary->end(),
                       [depth](const auto& entry) { return isWritable(entry.value(), depth + 1); });
  }
  return true;
}

Value writablePart(const Value& value, std::size_t depth) {
  if (depth >= kPropertyListMaximumDepth) return value;
  if (const Array* array = value.ifArray()) {
    Array part;
    for (const Value& element : *array) {
      if (hasPropertyListForm(element)) part.append(writablePart(element, depth + 1));
    }
    return Value(std::move(part));
  }
  if (const Dictionary* dictionary = value.ifDictionary()) {
    Dictionary part;
    for (const auto& entry : *dictionary) {
      if (hasPropertyListForm(entry.value())) part.set(entry.key(), writablePart(entry.value(), depth + 1));
    }
    return Value(std::move(part));
  }
  return value;
}

}  // namespace

bool hasPropertyListForm(const Value& value) {
  if (const auto date = value.ifDate()) return isInCalendar(*date);
  return !value.isNull() && value.ifURL() == nullptr;
}

Value writablePropertyList(const Value& value) {
  return isWritable(value, 0) ? value : writablePart(value, 0);
}

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
