// SPDX-License-Identifier: MIT
//
// What a new store does with its bundle and the user defaults.
#include <gtest/gtest.h>

#include "macos/foundation/PropertyList.h"
#include "settings/VKSettings.h"
#include "tests/support/TestHost.h"

using macos::Array;
using macos::Dictionary;
using macos::Value;

namespace vennick {
namespace {

constexpr std::string_view kApplication = "/Applications/Vennick 5.app";

std::string xml(const Value& value) {
  return macos::NSPropertyListSerialization::dataWithPropertyList(value, macos::NSPropertyListFormat::XML)
      .value();
}

tests::TestHostOptions optionsWithMainBundle(const std::shared_ptr<tests::TemporaryRoot>& root) {
  tests::TestHostOptions options;
  options.root = root;
  options.executable = root->hostPath("/Applications/Main.app/Contents/MacOS/Main");
  return options;
}

class BuiltInDefaults : public testing::Test {
 protected:
  // The bundle of the test's program; the program itself need not exist.
  BuiltInDefaults() : host_(optionsWithMainBundle(root_)) {
    makeBundle("/Applications/Main.app", "org.example.main");
    root_->makeExecutable("/Applications/Main.app/Contents/MacOS/Main", "#!/bin/sh\n");
  }

  void makeBundle(std::string_view path, std::string_view identifier) {
    Dictionary information = {{"CFBundleName", Value("x")}};
    if (!identifier.empty()) information.set("CFBundleIdentifier", Value(identifier));
    root_->writeFile(std::string(path).append("/Contents/Info.plist"), xml(Value(information)));
  }

  void writeResource(std::string_view bundle, std::string_view name, const Value& content) {
    writeResourceBytes(bundle, name, xml(content));
  }
  void writeResourceBytes(std::string_view bundle, std::string_view name, std::string_view bytes) {
    root_->writeFile(std::string(bundle).append("/Contents/Resources/").append(name), bytes);
  }

  static std::shared_ptr<VKSettings> storeFor(std::string_view bundle) {
    return VKSettings::initWithBundle(
        macos::NSBundle::bundleWithURL(macos::NSURL::fileURLWithPathIsDirectory(bundle, true)));
  }

  static std::string domainFile(std::string_view domain) {
    return std::string("/Users/anna/Library/Preferences/").append(domain).append(".plist");
  }
  void writeDomain(std::string_view domain, const Dictionary& content) {
    root_->writeFile(domainFile(domain), xml(Value(content)));
  }
  // What the domain holds, without what every store writes into it.
  Dictionary readDomain(std::string_view domain) {
    if (!root_->exists(domainFile(domain))) return {};
    const auto read =
        macos::NSPropertyListSerialization::propertyListWithData(root_->readFile(domainFile(domain)));
    Dictionary content = *read->value.ifDictionary();
    for (const char* key : {"currentSet", "folderSets", "keyBindings"}) content.remove(key);
    return content;
  }

