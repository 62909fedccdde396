// SPDX-License-Identifier: MIT
//
// NSURL: a value type over a URL's text and an optional base. Strings and escaping are the Mac's: the
// path decomposed the way its file systems keep names, then percent-escaped; a folder's URL ends in a
// slash. What must look at the disk says so.
#ifndef MACOS_FOUNDATION_URL_H
#define MACOS_FOUNDATION_URL_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace macos {

class NSURL {
 public:
  NSURL() = default;  // the empty URL

  // Asks the disk whether the path is a folder, unless it ends in a slash. A relative path is taken
  // against the current folder of a launched application, "/". Bytes that are not UTF-8 are kept
  // escaped.
  static NSURL fileURLWithPath(std::string_view path);
  static NSURL fileURLWithPathIsDirectory(std::string_view path, bool isDirectory);
  // The strict older parser: nullopt for a text with a character that no URL may hold.
  static std::optional<NSURL> URLWithString(std::string_view text);
  static std::optional<NSURL> URLWithStringRelativeToURL(std::string_view text, const NSURL& base);

  std::string absoluteString() const;
  const std::string& relativeString() const { return text_; }
  const NSURL* baseURL() const { return base_.get(); }
  std::string scheme() const;
  bool isFileURL() const;
  bool hasDirectoryPath() const;
  // Unescaped, without the slash at its end except for "/"; "" when there is none.
  std::string path() const;
  std::string lastPathComponent() const;
  std::string pathExtension() const;
  std::vector<std::string> pathComponents() const;

  NSURL URLByDeletingLastPathComponent() const;
  NSURL URLByAppendingPathComponent(std::string_view component) const;  // asks the disk
  NSURL URLByAppendingPathComponentIsDirectory(std::string_view component, bool isDirectory) const;
  NSURL URLByDeletingPathExtension() const;
  NSURL URLByStandardizingPath() const;       // asks the disk
  NSURL URLByResolvingSymlinksInPath() const;  // asks the disk

  // isEqual: the same base and the same text; nothing is normalised.
  friend bool operator==(const NSURL& a, const NSURL& b);

 private:
  std::string text_;
  std::shared_ptr<const NSURL> base_;
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_URL_H
