// SPDX-License-Identifier: MIT
//
// The resource values of a file URL (NSURL's getResourceValue:forKey:error:), each named after its key. A
// link at the end of the URL is not followed: the values are the link's own. The item is looked at when the
// values are made, what lies beside it when it is asked for; nothing is cached beyond that. Any thread.
#ifndef MACOS_FOUNDATION_RESOURCEVALUES_H
#define MACOS_FOUNDATION_RESOURCEVALUES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "macos/foundation/URL.h"
#include "macos/foundation/Value.h"
#include "macos/host/FileSystem.h"
#include "macos/host/Services.h"

namespace macos {

class ResourceValues {
 public:
  // nullopt for a URL that is no file URL, and when nothing can be read at it.
  static std::optional<ResourceValues> ofURL(const NSURL& url);

  bool isRegularFile() const { return item_.kind == FileKind::File; }
  bool isDirectory() const { return item_.isFolder(); }
  bool isSymbolicLink() const { return item_.kind == FileKind::Link; }
  bool isPackage() const;
  // A package whose extension is "app", in any letter case.
  bool isApplication() const;
  // A Finder alias file, or a link.
  bool isAliasFile() const;
  bool isHidden() const;
  // In bytes; a folder has none.
  std::optional<std::uint64_t> fileSize() const;
  NSDate contentModificationDate() const;
  // The facts of the volume that holds the item.
  VolumeInfo volume() const;

 private:
  ResourceValues(std::string path, const FileInfo& item) : path_(std::move(path)), item_(item) {}

  std::string path_;  // spelled as the disk has it
  FileInfo item_;
};

// Whether an item is hidden: by a leading dot, or by the Finder's invisible bit.
bool isHiddenItem(std::string_view path);

}  // namespace macos

#endif  // MACOS_FOUNDATION_RESOURCEVALUES_H