  std::shared_ptr<tests::TemporaryRoot> root_ = std::make_shared<tests::TemporaryRoot>();
  tests::TestHost host_;
};

TEST_F(BuiltInDefaults, ABundleOtherThanTheMainOneUsesTheSuiteOfItsIdentifier) {
  makeBundle(kApplication, "com.quorvale.Vennick5");
  writeResource(kApplication, "Defaults.plist", Value(Dictionary{{"historySize", Value(7)}}));
  writeDomain("com.quorvale.Vennick5", {{"theirs", Value("x")}});
  const auto store = storeFor(kApplication);
  EXPECT_EQ(store->defaults()->suiteName(), "com.quorvale.Vennick5");
  EXPECT_EQ(store->defaults()->integerForKey("historySize"), 7);
  EXPECT_EQ(store->defaults()->stringForKey("theirs"), "x");
  EXPECT_TRUE(store->defaultsController()->appliesImmediately());
}

TEST_F(BuiltInDefaults, TheMainBundleUsesTheStandardDefaultsAndTheSharedController) {
  writeResource("/Applications/Main.app", "Defaults.plist", Value(Dictionary{{"historySize", Value(7)}}));
  const auto store = storeFor("/Applications/Main.app");
  EXPECT_EQ(store->defaultsController(), macos::NSUserDefaultsController::sharedUserDefaultsController());
  EXPECT_EQ(store->defaults(), macos::NSUserDefaults::standardUserDefaults());
  EXPECT_EQ(store->defaults()->integerForKey("historySize"), 7);
}

TEST_F(BuiltInDefaults, WithoutABundleTheMainBundleIsUsed) {
  const auto store = VKSettings::initWithBundle(nullptr);
  EXPECT_EQ(store->bundle()->bundleIdentifier(), "org.example.main");
  EXPECT_EQ(store->defaults(), macos::NSUserDefaults::standardUserDefaults());
}

TEST_F(BuiltInDefaults, TheMainBundleIsRecognisedThroughALink) {
  root_->makeLink("/Applications/Link.app", "Main.app");
  EXPECT_EQ(storeFor("/Applications/Link.app")->defaults(), macos::NSUserDefaults::standardUserDefaults());
}

TEST_F(BuiltInDefaults, ABundleWithoutAnIdentifierUsesTheMainApplicationsSuite) {
  makeBundle("/Applications/Nameless.app", "");
  EXPECT_EQ(storeFor("/Applications/Nameless.app")->defaults()->suiteName(), "com.quorvale.Vennick5");
}

TEST_F(BuiltInDefaults, AnIdentifierThatCanNameNoDomainUsesTheMainApplicationsSuite) {
  makeBundle("/Applications/Evil.app", "../evil");
  EXPECT_EQ(storeFor("/Applications/Evil.app")->defaults()->suiteName(), "com.quorvale.Vennick5");
}

TEST_F(BuiltInDefaults, TheBuiltInListsAreDefaultsToo) {
  makeBundle(kApplication, "com.quorvale.Vennick5");
  const Array keys = {Value(Dictionary{{"action", Value("newFolder:")}})};
  const Array menu = {Value("favorites")};
  writeResource(kApplication, "DefaultKeyBindings.plist", Value(keys));
  writeResource(kApplication, "DefaultMenuConfiguration.plist", Value(menu));
  const auto store = storeFor(kApplication);
  EXPECT_EQ(store->defaults()->arrayForKey("keyBindings"), keys);
  EXPECT_EQ(store->defaults()->arrayForKey("menuConfiguration"), menu);
  EXPECT_TRUE(readDomain("com.quorvale.Vennick5").empty());
}

TEST_F(BuiltInDefaults, AResourceThatIsMissingDamagedOrOfAnotherKindCountsAsAbsent) {
  makeBundle(kApplication, "com.quorvale.Vennick5");
  writeResourceBytes(kApplication, "Defaults.plist", "{ no property list");
  writeResource(kApplication, "DefaultKeyBindings.plist", Value(Dictionary{{"action", Value("newFolder:")}}));
  const auto store = storeFor(kApplication);
  EXPECT_EQ(store->defaults()->objectForKey("keyBindings"), std::nullopt);
  EXPECT_EQ(store->defaults()->objectForKey("menuConfiguration"), std::nullopt);
}

TEST_F(BuiltInDefaults, ThePreferencesToolbarStartsInItsBuiltInLayout) {
  makeBundle(kApplication, "com.quorvale.Vennick5");
  writeDomain("com.quorvale.Vennick5", {{"NSToolbar Configuration CCNPreferencesMainToolbar",
                                         Value(Dictionary{{"TB Display Mode", Value(1)}})},
                                        {"kept", Value(1)}});
  EXPECT_TRUE(storeFor(kApplication)->save());
  EXPECT_EQ(readDomain("com.quorvale.Vennick5"), (Dictionary{{"kept", Value(1)}}));
}

// ---- Excluded applications

class ExcludedApplications : public BuiltInDefaults {
 protected:
  void SetUp() override {
    makeBundle(kApplication, "com.quorvale.Vennick5");
    writeResource(
        kApplication, "Defaults.plist",
        Value(Dictionary{{"appsToExclude", Value(Array{Value("one"), Value("two"), Value("three")})}}));
  }
};

TEST_F(ExcludedApplications, BuiltInEntriesThatAreMissingAreAppendedInTheirOrder) {
  writeDomain("com.quorvale.Vennick5",
              {{"appsToExclude", Value(Array{Value("mine"), Value("two"), Value("other")})}});
  EXPECT_TRUE(storeFor(kApplication)->save());
  EXPECT_EQ(readDomain("com.quorvale.Vennick5"),
            (Dictionary{{"appsToExclude", Value(Array{Value("mine"), Value("two"), Value("other"),
                                                      Value("one"), Value("three")})}}));
}

TEST_F(ExcludedApplications, AUsersListThatHoldsEveryBuiltInEntryIsNotWrittenBack) {
  writeDomain("com.quorvale.Vennick5",
              {{"appsToExclude", Value(Array{Value("three"), Value("two"), Value("one"), Value("mine")})}});
  const Dictionary before = readDomain("com.quorvale.Vennick5");
  EXPECT_TRUE(storeFor(kApplication)->save());
  EXPECT_EQ(readDomain("com.quorvale.Vennick5"), before);
}

TEST_F(ExcludedApplications, WithoutAUsersListTheBuiltInOneIsNotWritten) {
  EXPECT_TRUE(storeFor(kApplication)->save());
  EXPECT_FALSE(readDomain("com.quorvale.Vennick5").contains("appsToExclude"));
}

// Looks like a mistake and is kept.
TEST_F(ExcludedApplications, ABuiltInEntryThatTheUserRemovedComesBack) {
  auto store = storeFor(kApplication);
  store->defaults()->setObject(Value(Array{Value("one")}), "appsToExclude");
  store = storeFor(kApplication);
  EXPECT_EQ(store->defaults()->arrayForKey("appsToExclude"),
            (Array{Value("one"), Value("two"), Value("three")}));
}

TEST_F(ExcludedApplications, AListOfAnotherKindCountsAsEmpty) {
  writeDomain("com.quorvale.Vennick5", {{"appsToExclude", Value("one")}});
  EXPECT_EQ(storeFor(kApplication)->defaults()->arrayForKey("appsToExclude"),
            (Array{Value("one"), Value("two"), Value("three")}));
}

// ---- The Setapp edition

class SetappEdition : public BuiltInDefaults {
 protected:
  void SetUp() override {
    makeBundle("/Applications/Main.app", "com.quorvale.Vennick5-setapp");
    writeResource("/Applications/Main.app", "Defaults.plist",
                  Value(Dictionary{{"historySize", Value(7)}, {"toolbarStyle", Value(1)}}));
  }

