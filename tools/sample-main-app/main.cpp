// SPDX-License-Identifier: MIT
//
// A sample main application, so that the migrator has something to end and to start: it notes its start
// and the environment it was given in ~/Library/Logs/Vennick5.log, runs until it is asked to quit, and
// notes that too.
#include <unistd.h>

#include <ctime>
#include <string>
#include <string_view>

#include "macos/appkit/Application.h"
#include "macos/foundation/Log.h"
#include "macos/host/Host.h"

namespace {

constexpr std::string_view kLogFile = "/Library/Logs/Vennick5.log";
constexpr std::string_view kImportVariable = "VK_PREFS_IMPORT_COMPLETED";

std::string localTime() {
  const auto seconds = static_cast<std::time_t>(macos::Host::current().clock().now() / 1'000'000'000);
  std::tm local{};
  localtime_r(&seconds, &local);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S ", &local)};
}

class SampleApplication : public macos::NSApplicationDelegate {
 public:
  void applicationDidFinishLaunching() override {
    const auto& environment = macos::Host::current().environment();
    const auto import = environment.find(std::string(kImportVariable));
    std::string text = "started: process " + std::to_string(getpid());
    if (import != environment.end()) text += ", " + import->first + "=" + import->second;
    for (const auto& [name, value] : environment) text += "\n  " + onOneLine(name + "=" + value);
    note(text);
  }

  void applicationWillTerminate() override { note("quit: process " + std::to_string(getpid())); }

 private:
  static std::string onOneLine(std::string text) {
    for (char& c : text) {
      if (c == '\n') c = ' ';
    }
    return text;
  }

  static void note(const std::string& text) {
    auto& host = macos::Host::current();
    const std::string path = host.home() + std::string(kLogFile);
    for (const auto* folder : {"/Library", "/Library/Logs"}) {
      // It mostly exists; when it cannot be made the log cannot be written, which is said below.
      (void)host.files().makeFolder(host.home() + folder, 0700);
    }
    // The environment may hold what is nobody else's business.
    const auto status = host.files().append(path, localTime() + text + "\n", 0600);
    if (!status.ok()) macos::NSLogStatus(status);
  }
};

}  // namespace

int main(int argc, char** argv) {
  SampleApplication application;
  return macos::NSApplicationMain(argc, argv, application);
}
