// SPDX-License-Identifier: MIT
#include "macos/foundation/Preferences.h"

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "macos/foundation/URL.h"
#include "tests/macos/foundation/PreferencesTesting.h"

namespace macos {
namespace {

using vennick::tests::CountingFileSystem;
using vennick::tests::FileOperation;
using vennick::tests::kPreferencesFolder;
using vennick::tests::PreferencesTest;
using vennick::tests::xmlDomain;

constexpr std::string_view kDomain = "com.example.app";

class Preferences : public PreferencesTest {
 protected:
  static std::optional<Value> get(std::string_view key) { return CFPreferencesCopyAppValue(key, kDomain); }
  static void set(std::string_view key, std::optional<Value> value) {
    CFPreferencesSetAppValue(key, std::move(value), kDomain);
  }
  static bool synchronize() { return CFPreferencesAppSynchronize(kDomain); }
  mode_t mode(std::string_view path) {
    struct stat status {};
    EXPECT_EQ(stat(host_.root().hostPath(path).c_str(), &status), 0);
    return status.st_mode & 07777;
  }
};

TEST_F(Preferences, AKeyOfNoDomainHasNoValue) {
  EXPECT_EQ(get("key"), std::nullopt);
  EXPECT_TRUE(synchronize());
  EXPECT_FALSE(domainExists(kDomain));
  EXPECT_TRUE(host_.log().lines().empty());
}

TEST_F(Preferences, ReadsXml) {
  writeDomain(kDomain, "<key>flag</key><true/><key>n</key><integer>7</integer>");
  EXPECT_EQ(get("flag"), Value(true));
  EXPECT_EQ(get("n"), Value(7));
}

TEST_F(Preferences, ReadsOldStyleText) {
  host_.root().writeFile(domainPath(kDomain), "{ name = \"Two Words\"; list = (a, b); }\n");
  EXPECT_EQ(get("name"), Value("Two Words"));
  EXPECT_EQ(get("list"), Value(Array{Value("a"), Value("b")}));
}

TEST_F(Preferences, WritesBinaryThatAnIndependentReaderUnderstandsAndReadsItBack) {
  set("flag", Value(true));
  set("number", Value(1));
  set("real", Value(1.5));
  set("text", Value("Größe"));
  set("data", Value::fromData(std::string("\0\xFF", 2)));
  set("list", Value(Array{Value("a"), Value(Dictionary{{"b", Value(2)}})}));
  ASSERT_TRUE(synchronize());
  EXPECT_TRUE(host_.root().readFile(domainPath(kDomain)).starts_with("bplist00"));
  EXPECT_EQ(domainContent(kDomain),
            "{'data': b'\\x00\\xff', 'flag': True, 'list': ['a', {'b': 2}], 'number': 1, 'real': 1.5, "
            "'text': 'Größe'}");
  EXPECT_EQ(get("list"), Value(Array{Value("a"), Value(Dictionary{{"b", Value(2)}})}));
  EXPECT_EQ(get("number"), Value(1));
}

TEST_F(Preferences, AChangeIsPendingUntilItIsSynchronised) {
  set("n", Value(1));
  EXPECT_EQ(get("n"), Value(1));
  EXPECT_FALSE(domainExists(kDomain));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(domainContent(kDomain), "{'n': 1}");
}

TEST_F(Preferences, TheSearchListEndsWithTheGlobalDomain) {
  writeDomain(".GlobalPreferences", "<key>a</key><string>global</string><key>b</key><string>global</string>");
  writeDomain(kDomain, "<key>a</key><string>own</string>");
  EXPECT_EQ(get("a"), Value("own"));
  EXPECT_EQ(get("b"), Value("global"));
  EXPECT_EQ(CFPreferencesCopyAppValue("a", kCFPreferencesAnyApplication), Value("global"));
  EXPECT_EQ(CFPreferencesCopyAppValue("a", "NSGlobalDomain"), Value("global"));
}

TEST_F(Preferences, ARemovedKeyLetsTheGlobalDomainShineThrough) {
  writeDomain(".GlobalPreferences", "<key>a</key><string>global</string>");
  writeDomain(kDomain, "<key>a</key><string>own</string><key>b</key><integer>1</integer>");
  set("a", std::nullopt);
  EXPECT_EQ(get("a"), Value("global"));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(domainContent(kDomain), "{'b': 1}");
}

TEST_F(Preferences, FilesOfThisComputerAloneAreNotSearched) {
  host_.root().writeFile("/Users/anna/Library/Preferences/ByHost/com.example.app.0000.plist",
                         xmlDomain("<key>a</key><true/>"));
  EXPECT_EQ(get("a"), std::nullopt);
}

TEST_F(Preferences, WritesToTheOwnDomainOnly) {
  writeDomain(".GlobalPreferences", "<key>a</key><string>global</string>");
  set("a", Value("own"));
  set("a", std::nullopt);
  set("b", Value(1));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(domainContent(".GlobalPreferences"), "{'a': 'global'}");
  EXPECT_EQ(domainContent(kDomain), "{'b': 1}");
}

TEST_F(Preferences, WritesTheGlobalDomainWhenAsked) {
  CFPreferencesSetAppValue("AppleLocale", Value("de_DE"), kCFPreferencesAnyApplication);
  EXPECT_TRUE(CFPreferencesAppSynchronize(kCFPreferencesAnyApplication));
  EXPECT_EQ(domainContent(".GlobalPreferences"), "{'AppleLocale': 'de_DE'}");
}

TEST_F(Preferences, SynchronisingPutsTheChangedKeysOverWhatAnotherProcessWroteMeanwhile) {
  writeDomain(kDomain,
              "<key>a</key><integer>1</integer><key>b</key><integer>1</integer>"
              "<key>c</key><integer>1</integer>");
  set("a", Value(2));
  set("b", std::nullopt);
  writeDomain(kDomain,
              "<key>a</key><integer>9</integer><key>b</key><integer>9</integer>"
              "<key>c</key><integer>9</integer><key>d</key><integer>9</integer>");
  EXPECT_EQ(get("c"), Value(1));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(domainContent(kDomain), "{'a': 2, 'c': 9, 'd': 9}");
  EXPECT_EQ(get("c"), Value(9));
}

TEST_F(Preferences, SynchronisingForgetsWhatWasRead) {
  writeDomain(kDomain, "<key>a</key><integer>1</integer>");
  EXPECT_EQ(get("a"), Value(1));
  writeDomain(kDomain, "<key>a</key><integer>22</integer>");
  EXPECT_EQ(get("a"), Value(1));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(get("a"), Value(22));
  host_.root().remove(domainPath(kDomain));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(get("a"), std::nullopt);
}

TEST_F(Preferences, SynchronisingForgetsTheGlobalDomainToo) {
  writeDomain(".GlobalPreferences", "<key>a</key><integer>1</integer>");
  EXPECT_EQ(get("a"), Value(1));
  writeDomain(".GlobalPreferences", "<key>a</key><integer>22</integer>");
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(get("a"), Value(22));
}

TEST_F(Preferences, AFileThatDidNotChangeIsParsedOnce) {
  writeDomain(kDomain, "<key>a</key><integer>1</integer>");
  const auto counting = host_.interpose<CountingFileSystem>();
  EXPECT_EQ(get("a"), Value(1));
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(synchronize());
    EXPECT_EQ(get("a"), Value(1));
  }
  EXPECT_EQ(counting->count(FileOperation::Read), 1);
}

TEST_F(Preferences, ReadingAgainCostsNoFileOperation) {
  writeDomain(kDomain, "<key>a</key><integer>1</integer>");
  EXPECT_EQ(get("a"), Value(1));
  EXPECT_EQ(get("missing"), std::nullopt);
  const auto counting = host_.interpose<CountingFileSystem>();
  for (int i = 0; i < 10; ++i) {
    get("a");
    get("missing");
  }
  EXPECT_EQ(counting->total(), 0);
}

TEST_F(Preferences, AValueEqualToTheOneInTheDomainChangesNothing) {
  writeDomain(kDomain, "<key>a</key><integer>1</integer>");
  const std::string before = host_.root().readFile(domainPath(kDomain));
  set("a", Value(1));
  set("missing", std::nullopt);
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(host_.root().readFile(domainPath(kDomain)), before);
}

TEST_F(Preferences, EqualMeansTheSameKindAsWell) {
  writeDomain(kDomain, "<key>a</key><integer>1</integer>");
  set("a", Value(true));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(domainContent(kDomain), "{'a': True}");
}

TEST_F(Preferences, AValueEqualToTheGlobalDomainsOnlyIsWritten) {
  writeDomain(".GlobalPreferences", "<key>a</key><integer>1</integer>");
  set("a", Value(1));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(domainContent(kDomain), "{'a': 1}");
}

TEST_F(Preferences, ADomainLeftWithoutKeysHasNoFile) {
  writeDomain(kDomain, "<key>a</key><integer>1</integer>");
  set("a", std::nullopt);
  EXPECT_TRUE(synchronize());
  EXPECT_FALSE(domainExists(kDomain));
}

TEST_F(Preferences, TheLastKeyOfThisProcessLeavesTheKeysOfOthers) {
  writeDomain(kDomain, "<key>mine</key><integer>1</integer><key>theirs</key><integer>1</integer>");
  set("mine", std::nullopt);
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(domainContent(kDomain), "{'theirs': 1}");
}

TEST_F(Preferences, ANewFileIsItsOwnersAloneAndAnExistingOneKeepsItsPermissions) {
  set("a", Value(1));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(mode(domainPath(kDomain)), 0600U);
  ASSERT_EQ(chmod(host_.root().hostPath(domainPath(kDomain)).c_str(), 0644), 0);
  set("a", Value(2));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(mode(domainPath(kDomain)), 0644U);
}

TEST_F(Preferences, MakesTheFolderThatIsMissingWhenItWrites) {
  host_.root().remove("/Users/anna/Library");
  EXPECT_EQ(get("a"), std::nullopt);
  EXPECT_TRUE(synchronize());
  EXPECT_FALSE(host_.root().exists("/Users/anna/Library"));
  set("a", Value(1));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(domainContent(kDomain), "{'a': 1}");
  EXPECT_EQ(mode(kPreferencesFolder), 0700U);
}

TEST_F(Preferences, LeavesNothingBesideTheFile) {
  set("a", Value(1));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(host_.root().names(kPreferencesFolder), std::vector<std::string>{"com.example.app.plist"});
}

TEST_F(Preferences, ALinkInTheFilesPlaceIsWrittenThrough) {
  host_.root().writeFile("/Users/anna/dotfiles/app.plist", xmlDomain("<key>a</key><integer>1</integer>"));
  host_.root().makeLink(domainPath(kDomain), "../../dotfiles/app.plist");
  EXPECT_EQ(get("a"), Value(1));
  set("b", Value(2));
  EXPECT_TRUE(synchronize());
  EXPECT_TRUE(std::filesystem::is_symlink(host_.root().hostPath(domainPath(kDomain))));
  EXPECT_EQ(
      readIndependently("property_list_repr.py", host_.root().readFile("/Users/anna/dotfiles/app.plist")),
      "{'a': 1, 'b': 2}");
  // Without keys too: the link would lead nowhere.
  set("a", std::nullopt);
  set("b", std::nullopt);
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(
      readIndependently("property_list_repr.py", host_.root().readFile("/Users/anna/dotfiles/app.plist")),
      "{}");
}

TEST_F(Preferences, ALinkLeadsNowhereOutsideTheRoot) {
  const std::string outside = host_.root().path() + "-outside.plist";
  std::ofstream(outside) << xmlDomain("<key>secret</key><true/>");
  host_.root().makeLink(domainPath(kDomain), outside);
  EXPECT_EQ(get("secret"), std::nullopt);
  set("a", Value(1));
  synchronize();
  std::ifstream unchanged(outside);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(unchanged), {}),
            xmlDomain("<key>secret</key><true/>"));
  std::filesystem::remove(outside);
}

