// SPDX-License-Identifier: MIT
#include "tests/settings/StoreTest.h"

#include "macos/foundation/PropertyList.h"

namespace vennick::tests {

using macos::Array;
using macos::Dictionary;
using macos::NSPropertyListFormat;
using macos::NSPropertyListSerialization;
using macos::Value;

StoreTest::StoreTest() { makeBundle("/Applications/Vennick 5.app", kDomain); }

Dictionary StoreTest::builtInDefaults() {
  return {{"folderSets", Value(Array())},
          {"currentSet", Value("")},
          {"dialogFrames", Value(Dictionary())},
          {"usageStatistics", Value(Dictionary())},
          {"maxHistorySize", Value(10)},
          {"dropHistorySize", Value(4)},
          {"reboundHistorySize", Value(3)},
          {"favoritesStaySorted", Value(false)},
          {"appsToExclude", Value(builtInExcludedApplications())}};
}

Array StoreTest::builtInExcludedApplications() {
  return {Value("com.example.one"), Value("com.example.two")};
}

void StoreTest::makeBundle(std::string_view path, std::string_view identifier) {
  const std::string contents = std::string(path) + "/Contents";
  writePropertyList(contents + "/Info.plist", Value(Dictionary{{"CFBundleIdentifier", Value(identifier)},
                                                               {"CFBundlePackageType", Value("APPL")},
                                                               {"CFBundleExecutable", Value("Vennick5")}}));
  writePropertyList(contents + "/Resources/Defaults.plist", Value(builtInDefaults()));
  const Dictionary key{
      {"keyCode", Value(3)}, {"modifierFlags", Value(0x100000)}, {"charactersIgnoringModifiers", Value("f")}};
  writePropertyList(contents + "/Resources/DefaultKeyBindings.plist",
                    Value(Array{Value(Dictionary{{"context", Value(1)},
                                                 {"action", Value("showFavorites:")},
                                                 {"key", Value(key)},
                                                 {"name", Value("Favorites")}})}));
  writePropertyList(contents + "/Resources/DefaultMenuConfiguration.plist", Value(Array{Value("favorites")}));
}

std::shared_ptr<VKSettings> StoreTest::makeStore(std::string_view bundlePath) {
  return VKSettings::initWithBundle(macos::NSBundle::bundleWithURL(folder(bundlePath)));
}

Value StoreTest::propertyList(std::string_view path) {
  if (!host.root().exists(path)) {
    return Value();
  }
  auto reading = NSPropertyListSerialization::propertyListWithData(host.root().readFile(path));
  return reading.ok() ? std::move(reading->value) : Value();
}

std::size_t StoreTest::entryCount(std::string_view path) {
  const Value value = propertyList(path);
  return value.ifArray() != nullptr ? value.ifArray()->size() : 0;
}

void StoreTest::writePropertyList(std::string_view path, const Value& value) {
  const auto bytes = NSPropertyListSerialization::dataWithPropertyList(value, NSPropertyListFormat::XML);
  ASSERT_TRUE(bytes.ok()) << bytes.status().message();
  host.root().writeFile(path, *bytes);
}

Dictionary StoreTest::storedDomain() {
  const Value value = propertyList("/Users/anna/Library/Preferences/" + std::string(kDomain) + ".plist");
  return value.ifDictionary() != nullptr ? *value.ifDictionary() : Dictionary();
}

void StoreTest::writeDomain(const Dictionary& contents) {
  writePropertyList("/Users/anna/Library/Preferences/" + std::string(kDomain) + ".plist", Value(contents));
}

std::vector<std::string> StoreTest::setNames(const VKSettings& store) const {
  std::vector<std::string> names;
  for (const Value& name : store.defaults()->arrayForKey("folderSets").value_or(Array())) {
    names.emplace_back(name.ifString().value_or("?"));
  }
  return names;
}

}  // namespace vennick::tests
