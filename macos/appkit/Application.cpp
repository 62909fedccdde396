// SPDX-License-Identifier: MIT
#include "macos/appkit/Application.h"

#include <optional>

#include "macos/foundation/Preferences.h"
#include "macos/foundation/RunLoop.h"
#include "macos/host/Host.h"
#include "macos/host/QuitSignal.h"

namespace macos {

namespace {

// How long the loop waits when nothing happens; it then merely looks around and waits again.
constexpr double kIdleSeconds = 3600;

}  // namespace

NSApplication& NSApplication::sharedApplication() { return hostLocal<NSApplication>(); }

void NSApplication::run() {
  auto& loop = NSRunLoop::mainRunLoop();
  const QuitSignal quitSignal;
  RunLoopToken quitRequests;
  if (quitSignal.descriptor() >= 0) {
    quitRequests = loop.addDescriptor(quitSignal.descriptor(), [this, &quitRequests] {
      // One request is enough; the descriptor stays readable.
      quitRequests.end();
      terminate(nullptr);
    });
  }
  loop.perform([this] {
    if (delegate_ != nullptr) delegate_->applicationDidFinishLaunching();
  });
  while (!isTerminating_) loop.runOnceBeforeDate(NSDate::dateWithTimeIntervalSinceNow(kIdleSeconds));
  if (delegate_ != nullptr) delegate_->applicationWillTerminate();
  flushPreferences();
}

void NSApplication::terminate(const void* /*sender*/) { isTerminating_ = true; }

int NSApplicationMain(int /*argc*/, char** /*argv*/, NSApplicationDelegate& delegate) {
  auto& application = NSApplication::sharedApplication();
  application.setDelegate(&delegate);
  application.run();
  application.setDelegate(nullptr);
  return 0;
}

}  // namespace macos