TEST_F(Preferences, ALinkToAMissingTargetIsReplacedByAFile) {
  host_.root().makeLink(domainPath(kDomain), "nowhere.plist");
  EXPECT_EQ(get("a"), std::nullopt);
  set("a", Value(1));
  EXPECT_TRUE(synchronize());
  EXPECT_FALSE(std::filesystem::is_symlink(host_.root().hostPath(domainPath(kDomain))));
  EXPECT_EQ(domainContent(kDomain), "{'a': 1}");
}

TEST_F(Preferences, AHomeSpelledInAnotherNormalFormIsFound) {
  // Composed on the disk, decomposed in the environment.
  host_.root().writeFile("/Users/Jos\u00E9/Library/Preferences/com.example.app.plist",
                         xmlDomain("<key>a</key><integer>1</integer>"));
  vennick::tests::TestHostOptions options;
  options.root = host_.sharedRoot();
  options.home = "/Users/Jose\u0301";
  const vennick::tests::TestHost jose(options);
  EXPECT_EQ(get("a"), Value(1));
  set("b", Value(2));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(host_.root().names("/Users"), (std::vector<std::string>{"Jos\u00E9", "anna"}));
  EXPECT_EQ(
      readIndependently("property_list_repr.py", host_.root().readFile("/Users/Jos\u00E9/Library/Preferences/"
                                                                       "com.example.app.plist")),
      "{'a': 1, 'b': 2}");
}

