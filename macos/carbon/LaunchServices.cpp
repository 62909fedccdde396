// SPDX-License-Identifier: MIT
#include "macos/carbon/LaunchServices.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "macos/carbon/BundleVersion.h"
#include "macos/foundation/Bundle.h"
#include "macos/foundation/InstalledApplications.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr OSType kNoSignature = fourCharCode("????");

// What Info.plist and PkgInfo say about an application.
struct Facts {
  std::string identifier;
  std::string version;
  OSType signature = kLSUnknownCreator;
};

struct Application {
  std::string path;
  std::string fileName;
  std::optional<Facts> facts;  // read when they are first asked for
};

Facts readFacts(const std::string& path) {
  Facts facts;
  const auto bundle = NSBundle::bundleWithPath(path);
  if (!bundle) return facts;
  const Dictionary& info = bundle->infoDictionary();
  facts.identifier = bundle->bundleIdentifier();
  facts.version =
      info.string("CFBundleVersion").value_or(info.string("CFBundleShortVersionString").value_or(""));
  facts.signature = bundle->signature();
  return facts;
}

// Which applications there are: one per host.
class ApplicationIndex {
 public:
  ApplicationIndex() {
    for (const std::string& path : installedApplications()) {
      applications_.push_back({path, validUTF8(lastPathComponent(path)), std::nullopt});
    }
    for (std::size_t i = 0; i < applications_.size(); ++i) byName_.push_back(i);
    std::stable_sort(byName_.begin(), byName_.end(), [this](std::size_t a, std::size_t b) {
      return compareCaseInsensitive(applications_[a].fileName, applications_[b].fileName) < 0;
    });
  }

  std::optional<std::string> pathForIdentifier(std::string_view identifier) {
    return best([&](const Application& application) {
      return compareCaseInsensitive(application.facts->identifier, identifier) == 0;
    });
  }

  std::optional<std::string> pathForCreator(OSType creator) {
    return best([&](const Application& application) { return application.facts->signature == creator; });
  }

  std::optional<std::string> pathForName(std::string_view name) {
    const std::lock_guard lock(mutex_);
    const auto first =
        std::lower_bound(byName_.begin(), byName_.end(), name, [this](std::size_t i, std::string_view n) {
          return compareCaseInsensitive(applications_[i].fileName, n) < 0;
        });
    const auto last = std::upper_bound(first, byName_.end(), name, [this](std::string_view n, std::size_t i) {
      return compareCaseInsensitive(n, applications_[i].fileName) < 0;
    });
    Application* newest = nullptr;
    for (auto at = first; at != last; ++at) newest = newer(newest, applications_[*at]);
    return newest ? std::optional(newest->path) : std::nullopt;
  }

 private:
  const Facts& factsOf(Application& application) {
    if (!application.facts) application.facts = readFacts(application.path);
    return *application.facts;
  }

  // The first in the order of folders wins where versions are equal.
  Application* newer(Application* best, Application& other) {
    if (best == nullptr) return &other;
    return compareBundleVersions(factsOf(*best).version, factsOf(other).version) < 0 ? &other : best;
  }

  template <typename Matches>
  std::optional<std::string> best(Matches matches) {
    const std::lock_guard lock(mutex_);
    Application* newest = nullptr;
    for (Application& application : applications_) {
      factsOf(application);
      if (matches(application)) newest = newer(newest, application);
    }
    return newest ? std::optional(newest->path) : std::nullopt;
  }

  std::mutex mutex_;
  std::vector<Application> applications_;  // in the order of folders
  std::vector<std::size_t> byName_;
};

std::optional<std::string> pathOfApplication(OSType creator, std::optional<std::string_view> bundleID,
                                             std::optional<std::string_view> name) {
  auto& index = hostLocal<ApplicationIndex>();
  std::optional<std::string> path;
  if (bundleID && !bundleID->empty()) path = index.pathForIdentifier(*bundleID);
  if (!path && creator != kLSUnknownCreator && creator != kNoSignature) path = index.pathForCreator(creator);
  if (!path && name) path = index.pathForName(*name);
  return path;
}

}  // namespace

OSStatus LSFindApplicationForInfo(OSType creator, std::optional<std::string_view> bundleID,
                                  std::optional<std::string_view> name, NSURL* outURL) {
  if (creator == kLSUnknownCreator && !bundleID && !name) return paramErr;
  const auto path = pathOfApplication(creator, bundleID, name);
  if (!path) return kLSApplicationNotFoundErr;
  if (outURL != nullptr) *outURL = NSURL::fileURLWithPathIsDirectory(*path, true);
  return noErr;
}

}  // namespace macos
