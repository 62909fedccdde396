// SPDX-License-Identifier: MIT
//
// report: shows on standard output what a migration carried across, one line a setting: what version 4
// holds and what version 5 holds. Both are read from the preference files of the home that HOME and
// MACOS_ROOT name, as for the migrator; nothing is written.
#include <algorithm>
#include <cstdio>
#include <string_view>

#include "app/SettingsReport.h"
#include "macos/foundation/Text.h"

namespace {

void printPadded(std::string_view text, std::size_t width) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  for (std::size_t printed = macos::utf16Length(text); printed < width; ++printed) std::fputc(' ', stdout);
}

}  // namespace

int main() {
  std::vector<vennick::SettingReport> lines = vennick::reportSettings();
  lines.insert(lines.begin(), {"Setting", "Vennick 4", "Vennick 5"});
  std::size_t settingWidth = 0;
  std::size_t beforeWidth = 0;
  for (const vennick::SettingReport& line : lines) {
    settingWidth = std::max(settingWidth, macos::utf16Length(line.setting));
    beforeWidth = std::max(beforeWidth, macos::utf16Length(line.before));
  }
  for (const vennick::SettingReport& line : lines) {
    printPadded(line.setting, settingWidth + 2);
    printPadded(line.before, beforeWidth + 2);
    std::printf("%s\n", line.now.c_str());
  }
}
