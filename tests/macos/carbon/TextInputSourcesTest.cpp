// SPDX-License-Identifier: MIT
#include "macos/carbon/TextInputSources.h"

#include <gtest/gtest.h>

#include "macos/carbon/KeyboardLayout.h"
#include "macos/carbon/ResourceFork.h"
#include "tests/support/KeyboardLayoutSketch.h"
#include "tests/support/LayoutHost.h"

using vennick::tests::chooseLayout;
using vennick::tests::compiledLayout;
using vennick::tests::LayoutSketch;
using vennick::tests::TemporaryRoot;
using vennick::tests::TestHost;
using vennick::tests::typeWithTables;
using vennick::tests::writeLayoutSettings;

namespace {

class TextInputSources : public testing::Test {
 protected:
  // The current layout for a program that is started now.
  std::shared_ptr<const macos::TISInputSource> current() const {
    TestHost host(vennick::tests::optionsWithLayouts(root_));
    return macos::TISCopyCurrentKeyboardLayoutInputSource();
  }

  void expectShipped(const char* file) const {
    EXPECT_EQ(current()->unicodeKeyLayoutData(), compiledLayout(file));
  }

  std::shared_ptr<TemporaryRoot> root_ = vennick::tests::rootWithLayouts();
  const std::string ownLayout_ = LayoutSketch{{typeWithTables({u'\u03B1'})}}.data();
};

std::string resourceFile(std::vector<std::pair<std::string, std::string>> layouts) {
  macos::ResourceFork fork;
  std::int16_t identifier = 100;
  for (auto& [name, data] : layouts) {
    fork.set({macos::fourCharCode("uchr"), identifier++, name, 0, data});
  }
  return fork.encode().value();
}

}  // namespace

TEST_F(TextInputSources, GiveTheShippedLayoutThatTheSettingsName) {
  for (const auto& [identifier, file] :
       {std::pair("com.apple.keylayout.US", "US"), std::pair("com.apple.keylayout.German", "German"),
        std::pair("com.apple.keylayout.French", "French"),
        std::pair("com.apple.keylayout.SwissGerman", "SwissGerman"),
        std::pair("com.apple.keylayout.Spanish", "Spanish"),
        std::pair("com.apple.keylayout.USInternational-PC", "USInternational-PC")}) {
    chooseLayout(*root_, identifier);
    ASSERT_FALSE(compiledLayout(file).empty());
    expectShipped(file);
    EXPECT_EQ(current()->identifier(), identifier);
  }
}

TEST_F(TextInputSources, GiveTheUSLayoutWithoutSettings) {
  expectShipped("US");
  EXPECT_EQ(current()->identifier(), "com.apple.keylayout.US");
}

TEST_F(TextInputSources, GiveTheUSLayoutForOneThatIsNowhere) {
  for (const char* identifier : {"com.apple.keylayout.Klingon", "org.example.keylayout.German", "", "German",
                                 "..", "com.apple.keylayout.", "com.apple.keylayout./etc/passwd",
                                 "com.apple.keylayout.../../Keyboard Layouts/German"}) {
    chooseLayout(*root_, identifier);
    expectShipped("US");
  }
}

TEST_F(TextInputSources, ReadTheSelectedSourcesWhereNoCurrentLayoutIsNamed) {
  writeLayoutSettings(*root_,
                      "<key>AppleSelectedInputSources</key><array>"
                      "<dict><key>InputSourceKind</key><string>Input Mode</string></dict>"
                      "<dict><key>InputSourceKind</key><string>Keyboard Layout</string>"
                      "<key>KeyboardLayout ID</key><integer>19</integer>"
                      "<key>KeyboardLayout Name</key><string>Swiss German</string></dict></array>");
  expectShipped("SwissGerman");
}

TEST_F(TextInputSources, PreferTheCurrentLayoutToTheSelectedSources) {
  writeLayoutSettings(
      *root_,
      "<key>AppleCurrentKeyboardLayoutInputSourceID</key><string>com.apple.keylayout.French</string>"
      "<key>AppleSelectedInputSources</key><array>"
      "<dict><key>InputSourceKind</key><string>Keyboard Layout</string>"
      "<key>KeyboardLayout Name</key><string>German</string></dict></array>");
  expectShipped("French");
}

TEST_F(TextInputSources, GiveTheUSLayoutForSettingsOfTheWrongKind) {
  for (const char* entries :
       {"<key>AppleCurrentKeyboardLayoutInputSourceID</key><integer>3</integer>",
        "<key>AppleSelectedInputSources</key><string>German</string>",
        "<key>AppleSelectedInputSources</key><array><string>German</string><dict/></array>",
        "<key>AppleSelectedInputSources</key><array><dict><key>InputSourceKind</key><string>Keyboard "
        "Layout</string>"
        "<key>KeyboardLayout Name</key><integer>3</integer></dict></array>"}) {
    writeLayoutSettings(*root_, entries);
    expectShipped("US");
  }
}

TEST_F(TextInputSources, FindLayoutDataInTheFoldersOfTheRoot) {
  chooseLayout(*root_, "org.example.keylayout.Own");
  const std::string systemLayout = LayoutSketch{{typeWithTables({u's'})}}.data();
  const std::string machineLayout = LayoutSketch{{typeWithTables({u'm'})}}.data();
  root_->writeFile("/System/Library/Keyboard Layouts/Own.uchr", systemLayout);
  EXPECT_EQ(current()->unicodeKeyLayoutData(), systemLayout);
  root_->writeFile("/Library/Keyboard Layouts/Own.uchr", machineLayout);
  EXPECT_EQ(current()->unicodeKeyLayoutData(), machineLayout);
  root_->writeFile("/Users/anna/Library/Keyboard Layouts/Own.uchr", ownLayout_);
  EXPECT_EQ(current()->unicodeKeyLayoutData(), ownLayout_);
}

