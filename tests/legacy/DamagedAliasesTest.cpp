// SPDX-License-Identifier: MIT
//
// What nobody should have stored: alias records and alias files that are cut, that lie, that lead in
// circles. Each is unresolvable with its code.
#include <gtest/gtest.h>

#include <set>

#include "legacy/AliasChecksum.h"
#include "legacy/CFItem.h"
#include "tests/support/AliasFiles.h"

namespace vennick {
namespace {

using macos::AliasHandle;
using macos::AliasRecord;
using macos::AliasTag;
using macos::Dictionary;
using macos::FSRef;
using macos::NSData;
using macos::OSErr;
using macos::Value;
using tests::aliasTo;
using tests::changedAlias;
using tests::refTo;
using tests::TestHost;
using tests::writeAliasFile;
using tests::writeClassicAliasFile;

constexpr const char* kFolder = "/Users/anna/Documents";
constexpr const char* kFile = "/Users/anna/Documents/report.txt";
constexpr unsigned kNoUI = macos::kResolveAliasFileNoUI | macos::kResolveAliasTryFileIDFirst;

std::optional<OSErr> storedCode(const Dictionary& item) {
  const auto bytes = item.data("ResolveError");
  if (!bytes || bytes->size() != 2) return std::nullopt;
  return static_cast<OSErr>(static_cast<unsigned char>((*bytes)[0]) | static_cast<unsigned char>((*bytes)[1])
                                                                          << 8);
}

class DamagedAliases : public testing::Test {
 protected:
  DamagedAliases() { host.root().writeFile(kFile, "text"); }

  // The code that an item keeps of the record; nullopt for one that keeps none.
  static std::optional<OSErr> codeOf(std::string bytes, std::string* path = nullptr) {
    const auto dictionary =
        std::make_shared<Dictionary>(Dictionary{{"Alias", Value(NSData{std::move(bytes)})}});
    CFItem item(dictionary, ResolveMode::AnyTarget);
    const auto url = item.url();
    if (path != nullptr) *path = url ? url->path() : "";
    EXPECT_EQ(item.aliasHandle().isNull(), false) << "the record stays";
    return storedCode(*dictionary);
  }

  static OSErr codeOfFile(std::string_view path) {
    FSRef target;
    return ResolveAliasFileWithTimeout(refTo(path), &target, nullptr, nullptr, kNoUI);
  }

  TestHost host;
};

// --- Records

TEST_F(DamagedAliases, RecordCutAtAnyByteIsAParameterError) {
  const std::string whole = aliasTo(kFile).bytes;
  for (std::size_t size = 1; size < whole.size(); ++size) {
    ASSERT_EQ(codeOf(whole.substr(0, size)), -50) << size;
  }
  EXPECT_EQ(codeOf(whole), 0);
}

// The length at offset 4 says that there are fewer bytes, or more.
TEST_F(DamagedAliases, RecordWhoseLengthLies) {
  const std::string whole = aliasTo(kFile).bytes;
  const auto codeWithLength = [&](std::size_t length) {
    std::string bytes = whole;
    bytes[4] = static_cast<char>(length >> 8);
    bytes[5] = static_cast<char>(length & 0xFF);
    return codeOf(bytes);
  };
  for (const std::size_t length : {whole.size() + 1, std::size_t{0xFFFF}, std::size_t{0}, std::size_t{7},
                                   std::size_t{149}, whole.size() - 6}) {
    EXPECT_EQ(codeWithLength(length), -50) << length;
  }
  EXPECT_EQ(codeWithLength(150), -120) << "the fixed part alone: neither a path nor folders to go through";
  EXPECT_EQ(codeWithLength(whole.size()), 0);
}

// Each byte becomes each of these: lengths, counts, tags and identifiers with everything that they say.
TEST_F(DamagedAliases, RecordWithAnyByteChangedResolvesOrTellsWhy) {
  const std::string whole = aliasTo(kFile).bytes;
  const std::set<std::optional<OSErr>> possible{0, -50, -35, -43, -120, std::nullopt};
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char byte : {'\0', '\1', '\x7F', '\x80', '\xFF'}) {
      std::string bytes = whole;
      bytes[at] = byte;
      std::string path;
      const auto code = codeOf(bytes, &path);
      ASSERT_TRUE(possible.contains(code)) << at << ": " << *code;
      ASSERT_EQ(path.empty(), code != 0) << at;
    }
  }
}

