// SPDX-License-Identifier: MIT
//
// The hidden files that the file system itself makes beside the files of its users: their names, and the
// removal of those that a killed process left. For the file system's own use; any thread.
#ifndef MACOS_HOST_HIDDENNEIGHBOURS_H
#define MACOS_HOST_HIDDENNEIGHBOURS_H

#include <cstdint>
#include <functional>
#include <set>
#include <string>

namespace macos {

// Where new content for the file of that name is written first: ".NAME.", cut when it is long, and the number
// as 16 hexadecimal digits.
std::string neighbourName(const std::string& name, std::uint64_t number);
// The file that is locked in the place of the item of that name: ".NAME.lock". Two names never share one.
std::string lockName(const std::string& name);

// Removes the neighbours of the files of these names that were last written a day or more before the file
// "justWritten" of the same folder: no replacement takes so long, and one folder has one clock. Regular files
// only, and none of a name that was cut, which could be another file's. What cannot be removed stays. The
// descriptor may be one that only names the folder (O_PATH).
void removeAbandonedNeighbours(int folder, const std::set<std::string, std::less<>>& names,
                               const std::string& justWritten);

}  // namespace macos

#endif  // MACOS_HOST_HIDDENNEIGHBOURS_H
