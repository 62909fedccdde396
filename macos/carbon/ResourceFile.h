// SPDX-License-Identifier: MIT
//
// The Resource Manager over one file: its resource fork is read when it is opened and written back
// whole at every change. A regular value that belongs to one thread; there is no current resource file.
#ifndef MACOS_CARBON_RESOURCEFILE_H
#define MACOS_CARBON_RESOURCEFILE_H

#include "macos/carbon/Files.h"
#include "macos/carbon/ResourceFork.h"

namespace macos {

inline constexpr OSErr mapReadErr = -199;    // the fork is damaged
inline constexpr OSErr addResFailed = -194;  // no data, or too much of it

class ResourceFile {
 public:
  // Opens the fork for reading and writing. A file without one has no resources. fnfErr when there is no
  // such item, mapReadErr for a damaged fork, which stays as it is.
  static OSErr FSOpenResFile(const FSRef& ref, ResourceFile* file);

  const ResourceFork& fork() const { return fork_; }
  // Adds a resource, or puts it in the place of the one of its type and identifier, and writes the fork:
  // noErr means that the resource is on the disk. After a failure the disk is as it was.
  OSErr AddResource(Resource resource);

 private:
  FSRef file_;
  ResourceFork fork_;
};

}  // namespace macos

#endif  // MACOS_CARBON_RESOURCEFILE_H
