// SPDX-License-Identifier: MIT
#include "macos/foundation/Value.h"
#include "macos/host/Host.h"

namespace macos {

NSDate NSDate::date() {
  return {static_cast<double>(Host::current().clock().now()) / 1e9 - kReferenceDateSince1970};
}

NSDate NSDate::dateWithTimeIntervalSinceNow(double seconds) {
  return {date().secondsSinceReferenceDate + seconds};
}

double NSDate::timeIntervalSinceNow() const {
  return secondsSinceReferenceDate - date().secondsSinceReferenceDate;
}

}  // namespace macos
