// SPDX-License-Identifier: MIT
//
// What is inside a reference, for the File Manager's own use. Any thread.
#ifndef MACOS_CARBON_FILEREFERENCE_H
#define MACOS_CARBON_FILEREFERENCE_H

#include <optional>
#include <string_view>

#include "macos/carbon/Files.h"
#include "macos/foundation/ItemOnDisk.h"
#include "macos/host/Services.h"
#include "macos/host/Status.h"

namespace macos {

// A reference to the item, which was just looked up.
FSRef referenceToItem(const ItemOnDisk& item);
// The item, where it is now; nullopt for an invalid reference and for an item that is not found again.
std::optional<ItemOnDisk> itemOfReference(const FSRef& ref);

// The volume that holds the item. Cheaper than to ask for that of any path.
VolumeInfo volumeOfItem(const ItemOnDisk& item);

// The code for a failure of the host's; noErr for none.
OSErr resultCode(const Status& status);

}  // namespace macos

#endif  // MACOS_CARBON_FILEREFERENCE_H