// A field whose length takes in the ones behind it: they are its content and nothing else. What is left
// decides.
TEST_F(DamagedAliases, RecordWithFieldsThatOverlap) {
  const std::string whole = aliasTo(kFile).bytes;
  ASSERT_EQ(whole.substr(150, 4), std::string("\0\0\0\x09", 4)) << "the folder's name";
  const auto longer = [&](unsigned char by) {
    std::string bytes = whole;
    bytes[153] = static_cast<char>(bytes[153] + by);
    return bytes;
  };
  // Both dates, of 12 bytes each with tag and length, and three folders.
  const auto record = AliasRecord::decode(longer(40));
  ASSERT_TRUE(record.ok());
  EXPECT_TRUE(record->directoryIDs().empty());
  EXPECT_FALSE(record->date(AliasTag::TargetCreated));
  EXPECT_EQ(codeOf(longer(40)), 0);
  EXPECT_EQ(codeOf(longer(246)), -50) << "past the end";
}

TEST_F(DamagedAliases, VolumeNamesOf0And27And28Bytes) {
  const auto withVolumeName = [&](unsigned char length, char letter) {
    std::string bytes = changedAlias(aliasTo(kFile), [](AliasRecord& record) {
                          record.removeField(AliasTag::UnicodeVolumeName);
                        }).bytes;
    bytes[10] = static_cast<char>(length);
    for (std::size_t i = 0; i < 27; ++i) bytes[11 + i] = letter;
    return codeOf(bytes);
  };
  EXPECT_EQ(withVolumeName(0, 'x'), 0) << "no name, nothing to differ from";
  EXPECT_EQ(withVolumeName(27, 'x'), -43);
  EXPECT_EQ(withVolumeName(28, 'x'), 0) << "counts as no name";
  EXPECT_EQ(withVolumeName(255, 'x'), 0);
  EXPECT_EQ(withVolumeName(27, '\0'), -43);
}

TEST_F(DamagedAliases, NamesThatAreNoUnicode) {
  const auto code = [&](const std::function<void(AliasRecord&)>& change) {
    return codeOf(changedAlias(aliasTo(kFile), change).bytes);
  };
  const std::u16string unpaired{0xD800, u'x', 0xDC00};
  EXPECT_EQ(code([&](AliasRecord& record) { record.setUnicodeName(AliasTag::UnicodeName, unpaired); }), 0);
  EXPECT_EQ(code([&](AliasRecord& record) { record.setUnicodeName(AliasTag::UnicodeVolumeName, unpaired); }),
            -43);
  for (const char* name : {"\xFF\xFE", "\xC3", "\xED\xA0\x80", "\xF4\x90\x80\x80", "a\x80"}) {
    const auto setPath = [&](AliasRecord& record) {
      record.setField(AliasTag::PosixPath, std::string("Users/anna/") + name);
    };
    EXPECT_EQ(code(setPath), std::nullopt) << "unreachable, so nothing is kept";
    EXPECT_EQ(code([&](AliasRecord& record) { record.setField(AliasTag::CarbonPath, name); }), 0);
    EXPECT_EQ(code([&](AliasRecord& record) { record.setField(AliasTag::MountPoint, name); }), std::nullopt);
  }
  const std::string zeros("Users\0anna", 10);
  EXPECT_EQ(code([&](AliasRecord& record) { record.setField(AliasTag::PosixPath, zeros); }), std::nullopt);
}

