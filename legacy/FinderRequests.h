// SPDX-License-Identifier: MIT
//
// What the Finder is asked for, by Apple event, while it runs. Results are the platform's codes, noErr for
// success. All run on the calling thread.
#ifndef LEGACY_FINDERREQUESTS_H
#define LEGACY_FINDERREQUESTS_H

#include "macos/carbon/Files.h"

namespace vennick {

// Whether a Finder runs that can be asked.
bool isFinderRunning();

// Asks the Finder to move the item to the Trash and waits up to five seconds for its answer: its refusal,
// or the code for an item that no alias can be made of or a request that did not get through.
macos::OSErr AskFinderToMoveToTrash(const macos::FSRef& ref);

// Makes the folder that holds the item one that was changed now, and asks the Finder to look at it again;
// the Finder's answer is not waited for. The result is that of sending the request. When no alias can be
// made of the item there is no request, and the result is that of setting the date, which may be noErr;
// deliberately.
macos::OSErr TouchAndNotifyFinder(const macos::FSRef& ref);

}  // namespace vennick

#endif  // LEGACY_FINDERREQUESTS_H
