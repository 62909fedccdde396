// SPDX-License-Identifier: MIT
#include "macos/host/Host.h"

#include <atomic>
#include <cassert>
#include <utility>

namespace macos {

namespace {

// The two places that say which host is current; everything else that is process-wide hangs on it.
std::atomic<Host*> processHost{nullptr};
thread_local Host* threadHost = nullptr;

// Never destroyed: threads that end after main() may still use it.
Host& realHost() {
  static auto& real = *new std::shared_ptr<Host>(Host::make(posixHostParts()));
  return *real;
}

}  // namespace

std::shared_ptr<Host> Host::make(Parts parts) { return std::shared_ptr<Host>(new Host(std::move(parts))); }

Host::Host(Parts parts) : parts_(std::move(parts)) {
  assert(parts_.files && parts_.volumes && parts_.clock && parts_.processes && parts_.log && parts_.commands);
}

Host::~Host() {
  Host* const previous = std::exchange(threadHost, this);
  while (!localsInOrder_.empty()) {
    // Off the list first: its destructor may still ask for another local.
    const auto last = locals_.extract(localsInOrder_.back());
    localsInOrder_.pop_back();
  }
  threadHost = previous;
}

std::shared_ptr<Host::Local> Host::localOfType(std::type_index type) {
  const std::lock_guard lock(localsMutex_);
  auto& local = locals_[type];
  if (!local) local = std::make_shared<Local>();
  return local;
}

void Host::noteMade(std::type_index type) {
  const std::lock_guard lock(localsMutex_);
  localsInOrder_.push_back(type);
}

Host& Host::current() {
  if (threadHost != nullptr) return *threadHost;
  if (Host* host = processHost.load(std::memory_order_acquire); host != nullptr) return *host;
  return realHost();
}

ScopedHost::ScopedHost(std::shared_ptr<Host> host)
    : host_(std::move(host)), previous_(processHost.exchange(host_.get())) {}

ScopedHost::~ScopedHost() { processHost.store(previous_); }

ThreadHost::ThreadHost(std::shared_ptr<Host> host)
    : host_(std::move(host)), previous_(std::exchange(threadHost, host_.get())) {}

ThreadHost::~ThreadHost() { threadHost = previous_; }

}  // namespace macos
