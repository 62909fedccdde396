// SPDX-License-Identifier: MIT
#include "items/ItemFacts.h"

#include "macos/foundation/Bookmark.h"
#include "macos/foundation/ResourceKeys.h"
#include "platform/FileQueries.h"

namespace vennick {

std::optional<std::string> shownName(const macos::NSURL& url) {
  std::string name = displayName(url);
  if (name.empty()) {
    name = url.lastPathComponent();
  }
  return name.empty() ? std::nullopt : std::optional(std::move(name));
}

std::optional<macos::NSData> bookmarkForItem(const macos::NSURL& url) {
  return macos::bookmarkDataWithOptions(url, 0,
                                        {macos::NSURLVolumeIsLocalKey, macos::NSURLVolumeIsEjectableKey,
                                         macos::NSURLVolumeURLForRemountingKey});
}

}  // namespace vennick
