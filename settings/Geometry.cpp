// SPDX-License-Identifier: MIT
#include "settings/Geometry.h"

#include <charconv>
#include <cmath>

namespace vennick {
namespace {

std::string shortest(double number) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, number).ptr;
  return {text, end};
}

bool startsNumber(char c) { return (c >= '0' && c <= '9') || c == '-'; }

// The next number of the text, which is cut behind it; 0 when there is none, and for one that is too large.
double nextNumber(std::string_view& text) {
  while (!text.empty()) {
    if (startsNumber(text.front())) {
      double number = 0;
      const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
      // "-inf" and "-nan" are no numbers here.
      if (error != std::errc::invalid_argument && std::isfinite(number)) {
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
        return error == std::errc() ? number : 0;
      }
    }
    text.remove_prefix(1);
  }
  return 0;
}

}  // namespace

std::string NSStringFromRect(const NSRect& rect) {
  return "{{" + shortest(rect.x) + ", " + shortest(rect.y) + "}, {" + shortest(rect.width) + ", " +
         shortest(rect.height) + "}}";
}

NSRect NSRectFromString(std::string_view text) {
  NSRect rect;
  rect.x = nextNumber(text);
  rect.y = nextNumber(text);
  rect.width = nextNumber(text);
  rect.height = nextNumber(text);
  return rect;
}

}  // namespace vennick
