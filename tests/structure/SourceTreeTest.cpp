// SPDX-License-Identifier: MIT
//
// The rules that the tree of sources keeps: which room may include which, and how a file begins.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "gtest/gtest.h"

namespace {

namespace fs = std::filesystem;

struct Source {
  std::string path;  // from the project's root
  std::vector<std::string> lines;
  std::vector<std::string> projectIncludes;
  std::vector<std::string> systemIncludes;

  bool isHeader() const { return path.ends_with(".h"); }
};

const fs::path kRoot = VENNICK_SOURCE;
const std::vector<std::string> kFloors{"macos", "platform", "items", "settings", "legacy", "app", "tools"};

std::string textOf(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

std::string_view withoutLeadingBlanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
}

// What the line includes, with the character before the name; empty when it includes nothing.
std::string_view includedIn(std::string_view line) {
  line = withoutLeadingBlanks(line);
  if (!line.starts_with('#')) return {};
  line = withoutLeadingBlanks(line.substr(1));
  constexpr std::string_view kInclude = "include";
  if (!line.starts_with(kInclude)) return {};
  line = withoutLeadingBlanks(line.substr(kInclude.size()));
  if (!line.starts_with('<') && !line.starts_with('"')) return {};
  return line.substr(0, line.find_first_of(">\"", 1));
}

Source read(const fs::path& path) {
  Source source{path.lexically_relative(kRoot).generic_string(), {}, {}, {}};
  std::istringstream text(textOf(path));
  for (std::string line; std::getline(text, line);) {
    const std::string_view included = includedIn(line);
    if (included.size() > 1) {
      (included[0] == '<' ? source.systemIncludes : source.projectIncludes).emplace_back(included.substr(1));
    }
    source.lines.push_back(std::move(line));
  }
  return source;
}

// Every source below this folder. It is read once for all tests.
const std::vector<Source>& sourcesOf(const std::string& folder) {
  static std::map<std::string, std::vector<Source>> known;
  const auto [place, isNew] = known.try_emplace(folder);
  if (isNew && fs::exists(kRoot / folder)) {
    for (const auto& entry : fs::recursive_directory_iterator(kRoot / folder)) {
      const auto extension = entry.path().extension();
      if (extension == ".h" || extension == ".cpp") place->second.push_back(read(entry.path()));
    }
  }
  return place->second;
}

// Every source below these folders, in order.
std::vector<std::reference_wrapper<const Source>> sourcesOf(const std::vector<std::string>& folders) {
  std::vector<std::reference_wrapper<const Source>> sources;
  for (const std::string& folder : folders) {
    const std::vector<Source>& more = sourcesOf(folder);
    sources.insert(sources.end(), more.begin(), more.end());
  }
  std::sort(sources.begin(), sources.end(), [](const Source& a, const Source& b) { return a.path < b.path; });
  return sources;
}

// The parts of macos/carbon that stand below macos/foundation, as the build names them.
const std::set<std::string>& carbonFormats() {
  static const std::set<std::string> formats = [] {
    std::smatch match;
    const std::string text = textOf(kRoot / "CMakeLists.txt");
    EXPECT_TRUE(
        std::regex_search(text, match, std::regex(R"(macos_carbon_formats[^)]*ONLY\s+([\w\s]+?)\s+LINK)")));
    std::istringstream names(match[1]);
    return std::set<std::string>(std::istream_iterator<std::string>(names), {});
  }();
  return formats;
}

std::string roomOf(const std::string& path) {
  const fs::path file(path);
  const bool isInCarbon = file.parent_path() == "macos/carbon";
  if (isInCarbon && carbonFormats().count(file.stem())) return "macos/carbon formats";
  std::string room;
  for (const auto& part : file.parent_path()) {
    room += (room.empty() ? "" : "/") + part.string();
    if (part != "macos") break;
  }
  return room;
}

// From the ground up; each room may include itself and what stands behind it.
const std::map<std::string, std::set<std::string>>& allowed() {
  static const std::map<std::string, std::set<std::string>> table = [] {
    std::map<std::string, std::set<std::string>> rooms;
    std::set<std::string> below;
    for (const auto* room : {"macos/host", "macos/carbon formats", "macos/foundation", "macos/carbon",
                             "macos/appkit", "macos/frameworks"}) {
      below.insert(room);
      rooms[room] = below;
    }
    const auto with = [](std::set<std::string> rest, std::initializer_list<std::string> more) {
      rest.insert(more);
      return rest;
    };
    rooms["platform"] = with(below, {"platform"});
    rooms["items"] = with(below, {"platform", "items"});
    rooms["settings"] = with(below, {"platform", "items", "settings"});
    rooms["legacy"] = with(below, {"legacy"});
    rooms["app"] = with(below, {"platform", "items", "settings", "legacy", "app"});
    rooms["tools"] = with(rooms["app"], {"tools"});
    return rooms;
  }();
  return table;
}

TEST(SourceTree, HasSourcesToLookAt) { EXPECT_GT(sourcesOf(kFloors).size(), 20U); }

TEST(SourceTree, FindsWhatALineIncludes) {
  EXPECT_EQ(includedIn("#include <vector>"), "<vector");
  EXPECT_EQ(includedIn(" \t# \t include\"app/App.h\"  // why"), "\"app/App.h");
  for (const char* line : {"", "#", "include <vector>", "// #include <vector>", "#define X <vector>",
                           "#if include", "#include", "#include KIND"}) {
    EXPECT_EQ(includedIn(line), "") << line;
  }
}

TEST(SourceTree, IncludesPointDownTheFloorsAndNeverUp) {
  for (const Source& source : sourcesOf(kFloors)) {
    const auto room = allowed().find(roomOf(source.path));
    ASSERT_NE(room, allowed().end()) << source.path << " lies in no room";
    for (const std::string& include : source.projectIncludes) {
      EXPECT_TRUE(room->second.count(roomOf(include))) << source.path << " includes " << include;
    }
  }
}

TEST(SourceTree, ProjectIncludesAreWrittenFromTheRootAndLeadToAFile) {
  for (const Source& source : sourcesOf(kFloors)) {
    for (const std::string& include : source.projectIncludes) {
      EXPECT_TRUE(fs::exists(kRoot / include)) << source.path << " includes " << include;
    }
  }
}

TEST(SourceTree, LegacyAndSettingsNeverMeetOutsideTheApplication) {
  for (const Source& source : sourcesOf({"macos", "platform", "items", "settings", "legacy", "tools"})) {
    std::set<std::string> rooms{roomOf(source.path)};
    for (const std::string& include : source.projectIncludes) rooms.insert(roomOf(include));
    EXPECT_FALSE(rooms.count("legacy") && rooms.count("settings")) << source.path;
  }
}

TEST(SourceTree, TheUnicodeLibraryStaysBehindFoundation) {
  for (const Source& source : sourcesOf(kFloors)) {
    const bool uses =
        std::count(source.systemIncludes.begin(), source.systemIncludes.end(), "utf8proc.h") > 0;
    EXPECT_TRUE(!uses || (roomOf(source.path) == "macos/foundation" && !source.isHeader())) << source.path;
  }
}

TEST(SourceTree, FilesAreReachedThroughTheHostOnly) {
  const std::set<std::string> fileAccess{"dirent.h", "fcntl.h",    "filesystem",   "fstream",
                                         "ftw.h",    "sys/stat.h", "sys/statfs.h", "sys/xattr.h"};
  for (const Source& source : sourcesOf({"macos", "platform", "items", "settings", "legacy", "app"})) {
    if (roomOf(source.path) == "macos/host") continue;
    for (const std::string& include : source.systemIncludes) {
      EXPECT_FALSE(fileAccess.count(include)) << source.path << " includes " << include;
    }
  }
}

// With the check that headers without such a source compile alone (the target headers_alone), every
// header is known to compile alone.
TEST(SourceTree, ASourceIncludesItsOwnHeaderFirst) {
  for (const Source& source : sourcesOf(kFloors)) {
    const std::string own = fs::path(source.path).replace_extension(".h").generic_string();
    if (source.isHeader() || !fs::exists(kRoot / own)) continue;
    ASSERT_FALSE(source.projectIncludes.empty()) << source.path;
    EXPECT_EQ(source.projectIncludes.front(), own) << source.path;
    const auto firstInclude =
        std::find_if(source.lines.begin(), source.lines.end(),
                     [](const std::string& line) { return line.starts_with("#include"); });
    EXPECT_EQ(*firstInclude, "#include \"" + own + "\"") << source.path;
  }
}

TEST(SourceTree, EveryFileBeginsWithTheLicence) {
  for (const Source& source : sourcesOf(
           {"macos", "platform", "items", "settings", "legacy", "app", "tools", "tests", "bench", "fuzz"})) {
    ASSERT_FALSE(source.lines.empty()) << source.path;
    EXPECT_EQ(source.lines.front(), "// SPDX-License-Identifier: MIT") << source.path;
  }
}

TEST(SourceTree, GuardsAreNamedAfterTheFile) {
  for (const Source& source : sourcesOf(kFloors)) {
    if (!source.isHeader()) continue;
    std::string guard;
    for (const char c : source.path) {
      guard += std::isalnum(static_cast<unsigned char>(c)) ? static_cast<char>(std::toupper(c)) : '_';
    }
    const auto has = [&](const std::string& line) {
      return std::find(source.lines.begin(), source.lines.end(), line) != source.lines.end();
    };
    EXPECT_TRUE(has("#ifndef " + guard) && has("#define " + guard))
        << source.path << " should be guarded by " << guard;
  }
}

}  // namespace
