// SPDX-License-Identifier: MIT
#include "platform/LanguageMonitor.h"

#include <algorithm>

#include "macos/foundation/Bundle.h"
#include "macos/foundation/Locale.h"
#include "macos/foundation/Process.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace vennick {

using macos::NSBundle;
using macos::NSDistributedNotificationCenter;
using macos::NSLocale;
using macos::NSNotification;

namespace {

constexpr std::string_view kUnknownLanguage = "en";
constexpr std::string_view kLocalizationType = "lproj";

std::string firstTwoCharacters(std::string_view text) {
  std::size_t end = 0;
  for (int i = 0; i < 2 && end < text.size(); ++i) end += macos::codePointAt(text, end).length;
  return std::string(text.substr(0, end));
}

struct SharedMonitor {
  SharedMonitor() { monitor.languageChanged(); }
  QVLanguageMonitor monitor;
};

}  // namespace

QVLanguageMonitor& QVLanguageMonitor::sharedMonitor() { return macos::hostLocal<SharedMonitor>().monitor; }

QVLanguageMonitor::QVLanguageMonitor()
    : observation_(NSDistributedNotificationCenter::defaultCenter().addObserver(
          kLanguagesChangedNotification, "", [this](const NSNotification&) { languageChanged(); })) {}

void QVLanguageMonitor::languageChanged() {
  std::string ours = determineActiveLanguage();
  std::string systems = determineActiveSystemLanguage();
  std::vector<std::string> preferred = determineSystemPreferredLanguages();
  const std::lock_guard lock(mutex_);
  ourLanguageCode_ = std::move(ours);
  systemLanguageCode_ = std::move(systems);
  systemPreferredLanguages_ = std::move(preferred);
}

std::string QVLanguageMonitor::ourLanguageCode() const {
  const std::lock_guard lock(mutex_);
  return ourLanguageCode_;
}

std::string QVLanguageMonitor::systemLanguageCode() const {
  const std::lock_guard lock(mutex_);
  return systemLanguageCode_;
}

std::vector<std::string> QVLanguageMonitor::systemPreferredLanguages() const {
  const std::lock_guard lock(mutex_);
  return systemPreferredLanguages_;
}

// A literal walk over the names of the bundle's localization folders. Deliberately not the matching by which
// a bundle chooses its string tables, which knows scripts and regions.
std::string QVLanguageMonitor::determineActiveLanguage() const {
  const auto bundle = NSBundle::mainBundle();
  const auto isLocalized = [&bundle](const std::string& name) {
    return bundle->pathForResource(name, kLocalizationType).has_value();
  };
  std::string answer;
  for (const std::string& language : NSLocale::preferredLanguages()) {
    const std::string code = firstTwoCharacters(language);
    if (isLocalized(language)) {
      answer = language;
    } else if (isLocalized(code) || isLocalized(macos::englishNameOfLanguage(code).value_or(code))) {
      answer = code;
    } else {
      continue;
    }
    break;
  }
  return answer.empty() ? std::string(kUnknownLanguage) : firstTwoCharacters(answer);
}

std::string QVLanguageMonitor::determineActiveSystemLanguage() const {
  std::string code = NSLocale(stringFromCommandLine("defaults read -g AppleLocale")).languageCode();
  return code.empty() ? std::string(kUnknownLanguage) : code;
}

std::vector<std::string> QVLanguageMonitor::determineSystemPreferredLanguages() const {
  std::string list = stringFromCommandLine("defaults read -g AppleLanguages");
  std::erase_if(list, [](char c) { return std::string_view("() \n\"").find(c) != std::string_view::npos; });
  if (list.empty()) return {std::string(kUnknownLanguage)};
  std::vector<std::string> languages;
  for (std::size_t start = 0; start <= list.size();) {
    const std::size_t comma = std::min(list.find(',', start), list.size());
    languages.push_back(list.substr(start, comma - start));
    start = comma + 1;
  }
  return languages;
}

std::string QVLanguageMonitor::stringFromCommandLine(const std::string& command) const {
  return macos::popenAndRead(command).value_or("");
}

std::string activeLanguage() { return QVLanguageMonitor::sharedMonitor().ourLanguageCode(); }

std::string activeSystemLanguage() { return QVLanguageMonitor::sharedMonitor().systemLanguageCode(); }

std::vector<std::string> systemPreferredLanguages() {
  return QVLanguageMonitor::sharedMonitor().systemPreferredLanguages();
}

}  // namespace vennick
