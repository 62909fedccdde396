// SPDX-License-Identifier: MIT
//
// A user's home with a main application beside it, and stores made for that application.
#ifndef TESTS_SETTINGS_STORETEST_H
#define TESTS_SETTINGS_STORETEST_H

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "settings/VKSettings.h"
#include "tests/support/TestHost.h"

namespace vennick::tests {

class StoreTest : public testing::Test {
 protected:
  static constexpr std::string_view kDomain = "com.quorvale.Vennick5";
  static constexpr std::string_view kSettingsFolder =
      "/Users/anna/Library/Application Support/com.quorvale.Vennick5";

  StoreTest();

  // A main application with built-in defaults of its own, small enough to be seen whole.
  void makeBundle(std::string_view path, std::string_view identifier);
  static macos::Dictionary builtInDefaults();
  static macos::Array builtInExcludedApplications();

  std::shared_ptr<VKSettings> makeStore(std::string_view bundlePath = "/Applications/Vennick 5.app");
  // Ends a store as the end of a process would, without saving.
  static void endStore(std::shared_ptr<VKSettings>& store);

  static macos::NSURL folder(std::string_view path) {
    return macos::NSURL::fileURLWithPathIsDirectory(path, true);
  }
  static macos::NSURL file(std::string_view path) {
    return macos::NSURL::fileURLWithPathIsDirectory(path, false);
  }
  // The path of a file of the store; of a set's folder with "Set/File.plist".
  static std::string storePath(std::string_view name) {
    return std::string(kSettingsFolder) + "/" + std::string(name);
  }

  // What a property-list file holds; null when it is missing or none.
  macos::Value propertyList(std::string_view path);
  // How many entries the array in a property-list file has.
  std::size_t entryCount(std::string_view path);
  void writePropertyList(std::string_view path, const macos::Value& value);
  // What the store's domain holds on disk.
  macos::Dictionary storedDomain();
  void writeDomain(const macos::Dictionary& contents);
  std::vector<std::string> setNames(const VKSettings& store) const;

  TestHost host;
};

}  // namespace vennick::tests

#endif  // TESTS_SETTINGS_STORETEST_H
