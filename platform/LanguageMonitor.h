// SPDX-License-Identifier: MIT
//
// QVLanguageMonitor: which language the application runs in, and which the user's system has. The two can
// differ, and names of standard folders follow the system's. Kept up to date by the system's notice that
// the languages changed. Its properties may be read on any thread.
#ifndef PLATFORM_LANGUAGEMONITOR_H
#define PLATFORM_LANGUAGEMONITOR_H

#include <mutex>
#include <string>
#include <vector>

#include "macos/foundation/DistributedNotificationCenter.h"

namespace vennick {

class QVLanguageMonitor {
 public:
  static constexpr const char* kLanguagesChangedNotification = "AppleLanguagePreferencesChangedNotification";

  // The one monitor of the current host, its properties filled.
  static QVLanguageMonitor& sharedMonitor();

  // Listens for the notice; the properties are empty until languageChanged() is called. Main thread.
  QVLanguageMonitor();

  // Determines all three anew.
  void languageChanged();

  // At most two characters; "en" when nothing better is known.
  std::string ourLanguageCode() const;
  // "en" when unknown.
  std::string systemLanguageCode() const;
  // Just "en" when unknown.
  std::vector<std::string> systemPreferredLanguages() const;

  std::string determineActiveLanguage() const;
  std::string determineActiveSystemLanguage() const;
  std::vector<std::string> determineSystemPreferredLanguages() const;
  // All that a shell command prints; "" when it could not be started or printed nothing.
  std::string stringFromCommandLine(const std::string& command) const;

 private:
  mutable std::mutex mutex_;
  std::string ourLanguageCode_;
  std::string systemLanguageCode_;
  std::vector<std::string> systemPreferredLanguages_;
  macos::NotificationToken observation_;
};

// NSLocale's activeLanguage, activeSystemLanguage and systemPreferredLanguages: what the shared monitor
// says.
std::string activeLanguage();
std::string activeSystemLanguage();
std::vector<std::string> systemPreferredLanguages();

}  // namespace vennick

#endif  // PLATFORM_LANGUAGEMONITOR_H
