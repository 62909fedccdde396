// SPDX-License-Identifier: MIT
//
// Domain files that cannot be read or written, and processes that meet or die over one.
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/Preferences.h"
#include "macos/foundation/PropertyList.h"
#include "tests/macos/foundation/PreferencesTesting.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/TemporaryMount.h"

namespace macos {
namespace {

using vennick::tests::CountingFileSystem;
using vennick::tests::FailingFileSystem;
using vennick::tests::FileOperation;
using vennick::tests::KillingFileSystem;
using vennick::tests::kPreferencesFolder;
using vennick::tests::PreferencesTest;
using vennick::tests::runAsOrdinaryUser;
using vennick::tests::runInChild;
using vennick::tests::TemporaryMount;
using vennick::tests::TestHost;
using vennick::tests::TestHostOptions;
using vennick::tests::xmlDomain;

constexpr std::string_view kDomain = "com.example.app";

class DamagedPreferences : public PreferencesTest {
 protected:
  void writeBytes(std::string_view bytes) { host_.root().writeFile(path_, bytes); }
  std::string bytes() { return host_.root().readFile(path_); }
  static std::optional<Value> get(std::string_view key) { return CFPreferencesCopyAppValue(key, kDomain); }
  static void set(std::string_view key, std::optional<Value> value) {
    CFPreferencesSetAppValue(key, std::move(value), kDomain);
  }
  static bool synchronize() { return CFPreferencesAppSynchronize(kDomain); }
  // Another process, as far as memory goes.
  TestHostOptions sameRoot() {
    TestHostOptions options;
    options.root = host_.sharedRoot();
    return options;
  }

