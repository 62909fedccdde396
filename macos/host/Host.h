// SPDX-License-Identifier: MIT
//
// What the process stands on: root folder, home, files, volumes, clock, processes, log, commands. There
// is one current host. The real one is made from the environment (MACOS_ROOT, HOME) when it is first
// asked for and lasts as long as the process; a test installs another for a scope. Everything in the
// project that is kept process-wide hangs on the current host through hostLocal<T>(), and so goes with it.
//
// A host is shared: whoever hands work to another thread keeps Host::shared() with it and makes it that
// thread's host for the time of the work (ThreadHost). So work that ends late, after the scope that it
// was started in, still has the host and the locals that it began with, and touches no other one.
#ifndef MACOS_HOST_HOST_H
#define MACOS_HOST_HOST_H

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <typeindex>
#include <vector>

#include "macos/host/FileSystem.h"
#include "macos/host/Services.h"

namespace macos {

class Host : public std::enable_shared_from_this<Host> {
 public:
  // Shared, because a test keeps hold of its substitutes.
  struct Parts {
    std::string home;        // Mac path of the user's home
    std::string executable;  // path of this program outside the root
    std::shared_ptr<FileSystem> files;
    std::shared_ptr<VolumeTable> volumes;
    std::shared_ptr<Clock> clock;
    std::shared_ptr<ProcessTable> processes;
    std::shared_ptr<LogSink> log;
    std::shared_ptr<CommandRunner> commands;
    std::map<std::string, std::string> environment;
  };

  // REQUIRES: every part is there
  static std::shared_ptr<Host> make(Parts parts);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // The calling thread's host where it has one (ThreadHost), else the process's.
  static Host& current();
  static std::shared_ptr<Host> shared() { return current().shared_from_this(); }

  // Absolute and, but for "/" itself, without a slash at its end.
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
  // While they are destroyed this host is the thread's current one.
  template <typename T>
  T& local();

 private:
  explicit Host(Parts parts);

  // A local is made without the lock: its constructor may take long, and take locks of its own under which
  // others ask for locals.
  struct Local {
    std::once_flag once;
    std::shared_ptr<void> object;
  };
  std::shared_ptr<Local> localOfType(std::type_index type);
  void noteMade(std::type_index type);

  Parts parts_;
  std::mutex localsMutex_;
  std::map<std::type_index, std::shared_ptr<Local>> locals_;
  std::vector<std::type_index> localsInOrder_;
};

template <typename T>
T& Host::local() {
  const auto local = localOfType(typeid(T));
  std::call_once(local->once, [&] {
    // Those that its constructor asks for come before it.
    local->object = std::make_shared<T>();
    noteMade(typeid(T));
  });
  return *static_cast<T*>(local->object.get());
}

// The shared instance of T that belongs to the current host.
template <typename T>
T& hostLocal() {
  return Host::current().local<T>();
}

// The host of a real process: MACOS_ROOT (default "/"), HOME (default: the password database, else "/").
// A HOME that is relative counts as unset; whether it exists is not asked. A root that is relative is taken
// against the folder that the process works in. The environment holds both as they are taken. A root that
// cannot be opened makes a host on which no file is found. Commands find the tools in the "Resources" beside
// the executable's folder, and in that folder, before those of PATH.
Host::Parts posixHostParts();

// Makes a host the process's current one until the end of the scope; scopes nest. For the main thread.
class ScopedHost {
 public:
  explicit ScopedHost(std::shared_ptr<Host> host);
  ~ScopedHost();
  ScopedHost(const ScopedHost&) = delete;
  ScopedHost& operator=(const ScopedHost&) = delete;

 private:
  std::shared_ptr<Host> host_;
  Host* previous_;
};

// Makes a host the current one of the calling thread alone until the end of the scope; scopes nest.
class ThreadHost {
 public:
  explicit ThreadHost(std::shared_ptr<Host> host);
  ~ThreadHost();
  ThreadHost(const ThreadHost&) = delete;
  ThreadHost& operator=(const ThreadHost&) = delete;

 private:
  std::shared_ptr<Host> host_;
  Host* previous_;
};

}  // namespace macos

#endif  // MACOS_HOST_HOST_H
