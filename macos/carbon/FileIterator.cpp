// SPDX-License-Identifier: MIT
#include "macos/carbon/FileIterator.h"

#include <algorithm>

#include "macos/carbon/FileReference.h"
#include "macos/foundation/AliasTarget.h"
#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/Path.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

// Whether the file is the partner of an item that is there.
bool hasItsItem(const std::string& path, FileKind kind) {
  const std::string name = lastPathComponent(path);
  if (kind != FileKind::File || !isPartnerName(name)) return false;
  const std::string owner = pathByAppendingComponent(pathByDeletingLastPathComponent(path), name.substr(2));
  return partnerPath(owner) == path && Host::current().files().info(owner, FollowLinks::No).ok();
}

}  // namespace

OSErr FSOpenIterator(const FSRef& container, FSIterator* iterator) {
  *iterator = FSIterator();
  auto folder = itemOfReference(container);
  if (!folder) return fnfErr;
  if (!folder->info.isFolder()) return errFSNotAFolder;
  const auto entries = Host::current().files().list(folder->path);
  if (!entries) return resultCode(entries.status());
  iterator->folder_ = std::move(*folder);
  for (const FolderEntry& entry : *entries) iterator->names_.push_back(entry.name);
  // Partners come last: whoever deletes what he is given has deleted them by then, except for those whose
  // item somebody else took away.
  std::stable_partition(iterator->names_.begin(), iterator->names_.end(),
                        [](const std::string& name) { return !isPartnerName(name); });
  return noErr;
}

bool FSIterator::next(std::string* path) {
  if (next_ == names_.size()) return false;
  *path = pathByAppendingComponent(folder_.path, names_[next_++]);
  return true;
}

OSErr FSGetCatalogInfoBulk(FSIterator& iterator, std::size_t maximumObjects, FSCatalogInfoBitmap whichInfo,
                           std::vector<CatalogItem>* items) {
  items->clear();
  std::string path;
  while (items->size() < maximumObjects && iterator.next(&path)) {
    const auto info = Host::current().files().info(path, FollowLinks::No);
    if (!info || hasItsItem(path, info->kind)) continue;
    CatalogItem item;
    item.ref = referenceToItem({.path = path, .info = *info});
    item.name = catalogName(lastPathComponent(path));
    if (whichInfo != kFSCatInfoNone &&
        FSGetCatalogInfo(item.ref, whichInfo, &item.info, nullptr, nullptr) != noErr) {
      continue;
    }
    items->push_back(std::move(item));
  }
  if (!items->empty()) return noErr;
  // The folder's own place may have been forgotten over so many others.
  if (const auto info = Host::current().files().info(iterator.folder_.path, FollowLinks::No);
      info && info->isSameItem(iterator.folder_.info)) {
    (void)referenceToItem(iterator.folder_);
  }
  return errFSNoMoreItems;
}

}  // namespace macos
