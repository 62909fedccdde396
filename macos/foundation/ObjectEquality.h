// SPDX-License-Identifier: MIT
//
// Equality as the platform's objects have it, where a rule says "equal", "contains" or "member": numbers
// compare by value across kinds, so that 1, true and 1.0 are equal, at every depth. Value's own == keeps
// the kinds apart. Pure; any thread.
#ifndef MACOS_FOUNDATION_OBJECTEQUALITY_H
#define MACOS_FOUNDATION_OBJECTEQUALITY_H

#include "macos/foundation/Value.h"

namespace macos {

bool isEqual(const Value& a, const Value& b);
bool isEqual(const Array& a, const Array& b);
bool isEqual(const Dictionary& a, const Dictionary& b);
// containsObject:
bool containsObject(const Array& array, const Value& value);

}  // namespace macos

#endif  // MACOS_FOUNDATION_OBJECTEQUALITY_H
