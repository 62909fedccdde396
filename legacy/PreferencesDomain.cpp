// SPDX-License-Identifier: MIT
#include "legacy/PreferencesDomain.h"

#include <utility>

#include "macos/foundation/Preferences.h"

namespace vennick {
namespace {

class DomainParent final : public ContainerParent {
 public:
  explicit DomainParent(const std::string& domain) : domain_(domain) {}

  std::optional<macos::Value> read(std::string_view key) const override {
    return macos::CFPreferencesCopyAppValue(key, domain_);
  }

  void write(std::string_view key, std::optional<macos::Value> value) override {
    macos::CFPreferencesSetAppValue(key, std::move(value), domain_);
  }

 private:
  const std::string& domain_;
};

}  // namespace

ContainerRead<macos::Dictionary> PreferencesDomain::copyDictionary(std::string_view key) const {
  DomainParent parent(domain_);
  return readDictionary(parent, key);
}

ContainerRead<macos::Array> PreferencesDomain::copyArray(std::string_view key) const {
  DomainParent parent(domain_);
  return readArray(parent, key);
}

std::string PreferencesDomain::copyString(std::string_view key, std::string_view defaultValue) const {
  const std::optional<macos::Value> stored = macos::CFPreferencesCopyAppValue(key, domain_);
  if (stored) {
    if (const auto string = stored->ifString()) return std::string(*string);
  }
  setValue(key, macos::Value(defaultValue));
  return std::string(defaultValue);
}

std::int64_t PreferencesDomain::integer(std::string_view key, std::int64_t defaultValue) const {
  bool exists = false;
  const std::int64_t stored = macos::CFPreferencesGetAppIntegerValue(key, domain_, &exists);
  if (exists) return stored;
  setInteger(key, defaultValue);
  return defaultValue;
}

void PreferencesDomain::setValue(std::string_view key, std::optional<macos::Value> value) const {
  macos::CFPreferencesSetAppValue(key, std::move(value), domain_);
}

void PreferencesDomain::setInteger(std::string_view key, std::int64_t value) const {
  setValue(key, macos::Value(value));
}

}  // namespace vennick
