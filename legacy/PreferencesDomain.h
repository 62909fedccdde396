// SPDX-License-Identifier: MIT
//
// One preference domain as version 4 used it: top-level keys read with a default that is stored back
// when it was needed. What is stored is pending until the domain is synchronised, as
// CFPreferencesSetAppValue has it. Main thread.
#ifndef LEGACY_PREFERENCESDOMAIN_H
#define LEGACY_PREFERENCESDOMAIN_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "legacy/ContainerReading.h"
#include "macos/foundation/Value.h"

namespace vennick {

class PreferencesDomain {
 public:
  explicit PreferencesDomain(std::string_view domain) : domain_(domain) {}

  const std::string& domain() const { return domain_; }

  // ContainerReading.h's rule, through the domain's search list; stored into the domain itself.
  ContainerRead<macos::Dictionary> copyDictionary(std::string_view key) const;
  ContainerRead<macos::Array> copyArray(std::string_view key) const;
  // Stores the default when the value is missing or no string. An empty string is a string here.
  std::string copyString(std::string_view key, std::string_view defaultValue) const;
  // With the platform's conversions; stores the default when there is nothing that converts.
  std::int64_t integer(std::string_view key, std::int64_t defaultValue) const;

  // nullopt removes the key.
  void setValue(std::string_view key, std::optional<macos::Value> value) const;
  void setInteger(std::string_view key, std::int64_t value) const;

 private:
  std::string domain_;
};

}  // namespace vennick

#endif  // LEGACY_PREFERENCESDOMAIN_H
