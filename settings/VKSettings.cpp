// SPDX-License-Identifier: MIT
#include "settings/VKSettings.h"

#include <utility>

#include "macos/foundation/Preferences.h"
#include "macos/host/Host.h"

namespace vennick {
namespace {

struct SharedSettings {
  std::shared_ptr<VKSettings> settings;
};

}  // namespace

VKSettings::VKSettings(Private) {}

std::shared_ptr<VKSettings> VKSettings::sharedSettings() {
  return macos::hostLocal<SharedSettings>().settings;
}

std::shared_ptr<macos::NSUserDefaults> VKSettings::sharedDefaults() {
  const auto settings = sharedSettings();
  return settings ? settings->defaults() : nullptr;
}

std::shared_ptr<VKSettings> VKSettings::initWithBundle(std::shared_ptr<macos::NSBundle> bundle) {
  auto settings = std::make_shared<VKSettings>(Private());
  macos::hostLocal<SharedSettings>().settings = settings;
  settings->bundle_ = bundle ? std::move(bundle) : macos::NSBundle::mainBundle();
  const macos::Dictionary initialDefaults = settings->initialDefaults();
  settings->chooseDefaults(initialDefaults);
  settings->updateUserDefaultsWithBuiltInDefaults(initialDefaults);
  settings->defaultsController_->setAppliesImmediately(true);
  return settings;
}

bool VKSettings::save() {
  const bool applicationFlushed = macos::CFPreferencesAppSynchronize(macos::kCFPreferencesCurrentApplication);
  const bool defaultsFlushed = defaults()->synchronize();
  dirty_ = !(applicationFlushed && defaultsFlushed);
  return !dirty_;
}

}  // namespace vennick
