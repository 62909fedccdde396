// SPDX-License-Identifier: MIT
#include "tools/defaults/Arguments.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>

#include "macos/foundation/PropertyList.h"

namespace vennick {

using macos::Array;
using macos::Dictionary;
using macos::Value;

namespace {

// One value is read at a time, from the front.
class Arguments {
 public:
  explicit Arguments(const std::vector<std::string>& arguments)
      : next_(arguments.begin()), end_(arguments.end()) {}

  bool empty() const { return next_ == end_; }
  const std::string& peek() const { return *next_; }
  // Empty behind the end.
  std::string take() { return empty() ? std::string() : *next_++; }

 private:
  std::vector<std::string>::const_iterator next_;
  std::vector<std::string>::const_iterator end_;
};

// A text that is a whole property list in any form is that list; any other text is a string.
Value valueFromText(const std::string& text) {
  auto reading = macos::NSPropertyListSerialization::propertyListWithData(text);
  // White space alone is an empty dictionary to the reader, but to a user it is a string.
  const bool isBlank = text.find_first_not_of(" \t\n\r") == std::string::npos;
  return reading.ok() && !isBlank ? std::move(reading->value) : Value(text);
}

std::optional<Value> integerFromText(std::string_view text) {
  text.remove_prefix(text.starts_with('+') ? 1 : 0);
  std::int64_t number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isWhole = result.ec == std::errc() && result.ptr == text.data() + text.size();
  return isWhole ? std::optional(Value(number)) : std::nullopt;
}

std::optional<Value> realFromText(std::string_view text) {
  double number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isWhole = result.ec == std::errc() && result.ptr == text.data() + text.size();
  return isWhole ? std::optional(Value(number)) : std::nullopt;
}

std::optional<Value> booleanFromText(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  if (text == "true" || text == "yes" || text == "1") {
    return Value(true);
  }
  if (text == "false" || text == "no" || text == "0") {
    return Value(false);
  }
  return std::nullopt;
}

// The old-style form of data and the XML form of a date are read by the readers that know them.
std::optional<Value> dataFromText(const std::string& text) {
  auto reading = macos::NSPropertyListSerialization::propertyListWithData("(<" + text + ">)");
  const Array* list = reading.ok() ? reading->value.ifArray() : nullptr;
  const bool isData = list != nullptr && list->size() == 1 && (*list)[0].ifData();
  return isData ? std::optional((*list)[0]) : std::nullopt;
}

std::optional<Value> dateFromText(const std::string& text) {
  // "2001-01-01 00:00:00 +0000", as dates are shown, or "2001-01-01T00:00:00Z".
  std::string form = text;
  if (form.size() == 25 && form.ends_with(" +0000") && form[10] == ' ') {
    form = form.substr(0, 10) + "T" + form.substr(11, 8) + "Z";
  }
  if (form.find_first_of("<&") != std::string::npos) {
    return std::nullopt;
  }
  auto reading =
      macos::NSPropertyListSerialization::propertyListWithData("<plist><date>" + form + "</date></plist>");
  return reading.ok() && reading->value.ifDate() ? std::optional(std::move(reading->value)) : std::nullopt;
}

using Scalar = std::optional<Value> (*)(const std::string&);

Scalar scalarForType(std::string_view type) {
  if (type == "-string") return [](const std::string& text) { return std::optional(Value(text)); };
  if (type == "-int" || type == "-integer") {
    return [](const std::string& text) { return integerFromText(text); };
  }
  if (type == "-float") return [](const std::string& text) { return realFromText(text); };
  if (type == "-bool" || type == "-boolean") {
    return [](const std::string& text) { return booleanFromText(text); };
  }
  if (type == "-data") return dataFromText;
  if (type == "-date") return dateFromText;
  return nullptr;
}

// One value: typed, or a text by itself. A text that only looks like a type is a text.
std::optional<Value> takeValue(Arguments& arguments) {
  const std::string text = arguments.take();
  const Scalar scalar = scalarForType(text);
  return scalar != nullptr ? scalar(arguments.take()) : std::optional(valueFromText(text));
}

std::optional<Value> takeArray(Arguments& arguments) {
  Array array;
  while (!arguments.empty()) {
    auto value = takeValue(arguments);
    if (!value) {
      return std::nullopt;
    }
    array.append(*std::move(value));
  }
  return Value(std::move(array));
}

std::optional<Value> takeDictionary(Arguments& arguments) {
  Dictionary dictionary;
  while (!arguments.empty()) {
    const std::string key = arguments.take();
    auto value = arguments.empty() ? std::nullopt : takeValue(arguments);
    if (!value) {
      return std::nullopt;
    }
    dictionary.set(key, *std::move(value));
  }
  return Value(std::move(dictionary));
}

}  // namespace

std::variant<NewValue, std::string> newValueFromArguments(const std::vector<std::string>& arguments) {
  if (arguments.empty()) {
    return "there is no value to write";
  }
  Arguments rest(arguments);
  NewValue result;
  std::optional<Value> value;
  const std::string type = rest.peek();
  if (type == "-array" || type == "-array-add") {
    rest.take();
    result.change = type == "-array" ? NewValue::Change::Replace : NewValue::Change::AddToArray;
    value = takeArray(rest);
  } else if (type == "-dict" || type == "-dict-add") {
    rest.take();
    result.change = type == "-dict" ? NewValue::Change::Replace : NewValue::Change::AddToDictionary;
    value = takeDictionary(rest);
  } else {
    value = takeValue(rest);
    if (!rest.empty()) {
      return "\"" + rest.peek() + "\" is one value too many";
    }
  }
  if (!value) {
    return "the value does not fit " + type;
  }
  result.value = *std::move(value);
  return result;
}

}  // namespace vennick
