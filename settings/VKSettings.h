// SPDX-License-Identifier: MIT
//
// The version 5 settings store: the user defaults of the main application and what lies beside them. The
// bundle that it is made for names the defaults domain and brings the built-in defaults. Objects are
// shared; the newest one is the shared instance of the current host. Main thread.
#ifndef SETTINGS_VKSETTINGS_H
#define SETTINGS_VKSETTINGS_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/Bundle.h"
#include "macos/foundation/KeyValueObserving.h"
#include "macos/foundation/UserDefaults.h"
#include "macos/foundation/Value.h"
#include "settings/SettingsKeys.h"

namespace vennick {

class VKSettings : public macos::NSObservable, public std::enable_shared_from_this<VKSettings> {
  struct Private {};

 public:
  // The store made last; null before the first.
  static std::shared_ptr<VKSettings> sharedSettings();
  // Its defaults; null before the first store.
  static std::shared_ptr<macos::NSUserDefaults> sharedDefaults();

  // A store for a bundle (null: the main bundle), with the built-in defaults registered and merged. It
  // becomes the shared instance. Never null.
  static std::shared_ptr<VKSettings> initWithBundle(std::shared_ptr<macos::NSBundle> bundle);

  explicit VKSettings(Private);

  const std::shared_ptr<macos::NSBundle>& bundle() const { return bundle_; }
  const std::shared_ptr<macos::NSUserDefaultsController>& defaultsController() const {
    return defaultsController_;
  }
  const std::shared_ptr<macos::NSUserDefaults>& defaults() const { return defaultsController_->defaults(); }
  // Whether something changed since the last save that succeeded.
  bool dirty() const { return dirty_; }
  void setDirty(bool dirty) { dirty_ = dirty; }

  // Writes everything. True when all of it is on the disk; dirty() is the opposite afterwards.
  bool save();

 private:
  bool isSetappEdition() const;

  macos::Dictionary initialDefaults() const;
  void chooseDefaults(const macos::Dictionary& initialDefaults);
  void updateUserDefaultsWithBuiltInDefaults(const macos::Dictionary& initialDefaults);
  void mergeExcludedApplications(const macos::Dictionary& initialDefaults);
  void synchronizeSetappSettings(const macos::Dictionary& initialDefaults);
  void observeValueForKeyPath(std::string_view keyPath);

  std::shared_ptr<macos::NSBundle> bundle_;
  std::shared_ptr<macos::NSUserDefaultsController> defaultsController_;
  std::vector<macos::ObservationToken> setappObservations_;
  bool dirty_ = false;
};

}  // namespace vennick

#endif  // SETTINGS_VKSETTINGS_H
