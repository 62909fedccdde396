// SPDX-License-Identifier: MIT
//
// The items in a folder, handed out piece by piece. AppleDouble partners ("._name") are hidden as long as
// their item is there. An iterator belongs to one thread.
#ifndef MACOS_CARBON_FILEITERATOR_H
#define MACOS_CARBON_FILEITERATOR_H

#include <string>
#include <vector>

#include "macos/carbon/Files.h"
#include "macos/foundation/ItemOnDisk.h"

namespace macos {

struct CatalogItem {
  FSRef ref;
  FSCatalogInfo info;
  HFSUniStr255 name;
};

// The folder's items as they are listed when it is opened. Destroying it is FSCloseIterator.
class FSIterator {
 public:
  FSIterator() = default;  // without any item

 private:
  friend OSErr FSOpenIterator(const FSRef& container, FSIterator* iterator);
  friend OSErr FSGetCatalogInfoBulk(FSIterator& iterator, std::size_t maximumObjects,
                                    FSCatalogInfoBitmap whichInfo, std::vector<CatalogItem>* items);
  bool next(std::string* path);

  ItemOnDisk folder_;
  std::vector<std::string> names_;
  std::size_t next_ = 0;
};

// fnfErr when the folder is not there, errFSNotAFolder, or the code for a folder that cannot be read.
OSErr FSOpenIterator(const FSRef& container, FSIterator* iterator);
// The next items, at most that many, with what whichInfo asks for; references and names always. Items that
// are gone by now are passed over. errFSNoMoreItems, and no items, when there are no more.
OSErr FSGetCatalogInfoBulk(FSIterator& iterator, std::size_t maximumObjects, FSCatalogInfoBitmap whichInfo,
                           std::vector<CatalogItem>* items);

}  // namespace macos

#endif  // MACOS_CARBON_FILEITERATOR_H
