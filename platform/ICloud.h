// SPDX-License-Identifier: MIT
//
// Where the user's iCloud folders are, and which locations are in them. The three locations are found out
// once per process and never again. A path is in iCloud when the file manager says so or, deliberately by
// text alone, when it begins with the iCloud path: no separator has to follow. Any thread.
#ifndef PLATFORM_ICLOUD_H
#define PLATFORM_ICLOUD_H

#include <string>

#include "macos/foundation/URL.h"

namespace vennick {

// Whether iCloud Drive is the folder "iCloud Drive" in ~/Library/CloudStorage: from 10.15 on, where that
// folder exists.
bool iCloudUsesCloudStorageFolder();
// ~/Library/Mobile Documents, links resolved.
const std::string& mobileDocumentsPath();
// The storage folder when it is used, else the mobile documents folder.
const std::string& iCloudPath();

macos::NSURL mobileDocumentsRootURL();
macos::NSURL iCloudRootURL();
// The iCloud root with a storage folder, else "com~apple~CloudDocs" in it.
macos::NSURL iCloudDriveURL();

bool pathIsOniCloud(const macos::NSURL& url);
bool pathIsiCloudRootFolder(const macos::NSURL& url);
bool pathIsiCloudDriveFolder(const macos::NSURL& url);
// Desktop and Documents in iCloud Drive, or the user's own when they are in iCloud.
bool pathIsiCloudDesktopFolder(const macos::NSURL& url);
bool pathIsiCloudDocumentsFolder(const macos::NSURL& url);
// An application's container at the top of iCloud, and the Documents folder in one.
bool pathIsiCloudAppFolder(const macos::NSURL& url);
bool pathIsiCloudAppDocumentsFolder(const macos::NSURL& url);

}  // namespace vennick

#endif  // PLATFORM_ICLOUD_H
