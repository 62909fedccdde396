// SPDX-License-Identifier: MIT
//
// NSFileManager: what is asked of the files, by path or file URL, with the platform's results. Paths are
// looked up as Path.h says (pathAsOnDisk).
#ifndef MACOS_FOUNDATION_FILEMANAGER_H
#define MACOS_FOUNDATION_FILEMANAGER_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/URL.h"
#include "macos/host/Status.h"

namespace macos {

// The platform's error: domain NSCocoaErrorDomain and its code (4 no such file on writing, 260 on
// reading, 513 no permission, 516 exists, 640 out of space …).
struct NSError {
  int code = 0;
  std::string localizedDescription;
  // As %@ shows it.
  std::string description() const;
};
NSError cocoaErrorForReading(const Status& status);
NSError cocoaErrorForWriting(const Status& status);

enum class NSSearchPathDirectory { Library = 5, Documents = 9, Desktop = 12, ApplicationSupport = 14, Downloads = 15, Trash = 102 };
enum NSSearchPathDomainMask : unsigned { NSUserDomainMask = 1, NSLocalDomainMask = 2, NSNetworkDomainMask = 4, NSSystemDomainMask = 8 };

class NSFileManager {
 public:
  static NSFileManager& defaultManager();

  // Links are followed.
  bool fileExistsAtPath(std::string_view path, bool* isDirectory = nullptr);
  bool isWritableFileAtPath(std::string_view path);
  bool isReadableFileAtPath(std::string_view path);
  std::vector<NSURL> URLsForDirectory(NSSearchPathDirectory directory, unsigned domainMask);
  // nullopt on success.
  std::optional<NSError> createDirectoryAtURL(const NSURL& url, bool withIntermediateDirectories);
  std::optional<NSError> copyItemAtURL(const NSURL& from, const NSURL& to);
  std::optional<NSError> moveItemAtURL(const NSURL& from, const NSURL& to);
  std::optional<NSError> removeItemAtURL(const NSURL& url);
  // The name that a user sees for the item.
  std::string displayNameAtPath(std::string_view path);
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_FILEMANAGER_H