TEST_F(Preferences, ADomainNameNeverLeadsOutOfTheFolder) {
  const auto before = host_.root().snapshot("/");
  for (const std::string_view name :
       {std::string_view(""), std::string_view("../evil"), std::string_view("/etc/evil"),
        std::string_view("a/b"), std::string_view("a\0b", 3)}) {
    CFPreferencesSetAppValue("a", Value(1), name);
    EXPECT_EQ(CFPreferencesCopyMultiple(name), Dictionary());
    EXPECT_FALSE(CFPreferencesAppSynchronize(name));
    EXPECT_EQ(preferencesFilePath(name), "");
  }
  EXPECT_EQ(host_.root().snapshot("/"), before);
}

TEST_F(Preferences, ANameOfDotsIsAnOrdinaryFile) {
  CFPreferencesSetAppValue("a", Value(1), "..");
  EXPECT_TRUE(CFPreferencesAppSynchronize(".."));
  EXPECT_EQ(host_.root().names(kPreferencesFolder), std::vector<std::string>{"...plist"});
}

TEST_F(Preferences, AValueThatNoPropertyListCanHoldIsLoggedAndIgnored) {
  set("a", Value(1));
  set("a", Value());
  set("a", Value(NSURL::fileURLWithPathIsDirectory("/x", false)));
  set("a", Value(Array{Value(1), Value(Dictionary{{"b", Value()}})}));
  EXPECT_EQ(get("a"), Value(1));
  EXPECT_EQ(host_.log().lines().size(), 3U);
  EXPECT_TRUE(host_.log().contains("as an NSUserDefaults/CFPreferences value for key a"));
}

