// SPDX-License-Identifier: MIT
//
// Text Input Sources: the keyboard layout that the user types on. Which one is current is read from the
// user's settings inside the root (domain com.apple.HIToolbox). Its data comes, in this order, from the
// user's, the machine's or the system's "Keyboard Layouts" folder inside the root, from the layouts that
// the main bundle carries (Resources/Keyboard Layouts), else it is the bundle's U.S. layout. Layouts
// described in XML (.keylayout) are not supported: they count as not there.
//
// The current source is found once for a host and shared after that; any thread may ask for it.
#ifndef MACOS_CARBON_TEXTINPUTSOURCES_H
#define MACOS_CARBON_TEXTINPUTSOURCES_H

#include <memory>
#include <string>
#include <string_view>

namespace macos {

inline constexpr std::string_view kTISPropertyInputSourceID = "TISPropertyInputSourceID";
inline constexpr std::string_view kTISPropertyLocalizedName = "TISPropertyLocalizedName";
inline constexpr std::string_view kTISPropertyUnicodeKeyLayoutData = "TISPropertyUnicodeKeyLayoutData";

class TISInputSource {
 public:
  TISInputSource(std::string identifier, std::string name, std::string unicodeKeyLayoutData)
      : identifier_(std::move(identifier)), name_(std::move(name)), data_(std::move(unicodeKeyLayoutData)) {}

  const std::string& identifier() const { return identifier_; }
  const std::string& name() const { return name_; }
  const std::string& unicodeKeyLayoutData() const { return data_; }

 private:
  std::string identifier_;
  std::string name_;
  std::string data_;
};

// Never null. The source has no layout data when neither the root nor the main bundle holds any.
std::shared_ptr<const TISInputSource> TISCopyCurrentKeyboardLayoutInputSource();

// The property's bytes, UTF-8 for texts, which live as long as the source; empty when the source is null
// or has no such property.
std::string_view TISGetInputSourceProperty(const TISInputSource* source, std::string_view key);

}  // namespace macos

#endif  // MACOS_CARBON_TEXTINPUTSOURCES_H