  const std::string path_ = domainPath(kDomain);
};

std::string binary(const Dictionary& content) {
  return *NSPropertyListSerialization::dataWithPropertyList(Value(content), NSPropertyListFormat::Binary);
}

std::string binaryDomain() {
  Dictionary content;
  for (int i = 0; i < 40; ++i) content.set("key" + std::to_string(i), Value("value " + std::to_string(i)));
  return binary(content);
}

TEST_F(DamagedPreferences, ReadAsEmptyAreLoggedOnceWithPathAndReasonAndStayWhileNothingIsChanged) {
  writeBytes("bplist00 and nothing more");
  EXPECT_EQ(get("a"), std::nullopt);
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(get("a"), std::nullopt);
  set("a", std::nullopt);
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(host_.log().lines().size(), 1U);
  EXPECT_TRUE(host_.log().contains("Preferences that cannot be read count as empty: " + path_ + ": "));
  EXPECT_EQ(bytes(), "bplist00 and nothing more");
  EXPECT_EQ(host_.root().names(kPreferencesFolder).size(), 1U);
}

TEST_F(DamagedPreferences, AreParsedOnceWhileTheFileDoesNotChange) {
  writeBytes("bplist00 and nothing more");
  const auto counting = host_.interpose<CountingFileSystem>();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(get("a"), std::nullopt);
    EXPECT_TRUE(synchronize());
  }
  EXPECT_EQ(counting->count(FileOperation::Read), 1);
}

TEST_F(DamagedPreferences, AreCopiedAsideBeforeTheFirstChangeReplacesThem) {
  writeBytes("bplist00 first");
  set("a", Value(1));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(domainContent(kDomain), "{'a': 1}");
  EXPECT_EQ(host_.root().readFile(path_ + ".damaged"), "bplist00 first");
  // Numbered when there is such a copy already.
  writeBytes("bplist00 second");
  {
    const TestHost later(sameRoot());
    set("b", Value(2));
    EXPECT_TRUE(synchronize());
  }
  EXPECT_EQ(host_.root().readFile(path_ + ".damaged"), "bplist00 first");
  EXPECT_EQ(host_.root().readFile(path_ + ".damaged-2"), "bplist00 second");
  EXPECT_EQ(domainContent(kDomain), "{'b': 2}");
}

TEST_F(DamagedPreferences, AreNotReplacedWhenTheyCannotBeCopied) {
  writeBytes("bplist00 first");
  set("a", Value(1));
  // Whatever makes or copies a file fails from here on.
  class NoCopies : public vennick::tests::ForwardingFileSystem {
   public:
    using ForwardingFileSystem::ForwardingFileSystem;

   protected:
    Status before(const vennick::tests::FileEvent& event) override {
      const bool isCopy =
          event.operation == FileOperation::Create || event.operation == FileOperation::CopyFile;
      return isCopy ? Status::fromErrno(event.path, ENOSPC) : Status();
    }
  };
  host_.interpose<NoCopies>();
  EXPECT_FALSE(synchronize());
  EXPECT_EQ(bytes(), "bplist00 first");
  EXPECT_EQ(get("a"), Value(1));
  host_.removeInterposed();
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(host_.root().readFile(path_ + ".damaged"), "bplist00 first");
  EXPECT_EQ(domainContent(kDomain), "{'a': 1}");
}

TEST_F(DamagedPreferences, AWriteThatFailsAgainAndAgainLeavesOneCopy) {
  writeBytes("bplist00 first");
  class NoReplacing : public vennick::tests::ForwardingFileSystem {
   public:
    using ForwardingFileSystem::ForwardingFileSystem;

   protected:
    Status before(const vennick::tests::FileEvent& event) override {
      return event.operation == FileOperation::Replace ? Status::fromErrno(event.path, ENOSPC) : Status();
    }
  };
  host_.interpose<NoReplacing>();
  set("a", Value(1));
  for (int i = 0; i < 5; ++i) EXPECT_FALSE(synchronize());
  EXPECT_EQ(host_.root().names(kPreferencesFolder).size(), 2U);
}

TEST_F(DamagedPreferences, TruncatedAt50RandomPlacesReadAsEmptyAndAreKept) {
  const std::string whole = binaryDomain();
  std::mt19937 random(20261121);
  for (int round = 0; round < 50; ++round) {
    const std::size_t length = random() % whole.size();
    host_.root().remove(kPreferencesFolder);
    writeBytes(whole.substr(0, length));
    const TestHost process(sameRoot());
    EXPECT_EQ(get("key1"), std::nullopt) << length;
    EXPECT_EQ(CFPreferencesCopyMultiple(kDomain), Dictionary()) << length;
    set("a", Value(1));
    EXPECT_TRUE(synchronize()) << length;
    EXPECT_EQ(bytes(), binary({{"a", Value(1)}})) << length;
    EXPECT_EQ(host_.root().readFile(path_ + ".damaged"), whole.substr(0, length)) << length;
  }
}

TEST_F(DamagedPreferences, OfAnotherTopLevelTypeReadAsEmptyAndAreKept) {
  const std::string_view tops[] = {"<array><string>x</string></array>", "<string>x</string>",
                                   "<integer>1</integer>", "<true/>"};
  for (const std::string_view top : tops) {
    host_.root().remove(kPreferencesFolder);
    const std::string content = "<plist version=\"1.0\">" + std::string(top) + "</plist>";
    writeBytes(content);
    TestHost process(sameRoot());
    EXPECT_EQ(get("x"), std::nullopt);
    EXPECT_TRUE(process.log().contains(path_ + ": the top level is no dictionary"));
    set("a", Value(1));
    EXPECT_TRUE(synchronize());
    EXPECT_EQ(host_.root().readFile(path_ + ".damaged"), content);
  }
}

TEST_F(DamagedPreferences, AnEmptyFileReadsAsEmpty) {
  writeBytes("");
  EXPECT_EQ(CFPreferencesCopyMultiple(kDomain), Dictionary());
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(bytes(), "");
  set("a", Value(1));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(domainContent(kDomain), "{'a': 1}");
}

TEST_F(DamagedPreferences, ALinkedFileThatIsDamagedIsCopiedBesideTheLinkOrItsTarget) {
  host_.root().writeFile("/Users/anna/dotfiles/app.plist", "bplist00 first");
  host_.root().makeLink(path_, "../../dotfiles/app.plist");
  set("a", Value(1));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(host_.root().readFile(path_ + ".damaged"), "bplist00 first");
  EXPECT_EQ(
      readIndependently("property_list_repr.py", host_.root().readFile("/Users/anna/dotfiles/app.plist")),
      "{'a': 1}");
}

TEST_F(DamagedPreferences, OneDamagedDomainTakesNoOtherWithIt) {
  writeBytes("bplist00 first");
  writeDomain("com.example.other", "<key>a</key><integer>1</integer>");
  EXPECT_EQ(CFPreferencesCopyAppValue("a", "com.example.other"), Value(1));
  EXPECT_EQ(get("a"), std::nullopt);
  writeDomain(".GlobalPreferences", "<key>g</key><integer>2</integer>");
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(get("g"), Value(2));
}

// The dictionary {x: null, inner: {y: null}, kept: true} as a binary list.
std::string domainWithNulls() {
  using namespace std::string_literals;
  return "bplist00\xD3\x01\x02\x03\x04\x05\x07\x51x\x55inner\x54kept\x00\xD1\x06\x04\x51y\x09"
         "\x08\x0F\x11\x17\x1C\x1D\x20\x22"
         "\0\0\0\0\0\0\x01\x01"
         "\0\0\0\0\0\0\0\x08\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x23"s;
}

TEST_F(DamagedPreferences, ANullInTheFileIsLeftOutAndKeepsNothingElseFromBeingWritten) {
  writeBytes(domainWithNulls());
  EXPECT_EQ(get("kept"), Value(true));
  set("a", Value(1));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(domainContent(kDomain), "{'a': 1, 'inner': {}, 'kept': True}");
  EXPECT_EQ(get("x"), std::nullopt);
  EXPECT_TRUE(host_.log().contains(path_ + ": what no property list can hold is left out"));
  EXPECT_EQ(host_.log().lines().size(), 1U);
}

TEST_F(DamagedPreferences, ANullInTheFileStaysWhileNothingIsChanged) {
  writeBytes(domainWithNulls());
  EXPECT_EQ(get("kept"), Value(true));
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(bytes(), domainWithNulls());
  EXPECT_TRUE(host_.log().lines().empty());
}

// {date: that many seconds, kept: true} as a binary list.
std::string domainWithDate(double seconds) {
  using namespace std::string_literals;
  const auto bits = std::bit_cast<std::uint64_t>(seconds);
  std::string date = "\x33";
  for (int shift = 56; shift >= 0; shift -= 8) date += static_cast<char>(bits >> shift);
  return "bplist00\xD2\x01\x02\x03\x04\x54" + "date\x54kept"s + date +
         "\x09"
         "\x08\x0D\x12\x17\x20"
         "\0\0\0\0\0\0\x01\x01"
         "\0\0\0\0\0\0\0\x05\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x21"s;
}

TEST_F(DamagedPreferences, ADateThatNoCalendarHoldsKeepsNothingElseFromBeingReadAndWritten) {
  for (const double seconds : {std::nan(""), -1e300}) {
    writeBytes(domainWithDate(seconds));
    EXPECT_EQ(get("kept"), Value(true)) << seconds;
    set("a", Value(seconds < 0));
    EXPECT_TRUE(synchronize());
    EXPECT_EQ(domainContent(kDomain),
              seconds < 0 ? "{'a': True, 'kept': True}" : "{'a': False, 'kept': True}");
    EXPECT_TRUE(host_.log().contains(path_ + ": what no property list can hold is left out"));
  }
}

class UnreadablePreferences : public DamagedPreferences {};

TEST_F(UnreadablePreferences, WithoutPermissionCountAsEmptyAndAreNeverReplaced) {
  writeDomain(kDomain, "<key>a</key><integer>1</integer>");
  const std::string before = bytes();
  ASSERT_EQ(chmod(host_.root().hostPath(path_).c_str(), 0), 0);
  host_.root().giveTo(vennick::tests::kOrdinaryUser);
  const auto result = runAsOrdinaryUser([&] {
    TestHost process(sameRoot());
    EXPECT_EQ(get("a"), std::nullopt);
    EXPECT_TRUE(process.log().contains(path_ + ": Permission denied"));
    set("b", Value(2));
    EXPECT_FALSE(synchronize());
    EXPECT_EQ(get("b"), Value(2));
  });
  EXPECT_TRUE(result.succeeded());
  ASSERT_EQ(chmod(host_.root().hostPath(path_).c_str(), 0600), 0);
  EXPECT_EQ(bytes(), before);
  EXPECT_EQ(host_.root().names(kPreferencesFolder).size(), 1U);
}

TEST_F(UnreadablePreferences, InAFolderWithoutPermissionCountAsEmpty) {
  writeDomain(kDomain, "<key>a</key><integer>1</integer>");
  const std::string before = bytes();
  ASSERT_EQ(chmod(host_.root().hostPath(kPreferencesFolder).c_str(), 0), 0);
  host_.root().giveTo(vennick::tests::kOrdinaryUser);
  const auto result = runAsOrdinaryUser([&] {
    const TestHost process(sameRoot());
    EXPECT_EQ(get("a"), std::nullopt);
    set("b", Value(2));
    EXPECT_FALSE(synchronize());
  });
  EXPECT_TRUE(result.succeeded());
  ASSERT_EQ(chmod(host_.root().hostPath(kPreferencesFolder).c_str(), 0700), 0);
  EXPECT_EQ(bytes(), before);
}

TEST_F(UnreadablePreferences, ThatAnInputErrorHidesAreNeverReplaced) {
  writeDomain(kDomain, "<key>a</key><integer>1</integer>");
  const std::string before = bytes();
  class BrokenDisk : public vennick::tests::ForwardingFileSystem {
   public:
    using ForwardingFileSystem::ForwardingFileSystem;

   protected:
    Status before(const vennick::tests::FileEvent& event) override {
      return event.operation == FileOperation::Read ? Status::fromErrno(event.path, EIO) : Status();
    }
  };
  host_.interpose<BrokenDisk>();
  EXPECT_EQ(get("a"), std::nullopt);
  set("b", Value(2));
  EXPECT_FALSE(synchronize());
  EXPECT_EQ(bytes(), before);
  // The disk recovers: nothing was lost on either side.
  host_.removeInterposed();
  EXPECT_TRUE(synchronize());
  EXPECT_EQ(domainContent(kDomain), "{'a': 1, 'b': 2}");
}

TEST_F(UnreadablePreferences, AFolderInTheFilesPlaceIsLeftAlone) {
  host_.root().makeFolder(path_);
  EXPECT_EQ(get("a"), std::nullopt);
  set("a", Value(1));
  EXPECT_FALSE(synchronize());
  EXPECT_TRUE(std::filesystem::is_directory(host_.root().hostPath(path_)));
}

TEST_F(UnreadablePreferences, APipeInTheFilesPlaceBlocksNobody) {
  ASSERT_EQ(mkfifo(host_.root().hostPath(path_).c_str(), 0600), 0);
  EXPECT_EQ(get("a"), std::nullopt);
  set("a", Value(1));
  EXPECT_FALSE(synchronize());
}

TEST_F(UnreadablePreferences, ALinkThatLeadsToItselfIsLeftAlone) {
  host_.root().makeLink(path_, "com.example.app.plist");
  EXPECT_EQ(get("a"), std::nullopt);
  set("a", Value(1));
  EXPECT_FALSE(synchronize());
  EXPECT_TRUE(std::filesystem::is_symlink(host_.root().hostPath(path_)));
}

TEST_F(UnreadablePreferences, AFileInTheFoldersPlaceIsLeftAlone) {
  host_.root().remove("/Users/anna/Library");
  host_.root().writeFile("/Users/anna/Library", "not a folder");
  EXPECT_EQ(get("a"), std::nullopt);
  set("a", Value(1));
  EXPECT_FALSE(synchronize());
  EXPECT_EQ(host_.root().readFile("/Users/anna/Library"), "not a folder");
}

TEST_F(UnreadablePreferences, AHomeThatIsNotThereIsNotMade) {
  TestHostOptions options = sameRoot();
  options.home = "/Users/nobody";
  TestHost process(options);
  EXPECT_EQ(get("a"), std::nullopt);
  set("a", Value(1));
  EXPECT_FALSE(synchronize());
  EXPECT_FALSE(host_.root().exists("/Users/nobody"));
}

TEST_F(UnreadablePreferences, AFailureIsLoggedOnceHoweverOftenItIsTried) {
  host_.root().makeFolder(path_);
  set("a", Value(1));
  host_.log().clear();
  for (int i = 0; i < 5; ++i) EXPECT_FALSE(synchronize());
  EXPECT_EQ(host_.log().lines().size(), 1U);
  EXPECT_TRUE(host_.log().contains("Unable to write preferences: " + path_));
}

TEST_F(UnreadablePreferences, AFullDiskLeavesTheOldFileAndThePendingChange) {
  const auto disk = TemporaryMount::volume(host_.root(), "/Users/small", 256 * 1024);
  if (!disk) GTEST_SKIP() << "nothing may be mounted here";
  host_.root().writeFile("/Users/small/Library/Preferences/com.example.app.plist",
                         xmlDomain("<key>a</key><integer>1</integer>"));
  TestHostOptions options = sameRoot();
  options.home = "/Users/small";
  const TestHost process(options);
  set("big", Value(std::string(1 << 20, 'x')));
  EXPECT_FALSE(synchronize());
  EXPECT_EQ(host_.root().names("/Users/small/Library/Preferences"),
            std::vector<std::string>{"com.example.app.plist"});
  EXPECT_EQ(host_.root().readFile("/Users/small/Library/Preferences/com.example.app.plist"),
            xmlDomain("<key>a</key><integer>1</integer>"));
  set("big", Value("small"));
  EXPECT_TRUE(synchronize());
}

TEST_F(DamagedPreferences, TwoHundredMegabytesOfGarbageCostBoundedMemory) {
  const std::string hostPath = host_.root().hostPath(path_);
  const auto result = runInChild([&] {
    {
      std::mt19937_64 random(1);
      std::ofstream file(hostPath, std::ios::binary);
      std::string block(1 << 20, '\0');
      file << "bplist00";
      for (std::size_t at = 0; at < block.size(); at += 8) {
        const std::uint64_t bits = random();
        std::memcpy(block.data() + at, &bits, 8);
      }
      for (std::size_t i = 0; i < 200; ++i) {
        const std::size_t cut = i * 4'099;
        file << std::string_view(block).substr(cut) << std::string_view(block).substr(0, cut);
      }
    }
    rusage before{};
    getrusage(RUSAGE_SELF, &before);
    EXPECT_EQ(get("a"), std::nullopt);
    rusage after{};
    getrusage(RUSAGE_SELF, &after);
// The thread sanitizer keeps a multiple of all memory that is touched.
#ifndef VENNICK_THREAD_SANITIZED
    // In KiB: the content and as much again for whatever reads it.
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 450 * 1024);
#endif
  });
  EXPECT_TRUE(result.succeeded());
}

