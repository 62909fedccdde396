// SPDX-License-Identifier: MIT
#include "legacy/AliasFiles.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "legacy/AliasResolution.h"
#include "macos/carbon/AppleDouble.h"
#include "tests/support/AliasFiles.h"
#include "tests/support/BundleSketch.h"
#include "tests/support/IndependentReader.h"

using macos::AliasHandle;
using macos::fourCharCode;
using macos::FSRef;
using macos::OSErr;
using macos::OSType;
using vennick::tests::aliasTo;
using vennick::tests::FailingFileSystem;
using vennick::tests::Operations;
using vennick::tests::pathOf;
using vennick::tests::refTo;
using vennick::tests::writeAliasFile;
using vennick::tests::writeClassicAliasFile;

namespace vennick {
namespace {

constexpr const char* kTarget = "/Users/anna/Documents/target";
constexpr const char* kOtherDocument = "/Users/anna/Documents/other";
constexpr const char* kDesktop = "/Users/anna/Desktop";
constexpr OSType kFinder = fourCharCode("MACS");
using Names = std::vector<std::string>;

std::string bytesOfHex(std::string_view hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
  }
  return bytes;
}

class AliasFiles : public testing::Test {
 protected:
  AliasFiles() {
    host_.root().writeFile(kTarget, "target");
    host_.root().writeFile(kOtherDocument, "other");
    host_.root().makeFolder(kDesktop);
  }

  static std::string at(std::string_view name) { return std::string(kDesktop) + "/" + std::string(name); }

  static OSErr create(std::string_view name, AliasHandle alias,
                      std::optional<std::string_view> extension = std::nullopt) {
    return CreateAliasFileNamed(refTo(kDesktop), name, alias, 0, kFinder, extension);
  }
  static OSErr create(std::string_view name, std::optional<std::string_view> extension = std::nullopt) {
    return create(name, aliasTo(kTarget), extension);
  }

  // The names that are in the folder and are no partner's.
  Names names() {
    Names names = host_.root().names(kDesktop);
    std::erase_if(names, [](const std::string& name) { return name.starts_with("._"); });
    return names;
  }

  // What another program reads of the file's Finder information and resource fork, a line per fact.
  std::string factsOf(std::string_view name) {
    return readIndependently("appledouble.py", host_.root().readFile(at("._" + std::string(name))));
  }
  // What another program reads of the alias record that another program finds in the resource fork.
  std::string aliasFactsOf(std::string_view name) {
    const std::string facts = factsOf(name);
    const std::string mark = "resource alis 0 attributes 0 name '' data ";
    const std::size_t start = facts.find(mark);
    if (start == std::string::npos) return "no alias in " + facts;
    return readIndependently("alias_record.py",
                             bytesOfHex(std::string_view(facts).substr(
                                 start + mark.size(), facts.find('\n', start) - start - mark.size())));
  }

  // Where the alias file leads by the resolution of version 4.
  static std::string targetOf(std::string_view name) {
    FSRef target;
    bool wasAliased = false;
    const OSErr code =
        ResolveAliasFileWithTimeout(refTo(at(name)), &target, nullptr, &wasAliased,
                                    macos::kResolveAliasFileNoUI | macos::kResolveAliasTryFileIDFirst);
    return code == macos::noErr && wasAliased ? pathOf(target) : "code " + std::to_string(code);
  }

  void takeNumbers(int from, int to) {
    for (int number = from; number <= to; ++number) {
      host_.root().writeFile(at("a (" + std::to_string(number) + ")"), "");
    }
  }

