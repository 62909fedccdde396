// SPDX-License-Identifier: MIT
#include "macos/foundation/URLComponents.h"

#include <algorithm>
#include <vector>

#include "macos/foundation/ASCII.h"
#include "macos/foundation/Text.h"
#include "macos/foundation/URL.h"

namespace macos {

namespace {

bool isLetterOrDigit(char c) { return isASCIILetter(c) || isASCIIDigit(c); }

bool isOneOf(char c, std::string_view set) { return set.find(c) != std::string_view::npos; }

bool isEscape(std::string_view text, std::size_t index) {
  return text[index] == '%' && index + 2 < text.size() && hexDigitValue(text[index + 1]) >= 0 &&
         hexDigitValue(text[index + 2]) >= 0;
}

void appendEscaped(std::string& text, char byte) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto value = static_cast<unsigned char>(byte);
  text.push_back('%');
  text.push_back(kDigits[value >> 4U]);
  text.push_back(kDigits[value & 0xFU]);
}

// A file's path may also hold ';', '?' and '#', which would end the path of a URL: they are escaped, as
// is '%'. ';' once separated a path's parameters, and still is never left bare.
bool standsForItselfInPath(char c) { return isLetterOrDigit(c) || isOneOf(c, "-._~!$&'()*+,=:@/"); }

bool isLegalInURL(char c) { return isLetterOrDigit(c) || isOneOf(c, "!$&'()*+,-./:;=?@_~[]"); }

std::optional<std::string_view> schemeOf(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos || colon == 0 || !isASCIILetter(text.front())) return std::nullopt;
  const std::string_view scheme = text.substr(0, colon);
  if (!std::all_of(scheme.begin(), scheme.end(),
                   [](char c) { return isLetterOrDigit(c) || isOneOf(c, "+-."); })) {
    return std::nullopt;
  }
  return scheme;
}

std::vector<std::string_view> segmentsOf(std::string_view path) {
  std::vector<std::string_view> segments;
  for (std::size_t i = 0;;) {
    const std::size_t slash = path.find('/', i);
    segments.push_back(path.substr(i, slash == std::string_view::npos ? slash : slash - i));
    if (slash == std::string_view::npos) return segments;
    i = slash + 1;
  }
}

// Removes "." and, where there is a segment to leave, ".."; those that would lead above the top stay.
std::string withoutDotSegments(std::string_view path) {
  std::vector<std::string_view> kept;
  const std::vector<std::string_view> segments = segmentsOf(path);
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const bool isLast = i + 1 == segments.size();
    const bool canLeave = kept.size() > 1 && kept.back() != "..";
    if (segments[i] == ".") {
      if (isLast) kept.emplace_back();
    } else if (segments[i] == ".." && canLeave) {
      kept.pop_back();
      if (isLast) kept.emplace_back();
    } else {
      kept.push_back(segments[i]);
    }
  }
  std::string result;
  for (std::size_t i = 0; i < kept.size(); ++i) {
    if (i > 0) result.push_back('/');
    result.append(kept[i]);
  }
  return result;
}

// The part of the text up to the end of a view into it.
std::string_view upToEndOf(std::string_view text, std::string_view part) {
  return text.substr(0, static_cast<std::size_t>(part.data() - text.data()) + part.size());
}

}  // namespace

URLComponents componentsOfURL(std::string_view text) {
  URLComponents components;
  std::string_view rest = text;
  components.scheme = schemeOf(text);
  if (components.scheme) {
    rest.remove_prefix(components.scheme->size() + 1);
    if (rest.empty() || rest.front() != '/') {
      components.isHierarchical = false;
      return components;
    }
  }
  if (rest.starts_with("//")) {
    rest.remove_prefix(2);
    components.authority = rest.substr(0, rest.find_first_of("/?#"));
    rest.remove_prefix(components.authority->size());
  }
  components.path = rest.substr(0, rest.find_first_of("?#"));
  rest.remove_prefix(components.path.size());
  if (rest.starts_with('?')) {
    components.query = rest.substr(1, rest.find('#') - 1);
    rest.remove_prefix(components.query->size() + 1);
  }
  if (rest.starts_with('#')) components.fragment = rest.substr(1);
  return components;
}

