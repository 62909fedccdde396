// SPDX-License-Identifier: MIT
#include "macos/foundation/PreferenceDomain.h"

#include <algorithm>
#include <utility>

#include "macos/foundation/Bundle.h"
#include "macos/foundation/DamagedFile.h"
#include "macos/foundation/Log.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/Preferences.h"
#include "macos/foundation/PropertyList.h"
#include "macos/foundation/PropertyListCodecs.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

constexpr std::string_view kGlobalDomainFile = ".GlobalPreferences";
constexpr std::string_view kGlobalDomainName = "NSGlobalDomain";
constexpr std::uint32_t kFolderMode = 0700;
constexpr std::uint32_t kFileMode = 0600;
// A domain larger than this is no preferences file; it is left alone.
constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 30;
// What is nested deeper could be written and not read again.
constexpr int kDeepestValue = 500;

bool isDomainName(std::string_view name) {
  constexpr std::string_view kRefused("/\0", 2);
  return !name.empty() && name.find_first_of(kRefused) == std::string_view::npos;
}

std::string filePath(std::string_view name) {
  if (!isDomainName(name)) return {};
  std::string folder = Host::current().home();
  if (folder == "/") folder.clear();
  return folder + "/Library/Preferences/" + std::string(name) + ".plist";
}

struct MainDomainName {
  MainDomainName() : text(NSBundle::mainBundle()->bundleIdentifier()) {
    if (text.empty()) text = lastPathComponent(Host::current().executable());
  }
  std::string text;
};

bool isPropertyList(const Value& value, int depth = 0) {
  if (depth >= kDeepestValue) return false;
  if (const Array* array = value.ifArray()) {
    return std::all_of(array->begin(), array->end(),
                       [depth](const Value& element) { return isPropertyList(element, depth + 1); });
  }
  if (const Dictionary* dictionary = value.ifDictionary()) {
    return std::all_of(dictionary->begin(), dictionary->end(),
                       [depth](const auto& entry) { return isPropertyList(entry.value(), depth + 1); });
  }
  return hasPropertyListForm(value);
}

bool isSameVersion(const std::optional<FileInfo>& a, const std::optional<FileInfo>& b) {
  if (!a || !b) return a.has_value() == b.has_value();
  return a->isSameItem(*b) && a->size == b->size && a->modified == b->modified;
}

Status makePreferencesFolder() {
  FileSystem& files = Host::current().files();
  std::string folder = pathAsOnDisk(Host::current().home());
  if (folder == "/") folder.clear();
  for (const std::string_view name : {"/Library", "/Preferences"}) {
    folder += name;
    Status status = files.makeFolder(folder, kFolderMode);
    if (!status.ok() && status.code() != ErrorCode::AlreadyExists) return status;
  }
  return {};
}

}  // namespace

PreferenceDomain::PreferenceDomain(std::string name) : name_(std::move(name)), path_(filePath(name_)) {}

PreferenceDomain::Reading PreferenceDomain::readFile(const std::string& path) {
  Reading reading;
  if (path.empty()) return reading;
  FileSystem& files = Host::current().files();
  const auto info = itemInfo(path, FollowLinks::Yes);
  if (!info) {
    if (!info.status().isNotFound()) reading.status = info.status();
    return reading;
  }
  reading.info = *info;
  const auto bytes = files.read(pathAsOnDisk(path), kLargestFile);
  if (!bytes) {
    // Gone since: as if it had never been there.
    if (bytes.status().isNotFound()) return {};
    reading.status = bytes.status();
    return reading;
  }
  auto parsed = NSPropertyListSerialization::propertyListWithData(*bytes);
  if (!parsed) {
    reading.isDamaged = true;
    reading.status = Status(ErrorCode::Corrupt, path, parsed.status().message());
  } else if (Dictionary* dictionary = parsed->value.ifDictionary()) {
    reading.content = std::move(*dictionary);
  } else {
    reading.isDamaged = true;
    reading.status = Status(ErrorCode::Corrupt, path, "the top level is no dictionary");
  }
  return reading;
}

