// SPDX-License-Identifier: MIT
#include "macos/foundation/Bundle.h"

#include <gtest/gtest.h>

#include "tests/support/Instance.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::CountingFileSystem;
using vennick::tests::infoPlist;
using vennick::tests::TemporaryRoot;
using vennick::tests::TestHost;
using vennick::tests::TestHostOptions;
using Names = std::vector<std::string>;

const std::string kMain = "/Applications/Vennick 5.app";
const std::string kMigrator = kMain + "/Contents/Helpers/VennickMigrator.app";
const std::string kResources = kMain + "/Contents/Resources/";

std::shared_ptr<NSBundle> bundleAt(std::string_view path) {
  return NSBundle::bundleWithURL(NSURL::fileURLWithPathIsDirectory(path, true));
}

std::string strings(std::string_view key, std::string_view text) {
  return "\"" + std::string(key) + "\" = \"" + std::string(text) + "\";\n";
}

// A list of the user's languages, as the global domain holds it.
void setLanguages(TestHost& host, const Names& languages) {
  std::string text = "<plist version=\"1.0\"><dict><key>AppleLanguages</key><array>";
  for (const std::string& language : languages) text += "<string>" + language + "</string>";
  host.root().writeFile("/Users/anna/Library/Preferences/.GlobalPreferences.plist",
                        text + "</array></dict></plist>");
}

// A host whose program is an executable inside its root.
struct ProgramInRoot {
  explicit ProgramInRoot(const std::string& executable)
      : root(std::make_shared<TemporaryRoot>()), host(options(executable)) {}

  TestHostOptions options(const std::string& executable) {
    root->makeExecutable(executable, "");
    TestHostOptions options;
    options.root = root;
    options.executable = root->hostPath(executable);
    return options;
  }

  std::shared_ptr<TemporaryRoot> root;
  TestHost host;
};

TEST(MainBundle, IsTheInnermostOneInWhoseMacOSFolderTheExecutableLies) {
  const ProgramInRoot program(kMigrator + "/Contents/MacOS/VennickMigrator");
  program.root->writeFile(kMain + "/Contents/Info.plist", infoPlist({{"CFBundleIdentifier", "outer"}}));
  program.root->writeFile(kMigrator + "/Contents/Info.plist", infoPlist({{"CFBundleIdentifier", "inner"}}));
  const auto bundle = NSBundle::mainBundle();
  EXPECT_EQ(bundle->bundleIdentifier(), "inner");
  EXPECT_EQ(bundle->bundleURL().path(), kMigrator);
  EXPECT_FALSE(bundle->isOutsideRoot());
  EXPECT_EQ(NSBundle::mainBundle(), bundle);
}

TEST(MainBundle, ThreeComponentsAboveTheMigratorsIsTheMainApplications) {
  const ProgramInRoot program(kMigrator + "/Contents/MacOS/VennickMigrator");
  const NSURL url = NSBundle::mainBundle()
                        ->bundleURL()
                        .URLByDeletingLastPathComponent()
                        .URLByDeletingLastPathComponent()
                        .URLByDeletingLastPathComponent();
  ASSERT_TRUE(NSBundle::bundleWithURL(url));
  EXPECT_EQ(NSBundle::bundleWithURL(url)->bundleURL().path(), kMain);
}

TEST(MainBundle, AnExecutableDeeperInTheMacOSFolderBelongsToNoBundle) {
  const ProgramInRoot program(kMain + "/Contents/MacOS/tools/helper");
  EXPECT_EQ(NSBundle::mainBundle()->bundleURL().path(), kMain + "/Contents/MacOS/tools");
}

TEST(MainBundle, OfALoneExecutableIsItsFolder) {
  const ProgramInRoot program("/Users/anna/bin/VennickMigrator");
  EXPECT_EQ(NSBundle::mainBundle()->bundleURL().path(), "/Users/anna/bin");
  EXPECT_EQ(NSBundle::mainBundle()->bundleIdentifier(), "");
}