URLAuthority partsOfAuthority(std::string_view authority) {
  URLAuthority parts;
  if (authority.empty()) return parts;
  const std::size_t at = authority.rfind('@');
  if (at != std::string_view::npos) {
    const std::string_view userInfo = authority.substr(0, at);
    const std::size_t colon = userInfo.find(':');
    parts.user = userInfo.substr(0, colon);
    if (colon != std::string_view::npos) parts.password = userInfo.substr(colon + 1);
    authority.remove_prefix(at + 1);
  }
  std::size_t hostEnd = authority.rfind(':');
  if (authority.starts_with('[')) {
    const std::size_t bracket = std::min(authority.find(']'), authority.size());
    parts.host = authority.substr(1, bracket - 1);
    hostEnd = authority.find(':', bracket);
  } else {
    parts.host = authority.substr(0, hostEnd);
  }
  if (hostEnd != std::string_view::npos) parts.port = authority.substr(hostEnd + 1);
  return parts;
}

bool isLegalURL(std::string_view text) {
  bool hasFragment = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '#') {
      if (hasFragment) return false;
      hasFragment = true;
    } else if (!isLegalInURL(text[i]) && !isEscape(text, i)) {
      return false;
    }
  }
  return true;
}

std::string resolvedURL(std::string_view text, std::string_view base) {
  const URLComponents relative = componentsOfURL(text);
  if (relative.scheme) return std::string(text);
  const URLComponents against = componentsOfURL(base);
  if (!against.isHierarchical) return std::string(text);
  if (relative.authority) {
    return against.scheme ? std::string(*against.scheme) + ":" + std::string(text) : std::string(text);
  }
  if (relative.path.empty()) {
    const std::string_view kept =
        relative.query ? upToEndOf(base, against.path) : base.substr(0, base.find('#'));
    return std::string(kept) + std::string(text);
  }
  const std::string_view beforePath =
      base.substr(0, static_cast<std::size_t>(against.path.data() - base.data()));
  // A path from the top is taken as it stands, dots and all.
  if (relative.path.starts_with('/')) return std::string(beforePath) + std::string(text);

  const std::size_t folderEnd = against.path.rfind('/');
  std::string merged(against.path.substr(0, folderEnd == std::string_view::npos ? 0 : folderEnd + 1));
  if (merged.empty() && against.authority) merged = "/";
  merged.append(relative.path);
  return std::string(beforePath) + withoutDotSegments(merged) +
         std::string(text.substr(relative.path.size()));
}

std::string escapedPath(std::string_view path) {
  std::string escaped;
  escaped.reserve(path.size() + 16);
  const auto escape = [&escaped](std::string_view bytes) {
    for (const char byte : bytes) {
      if (standsForItselfInPath(byte)) {
        escaped.push_back(byte);
      } else {
        appendEscaped(escaped, byte);
      }
    }
  };
  if (isASCII(path)) {
    escape(path);
    return escaped;
  }
  for (std::size_t i = 0; i < path.size();) {
    std::size_t end = i;
    while (end < path.size()) {
      const CodePoint c = codePointAt(path, end);
      if (c.isMalformed) break;
      end += c.length;
    }
    escape(decomposedForFileSystem(path.substr(i, end - i)));
    if (end < path.size()) {
      const std::size_t length = codePointAt(path, end).length;
      escape(path.substr(end, length));
      end += length;
    }
    i = end;
  }
  return escaped;
}

std::string stringByAddingPercentEscapes(std::string_view text, std::string_view alsoEscape) {
  std::string escaped;
  escaped.reserve(text.size());
  for (const char byte : text) {
    const bool isLegal = isLegalInURL(byte) && byte != '[' && byte != ']';
    if (isLegal && !isOneOf(byte, alsoEscape)) {
      escaped.push_back(byte);
    } else {
      appendEscaped(escaped, byte);
    }
  }
  return escaped;
}

std::string bytesByRemovingPercentEscapes(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isEscape(text, i)) {
      bytes.push_back(static_cast<char>(hexDigitValue(text[i + 1]) * 16 + hexDigitValue(text[i + 2])));
      i += 2;
    } else {
      bytes.push_back(text[i]);
    }
  }
  return bytes;
}

}  // namespace macos
