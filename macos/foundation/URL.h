// SPDX-License-Identifier: MIT
//
// NSURL: a value type over a URL's text and an optional base. Strings and escaping are the Mac's: the
// path decomposed the way its file systems keep names, then percent-escaped; a folder's URL ends in a
// slash. Two URLs are compared as texts, so the text that a path gets is part of the contract. What looks
// at the disk says so; everything else is pure. Any thread.
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

  // Asks the disk whether the path is a folder (a link to a folder is one), unless it ends in a slash. A
  // relative path keeps its text and is taken against the current folder of a launched application, "/".
  // Bytes that are not UTF-8 are kept escaped. The empty URL for a path that holds a NUL.
  static NSURL fileURLWithPath(std::string_view path);
  // Adds or takes away the slash at the end, asking nobody; "/" always is a folder.
  static NSURL fileURLWithPathIsDirectory(std::string_view path, bool isDirectory);
  // The strict older parser: nullopt for a text with a character that no URL may hold, with a second '#',
  // or with a '%' that two hexadecimal digits do not follow.
  static std::optional<NSURL> URLWithString(std::string_view text);
  // The same, relative to the base; an empty text is nullopt here.
  static std::optional<NSURL> URLWithStringRelativeToURL(std::string_view text, const NSURL& base);

  // Resolved against the base.
  std::string absoluteString() const;
  NSURL absoluteURL() const;
  const std::string& relativeString() const { return text_; }
  const NSURL* baseURL() const { return base_.get(); }

  // The components of the URL resolved against its base. A scheme is given as it is written, "" when there
  // is none; user and host are unescaped, password, query and fragment are not.
  std::string scheme() const;
  std::optional<std::string> user() const;
  std::optional<std::string> password() const;
  std::optional<std::string> host() const;
  std::optional<int> port() const;
  std::optional<std::string> query() const;
  std::optional<std::string> fragment() const;
  bool isFileURL() const;
  bool hasDirectoryPath() const;

  // Unescaped, without the slash at its end except for "/"; "" when there is none. Text, thus valid UTF-8:
  // escaped bytes that are not read as U+FFFD, and such a text finds no file.
  std::string path() const;
  // The path's bytes, for looking it up on the disk; "" when there is none or it holds a NUL.
  std::string fileSystemRepresentation() const;
  std::string relativePath() const;
  // "/" for the path "/".
  std::string lastPathComponent() const;
  std::string pathExtension() const;
  // The first is "/" for an absolute path.
  std::vector<std::string> pathComponents() const;

  // These change the URL's own text and keep its base. A URL without a path comes back unchanged from the
  // deleting ones.
  //
  // The result ends in a slash. There is always one folder more to leave: "/" gives "/../".
  NSURL URLByDeletingLastPathComponent() const;
  // The component is decomposed and escaped, except for its slashes. Asks the disk, for a file URL, whether
  // the result is a folder.
  NSURL URLByAppendingPathComponent(std::string_view component) const;
  NSURL URLByAppendingPathComponentIsDirectory(std::string_view component, bool isDirectory) const;
  NSURL URLByDeletingPathExtension() const;

  // A URL that is no file URL comes back unchanged.
  //
  // The path standardized as pathByStandardizing does, without a tilde's meaning. Asks the disk.
  NSURL URLByStandardizingPath() const;
  // Whether the result ends in a slash is asked anew. Asks the disk.
  NSURL URLByResolvingSymlinksInPath() const;

  // isEqual: the same text and the same base, or none; nothing is normalised.
  friend bool operator==(const NSURL& a, const NSURL& b);

 private:
  NSURL(std::string text, std::shared_ptr<const NSURL> base);

  std::string text_;
  std::shared_ptr<const NSURL> base_;
};

// CFURLCreateStringByAddingPercentEscapes: every byte that no URL may hold is escaped, and so are the
// characters of alsoEscape.
std::string stringByAddingPercentEscapes(std::string_view text, std::string_view alsoEscape);
// The bytes that the text stands for; a '%' that two hexadecimal digits do not follow stands for itself.
std::string bytesByRemovingPercentEscapes(std::string_view text);

}  // namespace macos

#endif  // MACOS_FOUNDATION_URL_H
