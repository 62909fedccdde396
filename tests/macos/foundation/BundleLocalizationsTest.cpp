// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "macos/foundation/Bundle.h"

namespace macos {
namespace {

using Names = std::vector<std::string>;

struct Case {
  Names offered;
  Names wanted;
  Names result;
};

void expectCases(const std::vector<Case>& cases) {
  for (const Case& row : cases) {
    EXPECT_EQ(NSBundle::preferredLocalizationsFromArray(row.offered, row.wanted), row.result)
        << testing::PrintToString(row.offered) << " for " << testing::PrintToString(row.wanted);
  }
}

const Names kShipped{"cs", "da", "de", "en",    "es", "fi", "fr", "it",      "ja",     "ko",
                     "nb", "nl", "pl", "pt-BR", "ru", "sv", "tr", "zh-Hans", "zh-Hant"};

TEST(BundleLocalizations, TheFirstLanguageThatHasAnyDecides) {
  expectCases({{kShipped, {"de", "en"}, {"de"}},
               {kShipped, {"el", "sv", "de"}, {"sv"}},
               {kShipped, {"de-CH", "en"}, {"de"}},
               {kShipped, {"en-GB"}, {"en"}}});
}

TEST(BundleLocalizations, SimplifiedChineseIsFoundByScriptOrRegion) {
  expectCases({{kShipped, {"zh-Hans-CN"}, {"zh-Hans"}},
               {kShipped, {"zh-Hans"}, {"zh-Hans"}},
               {kShipped, {"zh_CN"}, {"zh-Hans"}},
               {kShipped, {"zh-SG"}, {"zh-Hans"}},
               {kShipped, {"zh"}, {"zh-Hans"}},
               {{"en", "zh_CN"}, {"zh-Hans-CN"}, {"zh_CN"}}});
}

TEST(BundleLocalizations, TraditionalChineseIsFoundByScriptOrRegion) {
  expectCases({{kShipped, {"zh-Hant-TW"}, {"zh-Hant"}},
               {kShipped, {"zh-TW"}, {"zh-Hant"}},
               {kShipped, {"zh-HK"}, {"zh-Hant"}},
               {{"en", "zh-Hans"}, {"zh-Hant-TW", "en"}, {"en"}}});
}

TEST(BundleLocalizations, PortugueseIsBrazilianWhereNothingElseIsOffered) {
  expectCases({{kShipped, {"pt-BR"}, {"pt-BR"}},
               {kShipped, {"pt"}, {"pt-BR"}},
               {kShipped, {"pt-PT", "fr"}, {"pt-BR"}},
               {{"pt-PT", "pt-BR"}, {"pt"}, {"pt-BR"}},
               {{"pt-PT", "pt-BR"}, {"pt-PT"}, {"pt-PT"}}});
}

TEST(BundleLocalizations, NorwegianIsBokmaalWhicheverCodeItHas) {
  expectCases({{kShipped, {"nb-NO"}, {"nb"}},
               {kShipped, {"no"}, {"nb"}},
               {kShipped, {"nn-NO"}, {"nb"}},
               {{"no"}, {"nb"}, {"no"}}});
}

TEST(BundleLocalizations, TheMoreSpecificComesBeforeTheLessSpecific) {
  expectCases({{{"fr", "fr-CA"}, {"fr-CA"}, {"fr-CA", "fr"}},
               {{"fr", "fr-CA"}, {"fr"}, {"fr"}},
               {{"fr", "fr-CA"}, {"fr-CH"}, {"fr"}}});
}

TEST(BundleLocalizations, OldStyleNamesStandForTheirCodes) {
  expectCases({{{"English", "German"}, {"de-AT"}, {"German"}},
               {{"English", "German"}, {"en"}, {"English"}},
               {{"ja"}, {"Japanese"}, {"ja"}}});
}

TEST(BundleLocalizations, NothingSuitsWhereNoLanguageIsOffered) {
  expectCases(
      {{{}, {"de"}, {}}, {kShipped, {}, {}}, {kShipped, {"el", "", "-"}, {}}, {{"Base", ""}, {"de"}, {}}});
}

}  // namespace
}  // namespace macos
