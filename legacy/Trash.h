// SPDX-License-Identifier: MIT
//
// Deleting items, and moving them to the Trash. Results are the platform's codes, noErr for success. An
// item takes its AppleDouble partner along. All run on the calling thread.
#ifndef LEGACY_TRASH_H
#define LEGACY_TRASH_H

#include "macos/carbon/Files.h"

namespace vennick {

// Deletes the item, a folder after all that is in it; links are deleted, never followed. Locked items are
// unlocked first; fLckdErr for one that cannot be. Stops at the first failure: what is deleted by then is
// gone, what is not stays. paramErr for null.
macos::OSErr DeleteObjectRecursively(const macos::FSRef* ref);

// Moves the item to the Trash of its volume, or to the user's where that one cannot be made. With
// useFinder the Finder is asked first, when it runs, for five seconds; the reference is unchanged when it
// did so. Otherwise the item is moved directly, and the reference leads to it in the Trash.
//
// A name that is taken in the Trash of its own volume makes the item a copy by name, "X copy" or the next
// number, before it goes there. Any other reason does so too, 999 times, and the last attempt's code is
// returned; deliberately. In the Trash of another volume the item is a copy, which takes the place of an
// older item of the name, and the original is deleted; deliberately.
macos::OSErr MoveToTrash(macos::FSRef& ref, bool useFinder);

}  // namespace vennick

#endif  // LEGACY_TRASH_H
