// SPDX-License-Identifier: MIT
//
// Turns a layout table into 'uchr' data, little-endian. The state records are dense: entry j is always
// the one for dead-key state j + 1, a combination that the table does not have is a sequence of the
// accent and the character, and a dead key's record has no entries and entry format 0.
#ifndef TOOLS_LAYOUT_COMPILER_LAYOUTENCODER_H
#define TOOLS_LAYOUT_COMPILER_LAYOUTENCODER_H

#include <string>

#include "tools/layout-compiler/LayoutTable.h"

namespace layout_compiler {

std::string encodeLayout(const LayoutTable& table);

}  // namespace layout_compiler

#endif  // TOOLS_LAYOUT_COMPILER_LAYOUTENCODER_H
