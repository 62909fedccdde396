// SPDX-License-Identifier: MIT
//
// One preference domain of the current host: the file's content as last read, and what is pending over
// it. Preferences.h and UserDefaults.h are its users, who share one such object per domain; nobody else
// includes this. Any thread; observers are called on the thread that changes, without a lock.
#ifndef MACOS_FOUNDATION_PREFERENCEDOMAIN_H
#define MACOS_FOUNDATION_PREFERENCEDOMAIN_H

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/RunLoop.h"
#include "macos/foundation/Value.h"
#include "macos/host/FileSystem.h"
#include "macos/host/Status.h"

namespace macos {

class PreferenceDomainObserver {
 public:
  virtual ~PreferenceDomainObserver() = default;
  virtual void domainWillChange(std::string_view key) = 0;
  virtual void domainDidChange(std::string_view key) = 0;
};

class PreferenceDomain {
 public:
  // The file is "<name>.plist" in the current host's Preferences folder.
  explicit PreferenceDomain(std::string name);

  // "" for a name that could lead out of the folder: such a domain holds nothing and takes nothing.
  const std::string& path() const { return path_; }

  std::optional<Value> copyValue(std::string_view key);
  std::optional<Value> copyStoredValue(std::string_view key);
  Dictionary copyAll();

  // Whether anything changed.
  bool set(std::string_view key, std::optional<Value> value);
  // What is pending is to be written without being asked for. Whether that has to be made known.
  bool oweWriting();

  bool synchronize();
  // The file is looked at again at the next reading.
  void forgetReading();
  // Writes what is owed. A failed attempt is repeated only after another change, or when it is the last.
  enum class Attempt { Idle, Last };
  bool writeOwed(Attempt attempt);

  void makeReadOnly();
  // Observers are not kept alive.
  void addObserver(const std::shared_ptr<PreferenceDomainObserver>& observer);

 private:
  // A file's content and how it was come by.
  struct Reading {
    Dictionary content;
    std::optional<FileInfo> info;  // as it was before the content was read
    bool isDamaged = false;        // there are bytes that make no dictionary
    Status status;                 // why the content could not be had
  };

  static Reading readFile(const std::string& path);
  void refresh();
  void adopt(Reading reading);
  bool write();
  Status writePending();
  static Status replaceFile(const std::string& path, const Dictionary& content);
  void applyPending(Dictionary& content) const;
  std::optional<Value> valueOver(std::string_view key) const;
  std::vector<std::shared_ptr<PreferenceDomainObserver>> liveObservers();

  const std::string name_;
  const std::string path_;

  std::mutex mutex_;
  Dictionary content_;
  std::optional<FileInfo> info_;
  std::optional<FileInfo> keptInfo_;  // of the damaged file that was copied
  bool wasRead_ = false;
  bool mustLook_ = true;  // the file may have changed since it was read
  bool isReadOnly_ = false;
  bool isProblemLogged_ = false;
  std::string lastFailure_;
  // Null optional: the key is to be removed.
  std::map<std::string, std::optional<Value>, std::less<>> pending_;
  bool isOwed_ = false;
  bool wasAttempted_ = false;
  std::vector<std::weak_ptr<PreferenceDomainObserver>> observers_;
};

// The domains of the current host.
class PreferenceDomains {
 public:
  PreferenceDomains();

  static PreferenceDomains& current();

  // By an identifier of Preferences.h.
  std::shared_ptr<PreferenceDomain> domain(std::string_view applicationID);
  std::shared_ptr<PreferenceDomain> globalDomain();

  // Sees to it that the run loop writes what the domain owes.
  void writeWhenIdle(PreferenceDomain& domain);
  bool writeOwed(PreferenceDomain::Attempt attempt);

 private:
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<PreferenceDomain>, std::less<>> domains_;
  RunLoopToken idleObserver_;
};

// The name of the domain of the main bundle: its identifier, or the program's name when it has none.
const std::string& mainDomainName();

// Whether the name stands for the global domain.
bool isGlobalDomainName(std::string_view name);

}  // namespace macos

#endif  // MACOS_FOUNDATION_PREFERENCEDOMAIN_H
