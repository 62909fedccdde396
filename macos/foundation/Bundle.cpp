// SPDX-License-Identifier: MIT
#include "macos/foundation/Bundle.h"

#include <mutex>
#include <utility>

#include "macos/foundation/Log.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/Preferences.h"
#include "macos/foundation/PropertyList.h"
#include "macos/foundation/StringsFile.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"
#include "macos/host/PosixFileSystem.h"

namespace macos {

namespace {

constexpr std::uint64_t kLargestInfo = std::uint64_t{16} << 20;
constexpr std::size_t kPackageInfoSize = 8;
constexpr std::uint64_t kLargestResource = std::uint64_t{64} << 20;
constexpr std::string_view kLocalizationExtension = "lproj";
constexpr std::string_view kExecutableFolder = "/Contents/MacOS";

// The host's own files, for bundles outside the root.
struct HostFiles {
  std::unique_ptr<FileSystem> files = std::make_unique<PosixFileSystem>("/");
};

std::string parentFolder(std::string_view hostPath) {
  const std::size_t slash = hostPath.rfind('/');
  if (slash == std::string_view::npos) return ".";
  return std::string(hostPath.substr(0, slash == 0 ? 1 : slash));
}

bool isFolder(FileSystem& files, std::string_view path) {
  const auto info = files.info(path, FollowLinks::Yes);
  return info.ok() && info->isFolder();
}

std::string withExtension(std::string_view name, std::string_view extension) {
  std::string result(name);
  if (!extension.empty()) result.append(".").append(extension);
  return result;
}

// A name that Info.plist gives must not lead out of the folder that it belongs to.
bool isPlainName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos;
}

std::vector<std::string> userLanguages() {
  std::vector<std::string> languages;
  const auto value = CFPreferencesCopyAppValue("AppleLanguages", kCFPreferencesCurrentApplication);
  if (const Array* list = value ? value->ifArray() : nullptr) {
    for (const Value& entry : *list) {
      if (const auto language = entry.ifString()) languages.emplace_back(*language);
    }
  }
  if (languages.empty()) languages.emplace_back("en");
  return languages;
}

OSType codeOfBytes(std::string_view bytes) {
  if (bytes.size() != 4) return 0;
  OSType code = 0;
  for (const char c : bytes) code = code << 8 | static_cast<unsigned char>(c);
  return code;
}

}  // namespace

struct NSBundle::Implementation {
  Implementation(std::string bundlePath, bool liesOutside)
      : path(std::move(bundlePath)),
        isOutside(liesOutside),
        url(NSURL::fileURLWithPathIsDirectory(path, true)) {
    const std::string inContents = pathByAppendingComponent(path, "Contents");
    hasContents = isFolder(files(), inContents);
    contents = hasContents ? inContents : path;
    const std::string inResources = pathByAppendingComponent(contents, "Resources");
    resources = hasContents || isFolder(files(), inResources) ? inResources : path;
  }

  FileSystem& files() const { return isOutside ? *hostLocal<HostFiles>().files : Host::current().files(); }

  bool exists(const std::string& item) const { return files().info(item, FollowLinks::Yes).ok(); }

  // The item as the disk spells it; nullopt when it is not there.
  std::optional<std::string> item(std::string_view folder, std::string_view name) const {
    std::string found = pathByAppendingComponent(folder, name);
    if (exists(found)) return found;
    if (!isOutside) {
      found = pathAsOnDisk(found);
      if (exists(found)) return found;
    }
    return std::nullopt;
  }

  const Dictionary& info() {
    return keptOrMade(information, [this] { return readInfo(); });
  }

  Dictionary readInfo() const {
    const auto bytes = files().read(pathByAppendingComponent(contents, "Info.plist"), kLargestInfo);
    if (!bytes.ok()) return {};
    auto list = NSPropertyListSerialization::propertyListWithData(*bytes);
    const Dictionary* dictionary = list.ok() ? std::as_const(list->value).ifDictionary() : nullptr;
    return dictionary ? *dictionary : Dictionary{};
  }

  OSType signature() {
    if (const auto text = info().string("CFBundleSignature")) {
      const auto bytes = macRomanFromUTF8(*text);
      return bytes ? codeOfBytes(*bytes) : 0;
    }
    const auto bytes = files().readStart(pathByAppendingComponent(contents, "PkgInfo"), kPackageInfoSize);
    if (!bytes.ok() || bytes->size() != kPackageInfoSize) return 0;
    return codeOfBytes(std::string_view(*bytes).substr(kPackageInfoSize / 2));
  }

