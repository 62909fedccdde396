// SPDX-License-Identifier: MIT
//
// The property-list codecs against programs that share no code with them, Python's plistlib and plistutil,
// in both directions, on files collected elsewhere and on trees made from a seed.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "macos/foundation/PropertyList.h"
#include "tests/support/PropertyListTesting.h"
#include "tests/support/Python.h"

namespace macos {
namespace {

using vennick::tests::dump;
using vennick::tests::randomTree;
using vennick::tests::readTestFile;
using vennick::tests::testDataFiles;
using vennick::tests::TreeOptions;
using vennick::tests::writeTestFile;

namespace fs = std::filesystem;

std::string read(std::string_view bytes) {
  const auto reading = NSPropertyListSerialization::propertyListWithData(bytes);
  return reading.ok() ? dump(reading->value) : "refused: " + reading.status().message();
}

std::string write(const Value& value, NSPropertyListFormat format) {
  auto bytes = NSPropertyListSerialization::dataWithPropertyList(value, format);
  EXPECT_TRUE(bytes.ok()) << (bytes.ok() ? "" : bytes.status().message());
  return bytes.ok() ? *bytes : "";
}

// Long texts that differ are shown around the first difference only.
::testing::AssertionResult areSame(const std::string& a, const std::string& b) {
  if (a == b) return ::testing::AssertionSuccess();
  const auto place =
      static_cast<std::size_t>(std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin());
  const std::size_t from = place - std::min<std::size_t>(place, 40);
  constexpr std::size_t kShown = 100;
  const auto shown = [&](const std::string& text) {
    return text.substr(std::min(from, text.size()), kShown);
  };
  return ::testing::AssertionFailure()
         << "at " << place << ": …" << shown(a) << "…\nand …" << shown(b) << "…";
}

class PropertyListPeers : public ::testing::Test {
 protected:
  PropertyListPeers() {
    std::string pattern = (fs::temp_directory_path() / "property-lists-XXXXXX").string();
    folder_ = ::mkdtemp(pattern.data());
  }
  ~PropertyListPeers() override { fs::remove_all(folder_); }

  fs::path file(const std::string& name, const char* suffix) const { return folder_ / (name + suffix); }

  static void run(const std::string& command) { ASSERT_EQ(std::system(command.c_str()), 0) << command; }

  // For every NAME.plist of the folder: NAME.dump, NAME.python.bin and NAME.python.xml.
  void runPython() const {
    run(std::string(vennick::tests::kPython) + " -S " VENNICK_SOURCE "/tests/readers/property_lists.py " +
        folder_.string());
  }

  // NAME.bin.plist to NAME.util.xml, and NAME.xml.plist to NAME.util.bin.
  void runPlistutil() const {
    run("cd " + folder_.string() +
        " && for f in *.bin.plist; do plistutil -i $f -f xml -o ${f%.bin.plist}.util.xml; done"
        " && for f in *.xml.plist; do plistutil -i $f -f bin -o ${f%.xml.plist}.util.bin; done");
  }

  // Random trees as NAME.bin.plist and NAME.xml.plist; gives them by name.
  std::map<std::string, Value> writeTrees(std::uint64_t seed, int count, const TreeOptions& options) const {
    std::mt19937_64 random(seed);
    std::map<std::string, Value> trees;
    for (int i = 0; i < count; ++i) {
      const std::string name = "tree" + std::to_string(i);
      const Value tree = randomTree(random, options);
      writeTestFile(file(name, ".bin.plist"), write(tree, NSPropertyListFormat::Binary));
      writeTestFile(file(name, ".xml.plist"), write(tree, NSPropertyListFormat::XML));
      trees.emplace(name, tree);
    }
    return trees;
  }