TEST_F(Preferences, ADateThatNoPropertyListCanHoldIsLoggedAndIgnored) {
  for (const double seconds : {std::numeric_limits<double>::quiet_NaN(), 1e300, -1e300}) {
    set("when", Value(NSDate{seconds}));
    set("list", Value(Array{Value(NSDate{seconds})}));
  }
  set("a", Value(1));
  EXPECT_EQ(host_.log().lines().size(), 6U);
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(domainContent(kDomain), "{'a': 1}");
}

TEST_F(Preferences, AValueThatIsNestedTooDeeplyToBeReadAgainIsIgnored) {
  Value deep(1);
  for (int i = 0; i < 499; ++i) deep = Value(Array{deep});
  set("deep", deep);
  set("deeper", Value(Array{deep}));
  EXPECT_EQ(get("deeper"), std::nullopt);
  EXPECT_TRUE(synchronize());
  vennick::tests::TestHostOptions options;
  options.root = host_.sharedRoot();
  const vennick::tests::TestHost later(options);
  EXPECT_EQ(get("deep"), deep);
}

TEST_F(Preferences, TheCurrentApplicationIsNamedByTheMainBundleOrTheProgram) {
  host_.root().writeFile("/Applications/My.app/Contents/Info.plist",
                         xmlDomain("<key>CFBundleIdentifier</key><string>com.example.mine</string>"));
  host_.root().makeExecutable("/Applications/My.app/Contents/MacOS/My", "#!/bin/sh\n");
  vennick::tests::TestHostOptions options;
  options.root = host_.sharedRoot();
  options.executable = host_.root().hostPath("/Applications/My.app/Contents/MacOS/My");
  {
    const vennick::tests::TestHost bundled(options);
    EXPECT_EQ(preferencesFilePath(kCFPreferencesCurrentApplication), domainPath("com.example.mine"));
  }
  host_.root().makeExecutable("/usr/local/bin/tool", "#!/bin/sh\n");
  options.executable = host_.root().hostPath("/usr/local/bin/tool");
  const vennick::tests::TestHost bare(options);
  EXPECT_EQ(preferencesFilePath(kCFPreferencesCurrentApplication), domainPath("tool"));
}

