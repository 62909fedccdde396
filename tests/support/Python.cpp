// SPDX-License-Identifier: MIT
#include "tests/support/Python.h"

namespace vennick::tests {

const char* const kPython = VENNICK_PYTHON;

}  // namespace vennick::tests
