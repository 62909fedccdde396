// SPDX-License-Identifier: MIT
//
// NSApplication: the main loop of a program. It calls the delegate when launching has finished, runs the
// main run loop until somebody asks it to end, and takes SIGTERM, the polite request of another process,
// as such a request. Main thread only.
#ifndef MACOS_APPKIT_APPLICATION_H
#define MACOS_APPKIT_APPLICATION_H

namespace macos {

class NSApplicationDelegate {
 public:
  virtual ~NSApplicationDelegate() = default;
  // Called once, in the main run loop.
  virtual void applicationDidFinishLaunching() = 0;
  virtual void applicationWillTerminate() {}
};

class NSApplication {
 public:
  // The one application of the current host.
  static NSApplication& sharedApplication();

  NSApplicationDelegate* delegate() const { return delegate_; }
  void setDelegate(NSApplicationDelegate* delegate) { delegate_ = delegate; }

  // Delivers applicationDidFinishLaunching and what arrives in the main run loop, until terminate has been
  // called; then tells the delegate and writes the preference changes that are still pending.
  void run();
  // Asks the application to end. It ends when the callback that runs now, whichever it is, has returned:
  // a quit request that arrives while work is being done never cuts the work off.
  void terminate(const void* sender);

 private:
  NSApplicationDelegate* delegate_ = nullptr;
  bool isTerminating_ = false;
};

// Runs the shared application with the delegate until it ends and gives the status for the process to
// end with, 0. The arguments are not looked at.
int NSApplicationMain(int argc, char** argv, NSApplicationDelegate& delegate);

}  // namespace macos

#endif  // MACOS_APPKIT_APPLICATION_H