  tests::TestHost host_;
};

// --- AliasTypeAndCreator

struct Shown {
  OSErr code = 0;
  OSType type = 0;
  OSType creator = 0;
  macos::LSItemInfoRecord info;
};

Shown shownFor(const FSRef& ref) {
  Shown shown;
  shown.code = AliasTypeAndCreator(ref, &shown.type, &shown.creator, &shown.info);
  return shown;
}

TEST_F(AliasFiles, AliasTypeAndCreatorAreTheItemsOwn) {
  macos::FinderInfo info;
  info.setType(fourCharCode("TEXT"));
  info.setCreator(fourCharCode("ttxt"));
  host_.root().writeFile(at("letter.txt"), "");
  ASSERT_TRUE(macos::setFinderInfo(at("letter.txt"), info).ok());
  const Shown shown = shownFor(refTo(at("letter.txt")));
  EXPECT_EQ(shown.code, 0);
  EXPECT_EQ(shown.type, fourCharCode("TEXT"));
  EXPECT_EQ(shown.creator, fourCharCode("ttxt"));
  EXPECT_EQ(shown.info.extension, "txt");
}

TEST_F(AliasFiles, AliasTypeAndCreatorOfAFileWithOneOfTheTwoStayAsTheyAre) {
  macos::FinderInfo info;
  info.setCreator(fourCharCode("ttxt"));
  ASSERT_TRUE(macos::setFinderInfo(kTarget, info).ok());
  EXPECT_EQ(shownFor(refTo(kTarget)).type, 0U);
  EXPECT_EQ(shownFor(refTo(kTarget)).creator, fourCharCode("ttxt"));
}

TEST_F(AliasFiles, AliasTypeAndCreatorOfItemsWithoutThem) {
  host_.root().makeFolder("/Applications/Tool.app/Contents");
  host_.root().makeFolder(at("Notes.rtfd"));
  host_.root().makeFolder("/Volumes/Disk");
  host_.volumes().change("/Volumes/Disk", [](macos::VolumeInfo&) {});
  host_.root().makeLink(at("link"), kDesktop);
  struct Row {
    std::string path;
    OSType type;
    OSType creator;
  };
  for (const Row& row :
       {Row{"/Applications/Tool.app", fourCharCode("fapa"), kFinder},
        Row{at("Notes.rtfd"), fourCharCode("fpka"), kFinder},
        Row{"/Volumes/Disk", fourCharCode("hdsk"), kFinder}, Row{"/", fourCharCode("hdsk"), kFinder},
        Row{kDesktop, fourCharCode("fdrp"), kFinder}, Row{kTarget, 0, 0}, Row{at("link"), 0, 0}}) {
    const Shown shown = shownFor(refTo(row.path));
    EXPECT_EQ(shown.code, 0) << row.path;
    EXPECT_EQ(macos::bytesOfFourCharCode(shown.type), macos::bytesOfFourCharCode(row.type)) << row.path;
    EXPECT_EQ(shown.creator, row.creator) << row.path;
  }
  EXPECT_EQ(shownFor(refTo(at("Notes.rtfd"))).info.extension, "rtfd");
}

TEST_F(AliasFiles, AliasTypeAndCreatorOfAnItemThatIsGone) {
  OSType type = 1, creator = 2;
  EXPECT_EQ(AliasTypeAndCreator(FSRef(), &type, &creator, nullptr), -43);
  EXPECT_EQ(type, 1U);
  EXPECT_EQ(creator, 2U);
}

// --- The new file

TEST_F(AliasFiles, FinderTypeIsMapped) {
  struct Row {
    const char (&type)[5];
    const char* shown;
  };
  int number = 0;
  for (const Row& row : {Row{"dfil", "addp"}, Row{"APPL", "adrp"}, Row{"APPC", "acdp"}, Row{"fdrp", "fdrp"},
                         Row{"TEXT", "TEXT"}, Row{"appl", "appl"}}) {
    const std::string name = std::to_string(++number);
    AliasHandle alias = aliasTo(kTarget);
    ASSERT_EQ(CreateAliasFileNamed(refTo(kDesktop), name, alias, fourCharCode(row.type), fourCharCode("abcd"),
                                   std::nullopt),
              0);
    EXPECT_TRUE(factsOf(name).starts_with("finder " + std::string(row.shown) + " abcd flags 0x8000\n"))
        << factsOf(name);
  }
}

TEST_F(AliasFiles, ForkHasItsDataAt256AndItsMapRightBehind) {
  const AliasHandle alias = aliasTo(kTarget);
  ASSERT_EQ(create("a", alias), 0);
  EXPECT_EQ(names(), Names({"a"}));
  EXPECT_EQ(host_.root().readFile(at("a")), "");
  const std::size_t size = alias.bytes.size();
  const std::string layout = "fork " + std::to_string(size + 310) + " data 256 " + std::to_string(size + 4) +
                             " map " + std::to_string(size + 260) + " 50\n";
  EXPECT_NE(factsOf("a").find(layout), std::string::npos) << factsOf("a");
}

TEST_F(AliasFiles, AnotherProgramReadsWhereItLeads) {
  ASSERT_EQ(create("a"), 0);
  const std::string facts = aliasFactsOf("a");
  EXPECT_NE(facts.find("\nunicode name target\n"), std::string::npos) << facts;
  EXPECT_NE(facts.find("\npath Users/anna/Documents/target\n"), std::string::npos) << facts;
  EXPECT_NE(facts.find("\nmount point /\n"), std::string::npos) << facts;
}

TEST_F(AliasFiles, AreRecognisedAndResolved) {
  const std::string longName(200, 'x');
  host_.root().writeFile(std::string("/Users/anna/Documents/") + longName, "");
  host_.root().writeFile("/Users/anna/Documents/\xE6\x97\xA5\xE6\x9C\xAC", "");
  host_.root().makeFolder("/Volumes/Disk");
  host_.volumes().change("/Volumes/Disk", [](macos::VolumeInfo&) {});
  int number = 0;
  for (const std::string& target :
       {std::string(kTarget), std::string("/Users/anna"), std::string("/"), std::string("/Volumes/Disk"),
        "/Users/anna/Documents/" + longName, std::string("/Users/anna/Documents/\xE6\x97\xA5\xE6\x9C\xAC")}) {
    const std::string name = std::to_string(++number);
    ASSERT_EQ(create(name, aliasTo(target)), 0);
    bool isAlias = false;
    EXPECT_EQ(macos::FSIsAliasFile(refTo(at(name)), &isAlias, nullptr), 0);
    EXPECT_TRUE(isAlias) << target;
    EXPECT_EQ(targetOf(name), target);
  }
}

TEST_F(AliasFiles, CallersHandleStaysWhatItWas) {
  AliasHandle alias = aliasTo(kTarget);
  const AliasHandle before = alias;
  ASSERT_EQ(CreateAliasFile(refTo(kDesktop), u"a", alias, 0, 0, std::nullopt), 0);
  EXPECT_EQ(alias, before);
}

TEST_F(AliasFiles, NameIsWrittenAsTheDiskHasIt) {
  ASSERT_EQ(create("1/2 caf\xC3\xA9"), 0);
  EXPECT_EQ(names(), Names({"1:2 cafe\xCC\x81"}));
}

TEST_F(AliasFiles, BadNameMakesNothing) {
  for (const std::string& name :
       {std::string(), std::string(256, 'x'), std::string("a:b"), std::string("\xFF"), std::string("._a")}) {
    EXPECT_EQ(create(name), -37) << name;
  }
  std::string longest;
  for (int i = 0; i < 255; ++i) longest += "\xE6\x97\xA5";
  EXPECT_EQ(create(longest), -37);
  EXPECT_EQ(host_.root().names(kDesktop), Names());
}

TEST_F(AliasFiles, NameOf255UnitsHasRoomWhereThereAreAttributes) {
  const std::string name(255, 'x');
  const OSErr code = create(name);
  if (code != 0) {
    // The partner's name would take two bytes more than the host has.
    EXPECT_EQ(code, -37);
    EXPECT_EQ(host_.root().names(kDesktop), Names());
    GTEST_SKIP() << "no attributes here";
  }
  EXPECT_EQ(targetOf(name), kTarget);
  EXPECT_EQ(names(), Names({name}));
  EXPECT_EQ(create(std::string(253, 'y')), 0);
}

TEST_F(AliasFiles, OtherErrorOfTheNewFileIsReturned) {
  AliasHandle alias = aliasTo(kTarget);
  EXPECT_EQ(CreateAliasFile(FSRef(), u"a", alias, 0, 0, std::nullopt), macos::dirNFErr);
  EXPECT_EQ(CreateAliasFile(refTo(kTarget), u"a", alias, 0, 0, std::nullopt), macos::errFSNotAFolder);
  const FSRef folder = refTo(kDesktop);
  host_.interpose<FailingFileSystem>(1, ENOSPC, Operations::Changes);
  EXPECT_EQ(CreateAliasFile(folder, u"a", alias, 0, 0, std::nullopt), -34);
  EXPECT_EQ(host_.root().names(kDesktop), Names());
}

TEST_F(AliasFiles, ResultIsThatOfAddingTheAlias) {
  EXPECT_EQ(create("null", AliasHandle()), -194);
  EXPECT_EQ(names(), Names({"null"}));
  const FSRef folder = refTo(kDesktop);
  AliasHandle alias = aliasTo(kTarget);
  host_.interpose<FailingFileSystem>(3, EACCES, Operations::Changes);
  EXPECT_EQ(CreateAliasFile(folder, u"a", alias, 0, 0, std::nullopt), -5000);
}

// --- A name that is taken

TEST_F(AliasFiles, EqualAliasFileIsEnough) {
  ASSERT_EQ(create("a"), 0);
  const auto before = host_.root().snapshot("/");
  EXPECT_EQ(create("a"), 0);
  EXPECT_EQ(host_.root().snapshot("/"), before);
}

TEST_F(AliasFiles, EqualAliasFileOfTheNewKindIsEnough) {
  writeAliasFile(at("a"), kTarget);
  const auto before = host_.root().snapshot("/");
  EXPECT_EQ(create("a"), 0);
  EXPECT_EQ(host_.root().snapshot("/"), before);
}

TEST_F(AliasFiles, EqualLinkIsEnough) {
  host_.root().makeLink(at("a"), kTarget);
  const auto before = host_.root().snapshot("/");
  EXPECT_EQ(create("a"), 0);
  EXPECT_EQ(host_.root().snapshot("/"), before);
}

TEST_F(AliasFiles, EqualAliasFileThroughOthersIsEnough) {
  writeClassicAliasFile(host_, at("step"), aliasTo(kTarget));
  writeClassicAliasFile(host_, at("a"), aliasTo(at("step")));
  EXPECT_EQ(create("a"), 0);
  EXPECT_EQ(names(), Names({"a", "step"}));
}

// Nothing tells that the two are equal, and the caller is not told that nothing was made.
TEST_F(AliasFiles, NothingIsMadeWhenNeitherOfTheTwoLeadsAnywhere) {
  const AliasHandle dead = aliasTo(kOtherDocument);
  writeClassicAliasFile(host_, at("a"), dead);
  host_.root().remove(kOtherDocument);
  const auto before = host_.root().snapshot("/");
  EXPECT_EQ(create("a", dead), 0);
  EXPECT_EQ(create("a", AliasHandle{"no record"}), 0);
  EXPECT_EQ(host_.root().snapshot("/"), before);
}

TEST_F(AliasFiles, NumberIsTakenWhenOneOfTheTwoLeadsNowhere) {
  const AliasHandle dead = aliasTo(kOtherDocument);
  writeClassicAliasFile(host_, at("dead"), dead);
  ASSERT_EQ(create("alive"), 0);
  host_.root().remove(kOtherDocument);
  EXPECT_EQ(create("dead"), 0);
  EXPECT_EQ(create("alive", dead), 0);
  EXPECT_EQ(names(), Names({"alive", "alive (1)", "dead", "dead (1)"}));
  EXPECT_EQ(targetOf("dead (1)"), kTarget);
}

TEST_F(AliasFiles, NumberIsTakenWhenTheTwoLeadElsewhere) {
  ASSERT_EQ(create("a"), 0);
  const auto before = host_.root().readFile(at("._a"));
  EXPECT_EQ(create("a", aliasTo(kOtherDocument)), 0);
  EXPECT_EQ(create("a", aliasTo(kDesktop)), 0);
  EXPECT_EQ(names(), Names({"a", "a (1)", "a (2)"}));
  EXPECT_EQ(host_.root().readFile(at("._a")), before);
  EXPECT_EQ(targetOf("a"), kTarget);
  EXPECT_EQ(targetOf("a (1)"), kOtherDocument);
  EXPECT_EQ(targetOf("a (2)"), kDesktop);
}

// With an equal alias file under the number only, another one is made.
TEST_F(AliasFiles, OnlyTheFileOfTheNameItselfIsCompared) {
  host_.root().writeFile(at("a"), "");
  EXPECT_EQ(create("a"), 0);
  EXPECT_EQ(create("a"), 0);
  EXPECT_EQ(names(), Names({"a", "a (1)", "a (2)"}));
}

TEST_F(AliasFiles, NumberIsTakenForExistingItemsOfEveryKind) {
  host_.root().writeFile(at("file"), "content");
  host_.root().makeFolder(at("folder"));
  host_.root().makeLink(at("link"), "/Users/anna/Documents/other");
  host_.root().makeLink(at("dangling"), "nowhere");
  host_.root().writeFile(at("._lost"), "a partner without an item");
  const auto before = host_.root().snapshot(kDesktop);
  ASSERT_EQ(::mkfifo(host_.root().hostPath(at("pipe")).c_str(), 0600), 0);
  EXPECT_EQ(create("pipe"), 0);
  EXPECT_EQ(targetOf("pipe (1)"), kTarget);
  host_.root().remove(at("pipe"));
  for (const char* name : {"file", "folder", "link", "dangling", "lost"}) {
    EXPECT_EQ(create(name), 0) << name;
    EXPECT_EQ(targetOf(std::string(name) + " (1)"), kTarget);
  }
  const auto after = host_.root().snapshot(kDesktop);
  for (const auto& [path, fact] : before) {
    EXPECT_EQ(after.at(path), fact) << path;
  }
}

TEST_F(AliasFiles, NumberGoesToTheComponentBeforeAnEqualExtension) {
  struct Row {
    const char* name;
    std::optional<std::string_view> extension;
    const char* numbered;
  };
  for (const Row& row :
       {Row{"a.b.txt", "txt", "a.b (1).txt"}, Row{"a.b.txt", std::nullopt, "a.b.txt (1)"},
        Row{"a.b.txt", "TXT", "a.b.txt (1)"}, Row{"a.b.txt", "", "a.b.txt (1)"}, Row{"txt", "txt", "txt (1)"},
        Row{".txt", "txt", " (1).txt"}, Row{"a.", std::nullopt, "a. (1)"}, Row{"a.", "", "a (1)."},
        Row{"b..txt", "txt", "b. (1).txt"}, Row{"archive.tar.gz", "gz", "archive.tar (1).gz"},
        Row{"plain", std::nullopt, "plain (1)"}}) {
    host_.root().remove(kDesktop);
    host_.root().writeFile(at(row.name), "");
    EXPECT_EQ(create(row.name, row.extension), 0) << row.name;
    Names expected = {row.name, row.numbered};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(names(), expected) << row.name;
  }
}

TEST_F(AliasFiles, EveryNumberGoesToTheOriginalComponent) {
  for (const char* name : {"a.txt", "a (1).txt", "a (2).txt"}) host_.root().writeFile(at(name), "");
  EXPECT_EQ(create("a.txt", "txt"), 0);
  EXPECT_EQ(names(), Names({"a (1).txt", "a (2).txt", "a (3).txt", "a.txt"}));
}

TEST_F(AliasFiles, ErrorOtherThanATakenNameEndsTheSearchAndIsReturned) {
  const std::string name(254, 'x');
  host_.root().writeFile(at(name), "");
  EXPECT_EQ(create(name), -37);
  EXPECT_EQ(names(), Names({name}));
}

TEST_F(AliasFiles, NumberIsWrittenInTheUsersLanguage) {
  tests::TestHostOptions options;
  options.root = host_.sharedRoot();
  options.executable = tests::makeBundle(host_.root(), "/Applications/Tool.app", "Tool");
  host_.root().writeFile("/Applications/Tool.app/Contents/Resources/de.lproj/Localizable.strings",
                         "\"%@ (%d)\" = \"Nr. %2$d von %1$@\";");
  tests::setLanguages(host_.root(), {"de"});
  const tests::TestHost german(options);
  host_.root().writeFile(at("a.txt"), "");
  EXPECT_EQ(create("a.txt", "txt"), 0);
  EXPECT_EQ(names(), Names({"Nr. 1 von a.txt", "a.txt"}));
}

// --- No free name

TEST_F(AliasFiles, NumbersGoUpTo999) {
  host_.root().writeFile(at("a"), "");
  takeNumbers(1, 998);
  EXPECT_EQ(create("a"), 0);
  EXPECT_EQ(targetOf("a (999)"), kTarget);
}

TEST_F(AliasFiles, WithoutAFreeNameTheExistingAliasFileGetsTheAlias) {
  writeClassicAliasFile(host_, at("a"), aliasTo(kOtherDocument));
  // Another 'alis' and a resource of another type, and a data fork.
  host_.root().writeFile(at("a"), "data fork");
  macos::ResourceFork fork;
  fork.set({.type = macos::rAliasType, .identifier = 5, .name = "kept", .data = "another"});
  fork.set({.type = macos::rAliasType, .identifier = 0, .data = aliasTo(kOtherDocument).bytes});
  fork.set({.type = fourCharCode("icns"), .identifier = -16455, .data = "icon"});
  ASSERT_TRUE(macos::setResourceFork(at("a"), *fork.encode()).ok());
  takeNumbers(1, 999);
  EXPECT_EQ(create("a"), 0);
  EXPECT_EQ(targetOf("a"), kTarget);
  EXPECT_EQ(names().size(), 1000U);
  EXPECT_EQ(host_.root().readFile(at("a")), "data fork");
  const std::string facts = factsOf("a");
  EXPECT_NE(facts.find("resource alis 5 attributes 0 name 'kept' data 616e6f74686572\n"), std::string::npos);
  EXPECT_NE(facts.find("resource icns -16455 attributes 0 name '' data 69636f6e\n"), std::string::npos);
  EXPECT_NE(aliasFactsOf("a").find("\npath Users/anna/Documents/target\n"), std::string::npos);
}

TEST_F(AliasFiles, WithoutAFreeNameAnythingElseIsLeftAlone) {
  takeNumbers(1, 999);
  for (const char* kind : {"file", "folder", "link"}) {
    host_.root().remove(at("a"));
    if (kind == std::string("file")) host_.root().writeFile(at("a"), "content");
    if (kind == std::string("folder")) host_.root().makeFolder(at("a"));
    if (kind == std::string("link")) host_.root().makeLink(at("a"), kOtherDocument);
    const auto before = host_.root().snapshot("/");
    EXPECT_EQ(create("a"), -48) << kind;
    EXPECT_EQ(host_.root().snapshot("/"), before);
  }
}

TEST_F(AliasFiles, WithoutATextForTheNumberNoOtherNameIsTried) {
  tests::TestHostOptions options;
  options.root = host_.sharedRoot();
  options.executable = tests::makeBundle(host_.root(), "/Applications/Tool.app", "Tool");
  host_.root().writeFile("/Applications/Tool.app/Contents/Resources/en.lproj/Localizable.strings",
                         "\"%@ (%d)\" = \"\";");
  tests::TestHost wordless(options);
  host_.root().writeFile(at("file"), "");
  EXPECT_EQ(create("file"), -48);
  writeClassicAliasFile(wordless, at("alias"), aliasTo(kOtherDocument));
  EXPECT_EQ(create("alias"), 0);
  EXPECT_EQ(targetOf("alias"), kTarget);
  EXPECT_EQ(names(), Names({"alias", "file"}));
}

TEST_F(AliasFiles, DamagedForkOfAnExistingAliasFileIsLeftAlone) {
  writeClassicAliasFile(host_, at("a"), aliasTo(kOtherDocument));
  ASSERT_TRUE(macos::setResourceFork(at("a"), "no fork").ok());
  takeNumbers(1, 999);
  const auto before = host_.root().snapshot("/");
  EXPECT_EQ(create("a"), -199);
  EXPECT_EQ(host_.root().snapshot("/"), before);
}

// --- The record

// The identifier outranks the path, so that the new alias leads to the renamed item, and then says so.
TEST_F(AliasFiles, RecordThatCameBackRefreshedIsTheOneThatIsWritten) {
  AliasHandle alias = aliasTo(kTarget);
  ASSERT_TRUE(
      host_.files().rename(kTarget, "/Users/anna/Documents/renamed", macos::FileSystem::Replace::No).ok());
  host_.root().writeFile(kTarget, "another one");
  writeClassicAliasFile(host_, at("a"), aliasTo(kOtherDocument));
  ASSERT_EQ(CreateAliasFile(refTo(kDesktop), u"a", alias, 0, 0, std::nullopt), 0);
  EXPECT_NE(aliasFactsOf("a (1)").find("\npath Users/anna/Documents/renamed\n"), std::string::npos);
  EXPECT_NE(readIndependently("alias_record.py", alias.bytes).find("\nunicode name renamed\n"),
            std::string::npos);
}

}  // namespace
}  // namespace vennick
