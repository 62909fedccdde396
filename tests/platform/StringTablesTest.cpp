// SPDX-License-Identifier: MIT
//
// The string tables that the bundle carries: every text in every language, in UTF-8, and found by the
// languages that users have.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "macos/foundation/Bundle.h"
#include "macos/foundation/DisplayName.h"
#include "macos/foundation/StringsFile.h"
#include "macos/foundation/Text.h"
#include "platform/LocalizedNames.h"
#include "tests/support/BundleSketch.h"
#include "tests/support/TestHost.h"

namespace vennick {
namespace {

namespace fs = std::filesystem;
using macos::Dictionary;
using tests::TemporaryRoot;
using tests::TestHost;

const fs::path kResources = VENNICK_SOURCE "/resources";

// What a user of each language reads.
struct Language {
  const char* name;
  const char* defaultSet;
  const char* bytes;
  const char* documents;
  const char* desktop;
};
constexpr Language kLanguages[] = {{"en", "Default Set", "bytes", "Documents", "Desktop"},
                                   {"de", "Standardset", "Byte", "Dokumente", "Schreibtisch"},
                                   {"fr", "Ensemble par défaut", "octets", "Documents", "Bureau"},
                                   {"es", "Conjunto por omisión", "bytes", "Documentos", "Escritorio"},
                                   {"it", "Gruppo predefinito", "byte", "Documenti", "Scrivania"},
                                   {"pt-BR", "Conjunto Padrão", "bytes", "Documentos", "Mesa"},
                                   {"nl", "Standaardset", "bytes", "Documenten", "Bureaublad"},
                                   {"sv", "Standarduppsättning", "byte", "Dokument", "Skrivbord"},
                                   {"da", "Standardsæt", "byte", "Dokumenter", "Skrivebord"},
                                   {"nb", "Standardsett", "byte", "Dokumenter", "Skrivebord"},
                                   {"fi", "Oletussarja", "tavua", "Dokumentit", "Työpöytä"},
                                   {"pl", "Zestaw domyślny", "bajtów", "Dokumenty", "Biurko"},
                                   {"cs", "Výchozí sada", "bajtů", "Dokumenty", "Plocha"},
                                   {"ru", "Набор по умолчанию", "байт", "Документы", "Рабочий стол"},
                                   {"tr", "Saptanmış Set", "bayt", "Belgeler", "Masaüstü"},
                                   {"ja", "デフォルトセット", "バイト", "書類", "デスクトップ"},
                                   {"ko", "기본 세트", "바이트", "문서", "데스크탑"},
                                   {"zh-Hans", "默认集", "字节", "文稿", "桌面"},
                                   {"zh-Hant", "預設組", "位元組", "文件", "桌面"}};

constexpr const char* kTexts[] = {"Default Set", "%g %@", "bytes",   "KB",      "MB",
                                  "GB",          "TB",    "%@ (%d)", "%@ copy", "%@ copy %d"};

std::string textOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.good()) << path;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

Dictionary table(const std::string& language, const std::string& name) {
  const std::string text = textOf(kResources / (language + ".lproj") / (name + ".strings"));
  EXPECT_TRUE(macos::isValidUTF8(text)) << language << " " << name;
  auto read = macos::stringsTableWithData(text);
  EXPECT_TRUE(read.ok()) << language << " " << name;
  return read.ok() ? *std::move(read) : Dictionary();
}

std::set<std::string> keysOf(const Dictionary& table) {
  std::set<std::string> keys;
  for (const auto& entry : table) keys.emplace(entry.key());
  return keys;
}

// The directives of a format, in order.
std::string directivesOf(std::string_view format) {
  std::string directives;
  for (std::size_t i = 0; i + 1 < format.size(); ++i) {
    if (format[i] == '%') directives += format.substr(i++, 2);
  }
  return directives;
}

TEST(StringTables, AreThereInNineteenLanguagesAndNoOther) {
  std::set<std::string> expected, found;
  for (const Language& language : kLanguages) expected.insert(std::string(language.name) + ".lproj");
  for (const auto& entry : fs::directory_iterator(kResources)) {
    if (entry.path().extension() == ".lproj") found.insert(entry.path().filename());
  }
  EXPECT_EQ(expected.size(), 19U);
  EXPECT_EQ(found, expected);
}

TEST(StringTables, EveryLanguageHasEveryText) {
  const std::set<std::string> texts(std::begin(kTexts), std::end(kTexts));
  TestHost host;
  const std::set<std::string> folders(localizedNames().begin(), localizedNames().end());
  for (const Language& language : kLanguages) {
    EXPECT_EQ(keysOf(table(language.name, "Localizable")), texts) << language.name;
    EXPECT_EQ(keysOf(table(language.name, "SystemFolderLocalizations")), folders) << language.name;
  }
}

TEST(StringTables, NoTextIsEmptyAndFormatsKeepWhatTheyTake) {
  for (const Language& language : kLanguages) {
    for (const auto* name : {"Localizable", "SystemFolderLocalizations"}) {
      for (const auto& entry : table(language.name, name)) {
        const auto text = entry.value().ifString();
        ASSERT_TRUE(text.has_value()) << language.name << " " << entry.key();
        EXPECT_FALSE(text->empty()) << language.name << " " << entry.key();
        EXPECT_EQ(directivesOf(*text), directivesOf(entry.key())) << language.name << " " << entry.key();
        EXPECT_EQ(macos::composed(*text), *text) << "as it is typed";
      }
    }
  }
}

TEST(StringTables, TheTextsAreTranslations) {
  const Dictionary english = table("en", "SystemFolderLocalizations");
  for (const auto& entry : english) EXPECT_EQ(entry.value().ifString(), entry.key());
  for (const Language& language : kLanguages) {
    if (std::string_view(language.name) == "en") continue;
    const Dictionary texts = table(language.name, "Localizable");
    EXPECT_NE(texts.string("%@ copy"), "%@ copy") << language.name;
    const Dictionary folders = table(language.name, "SystemFolderLocalizations");
    // A few words are the same in related languages.
    const auto same = std::count_if(folders.begin(), folders.end(), [](const auto& entry) {
      return entry.value().ifString() == entry.key();
    });
    EXPECT_LE(same, 8) << language.name;
  }
}

TEST(StringTables, AUserReadsTheOnesOfTheLanguage) {
  for (const Language& language : kLanguages) {
    const auto root = std::make_shared<TemporaryRoot>();
    const std::string executable = tests::makeBundle(*root, "/Test.app", "Test");
    for (const Language& each : kLanguages) {
      const std::string folder = std::string(each.name) + ".lproj";
      root->copyIn(kResources / folder, "/Test.app/Contents/Resources/" + folder);
    }
    tests::setLanguages(*root, {language.name});
    for (const auto* name : {"/Users/anna/Documents", "/Users/anna/Desktop"}) {
      root->writeFile(std::string(name) + "/.localized", "");
    }
    TestHost host({.root = root, .executable = executable});
    const auto bundle = macos::NSBundle::mainBundle();
    EXPECT_EQ(bundle->localizedStringForKey("Default Set", ""), language.defaultSet);
    EXPECT_EQ(bundle->localizedStringForKey("bytes", ""), language.bytes);
    EXPECT_EQ(macos::displayNameInLanguages("/Users/anna/Documents", {language.name}), language.documents);
    EXPECT_EQ(macos::displayNameInLanguages("/Users/anna/Desktop", {language.name}), language.desktop);
  }
}

TEST(StringTables, ALanguageOfARegionFindsThemByThePlatformsMatching) {
  const auto root = std::make_shared<TemporaryRoot>();
  const std::string executable = tests::makeBundle(*root, "/Test.app", "Test");
  root->copyIn(kResources / "zh-Hans.lproj", "/Test.app/Contents/Resources/zh-Hans.lproj");
  root->copyIn(kResources / "nb.lproj", "/Test.app/Contents/Resources/nb.lproj");
  root->copyIn(kResources / "en.lproj", "/Test.app/Contents/Resources/en.lproj");
  const auto defaultSet = [&](const std::string& language) {
    tests::setLanguages(*root, {language});
    TestHost host({.root = root, .executable = executable});
    return macos::NSBundle::mainBundle()->localizedStringForKey("Default Set", "");
  };
  EXPECT_EQ(defaultSet("zh-Hans-CN"), "默认集");
  EXPECT_EQ(defaultSet("zh-CN"), "默认集");
  EXPECT_EQ(defaultSet("no"), "Standardsett");
  EXPECT_EQ(defaultSet("en-GB"), "Default Set");
}

}  // namespace
}  // namespace vennick
