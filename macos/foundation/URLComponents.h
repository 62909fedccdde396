// SPDX-License-Identifier: MIT
//
// The components of a URL's text, as views into it, and the operations on that text from which NSURL is
// made. Private to NSURL. Pure; any thread.
#ifndef MACOS_FOUNDATION_URLCOMPONENTS_H
#define MACOS_FOUNDATION_URLCOMPONENTS_H

#include <optional>
#include <string>
#include <string_view>

namespace macos {

struct URLComponents {
  std::optional<std::string_view> scheme;
  // What stands between "//" and the path.
  std::optional<std::string_view> authority;
  // Points into the text also when it is empty, except for a URL without a path ("mailto:x").
  std::string_view path;
  std::optional<std::string_view> query;
  std::optional<std::string_view> fragment;
  // False for "mailto:x" and "file:", which have a scheme and nothing that could be taken apart.
  bool isHierarchical = true;
};
URLComponents componentsOfURL(std::string_view text);

struct URLAuthority {
  std::optional<std::string_view> user;
  std::optional<std::string_view> password;
  // Without the brackets of a literal address. Absent when the whole authority is empty.
  std::optional<std::string_view> host;
  std::optional<std::string_view> port;
};
URLAuthority partsOfAuthority(std::string_view authority);

// Whether the strict older parser takes the text.
bool isLegalURL(std::string_view text);
// The text of a URL resolved against an absolute one.
std::string resolvedURL(std::string_view text, std::string_view base);
// A path's bytes as a URL's path holds them: valid parts decomposed, then everything escaped that a
// file's URL escapes, ';' among it.
std::string escapedPath(std::string_view path);

}  // namespace macos

#endif  // MACOS_FOUNDATION_URLCOMPONENTS_H
