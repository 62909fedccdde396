// SPDX-License-Identifier: MIT
#include "macos/foundation/DistributedNotificationCenter.h"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

#include "macos/foundation/Log.h"
#include "macos/foundation/RunLoop.h"
#include "macos/host/Host.h"
#include "macos/host/LocalBroadcast.h"

namespace macos {

namespace {

constexpr std::size_t kLongestNotice = std::size_t{16} * 1024;

// One group for those who work on the same root folder.
std::string groupOfRoot() {
  const auto root = Host::current().files().info("/", FollowLinks::Yes);
  if (!root) return "notices";
  char text[48] = {};
  char* end = std::to_chars(text, text + 20, root->device, 16).ptr;
  *end++ = '-';
  std::to_chars(end, end + 20, root->inode, 16);
  return std::string("notices-") + text;
}

// A notice on its way: the name, a zero byte, the sender.
std::string encode(std::string_view name, std::string_view object) {
  std::string message(name);
  message += '\0';
  message += object;
  return message;
}

NSNotification decode(const std::string& message) {
  const std::size_t end = message.find('\0');
  if (end == std::string::npos) return {message, {}};
  return {message.substr(0, end), message.substr(end + 1)};
}

}  // namespace

struct NSDistributedNotificationCenter::State {
  struct Observer {
    std::string name;
    std::string object;
    std::function<void(const NSNotification&)> block;
    bool ended = false;
  };

  const std::string group = groupOfRoot();
  std::vector<std::shared_ptr<Observer>> observers;
  // The token goes before the descriptor that it watches.
  std::unique_ptr<LocalBroadcast> broadcast;
  RunLoopToken watch;

  ~State() { watch.end(); }

  void listen() {
    if (broadcast) return;
    auto joined = LocalBroadcast::join(group);
    if (!joined) {
      NSLogStatus(joined.status());
      return;
    }
    broadcast = std::move(*joined);
    watch = NSRunLoop::mainRunLoop().addDescriptor(broadcast->descriptor(), [this] { deliver(); });
  }

  void stopListening() {
    watch.end();
    broadcast.reset();
  }

  void deliver() {
    const auto messages = broadcast->receive();
    const auto present = observers;
    for (const std::string& message : messages) {
      const NSNotification notification = decode(message);
      for (const auto& observer : present) {
        const bool isMeant = observer->name == notification.name &&
                             (observer->object.empty() || observer->object == notification.object);
        if (isMeant && !observer->ended) observer->block(notification);
      }
    }
  }
};

// The run loop outlives the centre.
NSDistributedNotificationCenter::NSDistributedNotificationCenter() : state_(std::make_shared<State>()) {
  NSRunLoop::mainRunLoop();
}

NSDistributedNotificationCenter::~NSDistributedNotificationCenter() = default;

NSDistributedNotificationCenter& NSDistributedNotificationCenter::defaultCenter() {
  return hostLocal<NSDistributedNotificationCenter>();
}

NotificationToken NSDistributedNotificationCenter::addObserver(
    std::string_view name, std::string_view object, std::function<void(const NSNotification&)> observer) {
  auto added = std::make_shared<State::Observer>();
  added->name = name;
  added->object = object;
  added->block = std::move(observer);
  state_->observers.push_back(added);
  state_->listen();
  return NotificationToken([weak = std::weak_ptr(state_), added] {
    added->ended = true;
    const auto state = weak.lock();
    if (!state) return;
    std::erase(state->observers, added);
    if (state->observers.empty()) state->stopListening();
  });
}

void NSDistributedNotificationCenter::postNotificationName(std::string_view name, std::string_view object) {
  if (name.size() + object.size() > kLongestNotice) {
    NSLog("Distributed notice dropped, it is too long: " + std::string(name.substr(0, 100)));
    return;
  }
  NSLogStatus(LocalBroadcast::send(state_->group, encode(name, object)));
}

}  // namespace macos