TEST_F(TextInputSources, PreferALayoutInsideTheRootToOneThatWeShip) {
  chooseLayout(*root_, "com.apple.keylayout.German");
  root_->writeFile("/Library/Keyboard Layouts/German.uchr", ownLayout_);
  EXPECT_EQ(current()->unicodeKeyLayoutData(), ownLayout_);
}

TEST_F(TextInputSources, FindLayoutDataInABundle) {
  chooseLayout(*root_, "org.example.keylayout.Own");
  root_->writeFile("/Library/Keyboard Layouts/Own.bundle/Contents/Resources/Own.uchr", ownLayout_);
  EXPECT_EQ(current()->unicodeKeyLayoutData(), ownLayout_);
}

TEST_F(TextInputSources, FindLayoutDataAmongResources) {
  chooseLayout(*root_, "org.example.keylayout.Own");
  const std::string other = LayoutSketch{{typeWithTables({u'o'})}}.data();
  root_->writeFile("/Library/Keyboard Layouts/Own.rsrc",
                   resourceFile({{"Other", other}, {"Own", ownLayout_}}));
  EXPECT_EQ(current()->unicodeKeyLayoutData(), ownLayout_) << "by name";
  root_->writeFile("/Library/Keyboard Layouts/Own.rsrc", resourceFile({{"", ownLayout_}}));
  EXPECT_EQ(current()->unicodeKeyLayoutData(), ownLayout_) << "the only one";
  root_->writeFile("/Library/Keyboard Layouts/Own.rsrc", resourceFile({{"A", other}, {"B", ownLayout_}}));
  expectShipped("US");
}

TEST_F(TextInputSources, FindALayoutByTheNameThatItsFileHas) {
  writeLayoutSettings(
      *root_,
      "<key>AppleCurrentKeyboardLayoutInputSourceID</key><string>org.example.keylayout.MyOwn</string>"
      "<key>AppleSelectedInputSources</key><array>"
      "<dict><key>InputSourceKind</key><string>Keyboard Layout</string>"
      "<key>KeyboardLayout Name</key><string>My Own</string></dict></array>");
  root_->writeFile("/Library/Keyboard Layouts/My Own.uchr", ownLayout_);
  EXPECT_EQ(current()->unicodeKeyLayoutData(), ownLayout_);
  EXPECT_EQ(current()->name(), "My Own");
}

TEST_F(TextInputSources, PassOverFilesThatAreNoLayoutData) {
  chooseLayout(*root_, "com.apple.keylayout.German");
  const std::string swapped = std::string("\x10\x02", 2) + ownLayout_.substr(2);
  for (const std::string& content :
       {std::string(), std::string("text"), LayoutSketch{}.data(), swapped, ownLayout_.substr(0, 39)}) {
    root_->writeFile("/Library/Keyboard Layouts/German.uchr", content);
    root_->writeFile("/Library/Keyboard Layouts/German.rsrc", content);
    expectShipped("German");
  }
  root_->remove("/Library/Keyboard Layouts/German.uchr");
  root_->makeFolder("/Library/Keyboard Layouts/German.uchr");
  expectShipped("German");
}

TEST_F(TextInputSources, DoNotReadLayoutsDescribedInXML) {
  chooseLayout(*root_, "com.apple.keylayout.German");
  root_->writeFile("/Library/Keyboard Layouts/German.keylayout", "<?xml version=\"1.0\"?><keyboard/>");
  expectShipped("German");
}

TEST_F(TextInputSources, NeverReadOutsideTheirFolders) {
  root_->writeFile("/Library/Secret.uchr", ownLayout_);
  for (const char* name : {"../Secret", "/Library/Secret", "..", "."}) {
    writeLayoutSettings(*root_,
                        "<key>AppleSelectedInputSources</key><array>"
                        "<dict><key>InputSourceKind</key><string>Keyboard Layout</string>"
                        "<key>KeyboardLayout Name</key><string>" +
                            std::string(name) + "</string></dict></array>");
    root_->makeFolder("/Library/Keyboard Layouts");
    expectShipped("US");
  }
}

TEST_F(TextInputSources, HaveNoDataWhereTheBundleCarriesNone) {
  TestHost host;
  const auto source = macos::TISCopyCurrentKeyboardLayoutInputSource();
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(macos::TISGetInputSourceProperty(source.get(), macos::kTISPropertyUnicodeKeyLayoutData), "");
}

TEST_F(TextInputSources, GiveTheirProperties) {
  chooseLayout(*root_, "com.apple.keylayout.German");
  const auto source = current();
  EXPECT_EQ(macos::TISGetInputSourceProperty(source.get(), macos::kTISPropertyInputSourceID),
            "com.apple.keylayout.German");
  EXPECT_EQ(macos::TISGetInputSourceProperty(source.get(), macos::kTISPropertyLocalizedName), "German");
  EXPECT_EQ(macos::TISGetInputSourceProperty(source.get(), macos::kTISPropertyUnicodeKeyLayoutData),
            compiledLayout("German"));
  EXPECT_EQ(macos::TISGetInputSourceProperty(source.get(), "TISPropertyUnknown"), "");
  EXPECT_EQ(macos::TISGetInputSourceProperty(nullptr, macos::kTISPropertyInputSourceID), "");
}

TEST_F(TextInputSources, FindTheCurrentLayoutOnceForAHost) {
  TestHost host(vennick::tests::optionsWithLayouts(root_));
  const auto first = macos::TISCopyCurrentKeyboardLayoutInputSource();
  chooseLayout(*root_, "com.apple.keylayout.German");
  EXPECT_EQ(macos::TISCopyCurrentKeyboardLayoutInputSource(), first);
}
