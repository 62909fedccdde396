// SPDX-License-Identifier: MIT
//
// What a migration carried across, in words: read from the preference files of both versions, as they are
// now. Writes nothing. Main thread.
#ifndef APP_SETTINGSREPORT_H
#define APP_SETTINGSREPORT_H

#include <string>
#include <vector>

namespace vennick {

struct SettingReport {
  std::string setting;  // its version 5 key
  std::string before;   // the version 4 key and what it holds, "-" for nothing
  std::string now;      // what version 5 holds
};

// Every setting of the mapping in its order, and the automatic update check.
std::vector<SettingReport> reportSettings();

}  // namespace vennick

#endif  // APP_SETTINGSREPORT_H
