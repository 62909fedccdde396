// SPDX-License-Identifier: MIT
//
// What the process stands on: root folder, home, files, volumes, clock, processes, log, commands. There
// is one current host. The real one is made from the environment (MACOS_ROOT, HOME) when it is first
// asked for; a test installs another for a scope. Everything in the project that is kept process-wide
// hangs on the current host through hostLocal<T>(), and so goes with it.
#ifndef MACOS_HOST_HOST_H
#define MACOS_HOST_HOST_H

#include <any>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <typeindex>

#include "macos/host/FileSystem.h"
#include "macos/host/Services.h"

namespace macos {

class Host {
 public:
  struct Parts {
    std::string home;         // Mac path of the user's home
    std::string executable;   // path of this program outside the root
    std::unique_ptr<FileSystem> files;
    std::unique_ptr<VolumeTable> volumes;
    std::unique_ptr<Clock> clock;
    std::unique_ptr<ProcessTable> processes;
    std::unique_ptr<LogSink> log;
    std::unique_ptr<CommandRunner> commands;
    std::map<std::string, std::string> environment;
  };

  explicit Host(Parts parts);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  static Host& current();

  // Absolute and without a slash at its end.
  const std::string& home() const { return parts_.home; }
  const std::string& executable() const { return parts_.executable; }
  const std::map<std::string, std::string>& environment() const { return parts_.environment; }
  FileSystem& files() { return *parts_.files; }
  VolumeTable& volumes() { return *parts_.volumes; }
  Clock& clock() { return *parts_.clock; }
  ProcessTable& processes() { return *parts_.processes; }
  LogSink& log() { return *parts_.log; }
  CommandRunner& commands() { return *parts_.commands; }

  // The one T of this host, made on first use and destroyed with the host, in reverse order of making.
  template <typename T>
  T& local();

 private:
  friend class ScopedHost;
  Parts parts_;
  std::recursive_mutex localsMutex_;
  std::map<std::type_index, std::shared_ptr<void>> locals_;
  std::vector<std::shared_ptr<void>> localsInOrder_;
};

template <typename T>
T& Host::local() {
  std::lock_guard lock(localsMutex_);
  auto found = locals_.find(std::type_index(typeid(T)));
  if (found == locals_.end()) {
    auto made = std::make_shared<T>();
    localsInOrder_.push_back(made);
    found = locals_.emplace(std::type_index(typeid(T)), std::move(made)).first;
  }
  return *static_cast<T*>(found->second.get());
}

// The shared instance of T that belongs to the current host.
template <typename T>
T& hostLocal() {
  return Host::current().local<T>();
}

// The host of a real process: MACOS_ROOT (default "/"), HOME (default: the password database, else "/").
// A HOME that is relative counts as unset.
Host::Parts posixHostParts();

// Makes a host the current one until the end of the scope; scopes nest.
class ScopedHost {
 public:
  explicit ScopedHost(Host& host);
  ~ScopedHost();
  ScopedHost(const ScopedHost&) = delete;
  ScopedHost& operator=(const ScopedHost&) = delete;

 private:
  Host* previous_;
};

}  // namespace macos

#endif  // MACOS_HOST_HOST_H