TEST(MainBundle, MayLieOutsideTheRoot) {
  const TemporaryRoot outside;
  outside.makeExecutable(kMigrator + "/Contents/MacOS/VennickMigrator", "");
  outside.writeFile(kMigrator + "/Contents/Info.plist", infoPlist({{"CFBundleIdentifier", "inner"}}));
  outside.writeFile(kMain + "/Contents/Info.plist", infoPlist({{"CFBundleIdentifier", "outer"}}));
  outside.writeFile(kResources + "Defaults.plist", "content");
  TestHostOptions options;
  options.executable = outside.hostPath(kMigrator + "/Contents/MacOS/VennickMigrator");
  const TestHost host(options);

  const auto main = NSBundle::mainBundle();
  EXPECT_TRUE(main->isOutsideRoot());
  EXPECT_EQ(main->bundleIdentifier(), "inner");
  EXPECT_EQ(main->bundleURL().path(), outside.hostPath(kMigrator));
  const auto around = bundleAt(outside.hostPath(kMain));
  ASSERT_TRUE(around);
  EXPECT_TRUE(around->isOutsideRoot());
  EXPECT_EQ(around->bundleIdentifier(), "outer");
  EXPECT_EQ(around->contentsOfResource("Defaults", "plist"), "content");
}

TEST(MainBundle, OutsideTheRootIsFoundUnderAFolderWithAComposedName) {
  const TemporaryRoot outside;
  const std::string bundle =
      "/Gr\xC3\xB6\xC3\x9F"
      "e/Main.app";  // the ö is one character
  outside.makeExecutable(bundle + "/Contents/MacOS/Main", "");
  TestHostOptions options;
  options.executable = outside.hostPath(bundle + "/Contents/MacOS/Main");
  const TestHost host(options);
  const auto found = NSBundle::bundleWithURL(NSBundle::mainBundle()->bundleURL());
  ASSERT_TRUE(found);
  EXPECT_TRUE(found->isOutsideRoot());
  EXPECT_EQ(found->executablePath(), options.executable);
}

TEST(MainBundle, OutsideTheRootOpensNoOtherFolderThere) {
  const TemporaryRoot outside;
  outside.makeExecutable(kMain + "/Contents/MacOS/Vennick5", "");
  outside.makeFolder("/Other.app/Contents");
  TestHostOptions options;
  options.executable = outside.hostPath(kMain + "/Contents/MacOS/Vennick5");
  const TestHost host(options);
  EXPECT_TRUE(bundleAt(outside.hostPath("/Applications")));
  EXPECT_FALSE(bundleAt(outside.hostPath("/Other.app")));
}

TEST(Bundle, IsNullWhereNoFolderIs) {
  TestHost host;
  host.root().writeFile("/file", "");
  EXPECT_FALSE(bundleAt("/missing"));
  EXPECT_FALSE(bundleAt("/file"));
  EXPECT_FALSE(NSBundle::bundleWithURL(*NSURL::URLWithString("http://host/Applications")));
}

TEST(Bundle, ReadsItsInfoInEveryFormAndTakesADamagedOneForNone) {
  TestHost host;
  const auto identifierWith = [&](std::string_view info) {
    host.root().writeFile(kMain + "/Contents/Info.plist", info);
    return bundleAt(kMain)->bundleIdentifier();
  };
  EXPECT_EQ(identifierWith(infoPlist({{"CFBundleIdentifier", "com.example"}})), "com.example");
  EXPECT_EQ(identifierWith("{ CFBundleIdentifier = \"com.example\"; }"), "com.example");
  EXPECT_EQ(
      identifierWith("<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><true/></dict></plist>"), "");
  EXPECT_EQ(identifierWith("<plist version=\"1.0\"><array/></plist>"), "");
  EXPECT_EQ(identifierWith("bplist00\xFF"), "");
  EXPECT_EQ(identifierWith(""), "");
  host.root().remove(kMain + "/Contents/Info.plist");
  EXPECT_EQ(bundleAt(kMain)->bundleIdentifier(), "");
  EXPECT_TRUE(bundleAt(kMain)->infoDictionary().empty());
}

TEST(Bundle, WithoutContentsHasItsPartsAtTheTop) {
  TestHost host;
  host.root().writeFile("/Flat.bundle/Info.plist", infoPlist({{"CFBundleIdentifier", "flat"}}));
  host.root().writeFile("/Flat.bundle/Defaults.plist", "top");
  host.root().makeExecutable("/Flat.bundle/Flat", "");
  EXPECT_EQ(bundleAt("/Flat.bundle")->bundleIdentifier(), "flat");
  EXPECT_EQ(bundleAt("/Flat.bundle")->contentsOfResource("Defaults", "plist"), "top");
  EXPECT_EQ(bundleAt("/Flat.bundle")->executablePath(), "/Flat.bundle/Flat");
}

