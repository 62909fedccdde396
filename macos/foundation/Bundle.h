// SPDX-License-Identifier: MIT
//
// NSBundle: a folder with Contents/Info.plist, resources and string tables; a folder without Contents is
// a flat bundle, whose parts lie at its top. A bundle may lie outside the root folder (a main application
// that is started from a checkout); then it is read by its host path, and that path never enters a store.
// What is read is read once, on first use, and kept; any thread.
#ifndef MACOS_FOUNDATION_BUNDLE_H
#define MACOS_FOUNDATION_BUNDLE_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/carbon/FourCharCode.h"
#include "macos/foundation/URL.h"
#include "macos/foundation/Value.h"

namespace macos {

class NSBundle {
 public:
  // The bundle of the running program: the innermost one in whose Contents/MacOS the executable lies
  // directly, else the folder of the executable.
  static std::shared_ptr<NSBundle> mainBundle();
  // Null when the folder is not there. The URL of the main bundle, or of a folder around it, leads to that
  // folder also when it lies outside the root.
  static std::shared_ptr<NSBundle> bundleWithURL(const NSURL& url);
  // The same for a path inside the root, spelled as the disk has it.
  static std::shared_ptr<NSBundle> bundleWithPath(std::string_view path);
  // The bundle in whose Contents/MacOS an executable, given by its path outside the root, lies directly;
  // null when it lies elsewhere.
  static std::shared_ptr<NSBundle> bundleOfExecutable(std::string_view hostPath);
  // Whether it lies in a folder Contents/MacOS, as a path alone tells: where it does not, there is no
  // bundle of it.
  static bool isExecutableOfBundle(std::string_view hostPath);

  const NSURL& bundleURL() const;
  // Whether the bundle lies outside the root folder; bundleURL() and all paths are then host paths.
  bool isOutsideRoot() const;
  // "" when Info.plist names none.
  std::string bundleIdentifier() const;
  // Empty when there is no Info.plist or it is none.
  const Dictionary& infoDictionary() const;
  // The creator of CFBundleGetPackageInfo: CFBundleSignature, its characters read forwards, else the last
  // four of the eight bytes of Contents/PkgInfo; 0 when there is neither, or it is not of four bytes.
  OSType signature() const;
  // The executable that Info.plist names, else one named like the bundle without its extension; nullopt
  // when there is no such file.
  std::optional<NSURL> executableURL() const;
  std::optional<std::string> executablePath() const;

  // Path of a resource, a file or a folder: one that is not localized comes first, then the preferred
  // localizations. "" type means no extension.
  std::optional<std::string> pathForResource(std::string_view name, std::string_view type) const;
  // The content of such a resource.
  std::optional<std::string> contentsOfResource(std::string_view name, std::string_view type) const;
  // The text for a key in Localizable.strings of the best localization for the user's languages; the
  // fallback when there is none, and the key when the fallback is empty.
  std::string localizedStringForKey(std::string_view key, std::string_view fallback = {}) const;
  // Names of the localization folders that the bundle has, without ".lproj".
  std::vector<std::string> localizations() const;
  // Those of them that the user sees, best first: for the first of the user's languages that has any, else
  // the bundle's development language, English, or whatever there is.
  std::vector<std::string> preferredLocalizations() const;
  // Those of the localizations that suit the first language of the list that has any, best first: the
  // very one, then those that are less specific (zh-Hans for zh-Hans-CN), then other regions' (pt-BR for
  // pt-PT). Old-style names ("German") stand for their codes. Empty when none suits.
  static std::vector<std::string> preferredLocalizationsFromArray(
      const std::vector<std::string>& localizations, const std::vector<std::string>& forPreferences);

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
