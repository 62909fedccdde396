// SPDX-License-Identifier: MIT
//
// What the delegate does to other applications: stopping and starting the main application, and finding
// out which application a version 4 key means.
#include "app/AppDelegate.h"
#include "macos/appkit/RunningApplication.h"
#include "macos/appkit/Workspace.h"
#include "macos/carbon/LaunchServices.h"
#include "macos/foundation/Bundle.h"
#include "macos/foundation/RunLoop.h"
#include "macos/foundation/Text.h"
#include "macos/foundation/Value.h"

namespace vennick {
namespace {

constexpr std::string_view kEveryApplication = "@PP$";
constexpr std::string_view kImportCompleted = "VK_PREFS_IMPORT_COMPLETED";
constexpr double kQuitTimeout = 5.0;
constexpr double kQuitStep = 1.0;
// Steps that fill the timeout, and one more. Reached only when the clock is set back meanwhile.
constexpr int kMostQuitSteps = 6;

// Four bytes with the first one least significant, so that it matches an application whose signature
// spells the key backwards. Deliberate. Keys that are longer than a code, or are no Mac Roman, have none.
macos::OSType creatorCodeForKey(std::string_view key) {
  constexpr std::size_t kCodeLength = 4;
  if (macos::utf16Length(key) > kCodeLength) return macos::kLSUnknownCreator;
  auto bytes = macos::macRomanFromUTF8(key);
  if (!bytes || bytes->size() > kCodeLength) return macos::kLSUnknownCreator;
  bytes->resize(kCodeLength, ' ');
  macos::OSType code = 0;
  for (std::size_t i = 0; i < kCodeLength; ++i) {
    code |= macos::OSType{static_cast<unsigned char>((*bytes)[i])} << (8 * i);
  }
  return code;
}

std::optional<macos::NSURL> applicationWithCreator(macos::OSType creator) {
  macos::NSURL url;
  if (creator == macos::kLSUnknownCreator ||
      macos::LSFindApplicationForInfo(creator, std::nullopt, std::nullopt, &url) != macos::noErr) {
    return std::nullopt;
  }
  return url;
}

std::optional<macos::NSURL> applicationNamed(std::string_view name) {
  macos::NSURL url;
  if (macos::LSFindApplicationForInfo(macos::kLSUnknownCreator, std::nullopt, name, &url) != macos::noErr) {
    return std::nullopt;
  }
  return url;
}

}  // namespace

macos::NSURL mainApplicationURL() {
  return macos::NSBundle::mainBundle()
      ->bundleURL()
      .URLByDeletingLastPathComponent()
      .URLByDeletingLastPathComponent()
      .URLByDeletingLastPathComponent();
}

void AppDelegate::quitVNK5() {
  const auto instances = [] {
    return macos::NSRunningApplication::runningApplicationsWithBundleIdentifier(kMainApplicationIdentifier);
  };
  const auto asked = instances();
  if (asked.empty()) return;
  for (const macos::NSRunningApplication& application : asked) application.terminate();
  const macos::NSDate start = macos::NSDate::date();
  for (int step = 0; step < kMostQuitSteps && !instances().empty(); ++step) {
    if (start.timeIntervalSinceNow() <= -kQuitTimeout) return;
    macos::NSRunLoop::currentRunLoop().runUntilDate(macos::NSDate::dateWithTimeIntervalSinceNow(kQuitStep));
  }
}

void AppDelegate::restartVNK5() {
  const macos::Dictionary environment = {{kImportCompleted, macos::Value("YES")}};
  const macos::Dictionary configuration = {
      {macos::NSWorkspaceLaunchConfigurationEnvironment, macos::Value(environment)}};
  (void)macos::NSWorkspace::sharedWorkspace().launchApplicationAtURL(
      mainApplicationURL(), macos::NSWorkspaceLaunchWithoutActivation, configuration);
}

std::optional<std::string> AppDelegate::appIDForKey(std::string_view key) {
  if (key == kEveryApplication) return "*";
  auto url = applicationWithCreator(creatorCodeForKey(key));
  if (!url) url = applicationNamed(key);
  if (!url) url = applicationNamed(std::string(key) + ".app");
  return url ? appIDForURL(*url) : std::nullopt;
}

std::optional<std::string> AppDelegate::appIDForURL(const macos::NSURL& url) {
  const auto bundle = macos::NSBundle::bundleWithURL(url);
  if (!bundle) return std::nullopt;
  if (std::string identifier = bundle->bundleIdentifier(); !identifier.empty()) return identifier;
  const auto executable = bundle->executableURL();
  return executable ? std::optional(executable->lastPathComponent()) : std::nullopt;
}

}  // namespace vennick
