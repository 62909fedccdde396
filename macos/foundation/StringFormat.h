// SPDX-License-Identifier: MIT
//
// NSString's stringWithFormat: as localized texts use it: a format, which a translation may have changed,
// and arguments that are text already. Any thread.
#ifndef MACOS_FOUNDATION_STRINGFORMAT_H
#define MACOS_FOUNDATION_STRINGFORMAT_H

#include <initializer_list>
#include <string>
#include <string_view>

namespace macos {

struct FormatArgument {
  char conversion = '@';  // the letter that stands for it in the format, another one for each argument
  std::string_view text;
};

// Fills in a format in which "%@" is the argument of that letter; a translation may name it by its place,
// "%1$@", to change the order. "%%" is a percent sign. Any other text stays as it is.
std::string stringWithFormat(std::string_view format, std::initializer_list<FormatArgument> arguments);

// In the quotation marks in which the system's English texts put names.
std::string quotedName(std::string_view name);

}  // namespace macos

#endif  // MACOS_FOUNDATION_STRINGFORMAT_H
