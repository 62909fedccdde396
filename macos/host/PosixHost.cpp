// SPDX-License-Identifier: MIT
//
// The host of a real process, put together from the environment.
#include <pwd.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdlib>

#include "macos/host/DiskMemory.h"
#include "macos/host/Host.h"
#include "macos/host/PosixClock.h"
#include "macos/host/PosixCommandRunner.h"
#include "macos/host/PosixFileSystem.h"
#include "macos/host/PosixProcessTable.h"
#include "macos/host/PosixVolumeTable.h"
#include "macos/host/StderrLogSink.h"

namespace macos {

namespace {

std::map<std::string, std::string> processEnvironment() {
  std::map<std::string, std::string> result;
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    const std::string_view text = *entry;
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos || equals == 0) continue;
    result.emplace(text.substr(0, equals), text.substr(equals + 1));
  }
  return result;
}

std::string executablePath() {
  char path[PATH_MAX];
  const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path);
  return length <= 0 ? "" : std::string(path, static_cast<std::size_t>(length));
}

std::string homeFromPasswordDatabase() {
  std::string buffer(std::size_t{16} * 1024, '\0');
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
    return "";
  }
  return entry.pw_dir == nullptr ? "" : entry.pw_dir;
}

std::string valueOf(const std::map<std::string, std::string>& environment, const std::string& name) {
  const auto found = environment.find(name);
  return found == environment.end() ? "" : found->second;
}

bool isAbsolute(const std::string& path) { return !path.empty() && path.front() == '/'; }

std::string homeFrom(const std::map<std::string, std::string>& environment) {
  std::string home = valueOf(environment, "HOME");
  if (!isAbsolute(home)) home = homeFromPasswordDatabase();
  if (!isAbsolute(home)) return "/";
  while (home.size() > 1 && home.back() == '/') home.pop_back();
  return home;
}

std::vector<std::string> toolFoldersBeside(const std::string& executable) {
  const std::size_t slash = executable.rfind('/');
  if (slash == std::string::npos) return {};
  const std::string folder = executable.substr(0, slash);
  return {folder + "/../Resources", folder};
}

}  // namespace

Host::Parts posixHostParts() {
  // A reader of our output that goes away, or a limit of the file size, is an error to be told of and
  // not the end of the process.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);

  Host::Parts parts;
  parts.environment = processEnvironment();
  parts.home = homeFrom(parts.environment);
  parts.executable = executablePath();
  const std::string root = valueOf(parts.environment, "MACOS_ROOT");
  const auto files = std::make_shared<PosixFileSystem>(root.empty() ? "/" : root);
  // What we start is told where it stands as we understood it: a relative home counts as none, and from the
  // folder that it works in a relative root would lead elsewhere.
  if (const auto home = parts.environment.find("HOME");
      home != parts.environment.end() && !isAbsolute(home->second)) {
    home->second = parts.home;
  }
  if (const auto whole = files->hostPath("/"); whole && !root.empty() && !isAbsolute(root)) {
    parts.environment["MACOS_ROOT"] = *whole;
  }
  const auto memory = std::make_shared<DiskMemory>();
  parts.files = std::make_shared<RememberingFileSystem>(files, memory);
  parts.volumes =
      std::make_shared<RememberingVolumeTable>(std::make_shared<PosixVolumeTable>(parts.files), memory);
  parts.clock = std::make_shared<PosixClock>();
  parts.processes = std::make_shared<PosixProcessTable>(files);
  parts.log = std::make_shared<StderrLogSink>();
  parts.commands =
      std::make_shared<PosixCommandRunner>(parts.environment, toolFoldersBeside(parts.executable));
  return parts;
}

}  // namespace macos