  fs::path folder_;
};

TEST_F(PropertyListPeers, PythonReadsWhatWeWriteAndWeReadWhatPythonWrites) {
  TreeOptions options;
  options.hasNegativeZero = false;  // Python writes the two zeros as one object
  const auto trees = writeTrees(20260103, 100, options);
  runPython();
  for (const auto& [name, tree] : trees) {
    const std::string expected = dump(tree);
    ASSERT_TRUE(areSame(readTestFile(file(name, ".bin.dump")), expected)) << name;
    EXPECT_TRUE(areSame(read(readTestFile(file(name, ".bin.python.bin"))), expected)) << name;
    EXPECT_TRUE(areSame(read(readTestFile(file(name, ".bin.python.xml"))), expected)) << name;
  }
}

TEST_F(PropertyListPeers, PythonReadsTheSameInOurXML) {
  TreeOptions options;
  options.hasNegativeZero = false;  // the text has none
  const auto trees = writeTrees(20260104, 100, options);
  runPython();
  for (const auto& [name, tree] : trees) {
    ASSERT_TRUE(areSame(readTestFile(file(name, ".xml.dump")), dump(tree))) << name;
  }
}

TEST_F(PropertyListPeers, PythonReadsOurIdentifiersAndFractionsOfSeconds) {
  TreeOptions options;
  options.hasUIDs = true;
  options.hasFractionalDates = true;
  options.hasControlCharacters = true;
  options.hasNegativeZero = false;
  const auto trees = writeTrees(20260105, 100, options);
  runPython();
  for (const auto& [name, tree] : trees) {
    ASSERT_TRUE(areSame(readTestFile(file(name, ".bin.dump")), dump(tree))) << name;
    EXPECT_TRUE(areSame(read(readTestFile(file(name, ".bin.python.bin"))), dump(tree))) << name;
  }
}

TEST_F(PropertyListPeers, PlistutilReadsWhatWeWriteAndWeReadWhatItWrites) {
  if (std::system("command -v plistutil >/dev/null") != 0) GTEST_SKIP() << "plistutil is not installed";
  TreeOptions options;
  // Its XML has no form for these.
  options.hasInfinities = false;
  options.hasNegativeZero = false;
  options.hasLargeIntegers = false;
  const auto trees = writeTrees(20260106, 60, options);
  runPlistutil();
  for (const auto& [name, tree] : trees) {
    EXPECT_TRUE(areSame(read(readTestFile(file(name, ".util.xml"))), dump(tree))) << name;
    EXPECT_TRUE(areSame(read(readTestFile(file(name, ".util.bin"))), dump(tree))) << name;
  }
}

// ---- Files collected elsewhere

// Copies the files of a folder of the test data as NAME.plist; gives the names with their origin.
std::map<std::string, fs::path> copyFiles(const fs::path& folder, std::string_view data) {
  std::map<std::string, fs::path> files;
  for (const fs::path& path : testDataFiles(data)) {
    const std::string name = "file" + std::to_string(files.size());
    fs::copy_file(path, folder / (name + ".plist"));
    files.emplace(name, path);
  }
  EXPECT_FALSE(files.empty());
  return files;
}

bool isNamed(const fs::path& path, const std::set<std::string>& names) {
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& name) { return path.filename().string().starts_with(name); });
}

// Hold a byte of 0x80 or more in an ASCII string, which Python refuses too.
const std::set<std::string> kNotASCII = {"iTunes-small.bplist", "sample1.bplist"};

TEST_F(PropertyListPeers, CollectedBinaryFilesHoldWhatPythonFindsInThem) {
  const auto files = copyFiles(folder_, "plist-binary");
  runPython();
  for (const auto& [name, path] : files) {
    const std::string bytes = readTestFile(path);
    const auto reading = NSPropertyListSerialization::propertyListWithData(bytes);
    if (isNamed(path, kNotASCII)) {
      EXPECT_FALSE(reading.ok()) << path;
      EXPECT_TRUE(readTestFile(file(name, ".dump")).starts_with("error: ")) << path;
      continue;
    }
    ASSERT_TRUE(reading.ok()) << path << reading.status().message();
    EXPECT_EQ(reading->format, NSPropertyListFormat::Binary) << path;
    EXPECT_TRUE(areSame(dump(reading->value), readTestFile(file(name, ".dump")))) << path;
    EXPECT_TRUE(areSame(read(write(reading->value, NSPropertyListFormat::Binary)), dump(reading->value)))
        << path;
  }
}

// Where Python's reader, which stands on a whole XML parser and a calendar that begins with the year 1,
// gives up: at markup that the platform's reader passes over, at control characters, at the year 0.
const std::set<std::string> kRefusedByPython = {"xml_unusual_cases__s07", "xml_unusual_cases__s08",
                                                "xml_unusual_cases__s09", "xml_unusual_cases__s10",
                                                "com.apple.security.KCN", "javascriptcore_tests"};
// To Python a tag does not end within a quoted attribute.
const std::set<std::string> kReadOtherwiseByPython = {"xml_unusual_cases__s11"};
// Markup within a text, a comment within a text, an entity without its end.
const std::set<std::string> kRefusedHere = {"xml_unusual_cases__s04", "xml_unusual_cases__s05",
                                            "xml_unusual_cases__s06"};