// The lengths around what 16 bits hold: of the bytes stored, the sum and the record's own length say less.
TEST_F(DamagedAliases, AliasesOf65535AndMoreBytes) {
  const std::string whole = aliasTo(kFile).bytes;
  for (const std::size_t size : {65'535U, 65'536U, 70'000U}) {
    EXPECT_EQ(codeOf(std::string(size, '\xFF')), -50) << size;
    std::string padded = whole;
    padded.resize(size, '\0');
    std::string path;
    EXPECT_EQ(codeOf(padded, &path), 0) << size;
    EXPECT_EQ(path, kFile);
  }
}

TEST_F(DamagedAliases, ThePathOf5000Bytes) {
  for (const std::string& path : {"Users/" + std::string(5000, 'x'), [] {
                                    std::string deep;
                                    while (deep.size() < 5000) deep += "folder/";
                                    return deep;
                                  }()}) {
    AliasHandle alias = changedAlias(
        aliasTo(kFile), [&](AliasRecord& record) { record.setField(AliasTag::PosixPath, path); });
    EXPECT_EQ(codeOf(alias.bytes), std::nullopt);
    FSRef ref;
    EXPECT_EQ(ResolveAliasChecked(alias, &ref, kNoUI, nullptr), -124);
    const OSErr code = ResolveAliasChecked(alias, &ref, macos::kResolveAliasTryFileIDFirst, nullptr);
    EXPECT_TRUE(code == -43 || code == -120) << code;
  }
}

// --- Alias files

TEST_F(DamagedAliases, AliasFileCutAtAnyByteIsNotFound) {
  const std::string path = "/Users/anna/alias";
  writeAliasFile(path, kFolder);
  const std::string whole = host.root().readFile(path);
  ASSERT_EQ(codeOfFile(path), 0);
  for (std::size_t size = 0; size < whole.size(); size += 7) {
    host.root().writeFile(path, whole.substr(0, size));
    ASSERT_EQ(codeOfFile(path), -43) << size;
  }
}

TEST_F(DamagedAliases, PartnerFileCutAtAnyByteHasNoAlias) {
  writeClassicAliasFile(host, "/Users/anna/alias", aliasTo(kFolder));
  const std::string whole = host.root().readFile("/Users/anna/._alias");
  ASSERT_EQ(codeOfFile("/Users/anna/alias"), 0);
  for (std::size_t size = 0; size < whole.size(); size += 3) {
    host.root().writeFile("/Users/anna/._alias", whole.substr(0, size));
    ASSERT_EQ(codeOfFile("/Users/anna/alias"), -43) << size;
  }
}

TEST_F(DamagedAliases, PartnerFileWithAnAbsurdCountOfEntries) {
  writeClassicAliasFile(host, "/Users/anna/alias", aliasTo(kFolder));
  std::string bytes = host.root().readFile("/Users/anna/._alias");
  bytes.replace(24, 2, "\xFF\xFF");
  host.root().writeFile("/Users/anna/._alias", bytes);
  EXPECT_EQ(codeOfFile("/Users/anna/alias"), -43);
}

// The fork's header: offsets and lengths of its data and its map.
TEST_F(DamagedAliases, ResourceForkWithOffsetsOutsideOverlappingOrCircular) {
  const AliasHandle alias = aliasTo(kFolder);
  macos::ResourceFork fork;
  fork.set({.type = macos::rAliasType, .identifier = 0, .data = alias.bytes});
  const std::string whole = *fork.encode();
  const auto store = [&](const std::string& bytes) {
    writeClassicAliasFile(host, "/Users/anna/alias", alias);
    ASSERT_TRUE(macos::setResourceFork("/Users/anna/alias", bytes).ok());
  };
  for (const std::size_t number : {0U, 4U, 8U, 12U}) {
    for (const char* value : {"\xFF\xFF\xFF\xFF", "\x7F\xFF\xFF\xFF"}) {
      std::string bytes = whole;
      bytes.replace(number, 4, value);
      store(bytes);
      EXPECT_EQ(codeOfFile("/Users/anna/alias"), -43) << number;
    }
  }
  std::string overlapping = whole;
  overlapping.replace(4, 4, whole, 0, 4);  // the map begins where the data does
  store(overlapping);
  EXPECT_EQ(codeOfFile("/Users/anna/alias"), -43);
  // The map's list of types leads back to the map itself.
  std::string circular = whole;
  const auto map = static_cast<std::size_t>(static_cast<unsigned char>(whole[6]) << 8 |
                                            static_cast<unsigned char>(whole[7]));
  circular.replace(map + 24, 2, std::string(2, '\0'));
  store(circular);
  EXPECT_EQ(codeOfFile("/Users/anna/alias"), -43);
  store(whole);
  EXPECT_EQ(codeOfFile("/Users/anna/alias"), 0);
}

TEST_F(DamagedAliases, ClassicAliasFileWithADamagedRecord) {
  const std::string whole = aliasTo(kFolder).bytes;
  for (const std::string& bytes : {std::string(), std::string("1234567"), whole.substr(0, whole.size() - 1),
                                   std::string(70'000, '\xFF')}) {
    writeClassicAliasFile(host, "/Users/anna/alias", {bytes});
    EXPECT_EQ(codeOfFile("/Users/anna/alias"), -43) << bytes.size();
  }
}

TEST_F(DamagedAliases, LinksThatLoop) {
  host.root().makeLink("/Users/anna/self", "self");
  host.root().makeLink("/Users/anna/one", "two");
  host.root().makeLink("/Users/anna/two", "three");
  host.root().makeLink("/Users/anna/three", "one");
  for (const std::string name : {"self", "one"}) {
    EXPECT_EQ(codeOfFile("/Users/anna/" + name), -43);
    EXPECT_EQ(codeOf(aliasTo("/Users/anna/" + name).bytes), -43);
  }
}

TEST_F(DamagedAliases, RingOfThreeAliasFilesOfEitherKind) {
  for (const std::string name : {"a", "b", "c"}) host.root().writeFile("/Users/anna/" + name, "");
  writeClassicAliasFile(host, "/Users/anna/a", aliasTo("/Users/anna/b"));
  writeClassicAliasFile(host, "/Users/anna/b", aliasTo("/Users/anna/c"));
  writeAliasFile("/Users/anna/c", "/Users/anna/a");
  EXPECT_EQ(codeOfFile("/Users/anna/a"), -1306);
  std::string path;
  EXPECT_EQ(codeOf(aliasTo("/Users/anna/a").bytes, &path), -1306);
  EXPECT_EQ(path, "");
}

}  // namespace
}  // namespace vennick
