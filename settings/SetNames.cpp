// SPDX-License-Identifier: MIT
#include "settings/SetNames.h"

#include "macos/foundation/Bundle.h"

namespace vennick {

std::string localizedDefaultSetName() { return macos::NSLocalizedString(kDefaultSetName); }

bool isUsableSetName(std::string_view name) {
  if (name.find('\0') != std::string_view::npos) {
    return false;
  }
  while (true) {
    const std::size_t slash = name.find('/');
    const std::string_view component = name.substr(0, slash);
    if (component.empty() || component == "." || component == "..") {
      return false;
    }
    if (slash == std::string_view::npos) {
      return true;
    }
    name.remove_prefix(slash + 1);
  }
}

}  // namespace vennick
