// SPDX-License-Identifier: MIT
#include "macos/carbon/LaunchServices.h"

#include <gtest/gtest.h>

#include "tests/support/Instance.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::CountingFileSystem;
using vennick::tests::FileOperation;
using vennick::tests::infoPlist;
using vennick::tests::TestHost;
using Info = std::map<std::string, std::string>;

constexpr OSType kInkw = fourCharCode("INKW");

void install(TestHost& host, const std::string& path, const Info& info = {}) {
  host.root().writeFile(path + "/Contents/Info.plist", infoPlist(info));
}

// The path found, or the result code as a text.
std::string find(OSType creator, std::optional<std::string_view> bundleID,
                 std::optional<std::string_view> name) {
  NSURL url;
  const OSStatus status = LSFindApplicationForInfo(creator, bundleID, name, &url);
  return status == noErr ? url.path() : std::to_string(status);
}

std::string findByName(std::string_view name) { return find(kLSUnknownCreator, std::nullopt, name); }
std::string findByCreator(OSType creator) { return find(creator, std::nullopt, std::nullopt); }

const std::string kNotFound = "-10814";

TEST(LaunchServices, FindsByBundleIdentifier) {
  TestHost host;
  install(host, "/Applications/Inkwell.app", {{"CFBundleIdentifier", "com.example.Inkwell"}});
  EXPECT_EQ(find(0, "com.example.inkwell", std::nullopt), "/Applications/Inkwell.app");
  EXPECT_EQ(find(0, "com.example", std::nullopt), kNotFound);
  EXPECT_EQ(find(0, "", std::nullopt), kNotFound);
}

TEST(LaunchServices, FindsByCreatorCodeReadForwards) {
  TestHost host;
  install(host, "/Applications/Inkwell.app", {{"CFBundleSignature", "INKW"}});
  EXPECT_EQ(findByCreator(0x494E4B57), "/Applications/Inkwell.app");
  EXPECT_EQ(findByCreator(fourCharCode("WKNI")), kNotFound);
}

TEST(LaunchServices, ASignatureIsFourBytesInMacRoman) {
  TestHost host;
  install(host, "/Applications/Accent.app", {{"CFBundleSignature", "\xC3\xA4 bc"}});  // ä is 8A
  install(host, "/Applications/Long.app", {{"CFBundleSignature", "LONGER"}});
  install(host, "/Applications/Short.app", {{"CFBundleSignature", "LON"}});
  EXPECT_EQ(findByCreator(0x8A206263), "/Applications/Accent.app");
  EXPECT_EQ(findByCreator(fourCharCode("LONG")), kNotFound);
  EXPECT_EQ(findByCreator(fourCharCode("LON ")), kNotFound);
}

TEST(LaunchServices, TheEndOfPkgInfoStandsInForAMissingSignature) {
  TestHost host;
  install(host, "/Applications/Inkwell.app");
  host.root().writeFile("/Applications/Inkwell.app/Contents/PkgInfo", "APPLINKW");
  install(host, "/Applications/Other.app", {{"CFBundleSignature", "OTHR"}});
  host.root().writeFile("/Applications/Other.app/Contents/PkgInfo", "APPLPKGI");
  install(host, "/Applications/Cut.app");
  host.root().writeFile("/Applications/Cut.app/Contents/PkgInfo", "APPLCUT");
  EXPECT_EQ(findByCreator(kInkw), "/Applications/Inkwell.app");
  EXPECT_EQ(findByCreator(fourCharCode("OTHR")), "/Applications/Other.app");
  EXPECT_EQ(findByCreator(fourCharCode("PKGI")), kNotFound);
}

TEST(LaunchServices, QuestionMarksAndMissingSignaturesNeverMatch) {
  TestHost host;
  install(host, "/Applications/Unknown.app", {{"CFBundleSignature", "????"}});
  install(host, "/Applications/None.app");
  install(host, "/Applications/Zero.app");
  host.root().writeFile("/Applications/Zero.app/Contents/PkgInfo", std::string_view("APPL\0\0\0\0", 8));
  EXPECT_EQ(findByCreator(fourCharCode("????")), kNotFound);
  EXPECT_EQ(find(kLSUnknownCreator, std::nullopt, "Zero"), kNotFound);
}

TEST(LaunchServices, NamesAreFullFileNamesInAnyLetterCase) {
  TestHost host;
  install(host, "/Applications/Inkwell.app");
  EXPECT_EQ(findByName("Inkwell.app"), "/Applications/Inkwell.app");
  EXPECT_EQ(findByName("INKWELL.App"), "/Applications/Inkwell.app");
  EXPECT_EQ(findByName("Inkwell"), kNotFound);
  EXPECT_EQ(findByName("nkwell.app"), kNotFound);
  EXPECT_EQ(findByName(""), kNotFound);
}

TEST(LaunchServices, NamesMayDifferInNormalization) {
  TestHost host;
  install(host,
          "/Applications/Grußkarten für U\xCC\x88"
          "ber.app");
  EXPECT_EQ(findByName("grußkarten für \xC3\x9C"
                       "ber.app")
                .substr(0, 13),
            "/Applications");
}

