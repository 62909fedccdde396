// SPDX-License-Identifier: MIT
//
// The processor time of the calling thread, for upper bounds on what a computation costs: unlike the time on
// the wall, it does not grow with what else the machine does meanwhile.
#ifndef TESTS_SUPPORT_PROCESSORTIME_H
#define TESTS_SUPPORT_PROCESSORTIME_H

#include <time.h>

#include <chrono>

namespace vennick::tests {

// Since the thread began.
inline std::chrono::nanoseconds processorTime() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_PROCESSORTIME_H
