// SPDX-License-Identifier: MIT
#include "macos/foundation/Process.h"

#include "macos/foundation/Log.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace macos {

std::optional<std::string> popenAndRead(const std::string& command) {
  const auto output = Host::current().commands().run(command, CommandLimits());
  if (!output) {
    NSLogStatus(output.status());
    return std::nullopt;
  }
  return validUTF8(*output);
}

}  // namespace macos
