// SPDX-License-Identifier: MIT
//
// One spelling for one location, so that the store can compare locations as text: links resolved, names
// as the disk has them. Stateless; any thread.
#ifndef PLATFORM_CANONICALLOCATION_H
#define PLATFORM_CANONICALLOCATION_H

#include <string>
#include <string_view>

#include "macos/foundation/URL.h"

namespace vennick {

// The path with links resolved and every name as stored on disk; the resolved path when nothing is there.
std::string stringByStandardizingViaURLReference(std::string_view path);
// A URL that is no file URL comes back unchanged; one of a missing item is standardized as text.
macos::NSURL URLByStandardizingViaURLReference(const macos::NSURL& url);

}  // namespace vennick

#endif  // PLATFORM_CANONICALLOCATION_H