TEST(LaunchServices, TriesIdentifierThenCreatorThenName) {
  TestHost host;
  install(host, "/Applications/Identifier.app", {{"CFBundleIdentifier", "com.example"}});
  install(host, "/Applications/Creator.app", {{"CFBundleSignature", "INKW"}});
  install(host, "/Applications/Name.app");
  EXPECT_EQ(find(kInkw, "com.example", "Name.app"), "/Applications/Identifier.app");
  EXPECT_EQ(find(kInkw, "com.missing", "Name.app"), "/Applications/Creator.app");
  EXPECT_EQ(find(fourCharCode("MISS"), "com.missing", "Name.app"), "/Applications/Name.app");
  EXPECT_EQ(find(fourCharCode("MISS"), "com.missing", "Missing.app"), kNotFound);
}

TEST(LaunchServices, WithoutAnyCriterionTheParametersAreWrong) {
  TestHost host;
  EXPECT_EQ(find(kLSUnknownCreator, std::nullopt, std::nullopt), "-50");
}

TEST(LaunchServices, TheURLNeedNotBeAskedFor) {
  TestHost host;
  install(host, "/Applications/Inkwell.app");
  EXPECT_EQ(LSFindApplicationForInfo(0, std::nullopt, "Inkwell.app", nullptr), noErr);
}

TEST(LaunchServices, OfSeveralHitsTheNewestVersionCounts) {
  TestHost host;
  install(host, "/Applications/Inkwell.app", {{"CFBundleVersion", "1.9"}});
  install(host, "/Applications/Old/Inkwell.app", {{"CFBundleVersion", "1.2"}});
  install(host, "/Users/anna/Applications/Inkwell.app", {{"CFBundleShortVersionString", "1.10"}});
  EXPECT_EQ(findByName("Inkwell.app"), "/Users/anna/Applications/Inkwell.app");
}

TEST(LaunchServices, OfOneVersionTheFirstFolderCounts) {
  const std::vector<std::string> folders{"/Applications",
                                         "/Applications/Utilities",
                                         "/Applications/Office",
                                         "/Applications/Utilities/Network",
                                         "/Users/anna/Applications",
                                         "/System/Applications",
                                         "/System/Library/CoreServices"};
  for (std::size_t first = 0; first < folders.size(); ++first) {
    TestHost host;
    for (std::size_t i = first; i < folders.size(); ++i) {
      install(host, folders[i] + "/Inkwell.app", {{"CFBundleSignature", "INKW"}, {"CFBundleVersion", "1.0"}});
    }
    EXPECT_EQ(findByName("Inkwell.app"), folders[first] + "/Inkwell.app");
    EXPECT_EQ(findByCreator(kInkw), folders[first] + "/Inkwell.app");
  }
}

TEST(LaunchServices, LooksNoDeeperThanDirectSubfolders) {
  TestHost host;
  install(host, "/Applications/A/B/Inkwell.app");
  install(host, "/Users/anna/Applications/A/Inkwell.app");
  install(host, "/Applications/Suite.app/Contents/Inkwell.app");
  EXPECT_EQ(findByName("Inkwell.app"), kNotFound);
}

TEST(LaunchServices, AnApplicationWithABrokenInfoIsFoundByItsNameAndHidesNoOther) {
  TestHost host;
  host.root().writeFile("/Applications/Broken.app/Contents/Info.plist", "bplist00\xFF\xFF");
  host.root().makeFolder("/Applications/Empty.app");
  install(host, "/Applications/Inkwell.app", {{"CFBundleSignature", "INKW"}});
  EXPECT_EQ(findByCreator(kInkw), "/Applications/Inkwell.app");
  EXPECT_EQ(findByName("Broken.app"), "/Applications/Broken.app");
  EXPECT_EQ(findByName("Empty.app"), "/Applications/Empty.app");
}

TEST(LaunchServices, ManyQuestionsCostOneScan) {
  TestHost host;
  for (int i = 0; i < 20; ++i) {
    install(host, "/Applications/App " + std::to_string(i) + ".app",
            {{"CFBundleSignature", "APP" + std::to_string(i % 10)}});
  }
  const auto files = host.interpose<CountingFileSystem>();
  EXPECT_EQ(findByCreator(kInkw), kNotFound);
  EXPECT_EQ(findByName("None.app"), kNotFound);
  EXPECT_EQ(files->count(FileOperation::Read), 20);
  const auto before = files->total();
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(findByCreator(kInkw), kNotFound);
    EXPECT_EQ(findByCreator(fourCharCode("APP3")), "/Applications/App 13.app");
    EXPECT_EQ(findByName("App 7.app"), "/Applications/App 7.app");
  }
  EXPECT_EQ(files->total(), before);
}

TEST(LaunchServices, NamesAloneAreFoundWithoutReadingAnyInfo) {
  TestHost host;
  for (int i = 0; i < 20; ++i) install(host, "/Applications/App " + std::to_string(i) + ".app");
  const auto files = host.interpose<CountingFileSystem>();
  EXPECT_EQ(findByName("App 7.app"), "/Applications/App 7.app");
  EXPECT_EQ(files->count(FileOperation::Read), 0);
}

}  // namespace
}  // namespace macos
