// SPDX-License-Identifier: MIT
#include "tools/layout-compiler/LayoutTable.h"

#include <charconv>

#include "macos/foundation/Text.h"

namespace layout_compiler {

namespace {

using macos::ErrorCode;
using macos::Result;
using macos::Status;

Status malformed(std::string_view cause) { return {ErrorCode::Corrupt, "layout table", cause}; }

std::vector<std::string_view> wordsOf(std::string_view line) {
  std::vector<std::string_view> words;
  std::size_t place = 0;
  while ((place = line.find_first_not_of(" \t\r", place)) != std::string_view::npos) {
    const std::size_t end = std::min(line.find_first_of(" \t\r", place), line.size());
    words.push_back(line.substr(place, end - place));
    place = end;
  }
  return words;
}

std::optional<unsigned> number(std::string_view word, int base) {
  unsigned value = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value, base);
  if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
  return value;
}

std::optional<std::size_t> keyCode(std::string_view word) {
  const auto code = number(word, 10);
  if (!code || *code >= kKeyCount) return std::nullopt;
  return *code;
}

// One UTF-16 unit that a key can type as it stands: no surrogate, and none of the values that the format
// takes for an index or for nothing.
std::optional<char16_t> character(std::string_view word) {
  std::u16string units;
  if (word.starts_with("U+") && word.size() > 2) {
    const auto value = number(word.substr(2), 16);
    if (!value || *value == 0 || *value > 0xFFFD) return std::nullopt;
    units.push_back(static_cast<char16_t>(*value));
  } else {
    units = macos::utf16FromUTF8(word);
  }
  if (units.size() != 1) return std::nullopt;
  const bool isIndex = units[0] >= 0x4000 && units[0] < 0xC000;
  const bool isSurrogate = units[0] >= 0xD800 && units[0] < 0xE000;
  if (isIndex || isSurrogate) return std::nullopt;
  return units[0];
}

class Parser {
 public:
  Status addLine(std::string_view line) {
    const std::vector<std::string_view> words = wordsOf(line);
    if (words.empty() || words[0].starts_with('#')) return {};
    if (words[0] == "name") return addText(line, words, &table_.name);
    if (words[0] == "identifier") return addText(line, words, &table_.identifier);
    if (words[0] == "dead") return addDeadKey(words);
    if (words[0] == "any") return addSharedKey(words);
    return addKey(words);
  }

  LayoutTable takeTable() { return std::move(table_); }

 private:
  static Status addText(std::string_view line, const std::vector<std::string_view>& words,
                        std::string* text) {
    if (words.size() < 2) return malformed("a value is missing");
    const auto start = static_cast<std::size_t>(words[1].data() - line.data());
    const auto end = static_cast<std::size_t>(words.back().data() + words.back().size() - line.data());
    *text = line.substr(start, end - start);
    return {};
  }

  Status addDeadKey(const std::vector<std::string_view>& words) {
    if (words.size() < 3) return malformed("a dead key needs a name and an accent");
    DeadKey key;
    key.name = words[1];
    const auto accent = character(words[2]);
    if (!accent) return malformed("the accent is not one character");
    key.accent = *accent;
    for (std::size_t index = 3; index < words.size(); ++index) {
      const std::u16string pair = macos::utf16FromUTF8(words[index]);
      if (pair.size() != 2) return malformed("a combination is not two characters");
      if (!key.combinations.emplace(pair[0], pair[1]).second) {
        return malformed("a combination is given twice");
      }
    }
    // The accent itself is typed by the space bar.
    key.combinations.emplace(u' ', key.accent);
    table_.deadKeys.push_back(std::move(key));
    return {};
  }

  Status addSharedKey(const std::vector<std::string_view>& words) {
    if (words.size() != 3) return malformed("a shared key needs a code and a character");
    const auto code = keyCode(words[1]);
    const auto typed = character(words[2]);
    if (!code || !typed) return malformed("not a key code and a character");
    const Cell cell{*typed, 0};
    table_.keys[*code] = KeyRow{cell, cell, cell, cell, cell, cell};
    return {};
  }

  Status addKey(const std::vector<std::string_view>& words) {
    const auto code = keyCode(words[0]);
    if (!code) return malformed("not a statement: " + std::string(words[0]));
    if (words.size() < 5) return malformed("a key needs four cells");
    KeyRow row;
    const std::array<Cell*, 4> cells{&row.plain, &row.shift, &row.option, &row.shiftOption};
    for (std::size_t index = 0; index < cells.size(); ++index) {
      if (!readCell(words[index + 1], cells[index])) return notACell(words[index + 1]);
    }
    for (std::size_t index = 5; index < words.size(); ++index) {
      const std::size_t equals = words[index].find('=');
      const std::string_view option = words[index].substr(0, equals);
      if (equals == std::string_view::npos || (option != "caps" && option != "control")) {
        return malformed("not an option: " + std::string(words[index]));
      }
      std::optional<Cell>& cell = option == "caps" ? row.caps : row.control;
      if (!readCell(words[index].substr(equals + 1), &cell.emplace())) return notACell(words[index]);
    }
    table_.keys[*code] = row;
    return {};
  }

  static Status notACell(std::string_view word) { return malformed("not a cell: " + std::string(word)); }

  bool readCell(std::string_view word, Cell* cell) const {
    if (word == "none") return true;
    if (word.size() > 2 && word.front() == '(' && word.back() == ')') {
      const std::string_view name = word.substr(1, word.size() - 2);
      for (std::size_t index = 0; index < table_.deadKeys.size(); ++index) {
        if (table_.deadKeys[index].name == name) cell->deadKeyState = static_cast<std::uint16_t>(index + 1);
      }
      return cell->isDeadKey();
    }
    const auto typed = character(word);
    if (typed) cell->character = *typed;
    return typed.has_value();
  }

  LayoutTable table_;
};

Status addLines(std::string_view text, Parser* parser) {
  std::size_t lineNumber = 0;
  while (!text.empty()) {
    ++lineNumber;
    const std::size_t end = std::min(text.find('\n'), text.size());
    if (Status status = parser->addLine(text.substr(0, end)); !status.ok()) {
      return malformed("line " + std::to_string(lineNumber) + ": " + status.message());
    }
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return {};
}

}  // namespace

Result<LayoutTable> parseLayoutTable(std::string_view specialKeys, std::string_view text) {
  Parser parser;
  if (Status status = addLines(specialKeys, &parser); !status.ok()) return status;
  if (Status status = addLines(text, &parser); !status.ok()) return status;
  LayoutTable table = parser.takeTable();
  if (table.name.empty() || table.identifier.empty()) {
    return malformed("a layout needs a name and an identifier");
  }
  return table;
}

}  // namespace layout_compiler