  static std::shared_ptr<macos::NSUserDefaultsController> sharedController() {
    return macos::NSUserDefaultsController::sharedUserDefaultsController();
  }
};

TEST_F(SetappEdition, UsesTheSuiteOfTheIdentifierWithoutTheSuffix) {
  const auto store = storeFor("/Applications/Main.app");
  EXPECT_EQ(store->defaults()->suiteName(), "com.quorvale.Vennick5");
  EXPECT_EQ(macos::NSUserDefaults::standardUserDefaults()->suiteName(), "com.quorvale.Vennick5-setapp");
}

TEST_F(SetappEdition, StartsFromTheSharedValues) {
  writeDomain("com.quorvale.Vennick5", {{"historySize", Value(30)}, {"unmirrored", Value(1)}});
  writeDomain("com.quorvale.Vennick5-setapp", {{"historySize", Value(3)}});
  const auto store = storeFor("/Applications/Main.app");
  EXPECT_EQ(sharedController()->defaults()->integerForKey("historySize"), 30);
  EXPECT_EQ(sharedController()->defaults()->persistentObjectForKey("toolbarStyle"), Value(1));
  EXPECT_EQ(sharedController()->defaults()->objectForKey("unmirrored"), std::nullopt);
}

TEST_F(SetappEdition, AChangeThroughTheSharedControllerChangesTheSuiteWhenTheKeyHasABuiltInDefault) {
  const auto store = storeFor("/Applications/Main.app");
  sharedController()->setValue(Value(12), "values.historySize");
  sharedController()->setValue(Value(13), "values.noBuiltInDefault");
  EXPECT_EQ(store->defaults()->persistentObjectForKey("historySize"), Value(12));
  EXPECT_EQ(store->defaults()->persistentObjectForKey("noBuiltInDefault"), std::nullopt);
}

TEST_F(SetappEdition, TheMirroringEndsWithTheStore) {
  auto store = storeFor("/Applications/Main.app");
  const auto suite = store->defaults();
  store.reset();
  makeBundle(kApplication, "org.example.other");
  storeFor(kApplication);  // takes the place of the shared instance
  sharedController()->setValue(Value(12), "values.historySize");
  EXPECT_NE(suite->persistentObjectForKey("historySize"), Value(12));
}

// ---- The store itself

TEST_F(BuiltInDefaults, TheNewestStoreIsTheSharedOne) {
  EXPECT_EQ(VKSettings::sharedSettings(), nullptr);
  EXPECT_EQ(VKSettings::sharedDefaults(), nullptr);
  const auto first = VKSettings::initWithBundle(nullptr);
  EXPECT_EQ(VKSettings::sharedSettings(), first);
  makeBundle(kApplication, "com.quorvale.Vennick5");
  const auto second = storeFor(kApplication);
  EXPECT_EQ(VKSettings::sharedSettings(), second);
  EXPECT_EQ(VKSettings::sharedDefaults(), second->defaults());
}

TEST_F(BuiltInDefaults, TheSharedStoreGoesWithItsHost) {
  const auto store = VKSettings::initWithBundle(nullptr);
  const tests::TestHost other;
  EXPECT_EQ(VKSettings::sharedSettings(), nullptr);
}

TEST_F(BuiltInDefaults, WhatWasSetIsOnTheDiskWhenSaveAnswersYes) {
  makeBundle(kApplication, "com.quorvale.Vennick5");
  const auto store = storeFor(kApplication);
  store->defaults()->setBool(true, "finderClick");
  store->defaults()->setInteger(4, "toolbarStyle");
  EXPECT_TRUE(store->save());
  EXPECT_FALSE(store->dirty());
  EXPECT_EQ(readDomain("com.quorvale.Vennick5"),
            (Dictionary{{"finderClick", Value(true)}, {"toolbarStyle", Value(4)}}));
}

TEST_F(BuiltInDefaults, ASaveThatFailsAnswersNoAndLeavesTheStoreDirty) {
  makeBundle(kApplication, "com.quorvale.Vennick5");
  const auto store = storeFor(kApplication);
  store->defaults()->setBool(true, "finderClick");
  host_.interpose<tests::FailingFileSystem>(1, ENOSPC, tests::Operations::Changes,
                                            tests::FailingFileSystem::Lasting::Yes);
  EXPECT_FALSE(store->save());
  EXPECT_TRUE(store->dirty());
  host_.removeInterposed();
  EXPECT_TRUE(store->save());
  EXPECT_FALSE(store->dirty());
  EXPECT_EQ(readDomain("com.quorvale.Vennick5"), (Dictionary{{"finderClick", Value(true)}}));
}

// ---- The built-in defaults that we ship

TEST(ShippedDefaults, HoldEveryKeyOfTheStoreAndNothingThatMustNotBeThere) {
  tests::TestHost host;
  host.root().copyIn(VENNICK_SOURCE "/resources", "/resources");
  const auto read = macos::NSPropertyListSerialization::propertyListWithData(
      host.root().readFile("/resources/Defaults.plist"));
  ASSERT_TRUE(read);
  const Dictionary& defaults = *read->value.ifDictionary();
  for (const char* key : {"openInTerminal",
                          "openInTerminalModifiers",
                          "switchToFinder",
                          "hotkeysInFinderOnly",
                          "hotkeysOutsideFileDialogs",
                          "menusShowIcons",
                          "menusHierarchical",
                          "menusShowParents",
                          "menusShowPreviews",
                          "menusShowDiskSpace",
                          "menusSortRecentByName",
                          "toolbarStyle",
                          "toolbarOnLeft",
                          "toolbarShowAttributesOnOpen",
                          "toolbarShowAttributesOnSave",
                          "historySize",
                          "finderClick",
                          "finderClickName",
                          "finderClickDesktop",
                          "finderClickShadow",
                          "finderClickModifiers",
                          "defaultToDocumentFolder",
                          "reboundSelection",
                          "createAliasesInLibrary",
                          "showItemsInPackages",
                          "appsToExclude",
                          "maxHistorySize",
                          "dropHistorySize",
                          "reboundHistorySize",
                          "favoritesStaySorted"}) {
    EXPECT_TRUE(defaults.contains(key)) << key;
  }
  EXPECT_EQ(*defaults.find("folderSets"), Value(Array()));
  EXPECT_EQ(*defaults.find("currentSet"), Value(""));
  EXPECT_EQ(*defaults.find("dialogFrames"), Value(Dictionary()));
  EXPECT_EQ(*defaults.find("usageStatistics"), Value(Dictionary()));
  EXPECT_FALSE(defaults.contains("SUEnableAutomaticChecks"));
  EXPECT_FALSE(defaults.contains("NSToolbar Configuration CCNPreferencesMainToolbar"));
}

TEST(ShippedDefaults, TheMenuConfigurationIsAListOfEntries) {
  tests::TestHost host;
  host.root().copyIn(VENNICK_SOURCE "/resources", "/resources");
  const auto read = macos::NSPropertyListSerialization::propertyListWithData(
      host.root().readFile("/resources/DefaultMenuConfiguration.plist"));
  ASSERT_TRUE(read);
  const Array* entries = read->value.ifArray();
  ASSERT_TRUE(entries);
  EXPECT_FALSE(entries->empty());
}

TEST(ShippedDefaults, EveryKeyBindingHasAnActionAContextANameAndAWholeKey) {
  tests::TestHost host;
  host.root().copyIn(VENNICK_SOURCE "/resources", "/resources");
  const auto read = macos::NSPropertyListSerialization::propertyListWithData(
      host.root().readFile("/resources/DefaultKeyBindings.plist"));
  ASSERT_TRUE(read);
  const Array& bindings = *read->value.ifArray();
  EXPECT_GE(bindings.size(), 10U);
  for (const Value& value : bindings) {
    const Dictionary& binding = *value.ifDictionary();
    EXPECT_TRUE(binding.string("action"));
    EXPECT_TRUE(binding.string("name"));
    EXPECT_TRUE(binding.integer("context"));
    const Dictionary* key = binding.dictionary("key");
    ASSERT_TRUE(key);
    EXPECT_GE(key->size(), 3U);
    EXPECT_TRUE(key->integer("keyCode"));
    EXPECT_TRUE(key->integer("modifierFlags"));
    EXPECT_TRUE(key->string("charactersIgnoringModifiers"));
  }
}

}  // namespace
}  // namespace vennick
