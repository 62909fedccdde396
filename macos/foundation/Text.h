// SPDX-License-Identifier: MIT
//
// Text as the platform sees it, over UTF-8 strings: UTF-16 units, Mac encodings, comparison, case
// folding and the decomposition that Mac file systems use. Pure; any thread. Nothing here knows a locale:
// the rules are those of the platform's calls without one. Malformed UTF-8 never fails; it counts as
// U+FFFD, one for each maximal part of a sequence.
#ifndef MACOS_FOUNDATION_TEXT_H
#define MACOS_FOUNDATION_TEXT_H

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace macos {

struct CodePoint {
  char32_t value = 0;      // U+FFFD when malformed
  std::size_t length = 0;  // bytes that it takes
  bool isMalformed = false;
};
// REQUIRES: index < text.size()
CodePoint codePointAt(std::string_view text, std::size_t index);
// A surrogate, or a number beyond U+10FFFF, is appended as U+FFFD.
void appendUTF8(std::string& text, char32_t codePoint);

// UTF-8 to UTF-16 and back. Malformed bytes and lone surrogates become U+FFFD.
std::u16string utf16FromUTF8(std::string_view text);
std::string utf8FromUTF16(std::u16string_view units);
// The length in UTF-16 units: NSString's -length.
std::size_t utf16Length(std::string_view text);
bool isASCII(std::string_view bytes);
bool isValidUTF8(std::string_view bytes);
// The same text with every malformed sequence replaced by U+FFFD.
std::string validUTF8(std::string_view bytes);

// Mac Roman (platform encoding 0) by Apple's published table, character by character: compose text that
// may be decomposed first. Empty when a character has no place in it.
std::optional<std::string> macRomanFromUTF8(std::string_view text);
std::string utf8FromMacRoman(std::string_view bytes);

// The form in which the Mac's file systems keep names: canonical decomposition, except U+2000–U+2FFF,
// U+F900–U+FAFF and U+2F800–U+2FAFF, which stay.
std::string decomposedForFileSystem(std::string_view text);
std::string composed(std::string_view text);  // NFC
// Whether a disk would take two names for one: equal up to normalization, and in letter case too unless
// it is case-sensitive. A name that is not valid UTF-8 equals only its own bytes.
bool isSameFileName(std::string_view a, std::string_view b, bool caseSensitive);

// CFStringCompare(a, b, 0), isEqualToString:'s order: by UTF-16 units, so that U+FB01 comes after U+1F600.
std::strong_ordering compareLiteral(std::string_view a, std::string_view b);
// CFStringCompare with kCFCompareCaseInsensitive: by folded code points (here U+FB01 comes first, and
// "ß" is "ss"); literal otherwise, so that composed and decomposed spellings differ.
std::weak_ordering compareCaseInsensitiveLiteral(std::string_view a, std::string_view b);
// NSString compare: and caseInsensitiveCompare:, to which canonically equivalent texts are the same.
std::weak_ordering compareNonliteral(std::string_view a, std::string_view b);
std::weak_ordering compareCaseInsensitive(std::string_view a, std::string_view b);

// rangeOfString:options: with NSCaseInsensitiveSearch: whether the word, or a spelling equivalent to it,
// stands in the text. An empty word stands nowhere.
bool containsCaseInsensitive(std::string_view text, std::string_view word);

// A–Z made small; every other byte stays. For names that are ASCII by their format.
std::string lowercaseASCII(std::string_view text);

// NSString's -boolValue: after white space, a sign and zeros comes Y, y, T, t or 1 to 9.
bool boolValue(std::string_view text);
// NSString's -integerValue: the number at the start, kept within 64 bits; 0 when there is none.
std::int64_t integerValue(std::string_view text);

}  // namespace macos

#endif  // MACOS_FOUNDATION_TEXT_H
