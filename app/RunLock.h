// SPDX-License-Identifier: MIT
//
// One run at a time for one home. Main thread.
#ifndef APP_RUNLOCK_H
#define APP_RUNLOCK_H

#include <memory>

#include "macos/host/FileSystem.h"

namespace vennick {

// Waits until no other run works on the current home and keeps others out while the lock lives. Null, with
// the reason in the log, when the home has no place for a lock; the run then goes on without.
std::unique_ptr<macos::FileLock> lockHomeForRun();

}  // namespace vennick

#endif  // APP_RUNLOCK_H
