// SPDX-License-Identifier: MIT
//
// What a URL's text says by itself; URLOnDisk.cpp has what asks the disk.
#include "macos/foundation/URL.h"

#include <algorithm>
#include <charconv>

#include "macos/foundation/Path.h"
#include "macos/foundation/Text.h"
#include "macos/foundation/URLComponents.h"

namespace macos {

namespace {

std::string textOf(std::string_view bytesEscaped) {
  return validUTF8(bytesByRemovingPercentEscapes(bytesEscaped));
}

std::optional<std::string> optionalText(const std::optional<std::string_view>& part) {
  return part ? std::optional<std::string>(*part) : std::nullopt;
}

std::string_view withoutLastSlash(std::string_view path) {
  if (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

std::string_view lastSegment(std::string_view path) {
  path = withoutTrailingSlashes(path);
  if (path == "/") return path;
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

// The path of the folder that holds a path's item, by its text alone.
std::string parentOfPath(std::string_view path) {
  const std::string_view last = lastSegment(path);
  if (last == "." || last == ".." || last == "/") {
    std::string parent(path);
    if (parent.back() != '/') parent.push_back('/');
    parent.append("../");
    // "x/./../" is "x/../"; a path that begins with "/." keeps it.
    const std::size_t dot = parent.size() - std::string_view("/../").size() - 1;
    const bool endsInDot = parent.size() > 4 && parent[dot] == '.';
    if (endsInDot && dot == 0) {
      parent.erase(0, 2);
    } else if (endsInDot && dot > 1 && parent[dot - 1] == '/') {
      parent.erase(dot - 1, 2);
    }
    return parent;
  }
  const auto start = static_cast<std::size_t>(last.data() - path.data());
  return start == 0 ? "./" : std::string(path.substr(0, start));
}

std::string withoutExtension(std::string_view path) {
  const std::string_view name = lastSegment(path);
  if (extensionDot(bytesByRemovingPercentEscapes(name)) == std::string_view::npos) return std::string(path);
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos) return std::string(path);
  const auto start = static_cast<std::size_t>(name.data() - path.data());
  return std::string(path.substr(0, start + dot)) + std::string(path.substr(start + name.size()));
}

// The text with another path.
std::string replacingPath(std::string_view text, const URLComponents& components, std::string_view path) {
  const auto start = static_cast<std::size_t>(components.path.data() - text.data());
  std::string result(text.substr(0, start));
  result.append(path);
  result.append(text.substr(start + components.path.size()));
  return result;
}

}  // namespace

NSURL::NSURL(std::string text, std::shared_ptr<const NSURL> base)
    : text_(std::move(text)), base_(std::move(base)) {}

NSURL NSURL::fileURLWithPathIsDirectory(std::string_view path, bool isDirectory) {
  if (path.find('\0') != std::string_view::npos) return {};
  if (path.empty()) path = "./";
  std::string escaped = escapedPath(isDirectory ? path : withoutTrailingSlashes(path));
  if (isDirectory && escaped.back() != '/') escaped.push_back('/');
  if (path.front() == '/') return {"file://" + escaped, nullptr};
  // A colon in the first component would make a scheme of what stands before it.
  const std::size_t colon = escaped.find(':');
  if (colon < escaped.find('/')) escaped.replace(colon, 1, "%3A");
  return {std::move(escaped), std::make_shared<const NSURL>(NSURL("file:///", nullptr))};
}

std::optional<NSURL> NSURL::URLWithString(std::string_view text) {
  if (!isLegalURL(text)) return std::nullopt;
  return NSURL(std::string(text), nullptr);
}

std::optional<NSURL> NSURL::URLWithStringRelativeToURL(std::string_view text, const NSURL& base) {
  if (text.empty() || !isLegalURL(text)) return std::nullopt;
  // A URL with a scheme stands for itself.
  if (componentsOfURL(text).scheme) return NSURL(std::string(text), nullptr);
  return NSURL(std::string(text), std::make_shared<const NSURL>(base));
}

std::string NSURL::absoluteString() const {
  return base_ ? resolvedURL(text_, base_->absoluteString()) : text_;
}

NSURL NSURL::absoluteURL() const { return base_ ? NSURL(absoluteString(), nullptr) : *this; }

std::string NSURL::scheme() const {
  const std::string text = absoluteString();
  return std::string(componentsOfURL(text).scheme.value_or(""));
}

std::optional<std::string> NSURL::user() const {
  const std::string text = absoluteString();
  const auto user = partsOfAuthority(componentsOfURL(text).authority.value_or("")).user;
  return user ? std::optional<std::string>(textOf(*user)) : std::nullopt;
}

std::optional<std::string> NSURL::password() const {
  const std::string text = absoluteString();
  return optionalText(partsOfAuthority(componentsOfURL(text).authority.value_or("")).password);
}

std::optional<std::string> NSURL::host() const {
  const std::string text = absoluteString();
  const auto host = partsOfAuthority(componentsOfURL(text).authority.value_or("")).host;
  return host ? std::optional<std::string>(textOf(*host)) : std::nullopt;
}

std::optional<int> NSURL::port() const {
  const std::string text = absoluteString();
  const std::string_view digits =
      partsOfAuthority(componentsOfURL(text).authority.value_or("")).port.value_or("");
  int number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool isNumber = error == std::errc() && end == digits.data() + digits.size() && number >= 0;
  return isNumber ? std::optional<int>(number) : std::nullopt;
}

std::optional<std::string> NSURL::query() const {
  const std::string text = absoluteString();
  return optionalText(componentsOfURL(text).query);
}

std::optional<std::string> NSURL::fragment() const {
  const std::string text = absoluteString();
  return optionalText(componentsOfURL(text).fragment);
}

bool NSURL::isFileURL() const {
  if (!base_) return lowercaseASCII(componentsOfURL(text_).scheme.value_or("")) == "file";
  return lowercaseASCII(scheme()) == "file";
}

bool NSURL::hasDirectoryPath() const {
  const std::string text = absoluteString();
  const std::string_view path = componentsOfURL(text).path;
  if (path.empty()) return false;
  const std::string_view last = lastSegment(path);
  return path.back() == '/' || last == "." || last == "..";
}

std::string NSURL::path() const {
  const std::string text = absoluteString();
  return textOf(withoutLastSlash(componentsOfURL(text).path));
}

std::string NSURL::fileSystemRepresentation() const {
  const std::string text = absoluteString();
  std::string bytes = bytesByRemovingPercentEscapes(withoutLastSlash(componentsOfURL(text).path));
  return bytes.find('\0') == std::string::npos ? bytes : "";
}

std::string NSURL::relativePath() const { return textOf(withoutLastSlash(componentsOfURL(text_).path)); }

std::string NSURL::lastPathComponent() const {
  const std::string text = absoluteString();
  return textOf(lastSegment(componentsOfURL(text).path));
}

std::string NSURL::pathExtension() const {
  const std::string name = lastPathComponent();
  const std::size_t dot = extensionDot(name);
  return dot == std::string::npos ? "" : name.substr(dot + 1);
}

std::vector<std::string> NSURL::pathComponents() const { return macos::pathComponents(path()); }

NSURL NSURL::URLByDeletingLastPathComponent() const {
  const URLComponents components = componentsOfURL(text_);
  if (components.path.empty()) return *this;
  return {replacingPath(text_, components, parentOfPath(components.path)), base_};
}

NSURL NSURL::URLByAppendingPathComponentIsDirectory(std::string_view component, bool isDirectory) const {
  const URLComponents components = componentsOfURL(text_);
  if (!components.isHierarchical || component.find('\0') != std::string_view::npos) return *this;
  std::string path(components.path);
  const bool needsSlash = path.empty() ? components.authority.has_value() : path.back() != '/';
  if (needsSlash && !component.starts_with('/')) path.push_back('/');
  path.append(escapedPath(component));
  if (isDirectory && (path.empty() || path.back() != '/')) path.push_back('/');
  return {replacingPath(text_, components, path), base_};
}

NSURL NSURL::URLByDeletingPathExtension() const {
  const URLComponents components = componentsOfURL(text_);
  if (components.path.empty()) return *this;
  return {replacingPath(text_, components, withoutExtension(components.path)), base_};
}

bool operator==(const NSURL& a, const NSURL& b) {
  if (a.text_ != b.text_ || (a.base_ == nullptr) != (b.base_ == nullptr)) return false;
  return a.base_ == b.base_ || *a.base_ == *b.base_;
}

}  // namespace macos
