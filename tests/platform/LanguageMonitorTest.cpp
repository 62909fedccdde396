// SPDX-License-Identifier: MIT
#include "platform/LanguageMonitor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "macos/foundation/RunLoop.h"
#include "tests/support/BundleSketch.h"
#include "tests/support/TestHost.h"

namespace vennick {
namespace {

using tests::makeBundle;
using tests::setLanguages;
using tests::TemporaryRoot;
using tests::TestHost;
using Strings = std::vector<std::string>;

// A root with a main bundle that has the localization folders, and a command "defaults" that prints the
// given texts.
struct LanguageMachine {
  LanguageMachine(const Strings& preferred, const Strings& localizations, const std::string& locale = "",
                  const std::string& languages = "") {
    root = std::make_shared<TemporaryRoot>();
    executable = makeBundle(*root, "/Applications/Test.app", "Test");
    for (const std::string& name : localizations) {
      root->makeFolder("/Applications/Test.app/Contents/Resources/" + name + ".lproj");
    }
    if (!preferred.empty()) setLanguages(*root, preferred);
    setDefaults(locale, languages);
  }

  void setDefaults(const std::string& locale, const std::string& languages) {
    root->writeFile("/AppleLocale", locale);
    root->writeFile("/AppleLanguages", languages);
    root->makeExecutable("/bin/defaults",
                         "#!/bin/sh\n[ \"$1 $2\" = \"read -g\" ] && cat '" + root->path() + "'/\"$3\"\n");
  }

  tests::TestHostOptions options() const {
    return {.root = root, .executable = executable, .toolFolders = {root->hostPath("/bin")}};
  }

