// SPDX-License-Identifier: MIT
#include "app/RunLock.h"

#include <string>

#include "macos/foundation/Log.h"
#include "macos/foundation/Path.h"
#include "macos/host/Host.h"

namespace vennick {

std::unique_ptr<macos::FileLock> lockHomeForRun() {
  macos::Host& host = macos::Host::current();
  const std::string library = macos::pathByAppendingComponent(host.home(), "Library");
  const std::string preferences = macos::pathByAppendingComponent(library, "Preferences");
  const std::string locked = macos::pathByAppendingComponent(preferences, "com.quorvale.VennickMigrator");
  auto lock = host.files().lock(locked);
  if (!lock && lock.status().isNotFound()) {
    (void)host.files().makeFolder(library, 0700);
    (void)host.files().makeFolder(preferences, 0700);
    lock = host.files().lock(locked);
  }
  if (lock) return std::move(lock).value();
  macos::NSLogStatus(lock.status());
  return nullptr;
}

}  // namespace vennick
