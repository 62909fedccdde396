// SPDX-License-Identifier: MIT
//
// What a Mac keeps beside a file's bytes (Finder information, resource fork), wherever the disk at hand
// carries it: an extended attribute, or the AppleDouble partner "._name" in the same folder. And the one
// answer to "is this an alias file". Links at the end of a path are not followed. Any thread.
#ifndef MACOS_FOUNDATION_FILEMETADATA_H
#define MACOS_FOUNDATION_FILEMETADATA_H

#include <optional>
#include <string>
#include <string_view>

#include "macos/carbon/FinderInfo.h"
#include "macos/host/FileSystem.h"
#include "macos/host/Status.h"

namespace macos {

// The path of the item's partner. Items named "._…" have none: "" for them, and for "/".
std::string partnerPath(std::string_view path);
// Whether the name is that of a partner ("._" and more).
bool isPartnerName(std::string_view name);

// All zero when nothing is recorded. An attribute counts before the partner.
FinderInfo finderInfoAtPath(std::string_view path);
// Of a file; "" when there is none, or more than 16 MiB of it.
std::string resourceForkAtPath(std::string_view path);

// Written where they are found today, else into the partner, which is made when it is missing and keeps
// whatever else it holds; into an attribute where the host has no room for the partner's name.
Status setFinderInfo(std::string_view path, const FinderInfo& info);
Status setResourceFork(std::string_view path, std::string_view fork);

// A regular file with the Finder's alias bit, or one that lost it and begins as a bookmark file does.
// Links are not asked about here.
bool isAliasFile(std::string_view path, const FileInfo& item);

}  // namespace macos

#endif  // MACOS_FOUNDATION_FILEMETADATA_H
