// SPDX-License-Identifier: MIT
#include "macos/foundation/DisplayName.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <optional>

#include "macos/foundation/Bundle.h"
#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/Preferences.h"
#include "macos/foundation/StringsFile.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

using Languages = std::vector<std::string>;

constexpr std::string_view kSystemTables = "/System/Library/CoreServices/SystemFolderLocalizations";
constexpr std::string_view kSystemTableName = "SystemFolderLocalizations";
constexpr std::string_view kLocalizationSuffix = ".lproj";
constexpr std::string_view kTableExtension = ".strings";
// Also the mark of a folder that has a localized name: a file or folder of this name in it.
constexpr std::string_view kLocalizedMark = ".localized";
constexpr std::string_view kBootVolumeName = "Macintosh HD";
constexpr std::uint64_t kLargestTable = 16U << 20U;

// A text without characters names nothing.
std::optional<std::string> nameIn(const Dictionary& table, std::string_view key) {
  const auto text = table.string(key);
  return text && !text->empty() ? std::optional(std::string(*text)) : std::nullopt;
}

// A missing table and one that is none are the same: empty.
Dictionary tableWithBytes(const Result<std::string>& bytes) {
  if (!bytes.ok()) return {};
  return stringsTableWithData(*bytes).valueOr(Dictionary());
}

Dictionary tableAtPath(const std::string& path) {
  return tableWithBytes(Host::current().files().read(path, kLargestTable));
}

// The stems of the names in a folder that end in the extension.
Languages stemsInFolder(const std::string& folder, std::string_view extension) {
  Languages stems;
  const auto entries = Host::current().files().list(folder);
  if (!entries.ok()) return stems;
  for (const FolderEntry& entry : *entries) {
    if (entry.name.size() > extension.size() && entry.name.ends_with(extension)) {
      stems.push_back(entry.name.substr(0, entry.name.size() - extension.size()));
    }
  }
  return stems;
}

// The tables of standard folder names, one for each localization that was asked for.
class SystemTables {
 public:
  SystemTables() : names_(stemsInFolder(std::string(kSystemTables), kLocalizationSuffix)) {
    isOurs_ = names_.empty();
    if (isOurs_) names_ = NSBundle::mainBundle()->localizations();
  }

  std::optional<std::string> name(const std::string& folder, const Languages& languages) {
    const Languages suitable = NSBundle::preferredLocalizationsFromArray(names_, languages);
    const std::lock_guard lock(mutex_);
    for (const std::string& localization : suitable) {
      if (auto text = nameIn(table(localization), folder)) return text;
    }
    return std::nullopt;
  }

 private:
  const Dictionary& table(const std::string& localization) {
    const auto found = tables_.find(localization);
    return found != tables_.end() ? found->second
                                  : tables_.emplace(localization, read(localization)).first->second;
  }

  Dictionary read(const std::string& localization) const {
    const std::string inFolder =
        localization + std::string(kLocalizationSuffix) + "/" + std::string(kSystemTableName);
    if (!isOurs_) {
      return tableAtPath(pathByAppendingComponent(kSystemTables, inFolder + std::string(kTableExtension)));
    }
    const auto bytes = NSBundle::mainBundle()->contentsOfResource(inFolder, "strings");
    return bytes ? stringsTableWithData(*bytes).valueOr(Dictionary()) : Dictionary();
  }

  Languages names_;
  bool isOurs_ = false;
  std::mutex mutex_;
  std::map<std::string, Dictionary> tables_;
};

std::string withoutExtension(const std::string& name) {
  const std::size_t dot = extensionDot(name);
  return dot == std::string::npos ? name : name.substr(0, dot);
}

bool showsAllExtensions() {
  return CFPreferencesGetAppBooleanValue("AppleShowAllExtensions", kCFPreferencesCurrentApplication, nullptr);
}

// The name of a folder "Name.localized": from the table in its ".localized" folder, else "Name".
std::string nameOfLocalizedFolder(const std::string& path, const std::string& stem,
                                  const Languages& languages) {
  const std::string tables = pathByAppendingComponent(path, kLocalizedMark);
  const Languages found =
      NSBundle::preferredLocalizationsFromArray(stemsInFolder(tables, kTableExtension), languages);
  for (const std::string& language : found) {
    const Dictionary table =
        tableAtPath(pathByAppendingComponent(tables, language + std::string(kTableExtension)));
    if (auto text = nameIn(table, stem)) return *std::move(text);
  }
  return stem;
}