// Every file operation of a write fails once: afterwards the file is the old or the new one, nothing lies
// beside it, and the next attempt succeeds.
class FailedWrites : public DamagedPreferences, public testing::WithParamInterface<int> {};

TEST_P(FailedWrites, LeaveTheOldFileOrTheNewOne) {
  const std::string oldContent = xmlDomain("<key>a</key><integer>1</integer>");
  const std::string newContent = binary({{"a", Value(1)}, {"b", Value(2)}});
  for (long nth = 1;; ++nth) {
    host_.root().remove(kPreferencesFolder);
    writeBytes(oldContent);
    TestHost process(sameRoot());
    const auto failing = process.interpose<FailingFileSystem>(nth, GetParam());
    set("b", Value(2));
    const bool isWritten = synchronize();
    EXPECT_TRUE(bytes() == oldContent || bytes() == newContent) << nth;
    EXPECT_EQ(host_.root().names(kPreferencesFolder).size(), 1U) << nth;
    if (isWritten) {
      EXPECT_EQ(bytes(), newContent) << nth;
    }
    const bool hasFailed = failing->hasFailed();
    process.removeInterposed();
    EXPECT_TRUE(synchronize()) << nth;
    EXPECT_EQ(bytes(), newContent) << nth;
    ASSERT_LT(nth, 200);
    if (hasFailed) continue;
    EXPECT_GT(nth, 5);
    break;
  }
}

