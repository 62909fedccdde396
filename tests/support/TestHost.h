// SPDX-License-Identifier: MIT
//
// The host of one test: a temporary root, a clock that stands still, a log that is kept, volume facts that
// can be changed; files, processes and commands are real. To write `TestHost host;` is all that a test
// needs: it is the current host until the end of the scope. Processes that were started from its root and
// still run are then ended, and the root is removed.
#ifndef TESTS_SUPPORT_TESTHOST_H
#define TESTS_SUPPORT_TESTHOST_H

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "macos/host/Host.h"
#include "macos/host/PathResolver.h"
#include "tests/support/AdjustableClock.h"
#include "tests/support/FileSystems.h"
#include "tests/support/RecordingLog.h"
#include "tests/support/SubstituteVolumes.h"
#include "tests/support/TemporaryRoot.h"

namespace vennick::tests {

// Every member has an initializer, so that a test may name the ones it wants and no others.
struct TestHostOptions {
  // An existing root, to go on with what another host of the test left behind; else a new one.
  std::shared_ptr<TemporaryRoot> root = {};
  std::string home = "/Users/anna";
  // Path outside the root; "" is the test program.
  std::string executable = {};
  // Beside PATH, HOME and MACOS_ROOT, which are those of the test, of this home and of this root.
  std::map<std::string, std::string> environment = {};
  // Before those of PATH, for commands.
  std::vector<std::string> toolFolders = {};
  // The machine's clock: waiting takes time.
  bool realClock = false;
  // Not the way that the machine would choose.
  std::optional<macos::PathResolver::Way> way = {};
  // Called with all parts before the host is made of them, to exchange some.
  std::function<void(macos::Host::Parts&)> adjust = {};
};

class TestHost {
 public:
  TestHost() : TestHost(TestHostOptions()) {}
  explicit TestHost(const TestHostOptions& options);
  ~TestHost();
  TestHost(const TestHost&) = delete;
  TestHost& operator=(const TestHost&) = delete;

  macos::Host& host() { return *host_; }
  std::shared_ptr<macos::Host> shared() { return host_; }
  macos::FileSystem& files() { return host_->files(); }
  TemporaryRoot& root() { return *root_; }
  std::shared_ptr<TemporaryRoot> sharedRoot() { return root_; }
  RecordingLog& log() { return *log_; }
  SubstituteVolumes& volumes() { return *volumes_; }
  // Not used by a host with the real clock.
  AdjustableClock& clock() { return *clock_; }

  // Puts a file system (FileSystems.h) in front of those before: host.interpose<FailingFileSystem>(3, EIO).
  template <typename Wrapper, typename... Arguments>
  std::shared_ptr<Wrapper> interpose(Arguments&&... arguments) {
    auto wrapper = std::make_shared<Wrapper>(top_->inner(), std::forward<Arguments>(arguments)...);
    interposed_.push_back(wrapper);
    top_->setInner(wrapper);
    return wrapper;
  }
  // Takes all of them away; who waits in one is released.
  void removeInterposed();

 private:
  std::shared_ptr<TemporaryRoot> root_;
  std::shared_ptr<macos::FileSystem> real_;
  std::shared_ptr<SwitchableFileSystem> top_;
  std::vector<std::shared_ptr<ForwardingFileSystem>> interposed_;
  std::shared_ptr<RecordingLog> log_;
  std::shared_ptr<AdjustableClock> clock_;
  std::shared_ptr<SubstituteVolumes> volumes_;
  std::shared_ptr<macos::Host> host_;
  std::unique_ptr<macos::ScopedHost> scope_;
};

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_TESTHOST_H
