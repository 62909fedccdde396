// SPDX-License-Identifier: MIT
//
// Kinds of ASCII characters, as formats and grammars ask for them: whatever the locale. Any other byte is of
// none of the kinds. Pure; any thread.
#ifndef MACOS_FOUNDATION_ASCII_H
#define MACOS_FOUNDATION_ASCII_H

namespace macos {

inline bool isASCIIDigit(char c) { return c >= '0' && c <= '9'; }
inline bool isASCIILetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
// -1 when the character is no hexadecimal digit.
inline int hexDigitValue(char c) {
  if (isASCIIDigit(c)) return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

}  // namespace macos

#endif  // MACOS_FOUNDATION_ASCII_H