  std::shared_ptr<TemporaryRoot> root;
  std::string executable;
};

std::string activeLanguageWith(const Strings& preferred, const Strings& localizations) {
  const LanguageMachine machine(preferred, localizations);
  const TestHost host(machine.options());
  return QVLanguageMonitor().determineActiveLanguage();
}

TEST(LanguageMonitor, PreferredLanguagesDeCHThenEnWithADeLocalizationGiveDe) {
  EXPECT_EQ(activeLanguageWith({"de-CH", "en"}, {"de", "en"}), "de");
}

TEST(LanguageMonitor, PreferredLanguagePtBRWithAPtBRLocalizationIsCutToPt) {
  EXPECT_EQ(activeLanguageWith({"pt-BR"}, {"pt-BR", "en"}), "pt");
}

TEST(LanguageMonitor, AFolderNamedEnglishAndThePreferredLanguageEnGBGiveEn) {
  EXPECT_EQ(activeLanguageWith({"en-GB"}, {"English"}), "en");
}

TEST(LanguageMonitor, ALaterLanguageCountsWhenNoEarlierOneIsThere) {
  EXPECT_EQ(activeLanguageWith({"ja", "xx-YY", "fr"}, {"fr", "de"}), "fr");
  EXPECT_EQ(activeLanguageWith({"ja"}, {"de"}), "en");
  EXPECT_EQ(activeLanguageWith({}, {"de", "en"}), "en");
}

TEST(LanguageMonitor, TheWalkIsLiteralAndKnowsNoScripts) {
  // A bundle would choose zh-Hans here. This walk looks for "zh-Hans-CN", "zh" and "Chinese" alone.
  EXPECT_EQ(activeLanguageWith({"zh-Hans-CN", "de"}, {"zh-Hans", "de"}), "de");
}

TEST(LanguageMonitor, AThreeLetterLanguageIsCutToo) { EXPECT_EQ(activeLanguageWith({"fil"}, {"fil"}), "fi"); }

TEST(LanguageMonitor, TheSystemsLanguageIsThatOfItsLocale) {
  const auto systemLanguage = [](const std::string& locale) {
    const LanguageMachine machine({}, {}, locale);
    const TestHost host(machine.options());
    return QVLanguageMonitor().determineActiveSystemLanguage();
  };
  EXPECT_EQ(systemLanguage("de_CH\n"), "de");
  EXPECT_EQ(systemLanguage("en\n"), "en");
  EXPECT_EQ(systemLanguage("fil_PH\n"), "fil");
  EXPECT_EQ(systemLanguage(""), "en");
  EXPECT_EQ(systemLanguage("\n"), "en");
}

TEST(LanguageMonitor, AParenthesisedListOnSeveralLinesYieldsTheTwoCodesInOrder) {
  const auto languages = [](const std::string& output) {
    const LanguageMachine machine({}, {}, "", output);
    const TestHost host(machine.options());
    return QVLanguageMonitor().determineSystemPreferredLanguages();
  };
  EXPECT_EQ(languages("(\n    en,\n    \"zh-Hans\"\n)\n"), (Strings{"en", "zh-Hans"}));
  EXPECT_EQ(languages("(\n    de\n)\n"), Strings{"de"});
  EXPECT_EQ(languages(""), Strings{"en"});
  EXPECT_EQ(languages("(\n)\n"), Strings{"en"});
}

TEST(LanguageMonitor, WithoutTheCommandEverythingIsEnglish) {
  const auto root = std::make_shared<TemporaryRoot>();
  TestHost host({.root = root, .environment = {{"PATH", "/nowhere"}}});
  const QVLanguageMonitor monitor;
  EXPECT_EQ(monitor.determineActiveSystemLanguage(), "en");
  EXPECT_EQ(monitor.determineSystemPreferredLanguages(), Strings{"en"});
}

TEST(LanguageMonitor, AllOutputOfACommandIsGivenAndNothingTrimmed) {
  TestHost host;
  const QVLanguageMonitor monitor;
  EXPECT_EQ(monitor.stringFromCommandLine("printf ' a\\n\\nb '"), " a\n\nb ");
  EXPECT_EQ(monitor.stringFromCommandLine("true"), "");
  EXPECT_EQ(monitor.stringFromCommandLine("no-such-command-at-all 2>/dev/null"), "");
  EXPECT_EQ(monitor.stringFromCommandLine("head -c 6000 /dev/zero | tr '\\0' x"), std::string(6000, 'x'));
}

TEST(LanguageMonitor, TheSharedMonitorIsFilledBeforeItsFirstUse) {
  const LanguageMachine machine({"de-AT"}, {"de"}, "fr_FR\n", "(\n    fr,\n    de\n)\n");
  const TestHost host(machine.options());
  EXPECT_EQ(activeLanguage(), "de");
  EXPECT_EQ(activeSystemLanguage(), "fr");
  EXPECT_EQ(systemPreferredLanguages(), (Strings{"fr", "de"}));
  EXPECT_EQ(&QVLanguageMonitor::sharedMonitor(), &QVLanguageMonitor::sharedMonitor());
}

TEST(LanguageMonitor, ReadersOnAnyThreadSeeWholeValuesWhileTheyAreRefreshed) {
  LanguageMachine machine({"de"}, {"de"}, "de_DE\n", "(\n    de,\n    en\n)\n");
  const TestHost host(machine.options());
  QVLanguageMonitor& monitor = QVLanguageMonitor::sharedMonitor();
  std::atomic<bool> isOver = false;
  std::atomic<int> broken = 0;
  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&] {
      while (!isOver) {
        const std::string system = monitor.systemLanguageCode();
        const Strings languages = monitor.systemPreferredLanguages();
        const bool isWhole = (system == "de" || system == "fr") && monitor.ourLanguageCode() == "de" &&
                             (languages == Strings{"de", "en"} || languages == Strings{"fr"});
        broken += isWhole ? 0 : 1;
      }
    });
  }
  for (int i = 0; i < 6; ++i) {
    if (i % 2 == 0) {
      machine.setDefaults("fr_FR\n", "(\n    fr\n)\n");
    } else {
      machine.setDefaults("de_DE\n", "(\n    de,\n    en\n)\n");
    }
    monitor.languageChanged();
  }
  isOver = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(broken, 0);
}

TEST(LanguageMonitor, ANoticeOfChangedLanguagesRefreshesAllThree) {
  LanguageMachine machine({"de"}, {"de", "fr"}, "de_DE\n", "(\n    de\n)\n");
  auto options = machine.options();
  options.realClock = true;
  const TestHost host(options);
  ASSERT_EQ(activeSystemLanguage(), "de");
  machine.setDefaults("fr_FR\n", "(\n    fr\n)\n");
  EXPECT_EQ(activeSystemLanguage(), "de") << "nothing was announced yet";
  macos::NSDistributedNotificationCenter::defaultCenter().postNotificationName(
      QVLanguageMonitor::kLanguagesChangedNotification);
  for (int i = 0; i < 50 && activeSystemLanguage() == "de"; ++i) {
    macos::NSRunLoop::mainRunLoop().runUntilDate(macos::NSDate::dateWithTimeIntervalSinceNow(0.02));
  }
  EXPECT_EQ(activeSystemLanguage(), "fr");
  EXPECT_EQ(systemPreferredLanguages(), Strings{"fr"});
}

}  // namespace
}  // namespace vennick
