// SPDX-License-Identifier: MIT
//
// A host whose program lies in a bundle that carries the compiled keyboard layouts, as the staged bundles
// do. The settings of its user name a layout, or do not.
#ifndef TESTS_SUPPORT_LAYOUTHOST_H
#define TESTS_SUPPORT_LAYOUTHOST_H

#include <memory>
#include <string>
#include <string_view>

#include "tests/support/TestHost.h"

namespace vennick::tests {

// A root with such a bundle, for hosts to stand on.
std::shared_ptr<TemporaryRoot> rootWithLayouts();
// Writes the user's com.apple.HIToolbox settings: the content of the dictionary, as XML.
void writeLayoutSettings(const TemporaryRoot& root, std::string_view entries);
// Of the identifier of the current layout alone.
void chooseLayout(const TemporaryRoot& root, std::string_view identifier);
// Options of a host on the root whose main bundle is that one.
TestHostOptions optionsWithLayouts(std::shared_ptr<TemporaryRoot> root);

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_LAYOUTHOST_H