// REQUIRES: mutex_ is held; so for everything below that is private.
void PreferenceDomain::refresh() {
  if (!mustLook_) return;
  mustLook_ = false;
  if (wasRead_ && !path_.empty()) {
    const auto info = itemInfo(path_, FollowLinks::Yes);
    const bool isMissing = !info && info.status().isNotFound();
    const bool isSame = info ? isSameVersion(info_, *info) : isMissing && !info_;
    if (isSame) return;
  }
  adopt(readFile(path_));
}

void PreferenceDomain::adopt(Reading reading) {
  content_ = std::move(reading.content);
  info_ = reading.info;
  wasRead_ = reading.status.ok() || reading.isDamaged;
  if (reading.status.ok() || isProblemLogged_) return;
  isProblemLogged_ = true;
  NSLog("Preferences that cannot be read count as empty: " + reading.status.message());
}

std::optional<Value> PreferenceDomain::valueOver(std::string_view key) const {
  if (const auto found = pending_.find(key); found != pending_.end()) return found->second;
  const Value* stored = content_.find(key);
  return stored == nullptr ? std::nullopt : std::optional(*stored);
}

void PreferenceDomain::applyPending(Dictionary& content) const {
  for (const auto& [key, value] : pending_) {
    if (value) {
      content.set(key, *value);
    } else {
      content.remove(key);
    }
  }
}

std::optional<Value> PreferenceDomain::copyValue(std::string_view key) {
  const std::lock_guard lock(mutex_);
  refresh();
  return valueOver(key);
}

std::optional<Value> PreferenceDomain::copyStoredValue(std::string_view key) {
  const std::lock_guard lock(mutex_);
  refresh();
  const Value* stored = content_.find(key);
  return stored == nullptr ? std::nullopt : std::optional(*stored);
}

Dictionary PreferenceDomain::copyAll() {
  const std::lock_guard lock(mutex_);
  refresh();
  Dictionary all = content_;
  applyPending(all);
  return all;
}

bool PreferenceDomain::set(std::string_view key, std::optional<Value> value) {
  if (path_.empty()) {
    NSLog("Attempt to set a preference in a domain that cannot be: " + name_);
    return false;
  }
  if (value && !isPropertyList(*value)) {
    NSLog("Attempt to set a non-property-list object " + description(*value) +
          " as an NSUserDefaults/CFPreferences value for key " + std::string(key));
    return false;
  }
  {
    const std::lock_guard lock(mutex_);
    refresh();
    if (valueOver(key) == value) return false;
  }
  const auto observers = liveObservers();
  for (const auto& observer : observers) observer->domainWillChange(key);
  {
    const std::lock_guard lock(mutex_);
    pending_.insert_or_assign(std::string(key), std::move(value));
    wasAttempted_ = false;
  }
  for (const auto& observer : observers) observer->domainDidChange(key);
  return true;
}

bool PreferenceDomain::oweWriting() {
  const std::lock_guard lock(mutex_);
  const bool wasOwed = std::exchange(isOwed_, true);
  return !wasOwed || !lastFailure_.empty();
}

void PreferenceDomain::forgetReading() {
  const std::lock_guard lock(mutex_);
  mustLook_ = true;
}

bool PreferenceDomain::synchronize() {
  const std::lock_guard lock(mutex_);
  mustLook_ = true;
  if (path_.empty()) return false;
  return isReadOnly_ || pending_.empty() || write();
}

bool PreferenceDomain::writeOwed(Attempt attempt) {
  const std::lock_guard lock(mutex_);
  if (!isOwed_ || isReadOnly_ || pending_.empty()) return true;
  if (attempt == Attempt::Idle && wasAttempted_) return false;
  return write();
}

bool PreferenceDomain::write() {
  const Status status = writePending();
  wasAttempted_ = true;
  if (status.ok()) {
    pending_.clear();
    isOwed_ = false;
    lastFailure_.clear();
    return true;
  }
  if (status.message() != lastFailure_) {
    NSLog("Unable to write preferences: " + status.message());
    lastFailure_ = status.message();
  }
  return false;
}

