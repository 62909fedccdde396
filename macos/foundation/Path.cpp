// SPDX-License-Identifier: MIT
//
// The functions over a path's text.
#include "macos/foundation/Path.h"

#include <algorithm>

#include "macos/foundation/Text.h"

namespace macos {

namespace {

bool forbidsExtension(char32_t c) {
  return c == ' ' || c == '/' || c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
         (c >= 0x2066 && c <= 0x2069);
}

// Where the last component begins in a path without slashes at its end.
std::size_t lastComponentStart(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? 0 : slash + 1;
}

}  // namespace

std::string_view withoutTrailingSlashes(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

std::size_t extensionDot(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size()) return std::string_view::npos;
  for (std::size_t i = dot + 1; i < name.size();) {
    const CodePoint c = codePointAt(name, i);
    if (forbidsExtension(c.value)) return std::string_view::npos;
    i += c.length;
  }
  return dot;
}

std::string lastPathComponent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  if (path == "/") return "/";
  return std::string(path.substr(lastComponentStart(path)));
}

std::string pathByDeletingLastPathComponent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  const std::size_t start = lastComponentStart(path);
  if (start == 0) return "";
  return std::string(withoutTrailingSlashes(path.substr(0, start)));
}

std::string pathByAppendingComponent(std::string_view path, std::string_view component) {
  std::string result;
  result.reserve(path.size() + 1 + component.size());
  const auto append = [&result](std::string_view part) {
    for (const char c : part) {
      if (c != '/' || result.empty() || result.back() != '/') result.push_back(c);
    }
  };
  append(path);
  if (!path.empty() && !component.empty()) append("/");
  append(component);
  result.resize(withoutTrailingSlashes(result).size());
  return result;
}

std::string pathExtension(std::string_view path) {
  path = withoutTrailingSlashes(path);
  const std::string_view name = path.substr(lastComponentStart(path));
  const std::size_t dot = extensionDot(name);
  return dot == std::string_view::npos ? "" : std::string(name.substr(dot + 1));
}

std::string pathByDeletingExtension(std::string_view path) {
  path = withoutTrailingSlashes(path);
  const std::size_t start = lastComponentStart(path);
  const std::size_t dot = extensionDot(path.substr(start));
  return std::string(dot == std::string_view::npos ? path : path.substr(0, start + dot));
}

std::vector<std::string> pathComponents(std::string_view path) {
  std::vector<std::string> components;
  if (path.empty()) return components;
  if (path.front() == '/') components.emplace_back("/");
  for (std::size_t i = 0; i < path.size();) {
    const std::size_t end = std::min(path.find('/', i), path.size());
    if (end > i) components.emplace_back(path.substr(i, end - i));
    i = end + 1;
  }
  if (path.size() > 1 && path.back() == '/') components.emplace_back("/");
  return components;
}

std::string absolutePath(std::string_view path) {
  if (!path.empty() && path.front() == '/') return std::string(path);
  return "/" + std::string(path);
}

}  // namespace macos
