// SPDX-License-Identifier: MIT
//
// NSBundle: a folder with Contents/Info.plist, resources and string tables. A bundle may lie outside the
// root folder (a main application that is started from a checkout); then it is read by its host path,
// and that path never enters a store.
#ifndef MACOS_FOUNDATION_BUNDLE_H
#define MACOS_FOUNDATION_BUNDLE_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/URL.h"
#include "macos/foundation/Value.h"

namespace macos {

class NSBundle {
 public:
  // The bundle of the running program: the innermost one in whose Contents/MacOS the executable lies
  // directly, else the folder of the executable.
  static std::shared_ptr<NSBundle> mainBundle();
  // Null when the folder is not there.
  static std::shared_ptr<NSBundle> bundleWithURL(const NSURL& url);

  const NSURL& bundleURL() const;
  // Whether the bundle lies outside the root folder; bundleURL() then holds a host path.
  bool isOutsideRoot() const;
  // "" when Info.plist names none.
  std::string bundleIdentifier() const;
  const Dictionary& infoDictionary() const;
  std::optional<NSURL> executableURL() const;

  // Path of a resource: in the preferred localization, then not localized. "" type means no extension.
  std::optional<std::string> pathForResource(std::string_view name, std::string_view type) const;
  // The content of such a resource.
  std::optional<std::string> contentsOfResource(std::string_view name, std::string_view type) const;
  // The text for a key in Localizable.strings of the best localization for the user's languages; the
  // fallback when there is none, and the key when the fallback is empty.
  std::string localizedStringForKey(std::string_view key, std::string_view fallback = {}) const;
  // Names of the localization folders that the bundle has, without ".lproj".
  std::vector<std::string> localizations() const;
  std::vector<std::string> preferredLocalizations() const;

  struct Implementation;
  explicit NSBundle(std::unique_ptr<Implementation> implementation);
  ~NSBundle();

 private:
  std::unique_ptr<Implementation> implementation_;
};

// The main bundle's localized text for a key.
std::string NSLocalizedString(std::string_view key);

}  // namespace macos

#endif  // MACOS_FOUNDATION_BUNDLE_H