// The localized name of an application whose bundle still has the name that its maker gave it.
std::optional<std::string> nameOfApplication(const std::string& path, const std::string& stem,
                                             const Languages& languages) {
  const auto bundle = NSBundle::bundleWithPath(path);
  if (!bundle || !bundle->infoDictionary().boolean("LSHasLocalizedDisplayName").value_or(false)) {
    return std::nullopt;
  }
  const Dictionary& info = bundle->infoDictionary();
  const auto own =
      info.contains("CFBundleDisplayName") ? info.string("CFBundleDisplayName") : info.string("CFBundleName");
  if (own && !isSameFileName(*own, stem, true)) return std::nullopt;
  for (const std::string& localization :
       NSBundle::preferredLocalizationsFromArray(bundle->localizations(), languages)) {
    const auto bytes =
        bundle->contentsOfResource(localization + std::string(kLocalizationSuffix) + "/InfoPlist", "strings");
    const Dictionary table = bytes ? stringsTableWithData(*bytes).valueOr(Dictionary()) : Dictionary();
    if (auto text = nameIn(table, "CFBundleDisplayName")) return text;
  }
  return std::nullopt;
}

std::optional<std::string> nameOfVolume(const std::string& path) {
  for (const VolumeInfo& volume : Host::current().volumes().volumes()) {
    if (volume.mountPoint != path) continue;
    if (!volume.name.empty()) return volume.name;
    return volume.isBoot ? std::optional(std::string(kBootVolumeName)) : std::nullopt;
  }
  return std::nullopt;
}

bool mayBeVolume(std::string_view path, const FileInfo& item) {
  if (path == "/") return true;
  const auto parent = Host::current().files().info(pathByDeletingLastPathComponent(path), FollowLinks::Yes);
  return parent.ok() && parent->device != item.device;
}

std::string nameOfFolder(const std::string& path, const FileInfo& item, const std::string& name,
                         const Languages& languages) {
  if (name.size() > kLocalizedMark.size() && name.ends_with(kLocalizedMark)) {
    return nameOfLocalizedFolder(path, name.substr(0, name.size() - kLocalizedMark.size()), languages);
  }
  if (mayBeVolume(path, item)) {
    if (auto volume = nameOfVolume(path)) return *volume;
  }
  const std::string mark = pathByAppendingComponent(path, kLocalizedMark);
  if (Host::current().files().info(mark, FollowLinks::No).ok()) {
    if (auto localized = hostLocal<SystemTables>().name(composed(name), languages)) return *localized;
  }
  return name;
}

std::string shownName(const std::string& path, const FileInfo& item, const Languages& languages) {
  std::string name = validUTF8(lastPathComponent(path));
  const bool isApplication = item.isFolder() && lowercaseASCII(pathExtension(name)) == "app";
  if (isApplication) {
    const std::string stem = withoutExtension(name);
    if (auto localized = nameOfApplication(path, stem, languages)) return *localized;
    return showsAllExtensions() ? name : stem;
  }
  if (item.isFolder()) {
    std::string folder = nameOfFolder(path, item, name, languages);
    if (folder != name) return folder;
  }
  if (extensionDot(name) == std::string::npos || !finderInfoAtPath(path).hidesExtension()) return name;
  return showsAllExtensions() ? name : withoutExtension(name);
}

}  // namespace

std::string displayNameInLanguages(std::string_view path, const std::vector<std::string>& languages) {
  if (path.empty()) return "";
  const std::string spelled(withoutTrailingSlashes(pathAsOnDisk(path)));
  const auto item = Host::current().files().info(spelled, FollowLinks::No);
  if (!item.ok()) return validUTF8(lastPathComponent(path));
  std::string name = shownName(spelled, *item, languages);
  // A Mac's disk keeps as ':' what its user typed as '/'.
  std::replace(name.begin(), name.end(), ':', '/');
  return name;
}

}  // namespace macos