TEST(BundleExecutable, IsTheOneThatInfoNames) {
  TestHost host;
  host.root().writeFile(kMain + "/Contents/Info.plist", infoPlist({{"CFBundleExecutable", "Vennick5"}}));
  host.root().makeExecutable(kMain + "/Contents/MacOS/Vennick5", "");
  EXPECT_EQ(bundleAt(kMain)->executablePath(), kMain + "/Contents/MacOS/Vennick5");
  EXPECT_EQ(bundleAt(kMain)->executableURL()->lastPathComponent(), "Vennick5");
}

TEST(BundleExecutable, IsNamedLikeTheBundleWhereInfoNamesNone) {
  TestHost host;
  host.root().makeExecutable(kMain + "/Contents/MacOS/Vennick 5", "");
  EXPECT_EQ(bundleAt(kMain)->executablePath(), kMain + "/Contents/MacOS/Vennick 5");
}

TEST(BundleExecutable, IsNoneWhenThereIsNoSuchFile) {
  TestHost host;
  host.root().writeFile(kMain + "/Contents/Info.plist", infoPlist({{"CFBundleExecutable", "gone"}}));
  EXPECT_FALSE(bundleAt(kMain)->executableURL());
  host.root().makeFolder(kMain + "/Contents/MacOS/gone");
  EXPECT_FALSE(bundleAt(kMain)->executableURL());
}

TEST(BundleExecutable, NeverLiesOutsideItsFolder) {
  TestHost host;
  host.root().makeExecutable("/bin/sh", "");
  for (const auto* name : {"../../../../bin/sh", "/bin/sh", "..", ".", ""}) {
    host.root().writeFile(kMain + "/Contents/Info.plist", infoPlist({{"CFBundleExecutable", name}}));
    EXPECT_FALSE(bundleAt(kMain)->executableURL()) << name;
  }
}

TEST(BundleResource, ThatIsNotLocalizedComesBeforeALocalizedOne) {
  TestHost host;
  host.root().writeFile(kResources + "Both.plist", "everybody's");
  host.root().writeFile(kResources + "en.lproj/Both.plist", "English");
  host.root().writeFile(kResources + "en.lproj/Localized.plist", "English");
  const auto bundle = bundleAt(kMain);
  EXPECT_EQ(bundle->pathForResource("Both", "plist"), kResources + "Both.plist");
  EXPECT_EQ(bundle->contentsOfResource("Localized", "plist"), "English");
  EXPECT_EQ(bundle->pathForResource("Missing", "plist"), std::nullopt);
  EXPECT_EQ(bundle->contentsOfResource("Missing", ""), std::nullopt);
}

TEST(BundleResource, MayBeAFolderAndMayHaveNoType) {
  TestHost host;
  host.root().writeFile(kResources + "displayNameTool", "");
  host.root().makeFolder(kResources + "de.lproj");
  EXPECT_EQ(bundleAt(kMain)->pathForResource("displayNameTool", ""), kResources + "displayNameTool");
  EXPECT_EQ(bundleAt(kMain)->pathForResource("de", "lproj"), kResources + "de.lproj");
  EXPECT_EQ(bundleAt(kMain)->pathForResource("fr", "lproj"), std::nullopt);
}

TEST(BundleResource, IsFoundInEitherNormalForm) {
  TestHost host;
  host.root().writeFile(kResources +
                            "Gro\xCC\x88\xC3\x9F"
                            "e.plist",
                        "decomposed");
  EXPECT_EQ(bundleAt(kMain)->contentsOfResource("Gr\xC3\xB6\xC3\x9F"
                                                "e",
                                                "plist"),
            "decomposed");
}

TEST(BundleResource, ThatCannotBeReadIsLoggedAndCountsAsMissing) {
  TestHost host;
  host.root().makeFolder(kResources + "Defaults.plist");
  EXPECT_EQ(bundleAt(kMain)->contentsOfResource("Defaults", "plist"), std::nullopt);
  EXPECT_TRUE(host.log().contains(kResources + "Defaults.plist"));
}

TEST(BundleLanguages, AreTheFoldersThatItHas) {
  TestHost host;
  for (const auto* name : {"de.lproj", "pt-BR.lproj", "zh-Hans.lproj", "Icons"}) {
    host.root().makeFolder(kResources + name);
  }
  host.root().writeFile(kResources + "fr.lproj", "a file is no localization");
  EXPECT_EQ(bundleAt(kMain)->localizations(), (Names{"de", "pt-BR", "zh-Hans"}));
}

TEST(BundleLanguages, AreChosenByTheUsersGlobalSetting) {
  TestHost host;
  setLanguages(host, {"zh-Hans-CN", "de"});
  for (const auto* name : {"de.lproj", "en.lproj", "zh-Hans.lproj"}) {
    host.root().makeFolder(kResources + name);
  }
  EXPECT_EQ(bundleAt(kMain)->preferredLocalizations(), (Names{"zh-Hans"}));
}