TEST_F(Preferences, GivesAllThatADomainHoldsPendingChangesIncluded) {
  writeDomain(kDomain, "<key>a</key><integer>1</integer><key>b</key><integer>1</integer>");
  set("b", std::nullopt);
  set("c", Value(3));
  EXPECT_EQ(CFPreferencesCopyMultiple(kDomain), (Dictionary{{"a", Value(1)}, {"c", Value(3)}}));
}

TEST_F(Preferences, GivesWhatTheFileHoldsWhateverIsPending) {
  writeDomain(kDomain, "<key>a</key><integer>1</integer>");
  set("a", Value(2));
  set("b", Value(2));
  EXPECT_EQ(copyStoredPreferencesValue("a", kDomain), Value(1));
  EXPECT_EQ(copyStoredPreferencesValue("b", kDomain), std::nullopt);
}

TEST_F(Preferences, AReadOnlyDomainKeepsItsChangesInMemoryAndSynchronisingOnlyReadsAgain) {
  writeDomain(kDomain, "<key>a</key><integer>1</integer><key>b</key><integer>1</integer>");
  openPreferencesDomainReadOnly(kDomain);
  set("a", Value(2));
  set("new", Value(3));
  const auto before = host_.root().snapshot("/");
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(host_.root().snapshot("/"), before);
  EXPECT_EQ(get("a"), Value(2));
  EXPECT_EQ(get("new"), Value(3));
  writeDomain(kDomain, "<key>a</key><integer>9</integer><key>b</key><integer>99</integer>");
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(get("a"), Value(2));
  EXPECT_EQ(get("b"), Value(99));
  EXPECT_TRUE(flushPreferences());
  EXPECT_EQ(domainContent(kDomain), "{'a': 9, 'b': 99}");
}

TEST_F(Preferences, AReadOnlyDomainIsNotCreated) {
  openPreferencesDomainReadOnly(kDomain);
  set("a", Value(2));
  EXPECT_TRUE(synchronize());
  EXPECT_FALSE(domainExists(kDomain));
}

