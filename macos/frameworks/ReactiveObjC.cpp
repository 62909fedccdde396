// SPDX-License-Identifier: MIT
#include "macos/frameworks/ReactiveObjC.h"

#include "macos/foundation/RunLoop.h"
#include "macos/host/Host.h"

namespace macos {

RACScheduler& RACScheduler::mainThreadScheduler() { return hostLocal<RACScheduler>(); }

RACDisposable RACScheduler::after(NSDate date, double repeatingEvery, double withLeeway,
                                  std::function<void()> schedule) {
  return RACDisposable(
      NSRunLoop::mainRunLoop().addTimer(date, repeatingEvery, withLeeway, std::move(schedule)));
}

}  // namespace macos
