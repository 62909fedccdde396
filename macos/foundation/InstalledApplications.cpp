// SPDX-License-Identifier: MIT
#include "macos/foundation/InstalledApplications.h"

#include "macos/foundation/Path.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr std::string_view kUtilities = "/Applications/Utilities";

struct Applications {
  Applications() {
    std::vector<std::string> subfolders;
    add("/Applications", &subfolders);
    add(kUtilities, &subfolders);
    for (const std::string& folder : subfolders) {
      if (folder != kUtilities) add(folder, nullptr);
    }
    add(pathByAppendingComponent(Host::current().home(), "Applications"), nullptr);
    add("/System/Applications", nullptr);
    add("/System/Library/CoreServices", nullptr);
  }

  // The applications in a folder, and its other folders when they are asked for.
  void add(std::string_view folder, std::vector<std::string>* subfolders) {
    FileSystem& files = Host::current().files();
    const auto entries = files.list(pathAsOnDisk(folder));
    if (!entries.ok()) return;
    for (const FolderEntry& entry : *entries) {
      const bool isApplication = lowercaseASCII(pathExtension(entry.name)) == "app";
      if (entry.kind == FileKind::File || (!isApplication && subfolders == nullptr)) continue;
      std::string path = pathByAppendingComponent(folder, entry.name);
      if (entry.kind != FileKind::Folder) {
        const auto info = files.info(path, FollowLinks::Yes);
        if (!info.ok() || !info->isFolder()) continue;
      }
      (isApplication ? paths : *subfolders).push_back(std::move(path));
    }
  }

  std::vector<std::string> paths;
};

}  // namespace

const std::vector<std::string>& installedApplications() { return hostLocal<Applications>().paths; }

}  // namespace macos
