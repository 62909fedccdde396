// SPDX-License-Identifier: MIT
#include "platform/LocalizedNames.h"

#include <mutex>
#include <unordered_map>

#include "macos/foundation/Bundle.h"
#include "macos/foundation/FileManager.h"
#include "macos/foundation/Log.h"
#include "macos/foundation/Process.h"
#include "macos/foundation/StringsFile.h"
#include "macos/foundation/URL.h"
#include "macos/host/Host.h"
#include "platform/LanguageMonitor.h"

namespace vennick {

using macos::Host;
using macos::NSBundle;
using macos::NSFileManager;
using macos::NSLocale;

namespace {

constexpr std::string_view kSystemTable =
    "/System/Library/CoreServices/SystemFolderLocalizations/en.lproj/SystemFolderLocalizations.strings";
constexpr std::string_view kEscapedInCommands = "!*'();:@&=+$,/?%#[]";
constexpr std::size_t kCacheCapacity = 100;

constexpr std::string_view kUsualNames[] = {"Library",        "Movies",
                                            "Shared Items",   "Sites",
                                            "Utilities",      "Pictures",
                                            "Network",        "Drop Box",
                                            "System",         "Mail Downloads",
                                            "Shared",         "My Applications",
                                            "Desktop",        "Compositions",
                                            "Groups",         "Music",
                                            "Servers",        "Faxes",
                                            "Web Receipts",   "Local",
                                            "Deleted Users",  "My Network",
                                            "Users",          "Applications",
                                            "Public",         "Incompatible Software",
                                            "Saved Searches", "Server",
                                            "Favorites",      "Guest",
                                            "Documents",      "Downloads"};
static_assert(std::size(kUsualNames) == 32);

struct LocalizedNames {
  LocalizedNames() {
    const auto bytes = Host::current().files().read(kSystemTable);
    const auto table = bytes.ok() ? macos::stringsTableWithData(*bytes) : bytes.status();
    if (table.ok()) {
      for (const auto& entry : *table) names.emplace_back(entry.key());
    } else {
      names.assign(std::begin(kUsualNames), std::end(kUsualNames));
    }
  }
  std::vector<std::string> names;
};

struct DisplayNameCache {
  DisplayNameCache() { names.reserve(kCacheCapacity); }
  std::mutex mutex;
  std::unordered_map<std::string, std::string> names;  // by language code and path, one after the other
};

// One word for the shell, whatever is in it.
std::string quoted(std::string_view word) {
  std::string text = "'";
  for (const char c : word) {
    if (c == '\'') {
      text += "'\\''";
    } else {
      text.push_back(c);
    }
  }
  return text + "'";
}

// The tool's path as the shell, which stands outside the root, has to write it.
std::optional<std::string> displayNameTool() {
  const auto bundle = NSBundle::mainBundle();
  auto path = bundle->pathForResource(kDisplayNameTool, "");
  if (!path || bundle->isOutsideRoot()) return path;
  return Host::current().files().hostPath(*path);
}

std::string commandFor(const std::string& tool, std::string_view path, const std::string& language,
                       const std::optional<NSLocale>& locale) {
  const std::string escaped = macos::stringByAddingPercentEscapes(path, kEscapedInCommands);
  std::string command = quoted(tool) + " " + quoted(escaped);
  if (locale) {
    command += " -AppleLanguages " + quoted("(" + language + ")") + " -AppleLocale " +
               quoted(locale->localeIdentifier());
  }
  return command;
}

}  // namespace

const std::vector<std::string>& localizedNames() { return macos::hostLocal<LocalizedNames>().names; }

std::string displayNameAtPathInLocale(std::string_view path, const std::optional<NSLocale>& locale) {
  const std::string language = locale ? locale->languageCode() : activeSystemLanguage();
  const std::string key = language + std::string(path);
  auto& cache = macos::hostLocal<DisplayNameCache>();
  {
    const std::lock_guard lock(cache.mutex);
    const auto known = cache.names.find(key);
    if (known != cache.names.end() && !known->second.empty()) return known->second;
  }
  const auto tool = displayNameTool();
  if (!tool) return NSFileManager::defaultManager().displayNameAtPath(path);

  std::string name = macos::popenAndRead(commandFor(*tool, path, language, locale)).value_or("");
  if (name.empty()) name = std::string(kDisplayNameToolError) + " no output";
  if (name.starts_with(kDisplayNameToolError)) {
    macos::NSLog(name);
    name = NSFileManager::defaultManager().displayNameAtPath(path);
  }
  const std::lock_guard lock(cache.mutex);
  cache.names[key] = name;
  return name;
}

}  // namespace vennick
