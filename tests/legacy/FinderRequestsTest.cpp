// SPDX-License-Identifier: MIT
#include "legacy/FinderRequests.h"

#include <gtest/gtest.h>

#include <chrono>

#include "legacy/Trash.h"
#include "tests/support/AliasFiles.h"
#include "tests/support/FinderStandIn.h"
#include "tests/support/MeddlingFileSystem.h"

using macos::FSRef;
using vennick::tests::aliasTo;
using vennick::tests::FileOperation;
using vennick::tests::FinderManner;
using vennick::tests::FinderStandIn;
using vennick::tests::MeddlingFileSystem;
using vennick::tests::pathOf;
using vennick::tests::refTo;

namespace vennick {
namespace {

constexpr const char* kDocument = "/Users/anna/Documents/a.txt";
constexpr const char* kInTrash = "/Users/anna/.Trash/a.txt";
using Events = std::vector<std::string>;

tests::TestHostOptions onTheMachinesClock() {
  tests::TestHostOptions options;
  options.realClock = true;
  return options;
}

double secondsTaken(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

class FinderRequests : public testing::Test {
 protected:
  FinderRequests() { host_.root().writeFile(kDocument, "text"); }

  std::string sizeOfAlias() { return std::to_string(aliasTo(kDocument).bytes.size()); }
  std::string moveEvent() {
    return "core/move reco{insh:obj "
           "{form:enum(prop),want:type(prop),seld:type(trsh),from:null(0)},----:alis(" +
           sizeOfAlias() + ")}";
  }
  std::string updateEvent() { return "fndr/fupd reco{----:alis(" + sizeOfAlias() + ")}"; }

  bool isInPlace() { return host_.root().exists(kDocument); }
  bool isInTrash() { return host_.root().exists(kInTrash); }

  tests::TestHost host_{onTheMachinesClock()};
};

// --- Moving to the Trash

TEST_F(FinderRequests, FinderMovesTheItemAndTheReferenceIsUnchanged) {
  const std::string event = moveEvent();
  const FinderStandIn finder(host_, FinderManner::Moves);
  FSRef ref = refTo(kDocument);
  const FSRef given = ref;
  EXPECT_EQ(MoveToTrash(ref, true), 0);
  EXPECT_EQ(ref.hidden, given.hidden);
  EXPECT_EQ(finder.events(), Events({event}));
  EXPECT_FALSE(isInPlace());
  EXPECT_TRUE(isInTrash());
}

TEST_F(FinderRequests, FinderThatAnswersWithAnErrorNumberOfZeroHasMovedTheItem) {
  const FinderStandIn finder(host_, FinderManner::MovesAndSaysZero);
  FSRef ref = refTo(kDocument);
  const FSRef given = ref;
  EXPECT_EQ(MoveToTrash(ref, true), 0);
  EXPECT_EQ(ref.hidden, given.hidden);
  EXPECT_TRUE(isInTrash());
}

TEST_F(FinderRequests, FinderThatTakesTwoSecondsIsWaitedFor) {
  const FinderStandIn finder(host_, FinderManner::IsSlow);
  FSRef ref = refTo(kDocument);
  const double seconds = secondsTaken([&] { EXPECT_EQ(MoveToTrash(ref, true), 0); });
  EXPECT_GE(seconds, 2.0);
  // It says that it did it.
  EXPECT_TRUE(isInPlace());
}

TEST_F(FinderRequests, ItemIsMovedDirectlyWhenTheFinderRefuses) {
  const FinderStandIn finder(host_, FinderManner::Refuses);
  FSRef ref = refTo(kDocument);
  EXPECT_EQ(MoveToTrash(ref, true), 0);
  EXPECT_EQ(finder.events().size(), 1U);
  EXPECT_EQ(pathOf(ref), kInTrash);
}

TEST_F(FinderRequests, ItemIsMovedDirectlyWhenTheFinderDoesNotAnswerForFiveSeconds) {
  const FinderStandIn finder(host_, FinderManner::IsStuck);
  FSRef ref = refTo(kDocument);
  const double seconds = secondsTaken([&] { EXPECT_EQ(MoveToTrash(ref, true), 0); });
  EXPECT_GE(seconds, 5.0);
  EXPECT_LT(seconds, 10.0);
  EXPECT_EQ(pathOf(ref), kInTrash);
}

TEST_F(FinderRequests, ItemIsMovedDirectlyWhenTheFinderDies) {
  const FinderStandIn finder(host_, FinderManner::Dies);
  FSRef ref = refTo(kDocument);
  EXPECT_EQ(MoveToTrash(ref, true), 0);
  EXPECT_EQ(pathOf(ref), kInTrash);
}

TEST_F(FinderRequests, ItemThatTheFinderMovedBeforeItDiedIsNotFoundAnyMore) {
  const FinderStandIn finder(host_, FinderManner::MovesAndDies);
  FSRef ref = refTo(kDocument);
  EXPECT_EQ(MoveToTrash(ref, true), -43);
  EXPECT_TRUE(isInTrash());
}

TEST_F(FinderRequests, ItemIsMovedDirectlyWhenNoFinderRunsOrNoneIsToBeAsked) {
  EXPECT_FALSE(isFinderRunning());
  FSRef ref = refTo(kDocument);
  EXPECT_EQ(MoveToTrash(ref, true), 0);
  EXPECT_EQ(pathOf(ref), kInTrash);

  const FinderStandIn finder(host_, FinderManner::Accepts);
  EXPECT_TRUE(isFinderRunning());
  host_.root().writeFile("/Users/anna/Documents/b", "");
  ref = refTo("/Users/anna/Documents/b");
  EXPECT_EQ(MoveToTrash(ref, false), 0);
  EXPECT_EQ(pathOf(ref), "/Users/anna/.Trash/b");
  EXPECT_EQ(finder.events(), Events());
}

TEST_F(FinderRequests, FinderIsNotAskedAboutAnItemThatIsGone) {
  const FinderStandIn finder(host_, FinderManner::Accepts);
  FSRef none;
  EXPECT_EQ(AskFinderToMoveToTrash(none), -43);
  EXPECT_EQ(MoveToTrash(none, true), -43);
  EXPECT_EQ(finder.events(), Events());
}

TEST_F(FinderRequests, AnswerOfTheFinderIsTheResultOfTheRequest) {
  {
    const FinderStandIn finder(host_, FinderManner::Refuses);
    EXPECT_EQ(AskFinderToMoveToTrash(refTo(kDocument)), -1728);
  }
  EXPECT_TRUE(isInPlace());
}

// --- Refreshing a folder

TEST_F(FinderRequests, TouchAndNotifyFinderDatesTheFolderAndSendsTheEvent) {
  const FinderStandIn finder(host_, FinderManner::Accepts);
  ASSERT_TRUE(host_.files().setModified("/Users/anna/Documents", 0).ok());
  const auto before = host_.host().clock().now();
  EXPECT_EQ(TouchAndNotifyFinder(refTo(kDocument)), 0);
  const auto after = host_.host().clock().now();
  EXPECT_EQ(finder.waitForEvents(1), Events({updateEvent()}));
  const auto modified = host_.files().info("/Users/anna/Documents", macos::FollowLinks::No)->modified;
  // The platform's dates count in 65536ths of a second.
  EXPECT_GE(modified, before - 1'000'000'000 / 65536 - 1);
  EXPECT_LE(modified, after);
}

TEST_F(FinderRequests, TouchAndNotifyFinderDoesNotWaitForTheFinder) {
  const FinderStandIn finder(host_, FinderManner::IsStuck);
  EXPECT_LT(secondsTaken([] { EXPECT_EQ(TouchAndNotifyFinder(refTo(kDocument)), 0); }), 4.0);
  EXPECT_EQ(finder.waitForEvents(1).size(), 1U);
}

TEST_F(FinderRequests, TouchAndNotifyFinderWithoutAFinderDatesTheFolderAndFindsNoProcess) {
  ASSERT_TRUE(host_.files().setModified("/Users/anna/Documents", 0).ok());
  EXPECT_EQ(TouchAndNotifyFinder(refTo(kDocument)), -600);
  EXPECT_GT(host_.files().info("/Users/anna/Documents", macos::FollowLinks::No)->modified, 0);
}

TEST_F(FinderRequests, TouchAndNotifyFinderSendsTheEventAlthoughTheFolderCannotBeDated) {
  const FinderStandIn finder(host_, FinderManner::Accepts);
  const FSRef ref = refTo(kDocument);
  host_.interpose<tests::FailingFileSystem>(1, EPERM, tests::Operations::Changes);
  EXPECT_EQ(TouchAndNotifyFinder(ref), 0);
  EXPECT_EQ(finder.waitForEvents(1).size(), 1U);
}

// The code is then that of setting the date, which went well.
TEST_F(FinderRequests, TouchAndNotifyFinderAnswersTheDatesCodeWhenNoAliasCanBeMade) {
  const FinderStandIn finder(host_, FinderManner::Accepts);
  FSRef ref = refTo(kDocument);
  host_.interpose<MeddlingFileSystem>(FileOperation::SetModified, "/Users/anna/Documents",
                                      [this] { host_.root().remove(kDocument); });
  EXPECT_EQ(TouchAndNotifyFinder(ref), 0);
  EXPECT_FALSE(isInPlace());
  EXPECT_EQ(TouchAndNotifyFinder(ref), -43);
  EXPECT_EQ(finder.events(), Events());
}

}  // namespace
}  // namespace vennick