  const std::vector<std::string>& localizationNames() {
    return keptOrMade(localizations, [this] {
      std::vector<std::string> names;
      const auto entries = files().list(resources);
      if (!entries.ok()) return names;
      for (const FolderEntry& entry : *entries) {
        const std::string name = validUTF8(entry.name);
        if (entry.kind != FileKind::File && pathExtension(name) == kLocalizationExtension) {
          names.push_back(pathByDeletingExtension(name));
        }
      }
      return names;
    });
  }

  const std::vector<std::string>& preferredNames() {
    return keptOrMade(preferred, [this] {
      const std::vector<std::string>& names = localizationNames();
      auto suitable = preferredLocalizationsFromArray(names, userLanguages());
      if (!suitable.empty()) return suitable;
      const auto region = info().string("CFBundleDevelopmentRegion").value_or("en");
      suitable = preferredLocalizationsFromArray(names, {std::string(region), "en"});
      if (suitable.empty() && !names.empty()) suitable.push_back(names.front());
      return suitable;
    });
  }

  std::optional<std::string> resource(std::string_view name, std::string_view type) {
    const std::string fileName = withExtension(name, type);
    if (auto found = item(resources, fileName)) return found;
    for (const std::string& localization : preferredNames()) {
      const auto folder = item(resources, withExtension(localization, kLocalizationExtension));
      if (!folder) continue;
      if (auto found = item(*folder, fileName)) return found;
    }
    return std::nullopt;
  }

  std::optional<std::string> contentsOf(std::string_view name, std::string_view type) {
    const auto found = resource(name, type);
    if (!found) return std::nullopt;
    auto bytes = files().read(*found, kLargestResource);
    if (bytes.ok()) return std::move(bytes).value();
    NSLogStatus(bytes.status());
    return std::nullopt;
  }

  const Dictionary& strings() {
    return keptOrMade(table, [this] {
      const auto bytes = contentsOf("Localizable", "strings");
      if (!bytes) return Dictionary{};
      auto read = stringsTableWithData(*bytes);
      if (read.ok()) return std::move(read).value();
      NSLogStatus(Status(read.status().code(), path, read.status().message()));
      return Dictionary{};
    });
  }

  std::optional<std::string> executable() {
    const auto named = info().string("CFBundleExecutable");
    const std::string name = named ? std::string(*named) : pathByDeletingExtension(lastPathComponent(path));
    if (!isPlainName(name)) return std::nullopt;
    const std::string folder = hasContents ? path + std::string(kExecutableFolder) : path;
    auto found = item(folder, name);
    if (!found) return std::nullopt;
    const auto facts = files().info(*found, FollowLinks::Yes);
    return facts.ok() && facts->kind == FileKind::File ? found : std::nullopt;
  }

  const std::string path;  // as the disk has it
  const bool isOutside;
  const NSURL url;
  bool hasContents = false;
  std::string contents;   // the folder that holds Info.plist
  std::string resources;  // the folder that holds the resources

  // What is there, else what the function makes. It is made without the lock: reading leads to the user's
  // languages, which lead to the main bundle's identifier.
  template <typename T, typename Make>
  const T& keptOrMade(std::optional<T>& kept, Make make) {
    {
      const std::lock_guard lock(mutex);
      if (kept) return *kept;
    }
    T made = make();
    const std::lock_guard lock(mutex);
    if (!kept) kept = std::move(made);
    return *kept;
  }

  std::mutex mutex;  // of what follows, which is never changed once it is there
  std::optional<Dictionary> information;
  std::optional<std::vector<std::string>> localizations;
  std::optional<std::vector<std::string>> preferred;
  std::optional<Dictionary> table;
};

