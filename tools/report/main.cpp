// SPDX-License-Identifier: MIT
//
// report: shows on standard output what a migration carried across: one line a setting, with what version 4
// holds and what version 5 holds, and a table for each folder set of version 5 with what was left out of
// it. All is read from the files of the home that HOME and MACOS_ROOT name, as for the migrator; nothing is
// written.
#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "app/CollectionsReport.h"
#include "app/SettingsReport.h"
#include "macos/foundation/Text.h"

namespace {

using Row = std::vector<std::string>;

void print(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

// Names are the user's, and may hold anything: a new line would break the table, an escape steer the
// terminal. Control characters are shown by their pictures (␊), those without one by U+FFFD.
std::string visible(std::string_view text) {
  std::string result;
  for (std::size_t place = 0; place < text.size();) {
    const macos::CodePoint point = macos::codePointAt(text, place);
    const bool hasNoPicture = point.value >= 0x80 && point.value < 0xA0;
    char32_t shown = hasNoPicture ? 0xFFFD : point.value;
    if (point.value < 0x20) shown = 0x2400 + point.value;
    if (point.value == 0x7F) shown = 0x2421;
    macos::appendUTF8(result, shown);
    place += point.length;
  }
  return result;
}

// The first row is the heading. The last column is as long as it is.
void printTable(std::vector<Row> rows, std::string_view indent) {
  for (Row& row : rows) {
    for (std::string& cell : row) cell = visible(cell);
  }
  std::vector<std::size_t> widths(rows.front().size());
  for (const Row& row : rows) {
    for (std::size_t column = 0; column < row.size(); ++column) {
      widths[column] = std::max(widths[column], macos::utf16Length(row[column]));
    }
  }
  for (const Row& row : rows) {
    std::string line(indent);
    for (std::size_t column = 0; column < row.size(); ++column) {
      line += row[column];
      if (column + 1 < row.size()) line.append(widths[column] - macos::utf16Length(row[column]) + 2, ' ');
    }
    print(line + "\n");
  }
}

// Nothing for a table that is empty but for its heading.
void printSetTable(const std::vector<Row>& rows) {
  if (rows.size() < 2) return;
  print("\n");
  printTable(rows, "  ");
}

std::string counted(std::size_t count, std::string_view what) {
  return std::to_string(count) + " " + std::string(what) + (count == 1 ? "" : "s");
}

void printSettings() {
  std::vector<Row> rows{{"Setting", "Vennick 4", "Vennick 5"}};
  for (const vennick::SettingReport& line : vennick::reportSettings()) {
    rows.push_back({line.setting, line.before, line.now});
  }
  printTable(rows, "");
}

void printOmissions(const std::vector<vennick::OmissionReport>& omissions) {
  std::vector<Row> rows{{"Left out", "Why"}};
  for (const vennick::OmissionReport& omission : omissions) rows.push_back({omission.what, omission.why});
  printSetTable(rows);
}

void printSet(const vennick::SetReport& set) {
  print("\nSet \"" + visible(set.name) + "\"" + (set.isCurrent ? ", the current one" : "") + ": " +
        counted(set.favorites.size(), "favorite") + ", " +
        counted(set.defaultFolders.size(), "default folder") + "\n");
  std::vector<Row> favorites{{"Favorite", "Hotkey", "Location"}};
  for (const vennick::FavoriteReport& favorite : set.favorites) {
    favorites.push_back({favorite.name, favorite.hotkey, favorite.location});
  }
  printSetTable(favorites);
  std::vector<Row> folders{{"Default folder of", "Location"}};
  for (const vennick::DefaultFolderReport& folder : set.defaultFolders) {
    folders.push_back({folder.application, folder.location});
  }
  printSetTable(folders);
  printOmissions(set.omissions);
}

}  // namespace

int main() {
  printSettings();
  const vennick::CollectionsReport report = vennick::reportCollections();
  for (const vennick::SetReport& set : report.sets) printSet(set);
  if (!report.omissions.empty()) {
    print("\nIn no set\n");
    printOmissions(report.omissions);
  }
}
