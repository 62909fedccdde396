// SPDX-License-Identifier: MIT
#include "macos/foundation/Preferences.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "macos/foundation/PreferenceDomain.h"

namespace macos {

namespace {

std::shared_ptr<PreferenceDomain> domainOf(std::string_view applicationID) {
  return PreferenceDomains::current().domain(applicationID);
}

bool isSameWord(std::string_view text, std::string_view lowerCaseWord) {
  return std::equal(text.begin(), text.end(), lowerCaseWord.begin(), lowerCaseWord.end(),
                    [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; });
}

// A text that is a decimal integer from end to end; beyond 32 bits the nearest, as the platform scans it.
std::optional<std::int32_t> decimalInteger(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(text.substr(1).starts_with('-') ? 0 : 1);
  std::int32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (rest != end || error == std::errc::invalid_argument) return std::nullopt;
  if (error == std::errc()) return number;
  return text.front() == '-' ? std::numeric_limits<std::int32_t>::min()
                             : std::numeric_limits<std::int32_t>::max();
}

void answer(bool* exists, bool answer) {
  if (exists != nullptr) *exists = answer;
}

}  // namespace

std::optional<Value> CFPreferencesCopyAppValue(std::string_view key, std::string_view applicationID) {
  auto value = domainOf(applicationID)->copyValue(key);
  return value ? value : PreferenceDomains::current().globalDomain()->copyValue(key);
}

Dictionary CFPreferencesCopyMultiple(std::string_view applicationID) {
  return domainOf(applicationID)->copyAll();
}

std::optional<Value> copyStoredPreferencesValue(std::string_view key, std::string_view applicationID) {
  return domainOf(applicationID)->copyStoredValue(key);
}

void CFPreferencesSetAppValue(std::string_view key, std::optional<Value> value,
                              std::string_view applicationID) {
  domainOf(applicationID)->set(key, std::move(value));
}

bool CFPreferencesAppSynchronize(std::string_view applicationID) {
  // Reading an application's values looks through the global domain too, which therefore is looked at again.
  PreferenceDomains::current().globalDomain()->forgetReading();
  return domainOf(applicationID)->synchronize();
}

bool CFPreferencesGetAppBooleanValue(std::string_view key, std::string_view applicationID, bool* exists) {
  answer(exists, true);
  const auto value = CFPreferencesCopyAppValue(key, applicationID);
  if (value) {
    if (const auto boolean = value->ifBoolean()) return *boolean;
    if (const auto integer = value->ifInteger()) return *integer != Integer(0);
    if (const auto text = value->ifString()) {
      if (isSameWord(*text, "true") || isSameWord(*text, "yes")) return true;
      if (isSameWord(*text, "false") || isSameWord(*text, "no")) return false;
    }
  }
  answer(exists, false);
  return false;
}

std::int64_t CFPreferencesGetAppIntegerValue(std::string_view key, std::string_view applicationID,
                                             bool* exists) {
  answer(exists, true);
  const auto value = CFPreferencesCopyAppValue(key, applicationID);
  if (value) {
    if (const auto integer = value->ifInteger()) return integer->low64();
    if (const auto text = value->ifString()) {
      if (const auto number = decimalInteger(*text)) return *number;
    }
  }
  answer(exists, false);
  return 0;
}

void openPreferencesDomainReadOnly(std::string_view applicationID) {
  domainOf(applicationID)->makeReadOnly();
}

bool flushPreferences() { return PreferenceDomains::current().writeOwed(PreferenceDomain::Attempt::Last); }

std::string preferencesFilePath(std::string_view applicationID) { return domainOf(applicationID)->path(); }

}  // namespace macos
