// SPDX-License-Identifier: MIT
//
// The values that the arguments of "defaults write" spell: with a type ("-int 5", "-array a b"), or
// without one, as a property list where the text is one and else as a string. Pure.
#ifndef TOOLS_DEFAULTS_ARGUMENTS_H
#define TOOLS_DEFAULTS_ARGUMENTS_H

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "macos/foundation/Value.h"

namespace vennick {

// What to do with the value of a key.
struct NewValue {
  enum class Change { Replace, AddToArray, AddToDictionary };
  Change change = Change::Replace;
  macos::Value value;
};

// The value, or what is wrong with the arguments.
std::variant<NewValue, std::string> newValueFromArguments(const std::vector<std::string>& arguments);

}  // namespace vennick

#endif  // TOOLS_DEFAULTS_ARGUMENTS_H
