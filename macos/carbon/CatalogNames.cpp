// SPDX-License-Identifier: MIT
#include "macos/carbon/CatalogNames.h"

#include "macos/foundation/AliasTarget.h"
#include "macos/foundation/Text.h"

namespace macos {

namespace {

constexpr std::size_t kLongestName = 255;

}  // namespace

std::optional<std::string> nameOnDisk(const HFSUniStr255& name) {
  if (name.empty() || name.size() > kLongestName) return std::nullopt;
  if (name.find(u':') != name.npos || name.find(u'\0') != name.npos) return std::nullopt;
  if (name == u"." || name == u"..") return std::nullopt;
  if (utf16FromUTF8(utf8FromUTF16(name)) != name) return std::nullopt;
  return decomposedForFileSystem(posixNameFromCatalog(name));
}

}  // namespace macos