Status PreferenceDomain::writePending() {
  if (Status status = makePreferencesFolder(); !status.ok()) return status;
  const std::string path = pathAsOnDisk(path_);
  const auto lock = Host::current().files().lock(path);
  if (!lock) return lock.status();
  Reading reading = readFile(path_);
  if (!reading.status.ok() && !reading.isDamaged) return reading.status;

  Dictionary merged = reading.content;
  applyPending(merged);
  if (merged == reading.content) {
    adopt(std::move(reading));
    return {};
  }
  // A write that failed after the copy was made is tried again: one copy is enough.
  if (reading.isDamaged && !isSameVersion(keptInfo_, reading.info)) {
    if (Status status = keepDamagedCopy(path); !status.ok()) return status;
    keptInfo_ = reading.info;
  }
  const Value writable = writablePropertyList(Value(merged));
  const Dictionary& content = *writable.ifDictionary();
  if (content != merged) NSLog(path + ": what no property list can hold is left out");
  if (Status status = replaceFile(path, content); !status.ok()) return status;
  reading.content = content;
  const auto info = itemInfo(path_, FollowLinks::Yes);
  reading.info = info ? std::optional(*info) : std::nullopt;
  reading.status = {};
  adopt(std::move(reading));
  return {};
}

Status PreferenceDomain::replaceFile(const std::string& path, const Dictionary& content) {
  FileSystem& files = Host::current().files();
  const auto link = files.readLink(path);
  // Written through; a link that leads nowhere is replaced.
  const auto target = link ? files.realPath(path) : Result<std::string>(path);
  if (content.empty() && !link) return files.removeFile(path);
  const auto bytes =
      NSPropertyListSerialization::dataWithPropertyList(Value(content), NSPropertyListFormat::Binary);
  if (!bytes) return Status(bytes.status().code(), path, bytes.status().message());
  return files.replace(target ? *target : path, *bytes, kFileMode);
}

void PreferenceDomain::makeReadOnly() {
  const std::lock_guard lock(mutex_);
  isReadOnly_ = true;
}

void PreferenceDomain::addObserver(const std::shared_ptr<PreferenceDomainObserver>& observer) {
  const std::lock_guard lock(mutex_);
  std::erase_if(observers_, [](const auto& each) { return each.expired(); });
  observers_.push_back(observer);
}

std::vector<std::shared_ptr<PreferenceDomainObserver>> PreferenceDomain::liveObservers() {
  const std::lock_guard lock(mutex_);
  std::vector<std::shared_ptr<PreferenceDomainObserver>> live;
  for (const auto& each : observers_) {
    if (auto observer = each.lock()) live.push_back(std::move(observer));
  }
  return live;
}

// The run loop outlives the domains, whose idle observer it holds.
PreferenceDomains::PreferenceDomains() { NSRunLoop::mainRunLoop(); }

PreferenceDomains& PreferenceDomains::current() { return hostLocal<PreferenceDomains>(); }

const std::string& mainDomainName() { return hostLocal<MainDomainName>().text; }

bool isGlobalDomainName(std::string_view name) {
  return name == kCFPreferencesAnyApplication || name == kGlobalDomainName || name == kGlobalDomainFile;
}

std::shared_ptr<PreferenceDomain> PreferenceDomains::domain(std::string_view applicationID) {
  std::string name(applicationID);
  if (applicationID == kCFPreferencesCurrentApplication) name = mainDomainName();
  if (isGlobalDomainName(applicationID)) name = kGlobalDomainFile;
  const std::lock_guard lock(mutex_);
  auto& domain = domains_[name];
  if (!domain) domain = std::make_shared<PreferenceDomain>(name);
  return domain;
}

std::shared_ptr<PreferenceDomain> PreferenceDomains::globalDomain() { return domain(kGlobalDomainFile); }

void PreferenceDomains::writeWhenIdle(PreferenceDomain& domain) {
  if (!domain.oweWriting()) return;
  NSRunLoop& loop = NSRunLoop::mainRunLoop();
  {
    const std::lock_guard lock(mutex_);
    if (!idleObserver_) {
      idleObserver_ = loop.addIdleObserver(
          [] { PreferenceDomains::current().writeOwed(PreferenceDomain::Attempt::Idle); });
    }
  }
  // Another thread changed something while the loop waits: it has to come by its idle point again.
  loop.perform([] {});
}

bool PreferenceDomains::writeOwed(PreferenceDomain::Attempt attempt) {
  std::vector<std::shared_ptr<PreferenceDomain>> domains;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [name, domain] : domains_) domains.push_back(domain);
  }
  bool isWritten = true;
  for (const auto& domain : domains) isWritten = domain->writeOwed(attempt) && isWritten;
  return isWritten;
}

}  // namespace macos