TEST_F(PropertyListPeers, CollectedXMLFilesHoldWhatPythonFindsInThem) {
  const auto files = copyFiles(folder_, "plist-xml");
  runPython();
  for (const auto& [name, path] : files) {
    const auto reading = NSPropertyListSerialization::propertyListWithData(readTestFile(path));
    if (isNamed(path, kRefusedHere)) {
      EXPECT_FALSE(reading.ok()) << path;
      continue;
    }
    ASSERT_TRUE(reading.ok()) << path << reading.status().message();
    EXPECT_EQ(reading->format, NSPropertyListFormat::XML) << path;
    const std::string inPython = readTestFile(file(name, ".dump"));
    if (isNamed(path, kRefusedByPython)) {
      EXPECT_TRUE(inPython.starts_with("error: ")) << path;
    } else if (!isNamed(path, kReadOtherwiseByPython)) {
      EXPECT_TRUE(areSame(dump(reading->value), inPython)) << path;
    }
    const std::string text = write(reading->value, NSPropertyListFormat::XML);
    EXPECT_TRUE(areSame(read(text), dump(reading->value))) << path;
  }
}

TEST_F(PropertyListPeers, UnusualXMLIsReadAsThePlatformReadsIt) {
  const auto unusual = [](const std::string& name) {
    return read(readTestFile(fs::path(VENNICK_TEST_DATA) / "plist-xml/go-plist" /
                             ("xml_unusual_cases__" + name + ".plist")));
  };
  EXPECT_EQ(unusual("s07"), "{\"test\":s\"value\"}");
  EXPECT_EQ(unusual("s08"), "{\"test\":s\"value\"}");
  EXPECT_EQ(unusual("s09"), "{\"test\":s\"value\"}");
  EXPECT_EQ(unusual("s10"), "{\"test\":s\"apple\"}");
  EXPECT_EQ(unusual("s11"), "{\"\\22>test\":s\"libplist\",\"test\":s\"apple\"}");
}

// The others were written by hand, by other programs or by older systems.
const std::set<std::string> kWrittenByThePlatform = {"TESTDATA_FMT_XML.plist",
                                                     "InstallHistory.plist",
                                                     "VolumeConfiguration.plist",
                                                     "com.apple.security.KCN.plist",
                                                     "launchd.minimal.plist",
                                                     "launchd.noprogram.plist",
                                                     "Info.plist",
                                                     "NSKeyedUnarchiver-",
                                                     "Generic_XML_Properties.plist",
                                                     "pass13.plist",
                                                     "pass14.plist",
                                                     "strings.plist",
                                                     "whitespace.plist"};

TEST_F(PropertyListPeers, FilesThatThePlatformWroteComeOutByteForByte) {
  int count = 0;
  for (const fs::path& path : testDataFiles("plist-xml")) {
    if (!isNamed(path, kWrittenByThePlatform)) continue;
    const std::string text = readTestFile(path);
    const auto reading = NSPropertyListSerialization::propertyListWithData(text);
    ASSERT_TRUE(reading.ok()) << path;
    EXPECT_TRUE(areSame(write(reading->value, NSPropertyListFormat::XML), text)) << path;
    ++count;
  }
  EXPECT_EQ(count, 21);
}

TEST_F(PropertyListPeers, OctalEscapesAreReadAsTheirExpectation) {
  const fs::path folder = fs::path(VENNICK_TEST_DATA) / "plist-openstep/swift-foundation";
  const auto text = NSPropertyListSerialization::propertyListWithData(
      readTestFile(folder / "test_oldStylePlist_getSlashedChars_octal.plist"));
  const auto expected = NSPropertyListSerialization::propertyListWithData(
      readTestFile(folder / "test_oldStylePlist_getSlashedChars_octal_expected.plist"));
  ASSERT_TRUE(text.ok()) << text.status().message();
  ASSERT_TRUE(expected.ok()) << expected.status().message();
  EXPECT_EQ(text->format, NSPropertyListFormat::OpenStep);
  EXPECT_TRUE(areSame(dump(text->value), dump(expected->value)));
}

// Files of that folder that are good here: a lone surrogate becomes U+FFFD, and white space before the XML
// declaration is passed over.
const std::set<std::string> kNotMalformedHere = {"34_invalid_utf_16", "leading_whitespace"};

TEST_F(PropertyListPeers, CollectedMalformedFilesAreRefused) {
  for (const fs::path& path : testDataFiles("plist-malformed")) {
    const std::string bytes = readTestFile(path);
    const auto reading = NSPropertyListSerialization::propertyListWithData(bytes);
    EXPECT_EQ(reading.ok(), isNamed(path, kNotMalformedHere))
        << path << " " << (reading.ok() ? dump(reading->value) : reading.status().message());
    if (!reading.ok()) {
      EXPECT_EQ(reading.status().code(), ErrorCode::Corrupt) << path;
    }
  }
}

}  // namespace
}  // namespace macos