INSTANTIATE_TEST_SUITE_P(Errors, FailedWrites, testing::Values(ENOSPC, EIO, EACCES, EINTR));

TEST_F(DamagedPreferences, AProcessKilledAtAnyFileOperationLeavesAWholeFileAndNoLock) {
  const std::string oldContent = xmlDomain("<key>a</key><integer>1</integer>");
  const std::string newContent = binary({{"a", Value(1)}, {"b", Value(2)}});
  for (const auto moment : {KillingFileSystem::Moment::Before, KillingFileSystem::Moment::Midway,
                            KillingFileSystem::Moment::After}) {
    for (long nth = 1;; ++nth) {
      host_.root().remove(kPreferencesFolder);
      writeBytes(oldContent);
      const auto result = runInChild([&] {
        TestHost process(sameRoot());
        process.interpose<KillingFileSystem>(nth, moment);
        set("b", Value(2));
        synchronize();
      });
      const bool wasWritten = bytes() == newContent;
      EXPECT_TRUE(wasWritten || bytes() == oldContent) << nth;
      const TestHost next(sameRoot());
      set("c", Value(3));
      EXPECT_TRUE(synchronize()) << nth;
      EXPECT_EQ(bytes(), wasWritten ? binary({{"a", Value(1)}, {"b", Value(2)}, {"c", Value(3)}})
                                    : binary({{"a", Value(1)}, {"c", Value(3)}}))
          << nth;
      ASSERT_LT(nth, 200);
      if (result.exitCode == KillingFileSystem::kExitCode) continue;
      EXPECT_TRUE(result.succeeded());
      EXPECT_GT(nth, 5);
      break;
    }
  }
}

