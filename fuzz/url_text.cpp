// SPDX-License-Identifier: MIT
//
// URLs and paths from property lists that anybody may have written. A zero byte parts the base from the
// URL's text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "macos/foundation/Path.h"
#include "macos/foundation/Text.h"
#include "macos/foundation/URL.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

void check(const macos::NSURL& url) {
  require(macos::isValidUTF8(url.path()));
  require(macos::isValidUTF8(url.lastPathComponent()));
  require(url.absoluteURL().absoluteString() == url.absoluteString());
  require(url.URLByDeletingLastPathComponent().relativeString().size() <= url.relativeString().size() + 4);
  (void)url.URLByDeletingPathExtension();
  (void)url.URLByAppendingPathComponentIsDirectory("a;b", true);
  (void)url.pathComponents();
  (void)url.user();
  (void)url.port();
  (void)url.hasDirectoryPath();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::string_view text = bytes.substr(0, bytes.find('\0'));
  const std::string_view rest = bytes.substr(text.size());

  if (const auto url = macos::NSURL::URLWithString(text)) {
    check(*url);
    const auto relative =
        macos::NSURL::URLWithStringRelativeToURL(rest.empty() ? rest : rest.substr(1), *url);
    if (relative) check(*relative);
  }
  const macos::NSURL file = macos::NSURL::fileURLWithPathIsDirectory(text, false);
  check(file);
  require(macos::NSURL::URLWithString(file.absoluteString()).has_value());
  // What is valid text comes back as the disk would spell it.
  if (!text.empty() && text.front() == '/' && macos::isASCII(text)) {
    require(file.fileSystemRepresentation() == macos::withoutTrailingSlashes(text));
  }
  return 0;
}
