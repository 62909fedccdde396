// SPDX-License-Identifier: MIT
//
// The order of bundle versions ("1.10.2", "2.0b3"). Pure; any thread.
#ifndef MACOS_CARBON_BUNDLEVERSION_H
#define MACOS_CARBON_BUNDLEVERSION_H

#include <compare>
#include <string_view>

namespace macos {

// Part by part as numbers, of any length; a missing part is 0. A part with a stage of development after
// its number (d, a, b, or fc for a final candidate) comes before the same one without, and stages in that
// order, then by their own numbers. Text that is no version is older than any.
std::weak_ordering compareBundleVersions(std::string_view a, std::string_view b);

}  // namespace macos

#endif  // MACOS_CARBON_BUNDLEVERSION_H
