// SPDX-License-Identifier: MIT
#include "tests/support/LayoutHost.h"

#include "tests/support/Instance.h"

namespace vennick::tests {

namespace {

constexpr std::string_view kBundle = "/Applications/Typewriter.app/Contents";

}  // namespace

std::shared_ptr<TemporaryRoot> rootWithLayouts() {
  auto root = std::make_shared<TemporaryRoot>();
  const std::string bundle(kBundle);
  root->makeExecutable(bundle + "/MacOS/Typewriter", "");
  root->writeFile(bundle + "/Info.plist", infoPlist({{"CFBundleIdentifier", "com.example.Typewriter"}}));
  root->copyIn(VENNICK_BUILD "/Keyboard Layouts", bundle + "/Resources/Keyboard Layouts");
  return root;
}

void writeLayoutSettings(const TemporaryRoot& root, std::string_view entries) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>";
  text.append(entries).append("</dict></plist>\n");
  root.writeFile("/Users/anna/Library/Preferences/com.apple.HIToolbox.plist", text);
}

void chooseLayout(const TemporaryRoot& root, std::string_view identifier) {
  std::string entries = "<key>AppleCurrentKeyboardLayoutInputSourceID</key><string>";
  entries.append(identifier).append("</string>");
  writeLayoutSettings(root, entries);
}

TestHostOptions optionsWithLayouts(std::shared_ptr<TemporaryRoot> root) {
  TestHostOptions options;
  options.executable = root->hostPath(std::string(kBundle) + "/MacOS/Typewriter");
  options.root = std::move(root);
  return options;
}

}  // namespace vennick::tests
