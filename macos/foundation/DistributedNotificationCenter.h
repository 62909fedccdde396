// SPDX-License-Identifier: MIT
//
// NSDistributedNotificationCenter: notices between the processes of one user on one machine that work on
// the same root folder. They are delivered in the main run loop, to the poster's own observers too. As on
// the platform a notice is not guaranteed to arrive: a process that does not turn its run loop misses what
// it has no room for. Nothing is kept on disk, and a process that dies leaves nothing behind.
#ifndef MACOS_FOUNDATION_DISTRIBUTEDNOTIFICATIONCENTER_H
#define MACOS_FOUNDATION_DISTRIBUTEDNOTIFICATIONCENTER_H

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "macos/foundation/Token.h"

namespace macos {

struct NSNotification {
  std::string name;
  std::string object;  // the sender's name; "" when it gave none
};

// Ends its observation when it is destroyed. Move-only.
class [[nodiscard]] NotificationToken : public Token {
 public:
  using Token::Token;
};

// Main thread only.
class NSDistributedNotificationCenter {
 public:
  NSDistributedNotificationCenter();
  ~NSDistributedNotificationCenter();
  NSDistributedNotificationCenter(const NSDistributedNotificationCenter&) = delete;
  NSDistributedNotificationCenter& operator=(const NSDistributedNotificationCenter&) = delete;

  // The current host's.
  static NSDistributedNotificationCenter& defaultCenter();

  // Notices of the name from the sender called object; "" stands for any sender.
  NotificationToken addObserver(std::string_view name, std::string_view object,
                                std::function<void(const NSNotification&)> observer);

  // Hands the notice to every listening process and returns. A notice of more than 16 KiB is dropped, with
  // a log line.
  void postNotificationName(std::string_view name, std::string_view object = {});

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace macos

#endif  // MACOS_FOUNDATION_DISTRIBUTEDNOTIFICATIONCENTER_H
