// SPDX-License-Identifier: MIT
//
// Questions about locations on disk: does something exist there, what is it, which facts hold for its
// volume, what is it called. Paths and URLs are asked the same questions under the same names; a path is
// followed through a link at its end, a URL is not, except for its existence. Unless said otherwise a URL
// that is no file URL, or a fact that cannot be read, answers no. Stateless; any thread.
#ifndef PLATFORM_FILEQUERIES_H
#define PLATFORM_FILEQUERIES_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "macos/foundation/FileManager.h"
#include "macos/foundation/URL.h"
#include "macos/foundation/Value.h"

namespace vennick {

bool pathExists(std::string_view path);
bool pathExistsAndIsFile(std::string_view path);
bool pathExistsAndIsFolder(std::string_view path);  // packages are folders too
bool pathExistsAndIsFileOrPackage(std::string_view path);
bool pathIsPackage(std::string_view path);
bool pathIsWritable(std::string_view path);
bool pathIsOnNetworkVolume(std::string_view path);

// These two go by the URL's path alone, whatever its scheme.
bool pathExists(const macos::NSURL& url);
bool pathIsWritable(const macos::NSURL& url);
bool pathExistsAndIsFile(const macos::NSURL& url);
bool pathExistsAndIsFolder(const macos::NSURL& url);
bool pathExistsAndIsFileOrPackage(const macos::NSURL& url);
// A package named "….app" whose executable is neither "applet" nor "droplet": a script applet is no
// application, a bundle without an executable is one.
bool pathExistsAndIsApplication(const macos::NSURL& url);
bool pathIsAlias(const macos::NSURL& url);
bool pathIsHidden(const macos::NSURL& url);
bool pathIsPackage(const macos::NSURL& url);
// Deliberately the inverse of the volume's ejectable flag: yes when the flag was read and is no.
bool pathIsEjectable(const macos::NSURL& url);
bool pathIsOnNetworkVolume(const macos::NSURL& url);
// Yes also for a URL that is no file URL and when the volume does not say.
bool isCaseSensitive(const macos::NSURL& url);

// The name that a user sees; a standard folder is named in the application's language.
std::string displayName(std::string_view path);
std::string displayName(const macos::NSURL& url);
// The distant past when it cannot be read.
macos::NSDate modificationDate(const macos::NSURL& url);

// Bytes of a file or package; for a folder, deliberately, the number of visible entries directly in it.
std::int64_t size(const macos::NSURL& url);
// The same, computed on a background queue and delivered on the main one.
void sizeDeliveredToBlock(const macos::NSURL& url, std::function<void(std::int64_t)> block);

// The target of an alias file, without user interface and without mounting; the URL itself when it is no
// alias file or leads nowhere.
macos::NSURL URLByResolvingAliasFile(const macos::NSURL& url);
// The same once every link in the path is resolved.
macos::NSURL URLByResolvingLinksAndAliasFile(const macos::NSURL& url);
// Writes an alias file that leads to the URL; nullopt on success.
std::optional<macos::NSError> createAliasFileAtURL(const macos::NSURL& url, const macos::NSURL& aliasFile);

}  // namespace vennick

#endif  // PLATFORM_FILEQUERIES_H