TEST(BundleLanguages, FallBackOnTheDevelopmentLanguageThenEnglishThenAny) {
  TestHost host;
  setLanguages(host, {"el"});
  host.root().makeFolder(kResources + "de.lproj");
  EXPECT_EQ(bundleAt(kMain)->preferredLocalizations(), (Names{"de"}));
  host.root().makeFolder(kResources + "en.lproj");
  EXPECT_EQ(bundleAt(kMain)->preferredLocalizations(), (Names{"en"}));
  host.root().writeFile(kMain + "/Contents/Info.plist", infoPlist({{"CFBundleDevelopmentRegion", "de"}}));
  EXPECT_EQ(bundleAt(kMain)->preferredLocalizations(), (Names{"de"}));
}

TEST(BundleLanguages, AreEnglishWhereTheSettingIsMissing) {
  TestHost host;
  for (const auto* name : {"de.lproj", "en.lproj"}) host.root().makeFolder(kResources + name);
  EXPECT_EQ(bundleAt(kMain)->preferredLocalizations(), (Names{"en"}));
}

TEST(BundleLanguages, AreEnglishWhereTheSettingIsNoList) {
  TestHost host;
  host.root().writeFile(
      "/Users/anna/Library/Preferences/.GlobalPreferences.plist",
      "<plist version=\"1.0\"><dict><key>AppleLanguages</key><string>de</string></dict></plist>");
  for (const auto* name : {"de.lproj", "en.lproj"}) host.root().makeFolder(kResources + name);
  EXPECT_EQ(bundleAt(kMain)->preferredLocalizations(), (Names{"en"}));
}

TEST(LocalizedString, ComesFromTheTableOfTheBestLanguage) {
  TestHost host;
  setLanguages(host, {"de-CH", "en"});
  host.root().writeFile(kResources + "de.lproj/Localizable.strings", strings("Default Set", "Standardset"));
  host.root().writeFile(kResources + "en.lproj/Localizable.strings", strings("Default Set", "Default Set"));
  EXPECT_EQ(bundleAt(kMain)->localizedStringForKey("Default Set"), "Standardset");
}

TEST(LocalizedString, ThatIsMissingIsTheFallbackOrElseTheKey) {
  TestHost host;
  host.root().writeFile(kResources + "en.lproj/Localizable.strings",
                        strings("a", "b") + strings("empty", ""));
  const auto bundle = bundleAt(kMain);
  EXPECT_EQ(bundle->localizedStringForKey("c"), "c");
  EXPECT_EQ(bundle->localizedStringForKey("c", "d"), "d");
  EXPECT_EQ(bundle->localizedStringForKey("a", "d"), "b");
  EXPECT_EQ(bundle->localizedStringForKey("empty", "d"), "");
}

TEST(LocalizedString, WithoutAnyTableIsTheKey) {
  TestHost host;
  host.root().makeFolder(kMain);
  EXPECT_EQ(bundleAt(kMain)->localizedStringForKey("Default Set"), "Default Set");
}

TEST(LocalizedString, OfADamagedTableIsTheKeyAndTheDamageIsLogged) {
  TestHost host;
  host.root().writeFile(kResources + "en.lproj/Localizable.strings", "\"a\" = ");
  EXPECT_EQ(bundleAt(kMain)->localizedStringForKey("a"), "a");
  EXPECT_TRUE(host.log().contains(kMain));
}

TEST(LocalizedString, TablesAreReadOnce) {
  TestHost host;
  host.root().writeFile(kResources + "en.lproj/Localizable.strings", strings("a", "b"));
  const auto files = host.interpose<CountingFileSystem>();
  const auto bundle = bundleAt(kMain);
  EXPECT_EQ(bundle->localizedStringForKey("a"), "b");
  const auto before = files->total();
  for (int i = 0; i < 100; ++i) EXPECT_EQ(bundle->localizedStringForKey("a"), "b");
  EXPECT_EQ(files->total(), before);
}

TEST(LocalizedString, OfTheProgramIsTheMainBundles) {
  const ProgramInRoot program(kMain + "/Contents/MacOS/Vennick5");
  program.root->writeFile(kResources + "en.lproj/Localizable.strings", strings("a", "b"));
  EXPECT_EQ(NSLocalizedString("a"), "b");
}

}  // namespace
}  // namespace macos