TEST_F(DamagedPreferences, AProcessThatCrashedWhileItHeldTheLockHoldsNobodyUp) {
  const auto result = runInChild([&] {
    const auto lock = Host::current().files().lock(path_);
    ASSERT_TRUE(lock.ok());
    kill(getpid(), SIGKILL);
  });
  EXPECT_EQ(result.signal, SIGKILL);
  set("a", Value(1));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(synchronize());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST_F(DamagedPreferences, ProcessesThatWriteAtTheSameTimeLoseNobodysKey) {
  constexpr int kProcesses = 4;
  constexpr int kRounds = 25;
  const auto writer = [&](int number) {
    for (int round = 0; round < kRounds; ++round) {
      set("p" + std::to_string(number) + "." + std::to_string(round), Value(round));
      EXPECT_TRUE(synchronize());
    }
  };
  const auto result = runInChild([&] {
    std::vector<pid_t> children;
    for (int number = 0; number < kProcesses; ++number) {
      const pid_t child = fork();
      if (child == 0) {
        writer(number);
        _exit(testing::Test::HasFailure() ? 1 : 0);
      }
      children.push_back(child);
    }
    for (const pid_t child : children) {
      int status = 0;
      waitpid(child, &status, 0);
      EXPECT_EQ(status, 0);
    }
  });
  EXPECT_TRUE(result.succeeded());
  const Dictionary content = CFPreferencesCopyMultiple(kDomain);
  EXPECT_EQ(content.size(), static_cast<std::size_t>(kProcesses * kRounds));
  for (int number = 0; number < kProcesses; ++number) {
    for (int round = 0; round < kRounds; ++round) {
      EXPECT_EQ(content.integer("p" + std::to_string(number) + "." + std::to_string(round)), Integer(round));
    }
  }
}

}  // namespace
}  // namespace macos
