// SPDX-License-Identifier: MIT
#include "macos/foundation/StringFormat.h"

#include "macos/foundation/Text.h"

namespace macos {

namespace {

// How many bytes of the format stand for its argument of that place; 0 when it does not begin with that.
std::size_t directiveLength(std::string_view format, char conversion, std::size_t place) {
  if (format.starts_with(std::string{'%', conversion})) return 2;
  const std::string byPlace = "%" + std::to_string(place) + "$" + conversion;
  return format.starts_with(byPlace) ? byPlace.size() : 0;
}

}  // namespace

std::string stringWithFormat(std::string_view format, std::initializer_list<FormatArgument> arguments) {
  std::string text;
  while (!format.empty()) {
    std::size_t length = format.starts_with("%%") ? 2 : 0;
    std::string_view shown = "%";
    for (std::size_t i = 0; length == 0 && i < arguments.size(); ++i) {
      const FormatArgument& argument = arguments.begin()[i];
      length = directiveLength(format, argument.conversion, i + 1);
      shown = argument.text;
    }
    if (length == 0) {
      shown = format.substr(0, 1);
      length = 1;
    }
    text += shown;
    format.remove_prefix(length);
  }
  return text;
}

std::string quotedName(std::string_view name) { return "“" + validUTF8(name) + "”"; }

}  // namespace macos
