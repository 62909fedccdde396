// SPDX-License-Identifier: MIT
//
// Normalization, folding and the orders that rest on them. utf8proc knows the characters; the walk over
// a text is ours, because its own puts combining marks in order by swapping neighbours, which a text of
// a million marks would turn into hours.
#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <vector>

#include "macos/foundation/Text.h"

namespace macos {

namespace {

using CodePoints = std::vector<utf8proc_int32_t>;

enum class Form { Canonical, FileSystem };

bool staysWhole(char32_t c) {
  return (c >= 0x2000 && c <= 0x2FFF) || (c >= 0xF900 && c <= 0xFAFF) || (c >= 0x2F800 && c <= 0x2FAFF);
}

int combiningClass(utf8proc_int32_t c) { return c < 0x300 ? 0 : utf8proc_get_property(c)->combining_class; }

// No character of Unicode expands to more than four under these options.
constexpr std::size_t kLongestExpansion = 8;

// Appends what the options make of one character.
void appendExpanded(CodePoints& out, char32_t c, int options) {
  std::array<utf8proc_int32_t, kLongestExpansion> buffer{};
  int boundary = 0;
  const auto count = utf8proc_decompose_char(static_cast<utf8proc_int32_t>(c), buffer.data(), buffer.size(),
                                             static_cast<utf8proc_option_t>(options), &boundary);
  if (count < 0 || static_cast<std::size_t>(count) > buffer.size()) {
    out.push_back(static_cast<utf8proc_int32_t>(c));
    return;
  }
  out.insert(out.end(), buffer.begin(), buffer.begin() + count);
}

void orderMarks(CodePoints& text) {
  for (auto from = text.begin(); from != text.end();) {
    if (combiningClass(*from) == 0) {
      ++from;
      continue;
    }
    const auto to = std::find_if(from, text.end(), [](auto c) { return combiningClass(c) == 0; });
    if (to - from > 1) {
      std::stable_sort(from, to, [](auto a, auto b) { return combiningClass(a) < combiningClass(b); });
    }
    from = to;
  }
}

CodePoints decomposition(std::string_view text, Form form) {
  CodePoints out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const CodePoint c = codePointAt(text, i);
    i += c.length;
    if (c.value < 0x80 || (form == Form::FileSystem && staysWhole(c.value))) {
      out.push_back(static_cast<utf8proc_int32_t>(c.value));
    } else {
      appendExpanded(out, c.value, UTF8PROC_DECOMPOSE);
    }
  }
  orderMarks(out);
  return out;
}

// Folded after one decomposition and decomposed again: U+0345, a mark, folds to a letter, so that the
// order of the marks around it has to be settled before and after.
CodePoints caselessDecomposition(std::string_view text) {
  const CodePoints whole = decomposition(text, Form::Canonical);
  CodePoints out;
  out.reserve(whole.size());
  for (const auto c : whole) {
    appendExpanded(out, static_cast<char32_t>(c), UTF8PROC_CASEFOLD | UTF8PROC_DECOMPOSE);
  }
  orderMarks(out);
  return out;
}

std::string utf8FromCodePoints(const CodePoints& codePoints) {
  std::string text;
  text.reserve(codePoints.size());
  for (const auto c : codePoints) appendUTF8(text, static_cast<char32_t>(c));
  return text;
}

char foldedASCII(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

std::weak_ordering compareFoldedASCII(std::string_view a, std::string_view b) {
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i) {
    const char x = foldedASCII(a[i]);
    const char y = foldedASCII(b[i]);
    if (x != y) return x <=> y;
  }
  return a.size() <=> b.size();
}

std::weak_ordering compareCodePoints(const CodePoints& a, const CodePoints& b) {
  return std::lexicographical_compare_three_way(a.begin(), a.end(), b.begin(), b.end());
}

// The folded code points of a text, one after the other.
class FoldedText {
 public:
  explicit FoldedText(std::string_view text) : text_(text) {}

  bool atEnd() const { return place_ == pending_.size() && index_ == text_.size(); }
  // REQUIRES: !atEnd()
  utf8proc_int32_t next() {
    if (place_ == pending_.size()) {
      pending_.clear();
      place_ = 0;
      const CodePoint c = codePointAt(text_, index_);
      index_ += c.length;
      if (c.value < 0x80) return foldedASCII(static_cast<char>(c.value));
      appendExpanded(pending_, c.value, UTF8PROC_CASEFOLD);
    }
    return pending_[place_++];
  }

 private:
  std::string_view text_;
  std::size_t index_ = 0;
  CodePoints pending_;
  std::size_t place_ = 0;
};

}  // namespace

std::string decomposedForFileSystem(std::string_view text) {
  return isASCII(text) ? std::string(text) : utf8FromCodePoints(decomposition(text, Form::FileSystem));
}

std::string composed(std::string_view text) {
  if (isASCII(text)) return std::string(text);
  CodePoints codePoints = decomposition(text, Form::Canonical);
  const auto count =
      utf8proc_normalize_utf32(codePoints.data(), static_cast<utf8proc_ssize_t>(codePoints.size()),
                               static_cast<utf8proc_option_t>(UTF8PROC_COMPOSE | UTF8PROC_STABLE));
  if (count >= 0) codePoints.resize(static_cast<std::size_t>(count));
  return utf8FromCodePoints(codePoints);
}

bool isSameFileName(std::string_view a, std::string_view b, bool caseSensitive) {
  if (a == b) return true;
  if (isASCII(a) && isASCII(b)) return !caseSensitive && std::is_eq(compareFoldedASCII(a, b));
  if (!isValidUTF8(a) || !isValidUTF8(b)) return false;
  return std::is_eq(caseSensitive ? compareNonliteral(a, b) : compareCaseInsensitive(a, b));
}

std::strong_ordering compareLiteral(std::string_view a, std::string_view b) {
  const auto [x, y] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  if (x == a.end() || y == b.end()) return a.size() <=> b.size();
  // Bytes of UTF-8 stand in the order of code points. Only the units of U+E000–U+FFFF, whose first byte
  // is EE or EF, come after those of the characters beyond, whose first byte is F0 or more.
  const auto rank = [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte == 0xEE || byte == 0xEF ? byte + 0x100 : byte;
  };
  return rank(*x) <=> rank(*y);
}

std::weak_ordering compareCaseInsensitiveLiteral(std::string_view a, std::string_view b) {
  if (isASCII(a) && isASCII(b)) return compareFoldedASCII(a, b);
  FoldedText x(a);
  FoldedText y(b);
  while (!x.atEnd() && !y.atEnd()) {
    const auto order = x.next() <=> y.next();
    if (std::is_neq(order)) return order;
  }
  return y.atEnd() <=> x.atEnd();
}

std::weak_ordering compareNonliteral(std::string_view a, std::string_view b) {
  if (isASCII(a) && isASCII(b)) return compareLiteral(a, b);
  return compareCodePoints(decomposition(a, Form::Canonical), decomposition(b, Form::Canonical));
}

std::weak_ordering compareCaseInsensitive(std::string_view a, std::string_view b) {
  if (isASCII(a) && isASCII(b)) return compareFoldedASCII(a, b);
  return compareCodePoints(caselessDecomposition(a), caselessDecomposition(b));
}

bool containsCaseInsensitive(std::string_view text, std::string_view word) {
  const CodePoints folded = caselessDecomposition(text);
  const CodePoints sought = caselessDecomposition(word);
  return !sought.empty() &&
         std::search(folded.begin(), folded.end(), sought.begin(), sought.end()) != folded.end();
}

}  // namespace macos
