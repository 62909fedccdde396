// SPDX-License-Identifier: MIT
//
// The application delegate: the whole migration is one callback of it. The legacy preferences and the
// store that a run makes live as long as the delegate. Main thread.
#ifndef APP_APPDELEGATE_H
#define APP_APPDELEGATE_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "legacy/LegacyPreferences.h"
#include "macos/appkit/Application.h"
#include "macos/foundation/URL.h"
#include "settings/VKSettings.h"

namespace vennick {

class AppDelegate : public macos::NSApplicationDelegate {
 public:
  // One run: stops the main application, carries the version 4 settings into the version 5 store, starts
  // the main application again and asks this application to end. Whatever goes wrong on the way, the rest
  // goes on.
  void applicationDidFinishLaunching() override;

  // Asks every running instance of the main application to quit, once, and waits for them to go: 5 to 6
  // seconds at most, delivering what arrives in the run loop meanwhile. Ends nothing by force.
  void quitVNK5();
  // Starts a new instance of the main application that is told that its preferences were imported. A
  // failure is not reported.
  void restartVNK5();

  // The identifier of the application that a version 4 key stands for: "*" for every application, nullopt
  // when no application is found. A key is a creator code or an application's file name, with or without
  // ".app".
  static std::optional<std::string> appIDForKey(std::string_view key);
  // The bundle's identifier, else the file name of its executable; nullopt when it has neither.
  static std::optional<std::string> appIDForURL(const macos::NSURL& url);

  // Whether any bit of the mask is set in MiscellaneousFlags, or in the effective Finder-click options.
  static bool boolFromMiscPrefs(LegacyPreferences& preferences, std::int64_t flag);
  static bool boolFromFinderClickPrefs(LegacyPreferences& preferences, std::int64_t flag);

 private:
  void loadLegacyPreferences();
  void convertCollections();
  void carryOverUpdateChecks();

  std::unique_ptr<LegacyPreferences> preferences_;
  std::shared_ptr<VKSettings> settings_;
};

// The main application around the running program, which sits two folders below that bundle's top. There
// is no check: from anywhere else, it is whatever lies three path components up.
macos::NSURL mainApplicationURL();

}  // namespace vennick

#endif  // APP_APPDELEGATE_H
