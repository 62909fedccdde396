// SPDX-License-Identifier: MIT
//
// A rectangle and its text form, "{{x, y}, {w, h}}". Pure; any thread.
#ifndef SETTINGS_GEOMETRY_H
#define SETTINGS_GEOMETRY_H

#include <string>
#include <string_view>

namespace vennick {

struct NSRect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
  friend bool operator==(const NSRect&, const NSRect&) = default;
};

// As many digits as a number needs to be read back, no more.
std::string NSStringFromRect(const NSRect& rect);
// Up to four numbers, whatever stands between them; missing ones are 0, and those that are too large. The
// platform's scanner: a number begins at a digit or '-'.
NSRect NSRectFromString(std::string_view text);

}  // namespace vennick

#endif  // SETTINGS_GEOMETRY_H
