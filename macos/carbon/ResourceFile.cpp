// SPDX-License-Identifier: MIT
#include "macos/carbon/ResourceFile.h"

#include "macos/carbon/FileReference.h"
#include "macos/foundation/FileMetadata.h"

namespace macos {

namespace {

// What is read again from every place where a fork is kept, with room for what is kept beside it.
constexpr std::size_t kLargestFork = (std::size_t{16} * 1024 - 64) * 1024;

}  // namespace

OSErr ResourceFile::FSOpenResFile(const FSRef& ref, ResourceFile* file) {
  const auto item = itemOfReference(ref);
  if (!item) return fnfErr;
  auto fork = ResourceFork::decode(resourceForkAtPath(item->path));
  if (!fork) return mapReadErr;
  file->file_ = ref;
  file->fork_ = std::move(*fork);
  return noErr;
}

OSErr ResourceFile::AddResource(Resource resource) {
  if (resource.data.empty()) return addResFailed;
  const auto item = itemOfReference(file_);
  if (!item) return fnfErr;
  ResourceFork changed = fork_;
  changed.set(std::move(resource));
  const auto bytes = changed.encode();
  if (!bytes || bytes->size() > kLargestFork) return addResFailed;
  if (const Status written = setResourceFork(item->path, *bytes); !written.ok()) return resultCode(written);
  fork_ = std::move(changed);
  return noErr;
}

}  // namespace macos
