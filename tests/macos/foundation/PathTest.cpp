// SPDX-License-Identifier: MIT
#include "macos/foundation/Path.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/support/ProcessorTime.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/TestHost.h"

namespace macos {
namespace {

using vennick::tests::CountingFileSystem;
using vennick::tests::FailingFileSystem;
using vennick::tests::FileOperation;
using vennick::tests::TestHost;
using Strings = std::vector<std::string>;

TEST(Path, LastComponentIgnoresSlashesAtTheEnd) {
  EXPECT_EQ(lastPathComponent("/tmp/scratch.tiff"), "scratch.tiff");
  EXPECT_EQ(lastPathComponent("/tmp/scratch//"), "scratch");
  EXPECT_EQ(lastPathComponent("scratch"), "scratch");
  EXPECT_EQ(lastPathComponent("/"), "/");
  EXPECT_EQ(lastPathComponent("///"), "/");
  EXPECT_EQ(lastPathComponent(""), "");
}

TEST(Path, DeletingTheLastComponentLeavesTheFolder) {
  EXPECT_EQ(pathByDeletingLastPathComponent("/tmp/scratch.tiff"), "/tmp");
  EXPECT_EQ(pathByDeletingLastPathComponent("/tmp/lock/"), "/tmp");
  EXPECT_EQ(pathByDeletingLastPathComponent("/tmp/"), "/");
  EXPECT_EQ(pathByDeletingLastPathComponent("/"), "/");
  EXPECT_EQ(pathByDeletingLastPathComponent("scratch.tiff"), "");
  EXPECT_EQ(pathByDeletingLastPathComponent("a//b"), "a");
}

TEST(Path, AppendingPutsExactlyOneSlashBetween) {
  EXPECT_EQ(pathByAppendingComponent("/tmp", "scratch"), "/tmp/scratch");
  EXPECT_EQ(pathByAppendingComponent("/tmp/", "/scratch/"), "/tmp/scratch");
  EXPECT_EQ(pathByAppendingComponent("/", "scratch"), "/scratch");
  EXPECT_EQ(pathByAppendingComponent("", "scratch"), "scratch");
  EXPECT_EQ(pathByAppendingComponent("/tmp//a", "b"), "/tmp/a/b");
  EXPECT_EQ(pathByAppendingComponent("/tmp/", ""), "/tmp");
}

TEST(Path, ExtensionsFollowThePlatformsRules) {
  EXPECT_EQ(pathExtension("/tmp/scratch.tiff"), "tiff");
  EXPECT_EQ(pathExtension("/tmp/.scratch.tiff/"), "tiff");
  EXPECT_EQ(pathExtension("/tmp/scratch..tiff"), "tiff");
  EXPECT_EQ(pathExtension(".profile"), "");
  EXPECT_EQ(pathExtension("scratch."), "");
  EXPECT_EQ(pathExtension("/a.b/scratch"), "");
  EXPECT_EQ(pathExtension("Mr. Smith"), "") << "an extension with a blank is none";
  EXPECT_EQ(pathExtension("a.t\u200Ext"), "") << "nor is one with a mark of text direction";
  EXPECT_EQ(pathByDeletingExtension("/tmp/scratch.bundle/"), "/tmp/scratch");
  EXPECT_EQ(pathByDeletingExtension("scratch..tiff"), "scratch.");
  EXPECT_EQ(pathByDeletingExtension(".tiff"), ".tiff");
  EXPECT_EQ(pathByDeletingExtension("/"), "/");
}

TEST(Path, ComponentsBeginWithTheTopAndEndWithASlash) {
  EXPECT_EQ(pathComponents("/a//b"), (Strings{"/", "a", "b"}));
  EXPECT_EQ(pathComponents("a/b/"), (Strings{"a", "b", "/"}));
  EXPECT_EQ(pathComponents("/"), (Strings{"/"}));
  EXPECT_EQ(pathComponents(""), Strings{});
}

TEST(Path, ATildeIsTheHomeOfTheUserOrOfTheNamedOne) {
  TestHost host;
  host.root().makeFolder("/Users/berta");
  EXPECT_EQ(pathByExpandingTilde("~"), "/Users/anna");
  EXPECT_EQ(pathByExpandingTilde("~/Library"), "/Users/anna/Library");
  EXPECT_EQ(pathByExpandingTilde("~anna/x"), "/Users/anna/x");
  EXPECT_EQ(pathByExpandingTilde("~berta/x"), "/Users/berta/x");
  EXPECT_EQ(pathByExpandingTilde("~nobody/x"), "~nobody/x");
  EXPECT_EQ(pathByExpandingTilde("/~/x"), "/~/x");
}

TEST(Path, StandardizingTidiesWithoutFollowingLinks) {
  TestHost host;
  host.root().makeFolder("/real/inner");
  host.root().makeLink("/link", "/real/inner");
  EXPECT_EQ(pathByStandardizing("//link/./x//"), "/link/x");
  EXPECT_EQ(pathByStandardizing("/link/../x"), "/real/x") << "a way up is taken from where the link leads";
  EXPECT_EQ(pathByStandardizing("/none/../x"), "/x");
  EXPECT_EQ(pathByStandardizing("a/../b/."), "a/../b") << "a relative path keeps its way up";
  EXPECT_EQ(pathByStandardizing("~/./x"), "/Users/anna/x");
  EXPECT_EQ(pathByStandardizing("/.."), "/");
}

TEST(Path, ThePrivatePrefixGoesWhereTheRestNamesTheSameItem) {
  TestHost host;
  host.root().writeFile("/private/tmp/x", "");
  host.root().makeFolder("/private/etc");
  host.root().makeFolder("/private/var/db");
  host.root().makeFolder("/private/other");
  host.root().makeFolder("/other");
  host.root().makeFolder("/private/Users");
  host.root().makeLink("/tmp", "private/tmp");
  host.root().makeLink("/etc", "private/etc");
  host.root().makeLink("/var", "private/var");
  EXPECT_EQ(pathByStandardizing("/private/tmp/x"), "/tmp/x");
  EXPECT_EQ(pathByStandardizing("/private/var/db"), "/var/db");
  EXPECT_EQ(pathByStandardizing("/private/etc"), "/etc");
  EXPECT_EQ(pathByStandardizing("/private/tmp/nope"), "/private/tmp/nope") << "nothing is there";
  EXPECT_EQ(pathByStandardizing("/private/other"), "/private/other") << "another item of the same name";
  EXPECT_EQ(pathByStandardizing("/private/Users"), "/private/Users") << "a top folder of the system";
  EXPECT_EQ(pathByStandardizing("/private"), "/private");
  EXPECT_EQ(pathByResolvingSymlinks("/tmp"), "/tmp") << "it leads to /private/tmp, which is shown as /tmp";
  EXPECT_EQ(pathByResolvingSymlinks("/tmp/x"), "/tmp/x");
}

TEST(Path, ResolvingFollowsEveryLinkAsFarAsThereAreItems) {
  TestHost host;
  host.root().makeFolder("/real/inner");
  host.root().makeLink("/link", "real");
  host.root().makeLink("/real/up", "/link/inner/..");
  host.root().makeLink("/loop", "/loop");
  host.root().makeLink("/dangling", "/nowhere/far");
  EXPECT_EQ(pathByResolvingSymlinks("/link/inner"), "/real/inner");
  EXPECT_EQ(pathByResolvingSymlinks("/link/up/inner"), "/real/inner");
  EXPECT_EQ(pathByResolvingSymlinks("/link/none/./x"), "/real/none/x");
  EXPECT_EQ(pathByResolvingSymlinks("/dangling/x"), "/nowhere/far/x");
  EXPECT_EQ(pathByResolvingSymlinks("/loop/x"), "/loop/x");
  EXPECT_EQ(pathByResolvingSymlinks("/link/../x"), "/x");
  EXPECT_EQ(pathByResolvingSymlinks("link/inner"), "link/inner");
  EXPECT_EQ(pathByResolvingSymlinks(""), "");
}

TEST(Path, OfManyComponentsIsStandardizedInTimeByItsLength) {
#ifdef VENNICK_SANITIZED
  constexpr int kComponents = 200'000;
#else
  constexpr int kComponents = 500'000;
#endif
  TestHost host;
  std::string path;
  for (int i = 0; i < kComponents; ++i) path += "/n";
  const auto start = vennick::tests::processorTime();
  EXPECT_EQ(pathByStandardizing(path + "/./"), path);
  EXPECT_EQ(pathByStandardizing(path + "/../x"), path.substr(0, path.size() - 1) + "x");
  EXPECT_EQ(pathByResolvingSymlinks(path), path);
  EXPECT_LT(vennick::tests::processorTime() - start, std::chrono::seconds(5));
}

TEST(Path, LinksNeverLeadOutsideTheRoot) {
  TestHost host;
  host.root().makeLink("/out", "../../../../etc");
  host.root().makeFolder("/etc");
  EXPECT_EQ(pathByResolvingSymlinks("/out"), "/etc");
  EXPECT_EQ(pathByResolvingSymlinks("/../../x"), "/x");
}

TEST(Path, AnItemIsFoundUnderTheOtherNormalization) {
  TestHost host;
  host.root().writeFile("/U\u0308bungen/cafe\u0301/x", "");
  host.root().writeFile("/\u00C4rger/x", "");
  host.root().writeFile("/Tie\u0302\u0301ng \u1EC7/x", "");
  EXPECT_EQ(pathAsOnDisk("/\u00DCbungen/caf\u00E9/x"), "/U\u0308bungen/cafe\u0301/x");
  EXPECT_EQ(pathAsOnDisk("/A\u0308rger"), "/\u00C4rger");
  EXPECT_EQ(pathAsOnDisk("/Ti\u1EBFng e\u0323\u0302/x"), "/Tie\u0302\u0301ng \u1EC7/x") << "mixed forms too";
  EXPECT_TRUE(itemInfo("/\u00DCbungen/caf\u00E9/x", FollowLinks::No).ok());
  EXPECT_TRUE(itemInfo("/A\u0308rger", FollowLinks::Yes)->isFolder());
}

TEST(Path, TheExactSpellingComesFirst) {
  TestHost host;
  host.root().writeFile("/caf\u00E9", "1");
  host.root().writeFile("/cafe\u0301", "22");
  EXPECT_EQ(itemInfo("/caf\u00E9", FollowLinks::No)->size, 1U);
  EXPECT_EQ(itemInfo("/cafe\u0301", FollowLinks::No)->size, 2U);
}

TEST(Path, LetterCaseCountsUnlessTheVolumeSaysOtherwise) {
  TestHost host;
  host.root().writeFile("/Users/anna/Read Me/\u00DCber", "");
  EXPECT_EQ(pathAsOnDisk("/users/ANNA/read me"), "/users/ANNA/read me");
  EXPECT_TRUE(itemInfo("/users/anna", FollowLinks::No).status().isNotFound());
  host.volumes().change("/", [](VolumeInfo& volume) { volume.isCaseSensitive = false; });
  EXPECT_EQ(pathAsOnDisk("/users/ANNA/read me"), "/Users/anna/Read Me");
  EXPECT_EQ(pathAsOnDisk("/users/ANNA/read me/u\u0308BER"), "/Users/anna/Read Me/\u00DCber");
  EXPECT_EQ(pathAsOnDisk("/users/anna/None/x"), "/Users/anna/None/x")
      << "what is not there stays as it was given";
}

TEST(Path, ANameThatIsNotUTF8IsFoundByItsBytesOnly) {
  TestHost host;
  host.root().writeFile("/caf\xE9", "");
  EXPECT_TRUE(itemInfo("/caf\xE9", FollowLinks::No).ok());
  EXPECT_FALSE(itemInfo("/caf\uFFFD", FollowLinks::No).ok());
  EXPECT_FALSE(itemInfo("/caf\xE8", FollowLinks::No).ok());
}

TEST(Path, AnExistingItemCostsOneLookAndAPlainMissingOneNoListing) {
  TestHost host;
  host.root().writeFile("/Users/anna/x", "");
  const auto counter = host.interpose<CountingFileSystem>();
  EXPECT_TRUE(itemInfo("/Users/anna/x", FollowLinks::Yes).ok());
  EXPECT_EQ(counter->total(), 1);
  counter->reset();
  EXPECT_EQ(pathAsOnDisk("/Users/anna/x"), "/Users/anna/x");
  EXPECT_EQ(counter->total(), 1);
  // The volume's facts, which tell that a plain name has one spelling only, are known after the first time,
  // unless its list of volumes has only just changed.
  ASSERT_TRUE(host.files().setModified("/Volumes", 1'000'000'000).ok());
  EXPECT_FALSE(itemInfo("/Users/anna/missing", FollowLinks::No).ok());
  counter->reset();
  EXPECT_FALSE(itemInfo("/Users/anna/missing", FollowLinks::No).ok());
  EXPECT_EQ(counter->paths(FileOperation::List), Strings{});
  EXPECT_LE(counter->total(), 4);
}

TEST(Path, AFailureThatIsNotAbsenceIsHandedOn) {
  TestHost host;
  host.root().writeFile("/x", "");
  host.interpose<FailingFileSystem>(1, EIO);
  EXPECT_EQ(itemInfo("/x", FollowLinks::No).status().errnoValue(), EIO);
}

TEST(Path, ARelativePathIsTakenAgainstTheTop) {
  TestHost host;
  EXPECT_EQ(absolutePath("a/b"), "/a/b");
  EXPECT_EQ(absolutePath(""), "/");
  EXPECT_EQ(pathAsOnDisk("Users/anna"), "/Users/anna");
  EXPECT_TRUE(itemInfo("Users/anna", FollowLinks::No).ok());
}

}  // namespace
}  // namespace macos
