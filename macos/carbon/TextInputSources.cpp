// SPDX-License-Identifier: MIT
#include "macos/carbon/TextInputSources.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

#include "macos/carbon/KeyboardLayout.h"
#include "macos/carbon/ResourceFork.h"
#include "macos/foundation/Bundle.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/Preferences.h"
#include "macos/foundation/Value.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr std::string_view kSettingsDomain = "com.apple.HIToolbox";
constexpr std::string_view kCurrentLayoutKey = "AppleCurrentKeyboardLayoutInputSourceID";
constexpr std::string_view kSelectedSourcesKey = "AppleSelectedInputSources";
constexpr std::string_view kInputSourceKind = "InputSourceKind";
constexpr std::string_view kKeyboardLayoutKind = "Keyboard Layout";
constexpr std::string_view kKeyboardLayoutName = "KeyboardLayout Name";
constexpr std::string_view kSystemLayoutPrefix = "com.apple.keylayout.";

constexpr std::string_view kLayoutsFolder = "Keyboard Layouts";
constexpr std::string_view kFallbackLayout = "US";
constexpr OSType kUnicodeLayoutResource = fourCharCode("uchr");
// Layouts take tens of kilobytes; a file of resources may hold a few hundred of them.
constexpr std::uint64_t kLargestLayoutFile = std::uint64_t{16} << 20;

// What the settings say of the current layout.
struct LayoutChoice {
  std::string identifier;
  std::string name;  // as its file is called
  bool isOfTheSystem = false;
};

// "U.S." and "US", "Swiss German" and "SwissGerman" are one layout's name and the end of its identifier.
std::string condensed(std::string_view name) {
  std::string result(name);
  std::erase_if(result, [](char c) { return c == ' ' || c == '.'; });
  return result;
}

std::string lastPartOf(std::string_view identifier) {
  return std::string(identifier.substr(identifier.rfind('.') + 1));
}

// The name of the keyboard layout among the selected sources; there may be an input method beside it.
std::string selectedLayoutName() {
  const auto sources = CFPreferencesCopyAppValue(kSelectedSourcesKey, kSettingsDomain);
  const Array* list = sources ? sources->ifArray() : nullptr;
  if (list == nullptr) return {};
  for (const Value& source : *list) {
    const Dictionary* entry = source.ifDictionary();
    if (entry == nullptr || entry->string(kInputSourceKind) != kKeyboardLayoutKind) continue;
    return std::string(entry->string(kKeyboardLayoutName).value_or(""));
  }
  return {};
}

std::optional<LayoutChoice> choiceInSettings() {
  LayoutChoice choice;
  choice.name = selectedLayoutName();
  if (const auto current = CFPreferencesCopyAppValue(kCurrentLayoutKey, kSettingsDomain)) {
    choice.identifier = current->ifString().value_or("");
  }
  if (choice.identifier.empty()) {
    if (choice.name.empty()) return std::nullopt;
    choice.isOfTheSystem = true;
    choice.identifier = std::string(kSystemLayoutPrefix) + condensed(choice.name);
    return choice;
  }
  choice.isOfTheSystem = choice.identifier.starts_with(kSystemLayoutPrefix);
  const std::string part = lastPartOf(choice.identifier);
  if (condensed(choice.name) != part) choice.name = part;
  return choice;
}

// A name from a settings file is a file's name and never a way out of the folder.
bool isFileName(std::string_view name) {
  return !name.empty() && name.front() != '.' && name.find_first_of(std::string_view("/\0", 2)) == name.npos;
}

bool isUnicodeKeyLayoutData(std::string_view data) {
  // Data in the byte order of old machines is of no use to this one.
  if (data.starts_with(std::string_view("\x10\x02", 2))) return false;
  const UCKeyboardLayout layout(data);
  return layout.keyboardTypeCount() != 0 && layout.keyboardType(0).has_value();
}

std::optional<std::string> contentOf(const std::string& path) {
  auto content = Host::current().files().read(pathAsOnDisk(path), kLargestLayoutFile);
  if (!content) return std::nullopt;
  return std::move(*content);
}

// The layout of that name among the resources, else the only one.
std::optional<std::string> layoutAmongResources(std::string_view bytes, std::string_view name) {
  auto fork = ResourceFork::decode(bytes);
  if (!fork) return std::nullopt;
  std::vector<const Resource*> layouts;
  for (const Resource& resource : fork->resources()) {
    if (resource.type != kUnicodeLayoutResource) continue;
    if (resource.name == name) return resource.data;
    layouts.push_back(&resource);
  }
  if (layouts.size() != 1) return std::nullopt;
  return layouts.front()->data;
}

// The layout in a folder of layouts, loose or in a bundle: plain 'uchr' data (.uchr), or a file of
// resources (.rsrc).
std::optional<std::string> layoutInFolder(const std::string& folder, const std::string& name) {
  const std::string loose = pathByAppendingComponent(folder, name);
  const std::string inBundle = pathByAppendingComponent(loose + ".bundle/Contents/Resources", name);
  for (const std::string& stem : {loose, inBundle}) {
    if (auto data = contentOf(stem + ".uchr"); data && isUnicodeKeyLayoutData(*data)) {
      return data;
    }
    if (const auto resources = contentOf(stem + ".rsrc")) {
      auto data = layoutAmongResources(*resources, name);
      if (data && isUnicodeKeyLayoutData(*data)) return data;
    }
  }
  return std::nullopt;
}

std::optional<std::string> layoutInsideRoot(const std::string& name) {
  const std::array<std::string, 3> libraries{Host::current().home() + "/Library/", "/Library/",
                                             "/System/Library/"};
  for (const std::string& library : libraries) {
    const std::string folder = library + std::string(kLayoutsFolder);
    const auto info = itemInfo(folder, FollowLinks::Yes);
    if (!info || !info->isFolder()) continue;
    if (auto data = layoutInFolder(folder, name)) return data;
  }
  return std::nullopt;
}

std::optional<std::string> shippedLayout(std::string_view name) {
  const auto bundle = NSBundle::mainBundle();
  if (bundle == nullptr) return std::nullopt;
  return bundle->contentsOfResource(std::string(kLayoutsFolder) + "/" + std::string(name), "uchr");
}

std::shared_ptr<const TISInputSource> findCurrentLayout() {
  if (const auto choice = choiceInSettings(); choice && isFileName(choice->name)) {
    auto data = layoutInsideRoot(choice->name);
    if (!data && choice->isOfTheSystem) data = shippedLayout(condensed(choice->name));
    if (data) return std::make_shared<TISInputSource>(choice->identifier, choice->name, std::move(*data));
  }
  return std::make_shared<TISInputSource>(std::string(kSystemLayoutPrefix) + std::string(kFallbackLayout),
                                          "U.S.", shippedLayout(kFallbackLayout).value_or(""));
}

struct CurrentLayout {
  std::shared_ptr<const TISInputSource> source = findCurrentLayout();
};

}  // namespace

std::shared_ptr<const TISInputSource> TISCopyCurrentKeyboardLayoutInputSource() {
  return hostLocal<CurrentLayout>().source;
}

std::string_view TISGetInputSourceProperty(const TISInputSource* source, std::string_view key) {
  if (source == nullptr) return {};
  if (key == kTISPropertyUnicodeKeyLayoutData) return source->unicodeKeyLayoutData();
  if (key == kTISPropertyInputSourceID) return source->identifier();
  if (key == kTISPropertyLocalizedName) return source->name();
  return {};
}

}  // namespace macos
