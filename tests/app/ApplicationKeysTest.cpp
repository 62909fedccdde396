// SPDX-License-Identifier: MIT
//
// Which application a version 4 key stands for.
#include <gtest/gtest.h>

#include "app/AppDelegate.h"
#include "tests/support/TestHost.h"

namespace vennick {
namespace {

class ApplicationKeys : public testing::Test {
 protected:
  // An application bundle; "" leaves a thing out. The executable is made when it is named.
  void install(const std::string& path, const std::string& identifier, const std::string& signature,
               const std::string& executable = "", const std::string& version = "") {
    std::string information = "<plist version=\"1.0\"><dict>";
    const auto add = [&information](const std::string& key, const std::string& value) {
      if (!value.empty()) information += "<key>" + key + "</key><string>" + value + "</string>";
    };
    add("CFBundleIdentifier", identifier);
    add("CFBundleSignature", signature);
    add("CFBundleExecutable", executable);
    add("CFBundleVersion", version);
    add("CFBundleShortVersionString", version);
    host_.root().writeFile(path + "/Contents/Info.plist", information + "</dict></plist>");
    if (!executable.empty()) {
      host_.root().makeExecutable(path + "/Contents/MacOS/" + executable, "#!/bin/sh\n");
    }
  }

  // Applications are looked for once a host: another one sees what was installed since.
  static tests::TestHostOptions sameMac(tests::TestHost& host) {
    tests::TestHostOptions options;
    options.root = host.sharedRoot();
    return options;
  }

  using Identifier = std::optional<std::string>;
  static Identifier idOf(std::string_view key) { return AppDelegate::appIDForKey(key); }

  tests::TestHost host_;
};

TEST_F(ApplicationKeys, EveryApplicationIsAStarWithoutAnyLookup) {
  install("/Applications/@PP$.app", "org.example.trap", "$PP@");
  const auto counting = host_.interpose<tests::CountingFileSystem>();
  EXPECT_EQ(idOf("@PP$"), Identifier("*"));
  EXPECT_EQ(counting->total(), 0);
}

TEST_F(ApplicationKeys, AThreeCharacterKeyIsLookedUpWithATrailingBlank) {
  install("/Applications/One.app", "org.example.one", " cba");
  EXPECT_EQ(idOf("abc"), Identifier("org.example.one"));
}

TEST_F(ApplicationKeys, ACreatorCodeMatchesASignatureThatSpellsItBackwards) {
  install("/Applications/Forwards.app", "org.example.forwards", "abcd");
  EXPECT_EQ(idOf("abcd"), Identifier());
  install("/Applications/Utilities/Backwards.app", "org.example.backwards", "dcba");
  tests::TestHost later(sameMac(host_));
  EXPECT_EQ(idOf("abcd"), Identifier("org.example.backwards"));
}

TEST_F(ApplicationKeys, AnEmptyKeyIsFourBlanks) {
  EXPECT_EQ(idOf(""), Identifier());
  install("/Applications/Blank.app", "org.example.blank", "    ");
  tests::TestHost later(sameMac(host_));
  EXPECT_EQ(idOf(""), Identifier("org.example.blank"));
}

TEST_F(ApplicationKeys, AFourCharacterKeyIsACreatorThenANameThenANameWithApp) {
  install("/Applications/Four.app", "org.example.name-with-app", "----");
  {
    tests::TestHost host(sameMac(host_));
    EXPECT_EQ(idOf("Four"), Identifier("org.example.name-with-app"));
  }
  install("/Applications/Four", "org.example.bare-name", "----");
  host_.root().writeFile("/Applications/Four/Contents/PkgInfo", "APPL----");
  install("/Applications/Code.app", "org.example.creator", "ruoF");
  {
    tests::TestHost host(sameMac(host_));
    EXPECT_EQ(idOf("Four"), Identifier("org.example.creator"));
  }
}

TEST_F(ApplicationKeys, ALongerKeyIsANameOnly) {
  install("/Applications/Long Name.app", "org.example.long", "emaN");
  EXPECT_EQ(idOf("Long Name"), Identifier("org.example.long"));
  EXPECT_EQ(idOf("Long Name.app"), Identifier("org.example.long"));
  EXPECT_EQ(idOf("long name"), Identifier("org.example.long"));
  EXPECT_EQ(idOf("Long"), Identifier());
}

TEST_F(ApplicationKeys, ABundleIdentifierIsLookedUpByNameOnly) {
  install("/Applications/Named.app", "org.example.named", "----");
  EXPECT_EQ(idOf("org.example.named"), Identifier());
  install("/Applications/org.example.named.app", "org.example.other", "----");
  tests::TestHost later(sameMac(host_));
  EXPECT_EQ(idOf("org.example.named"), Identifier("org.example.other"));
}

// The length counts in UTF-16 units: two characters outside the basic plane are four of them.
TEST_F(ApplicationKeys, ACharacterOutsideMacRomanMeansNoCode) {
  install("/Applications/Ж.app", "org.example.cyrillic", "   ?");
  EXPECT_EQ(idOf("Ж"), Identifier("org.example.cyrillic"));
  EXPECT_EQ(idOf("日本"), Identifier());
  EXPECT_EQ(idOf("😀😀"), Identifier());
}

TEST_F(ApplicationKeys, TheBytesOfACodeAreMacRoman) {
  // "é" is 8E; the signature is those bytes backwards, read from the end of PkgInfo.
  install("/Applications/Accent.app", "org.example.accent", "");
  host_.root().writeFile("/Applications/Accent.app/Contents/PkgInfo",
                         "APPL"
                         "fac\x8E");
  EXPECT_EQ(idOf("écaf"), Identifier("org.example.accent"));
}

TEST_F(ApplicationKeys, FourQuestionMarksNeverMatchACreator) {
  install("/Applications/Unsigned.app", "org.example.unsigned", "????");
  install("/Applications/Missing.app", "org.example.missing", "");
  EXPECT_EQ(idOf("????"), Identifier());
  EXPECT_EQ(idOf(std::string(4, '\0')), Identifier());
}

TEST_F(ApplicationKeys, OfSeveralTheNewestVersionCounts) {
  install("/Applications/Twice.app", "org.example.old", "----", "", "1.9");
  install("/Applications/Utilities/Twice.app", "org.example.new", "----", "", "1.10");
  EXPECT_EQ(idOf("Twice"), Identifier("org.example.new"));
}

TEST_F(ApplicationKeys, AnApplicationWithoutAnIdentifierIsItsExecutablesName) {
  install("/Applications/Plain.app", "", "----", "plain-program");
  EXPECT_EQ(idOf("Plain"), Identifier("plain-program"));
}

TEST_F(ApplicationKeys, AnApplicationWithNeitherGivesNothing) {
  install("/Applications/Hollow.app", "", "----");
  EXPECT_EQ(idOf("Hollow"), Identifier());
  EXPECT_EQ(
      AppDelegate::appIDForURL(macos::NSURL::fileURLWithPathIsDirectory("/Applications/Nowhere.app", true)),
      Identifier());
}

}  // namespace
}  // namespace vennick