namespace {

std::shared_ptr<NSBundle> bundleAt(std::string path, bool isOutside) {
  auto implementation = std::make_unique<NSBundle::Implementation>(std::move(path), isOutside);
  if (!isFolder(implementation->files(), implementation->path)) return nullptr;
  return std::make_shared<NSBundle>(std::move(implementation));
}

std::shared_ptr<NSBundle> bundleAtHostPath(const std::string& hostPath) {
  if (auto inRoot = Host::current().files().pathInRoot(hostPath)) return bundleAt(std::move(*inRoot), false);
  return bundleAt(hostPath, true);
}

// The folder in whose Contents/MacOS the file lies directly.
std::optional<std::string> bundleFolderOfExecutable(std::string_view hostPath) {
  const std::string folder = parentFolder(hostPath);
  if (folder.size() <= kExecutableFolder.size() || !folder.ends_with(kExecutableFolder)) return std::nullopt;
  return folder.substr(0, folder.size() - kExecutableFolder.size());
}

// What hangs on the host: the main bundle is looked for once.
struct MainBundle {
  MainBundle() {
    const std::string& executable = Host::current().executable();
    const std::string folder = bundleFolderOfExecutable(executable).value_or(parentFolder(executable));
    bundle = bundleAtHostPath(folder);
    // A program whose folder was removed under it still has a main bundle, with nothing in it.
    if (bundle) return;
    bundle = std::make_shared<NSBundle>(std::make_unique<NSBundle::Implementation>(folder, true));
  }
  std::shared_ptr<NSBundle> bundle;
};

// The folder around a main bundle outside the root to which the URL leads. Compared as URLs are, since a
// URL's path is decomposed and a host's path need not be.
std::optional<std::string> folderAroundMainBundle(const NSURL& url) {
  const auto main = NSBundle::mainBundle();
  if (!main->isOutsideRoot()) return std::nullopt;
  const std::string wanted = url.path();
  std::string folder = bundleFolderOfExecutable(Host::current().executable())
                           .value_or(parentFolder(Host::current().executable()));
  for (; folder.size() > 1; folder = parentFolder(folder)) {
    if (NSURL::fileURLWithPathIsDirectory(folder, true).path() == wanted) return folder;
  }
  return std::nullopt;
}

}  // namespace

NSBundle::NSBundle(std::unique_ptr<Implementation> implementation)
    : implementation_(std::move(implementation)) {}
NSBundle::~NSBundle() = default;

std::shared_ptr<NSBundle> NSBundle::mainBundle() { return hostLocal<MainBundle>().bundle; }

std::shared_ptr<NSBundle> NSBundle::bundleWithURL(const NSURL& url) {
  if (!url.isFileURL()) return nullptr;
  if (const auto folder = folderAroundMainBundle(url)) return bundleAt(*folder, true);
  return bundleWithPath(pathAsOnDisk(url.fileSystemRepresentation()));
}

std::shared_ptr<NSBundle> NSBundle::bundleWithPath(std::string_view path) {
  return bundleAt(std::string(path), false);
}

bool NSBundle::isExecutableOfBundle(std::string_view hostPath) {
  return bundleFolderOfExecutable(hostPath).has_value();
}

std::shared_ptr<NSBundle> NSBundle::bundleOfExecutable(std::string_view hostPath) {
  const auto folder = bundleFolderOfExecutable(hostPath);
  return folder ? bundleAtHostPath(*folder) : nullptr;
}

const NSURL& NSBundle::bundleURL() const { return implementation_->url; }

bool NSBundle::isOutsideRoot() const { return implementation_->isOutside; }

std::string NSBundle::bundleIdentifier() const {
  return std::string(infoDictionary().string("CFBundleIdentifier").value_or(std::string_view{}));
}

const Dictionary& NSBundle::infoDictionary() const { return implementation_->info(); }

OSType NSBundle::signature() const { return implementation_->signature(); }

std::optional<NSURL> NSBundle::executableURL() const {
  const auto path = executablePath();
  if (!path) return std::nullopt;
  return NSURL::fileURLWithPathIsDirectory(*path, false);
}

std::optional<std::string> NSBundle::executablePath() const { return implementation_->executable(); }

std::optional<std::string> NSBundle::pathForResource(std::string_view name, std::string_view type) const {
  return implementation_->resource(name, type);
}

std::optional<std::string> NSBundle::contentsOfResource(std::string_view name, std::string_view type) const {
  return implementation_->contentsOf(name, type);
}

std::string NSBundle::localizedStringForKey(std::string_view key, std::string_view fallback) const {
  if (const auto text = implementation_->strings().string(key)) return std::string(*text);
  return std::string(fallback.empty() ? key : fallback);
}

std::vector<std::string> NSBundle::localizations() const { return implementation_->localizationNames(); }

std::vector<std::string> NSBundle::preferredLocalizations() const {
  return implementation_->preferredNames();
}

std::string NSLocalizedString(std::string_view key) {
  return NSBundle::mainBundle()->localizedStringForKey(key);
}

}  // namespace macos