struct BooleanCase {
  const char* xml;
  bool value;
  bool exists;
};

TEST_F(Preferences, BooleansConvertAsThePlatformsGetterDoes) {
  const BooleanCase cases[] = {
      {"<true/>", true, true},
      {"<false/>", false, true},
      {"<integer>5</integer>", true, true},
      {"<integer>-1</integer>", true, true},
      {"<integer>0</integer>", false, true},
      {"<integer>18446744073709551615</integer>", true, true},
      {"<real>1.5</real>", false, false},
      {"<real>1</real>", false, false},
      {"<string>true</string>", true, true},
      {"<string>YES</string>", true, true},
      {"<string>yEs</string>", true, true},
      {"<string>False</string>", false, true},
      {"<string>no</string>", false, true},
      {"<string>1</string>", false, false},
      {"<string>0</string>", false, false},
      {"<string>yes </string>", false, false},
      {"<string></string>", false, false},
      {"<date>2020-01-01T00:00:00Z</date>", false, false},
      {"<data>AQ==</data>", false, false},
      {"<array><true/></array>", false, false},
  };
  for (const BooleanCase& each : cases) {
    writeDomain(kDomain, std::string("<key>k</key>") + each.xml);
    EXPECT_TRUE(synchronize());
    bool exists = !each.exists;
    EXPECT_EQ(CFPreferencesGetAppBooleanValue("k", kDomain, &exists), each.value) << each.xml;
    EXPECT_EQ(exists, each.exists) << each.xml;
  }
  bool exists = true;
  EXPECT_FALSE(CFPreferencesGetAppBooleanValue("missing", kDomain, &exists));
  EXPECT_FALSE(exists);
  EXPECT_FALSE(CFPreferencesGetAppBooleanValue("missing", kDomain, nullptr));
}

struct IntegerCase {
  const char* xml;
  std::int64_t value;
  bool exists;
};

TEST_F(Preferences, IntegersConvertAsThePlatformsGetterDoes) {
  const IntegerCase cases[] = {
      {"<integer>5</integer>", 5, true},
      {"<integer>-9223372036854775808</integer>", std::numeric_limits<std::int64_t>::min(), true},
      {"<integer>18446744073709551615</integer>", -1, true},
      {"<integer>9223372036854775808</integer>", std::numeric_limits<std::int64_t>::min(), true},
      {"<real>5</real>", 0, false},
      {"<true/>", 0, false},
      {"<false/>", 0, false},
      {"<string>42</string>", 42, true},
      {"<string>-42</string>", -42, true},
      {"<string>+42</string>", 42, true},
      {"<string>0042</string>", 42, true},
      {"<string>2147483647</string>", 2147483647, true},
      {"<string>9999999999</string>", 2147483647, true},
      {"<string>-9999999999</string>", -2147483648, true},
      {"<string>42x</string>", 0, false},
      {"<string>4 2</string>", 0, false},
      {"<string>0x10</string>", 0, false},
      {"<string>1.0</string>", 0, false},
      {"<string>+-1</string>", 0, false},
      {"<string>-</string>", 0, false},
      {"<string>+</string>", 0, false},
      {"<string></string>", 0, false},
      {"<data>AQ==</data>", 0, false},
  };
  for (const IntegerCase& each : cases) {
    writeDomain(kDomain, std::string("<key>k</key>") + each.xml);
    EXPECT_TRUE(synchronize());
    bool exists = !each.exists;
    EXPECT_EQ(CFPreferencesGetAppIntegerValue("k", kDomain, &exists), each.value) << each.xml;
    EXPECT_EQ(exists, each.exists) << each.xml;
  }
  EXPECT_EQ(CFPreferencesGetAppIntegerValue("missing", kDomain, nullptr), 0);
}

}  // namespace
}  // namespace macos
