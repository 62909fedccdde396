// SPDX-License-Identifier: MIT
//
// Text as the platform sees it, over UTF-8 strings: UTF-16 units, Mac encodings, comparison, case
// folding and the decomposition that Mac file systems use. Pure; any thread.
#ifndef MACOS_FOUNDATION_TEXT_H
#define MACOS_FOUNDATION_TEXT_H

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace macos {

// UTF-8 to UTF-16 and back. Malformed bytes and lone surrogates become U+FFFD.
std::u16string utf16FromUTF8(std::string_view text);
std::string utf8FromUTF16(std::u16string_view units);
std::size_t utf16Length(std::string_view text);
bool isValidUTF8(std::string_view bytes);
// The same text with every malformed sequence replaced by U+FFFD.
std::string validUTF8(std::string_view bytes);

// Mac Roman (platform encoding 0) by Apple's published table. Empty when a character has no place in it.
std::optional<std::string> macRomanFromUTF8(std::string_view text);
std::string utf8FromMacRoman(std::string_view bytes);

// The form in which the Mac's file systems keep names: canonical decomposition, except U+2000–U+2FFF,
// U+F900–U+FAFF and U+2F800–U+2FAFF, which stay.
std::string decomposedForFileSystem(std::string_view text);
std::string composed(std::string_view text);  // NFC
// Equal up to normalization, and in letter case too when asked for.
bool isSameFileName(std::string_view a, std::string_view b, bool caseSensitive);

// CFStringCompare(a, b, 0), isEqualToString:'s order: by UTF-16 units.
std::strong_ordering compareLiteral(std::string_view a, std::string_view b);
// CFStringCompare with kCFCompareCaseInsensitive: literal otherwise, so that composed and decomposed
// spellings differ.
std::weak_ordering compareCaseInsensitiveLiteral(std::string_view a, std::string_view b);
// NSString compare: and caseInsensitiveCompare:, to which canonically equivalent texts are the same.
std::weak_ordering compareNonliteral(std::string_view a, std::string_view b);
std::weak_ordering compareCaseInsensitive(std::string_view a, std::string_view b);

// NSString's -boolValue and -integerValue.
bool boolValue(std::string_view text);
std::int64_t integerValue(std::string_view text);

}  // namespace macos

#endif  // MACOS_FOUNDATION_TEXT_H
