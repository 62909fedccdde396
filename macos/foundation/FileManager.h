// SPDX-License-Identifier: MIT
//
// NSFileManager: what is asked of the files, by path or file URL, with the platform's results. Paths are
// looked up as Path.h says (pathAsOnDisk). An item moves, is copied and goes together with its AppleDouble
// partner ("._name"), as one item does on a Mac. The one instance has no state; any thread.
#ifndef MACOS_FOUNDATION_FILEMANAGER_H
#define MACOS_FOUNDATION_FILEMANAGER_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/Error.h"
#include "macos/foundation/URL.h"
#include "macos/host/FileSystem.h"

namespace macos {

enum class NSSearchPathDirectory {
  Library = 5,
  Documents = 9,
  Desktop = 12,
  ApplicationSupport = 14,
  Downloads = 15,
  Trash = 102
};
enum NSSearchPathDomainMask : unsigned {
  NSUserDomainMask = 1,
  NSLocalDomainMask = 2,
  NSNetworkDomainMask = 4,
  NSSystemDomainMask = 8
};

enum NSDirectoryEnumerationOptions : unsigned {
  NSDirectoryEnumerationSkipsSubdirectoryDescendants = 1,
  NSDirectoryEnumerationSkipsPackageDescendants = 2,
  NSDirectoryEnumerationSkipsHiddenFiles = 4
};

class NSFileManager {
 public:
  static NSFileManager& defaultManager();

  // Links are followed. *isDirectory is set only when something exists.
  bool fileExistsAtPath(std::string_view path, bool* isDirectory = nullptr);
  bool isWritableFileAtPath(std::string_view path);
  bool isReadableFileAtPath(std::string_view path);
  // Folder URLs, in the order user, local, network, system; whether the folders exist is not asked.
  std::vector<NSURL> URLsForDirectory(NSSearchPathDirectory directory, unsigned domainMask);

  // The URLs of the items directly in a folder, folders with a slash, in the order of their names' bytes;
  // an item is hidden by a leading dot or by the Finder's flag. Of the options only the one about hidden
  // items matters. nullopt for what is no readable folder.
  std::optional<std::vector<NSURL>> contentsOfDirectoryAtURL(const NSURL& url, unsigned options);
  // Calls the block for every item below a folder, hidden ones and those in packages too, each folder
  // before what is in it; links are not followed, and what cannot be read is passed over.
  void enumerateItemsBelowPath(std::string_view path,
                               const std::function<void(const std::string& path, FileKind kind)>& block);

  // The rest changes the disk and answers nullopt on success. A URL that is no file URL is an error.
  //
  // Folders are made as the process's umask says. One that exists is an error, unless folders between may
  // be made, too.
  std::optional<NSError> createDirectoryAtURL(const NSURL& url, bool withIntermediateDirectories);
  // Folders with all that is in them, links as links, with permissions, times and attributes. Nothing is
  // replaced. A failure leaves what was copied so far.
  std::optional<NSError> copyItemAtURL(const NSURL& from, const NSURL& to);
  // The same, but the copy appears whole or not at all: it is made beside its place under a hidden name
  // and then renamed.
  std::optional<NSError> copyItemIntoPlace(const NSURL& from, const NSURL& to);
  // Never replaces anything (516). Between volumes it is a copy, after which the original is removed.
  std::optional<NSError> moveItemAtURL(const NSURL& from, const NSURL& to);
  // With all that is in it; links are removed, never followed. Stops at the first item that cannot be.
  std::optional<NSError> removeItemAtURL(const NSURL& url);

  // The name that a user sees for the item, in the main bundle's language (DisplayName.h).
  std::string displayNameAtPath(std::string_view path);
  // Whether the item exists and lies below one of the user's iCloud folders.
  bool isUbiquitousItemAtURL(const NSURL& url);
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_FILEMANAGER_H
