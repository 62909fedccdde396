// SPDX-License-Identifier: MIT
#include "macos/foundation/BookmarkData.h"

#include <algorithm>
#include <bit>
#include <compare>
#include <utility>

#include "macos/carbon/ByteOrder.h"
#include "macos/foundation/Text.h"
#include "macos/foundation/URL.h"

namespace macos {

namespace {

constexpr std::string_view kBlobMagic = "book";
constexpr std::string_view kFileMagic("book\0\0\0\0mark\0\0\0\0", 16);
constexpr std::uint32_t kVersion = 0x10040000;
constexpr std::size_t kBlobHeaderSize = 48;
constexpr std::size_t kFileHeaderSize = 56;
constexpr std::size_t kFileDateOffset = 40;

constexpr std::uint32_t kTableMagic = 0xFFFFFFFE;
constexpr std::size_t kTableHeaderSize = 20;
constexpr std::size_t kTableEntrySize = 12;
constexpr std::uint32_t kFirstTable = 1;
constexpr int kMostTables = 64;
constexpr std::uint32_t kKeyIsText = 0x80000000;

constexpr int kDeepestItem = 8;

enum ItemType : std::uint32_t {
  kString = 0x0101,
  kData = 0x0201,
  kSigned8 = 0x0301,
  kSigned16 = 0x0302,
  kSigned32 = 0x0303,
  kSigned64 = 0x0304,
  kFloat32 = 0x0305,
  kFloat64 = 0x0306,
  kDate = 0x0400,
  kFalse = 0x0500,
  kTrue = 0x0501,
  kArray = 0x0601,
  kDictionary = 0x0701,
  kUUID = 0x0801,
  kURL = 0x0901,
  kRelativeURL = 0x0902,
  kNull = 0x0A01,
};

Status corrupt(std::string_view cause) { return Status(ErrorCode::Corrupt, "bookmark", cause); }

// The part behind the header, to which all offsets are relative.
Result<std::string_view> bodyOf(std::string_view bytes) {
  if (isBookmarkFileStart(bytes)) {
    if (bytes.size() < kFileHeaderSize) return corrupt("the header is cut off");
    const auto header = readLittleEndian<std::uint32_t>(bytes, 16);
    const auto length = readLittleEndian<std::uint32_t>(bytes, 24);
    if (header < kFileHeaderSize || !holdsRange(bytes, header, length)) {
      return corrupt("longer than its data");
    }
    return bytes.substr(header, length);
  }
  if (bytes.size() < kBlobHeaderSize || bytes.substr(0, kBlobMagic.size()) != kBlobMagic) {
    return corrupt("no bookmark");
  }
  const auto size = readLittleEndian<std::uint32_t>(bytes, 4);
  const auto header = readLittleEndian<std::uint32_t>(bytes, 12);
  if (size > bytes.size() || header < kBlobHeaderSize || header > size) {
    return corrupt("longer than its data");
  }
  return bytes.substr(header, size - header);
}

using Entries = std::vector<std::pair<std::string, Value>>;

// Of two entries with one key the later one stays. Keys set in any other order than a dictionary's own would
// each move those that are there.
Dictionary dictionaryOfEntries(Entries entries) {
  std::stable_sort(entries.begin(), entries.end(),
                   [](const auto& a, const auto& b) { return std::is_lt(compareLiteral(a.first, b.first)); });
  Dictionary dictionary;
  for (auto& [key, value] : entries) dictionary.set(key, std::move(value));
  return dictionary;
}

class Reader {
 public:
  explicit Reader(std::string_view body) : body_(body), budget_(body.size() * 4) {}

  Status read(BookmarkData& bookmark);

 private:
  struct Item {
    std::uint32_t type = 0;
    std::string_view payload;
  };

  Result<std::size_t> findTable() const;
  Result<Item> itemAt(std::size_t offset);
  Result<Value> valueAt(std::size_t offset, int depth);
  Result<Value> arrayOf(std::string_view payload, int depth);
  Result<Value> dictionaryOf(std::string_view payload, int depth);
  Result<Value> relativeURLOf(std::string_view payload, int depth);
  Result<std::string> textAt(std::size_t offset);

  std::string_view body_;
  std::size_t budget_;
};

// The table of the item itself, else the first.
Result<std::size_t> Reader::findTable() const {
  if (!holdsRange(body_, 0, 4)) return corrupt("no table of contents");
  const std::size_t first = readLittleEndian<std::uint32_t>(body_, 0);
  std::size_t table = first;
  for (int i = 0; i < kMostTables; ++i) {
    if (!holdsRange(body_, table, kTableHeaderSize)) return corrupt("a table of contents lies outside");
    if (readLittleEndian<std::uint32_t>(body_, table + 4) != kTableMagic) {
      return corrupt("no table of contents");
    }
    if (readLittleEndian<std::uint32_t>(body_, table + 8) == kFirstTable) return table;
    table = readLittleEndian<std::uint32_t>(body_, table + 12);
    if (table == 0) return first;
  }
  return corrupt("too many tables of contents");
}

Status Reader::read(BookmarkData& bookmark) {
  const auto table = findTable();
  if (!table) return table.status();
  const auto count = readLittleEndian<std::uint32_t>(body_, *table + 16);
  if (!holdsRange(body_, *table + kTableHeaderSize, std::uint64_t{count} * kTableEntrySize)) {
    return corrupt("a table of contents ends outside");
  }

  Entries named;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t entry = *table + kTableHeaderSize + i * kTableEntrySize;
    const auto key = readLittleEndian<std::uint32_t>(body_, entry);
    auto value = valueAt(readLittleEndian<std::uint32_t>(body_, entry + 4), 0);
    if (!value) return value.status();
    if ((key & kKeyIsText) == 0) {
      bookmark.values.emplace(key, std::move(*value));
      continue;
    }
    auto text = textAt(key & ~kKeyIsText);
    if (!text) return text.status();
    named.emplace_back(std::move(*text), std::move(*value));
  }
  bookmark.namedValues = dictionaryOfEntries(std::move(named));
  return Status();
}

// Every visit is charged, so that items which are referred to often cannot multiply the data.
Result<Reader::Item> Reader::itemAt(std::size_t offset) {
  if (!holdsRange(body_, offset, 8)) return corrupt("an item lies outside");
  const auto length = readLittleEndian<std::uint32_t>(body_, offset);
  if (!holdsRange(body_, offset + 8, length)) return corrupt("an item ends outside");
  const std::size_t cost = 8 + std::size_t{length};
  if (cost > budget_) return corrupt("items hold more than the data");
  budget_ -= cost;
  return Item{.type = readLittleEndian<std::uint32_t>(body_, offset + 4),
              .payload = body_.substr(offset + 8, length)};
}

Result<std::string> Reader::textAt(std::size_t offset) {
  const auto item = itemAt(offset);
  if (!item) return item.status();
  if (item->type != kString) return corrupt("a key is no text");
  return validUTF8(item->payload);
}

Result<Value> Reader::valueAt(std::size_t offset, int depth) {
  if (depth > kDeepestItem) return corrupt("items are nested too deeply");
  const auto item = itemAt(offset);
  if (!item) return item.status();
  const std::string_view payload = item->payload;
  const auto has = [&](std::size_t size) { return payload.size() >= size; };
  switch (item->type) {
    case kString:
      return isValidUTF8(payload) ? Value(payload) : Value(NSData{std::string(payload)});
    case kData:
    case kUUID:
      return Value(NSData{std::string(payload)});
    case kSigned8:
      if (has(1)) return Value(readLittleEndian<std::int8_t>(payload, 0));
      break;
    case kSigned16:
      if (has(2)) return Value(readLittleEndian<std::int16_t>(payload, 0));
      break;
    case kSigned32:
      if (has(4)) return Value(readLittleEndian<std::int32_t>(payload, 0));
      break;
    case kSigned64:
      if (has(8)) return Value(readLittleEndian<std::int64_t>(payload, 0));
      break;
    case kFloat32:
      if (has(4)) return Value(double{std::bit_cast<float>(readLittleEndian<std::uint32_t>(payload, 0))});
      break;
    case kFloat64:
      if (has(8)) return Value(std::bit_cast<double>(readLittleEndian<std::uint64_t>(payload, 0)));
      break;
    case kDate:  // unlike every other number
      if (has(8)) return Value(NSDate{std::bit_cast<double>(readBigEndian<std::uint64_t>(payload, 0))});
      break;
    case kFalse:
      return Value(false);
    case kTrue:
      return Value(true);
    case kNull:
      return Value();
    case kURL: {
      const auto url = NSURL::URLWithString(payload);
      return url ? Value(*url) : Value(validUTF8(payload));
    }
    case kRelativeURL:
      return relativeURLOf(payload, depth);
    case kArray:
      return arrayOf(payload, depth);
    case kDictionary:
      return dictionaryOf(payload, depth);
    default:
      return Value();  // a kind that came later
  }
  return corrupt("a number is cut off");
}

Result<Value> Reader::arrayOf(std::string_view payload, int depth) {
  Array array;
  for (std::size_t i = 0; i + 4 <= payload.size(); i += 4) {
    auto element = valueAt(readLittleEndian<std::uint32_t>(payload, i), depth + 1);
    if (!element) return element;
    array.append(std::move(*element));
  }
  return Value(std::move(array));
}

Result<Value> Reader::dictionaryOf(std::string_view payload, int depth) {
  Entries entries;
  for (std::size_t i = 0; i + 8 <= payload.size(); i += 8) {
    auto key = textAt(readLittleEndian<std::uint32_t>(payload, i));
    if (!key) return key.status();
    auto value = valueAt(readLittleEndian<std::uint32_t>(payload, i + 4), depth + 1);
    if (!value) return value;
    entries.emplace_back(std::move(*key), std::move(*value));
  }
  return Value(dictionaryOfEntries(std::move(entries)));
}

Result<Value> Reader::relativeURLOf(std::string_view payload, int depth) {
  if (payload.size() < 8) return corrupt("a URL is cut off");
  const auto base = valueAt(readLittleEndian<std::uint32_t>(payload, 0), depth + 1);
  if (!base) return base.status();
  const auto text = textAt(readLittleEndian<std::uint32_t>(payload, 4));
  if (!text) return text.status();
  const NSURL* baseURL = base->ifURL();
  const auto url = baseURL != nullptr ? NSURL::URLWithStringRelativeToURL(*text, *baseURL) : std::nullopt;
  return url ? Value(*url) : Value(*text);
}

// Appends items and tells where they are.
class Writer {
 public:
  std::uint32_t add(BookmarkKey key, const Value& value);
  std::uint32_t addText(std::string_view text) { return addItem(kString, text); }
  // REQUIRES: entries are sorted by key
  std::string finish(const std::map<std::uint32_t, std::uint32_t>& entries);

 private:
  std::uint32_t addItem(std::uint32_t type, std::string_view payload);
  std::uint32_t addInteger(BookmarkKey key, Integer integer);
  std::uint32_t addArray(BookmarkKey key, const Array& array);

  std::string body_ = std::string(4, '\0');  // the offset of the table of contents
};

std::uint32_t Writer::addItem(std::uint32_t type, std::string_view payload) {
  const auto offset = static_cast<std::uint32_t>(body_.size());
  appendLittleEndian(body_, static_cast<std::uint32_t>(payload.size()));
  appendLittleEndian(body_, type);
  body_ += payload;
  body_.append((4 - payload.size() % 4) % 4, '\0');
  return offset;
}

std::uint32_t Writer::addInteger(BookmarkKey key, Integer integer) {
  std::string payload;
  if (key == BookmarkKey::CreationOptions || key == BookmarkKey::UserID) {
    appendLittleEndian(payload, static_cast<std::int32_t>(integer.low64()));
    return addItem(kSigned32, payload);
  }
  appendLittleEndian(payload, integer.low64());
  return addItem(kSigned64, payload);
}

std::uint32_t Writer::addArray(BookmarkKey key, const Array& array) {
  std::string offsets;
  for (const Value& element : array) {
    const auto bytes = key == BookmarkKey::PathComponents ? element.ifData() : std::nullopt;
    appendLittleEndian(offsets, bytes ? addText(*bytes) : add(key, element));
  }
  return addItem(kArray, offsets);
}

std::uint32_t Writer::add(BookmarkKey key, const Value& value) {
  std::string payload;
  switch (value.kind()) {
    case Value::Kind::Null:
      return addItem(kNull, {});
    case Value::Kind::Boolean:
      return addItem(*value.ifBoolean() ? kTrue : kFalse, {});
    case Value::Kind::Integer:
      return addInteger(key, *value.ifInteger());
    case Value::Kind::Real:
      appendLittleEndian(payload, std::bit_cast<std::uint64_t>(*value.ifReal()));
      return addItem(kFloat64, payload);
    case Value::Kind::Date:
      appendBigEndian(payload, std::bit_cast<std::uint64_t>(value.ifDate()->secondsSinceReferenceDate));
      return addItem(kDate, payload);
    case Value::Kind::Data:
      return addItem(kData, *value.ifData());
    case Value::Kind::String:
      return addText(*value.ifString());
    case Value::Kind::URL:
      return addItem(kURL, value.ifURL()->absoluteString());
    case Value::Kind::Array:
      return addArray(key, *value.ifArray());
    case Value::Kind::Dictionary:
      break;
  }
  for (const auto& entry : *value.ifDictionary()) {
    appendLittleEndian(payload, addText(entry.key()));
    appendLittleEndian(payload, add(key, entry.value()));
  }
  return addItem(kDictionary, payload);
}

std::string Writer::finish(const std::map<std::uint32_t, std::uint32_t>& entries) {
  writeLittleEndian(body_, 0, static_cast<std::uint32_t>(body_.size()));
  const auto count = static_cast<std::uint32_t>(entries.size());
  appendLittleEndian(body_, static_cast<std::uint32_t>(kTableEntrySize * count + 12));
  for (const std::uint32_t number : {kTableMagic, kFirstTable, std::uint32_t{0}, count}) {
    appendLittleEndian(body_, number);
  }
  for (const auto& [key, offset] : entries) {
    for (const std::uint32_t number : {key, offset, std::uint32_t{0}}) appendLittleEndian(body_, number);
  }

  std::string blob(kBlobMagic);
  appendLittleEndian(blob, static_cast<std::uint32_t>(kBlobHeaderSize + body_.size()));
  appendLittleEndian(blob, kVersion);
  appendLittleEndian(blob, static_cast<std::uint32_t>(kBlobHeaderSize));
  blob.resize(kBlobHeaderSize, '\0');
  return blob + body_;
}

}  // namespace

std::optional<bool> BookmarkFlags::flag(std::uint64_t bit) const {
  return (valid & bit) != 0 ? std::optional((values & bit) != 0) : std::nullopt;
}

const Value* BookmarkData::find(BookmarkKey key) const {
  const auto found = values.find(static_cast<std::uint32_t>(key));
  return found == values.end() ? nullptr : &found->second;
}

std::optional<std::string_view> BookmarkData::string(BookmarkKey key) const {
  const Value* value = find(key);
  return value != nullptr ? value->ifString() : std::nullopt;
}

std::optional<Integer> BookmarkData::integer(BookmarkKey key) const {
  const Value* value = find(key);
  return value != nullptr ? value->ifInteger() : std::nullopt;
}

std::optional<BookmarkFlags> BookmarkData::flags(BookmarkKey key) const {
  const Value* value = find(key);
  const auto bytes = value != nullptr ? value->ifData() : std::nullopt;
  if (!bytes || bytes->size() < 16) return std::nullopt;
  return BookmarkFlags{.values = readLittleEndian<std::uint64_t>(*bytes, 0),
                       .valid = readLittleEndian<std::uint64_t>(*bytes, 8)};
}

void BookmarkData::set(BookmarkKey key, Value value) {
  values.insert_or_assign(static_cast<std::uint32_t>(key), std::move(value));
}

void BookmarkData::setFlags(BookmarkKey key, const BookmarkFlags& flags, std::uint64_t asked) {
  std::string bytes;
  for (const std::uint64_t number : {flags.values, flags.valid, asked}) appendLittleEndian(bytes, number);
  set(key, Value(NSData{std::move(bytes)}));
}

std::optional<std::vector<std::string>> BookmarkData::pathComponents() const {
  const Value* value = find(BookmarkKey::PathComponents);
  const Array* array = value != nullptr ? value->ifArray() : nullptr;
  if (array == nullptr) return std::nullopt;
  std::vector<std::string> components;
  for (const Value& element : *array) {
    const auto text = element.ifString() ? element.ifString() : element.ifData();
    if (!text || text->empty() || *text == "." || *text == ".." ||
        text->find_first_of(std::string_view("/\0", 2)) != std::string_view::npos) {
      return std::nullopt;
    }
    components.emplace_back(*text);
  }
  return components;
}

Result<BookmarkData> BookmarkData::decode(std::string_view bytes) {
  const auto body = bodyOf(bytes);
  if (!body) return body.status();
  BookmarkData bookmark;
  if (Status status = Reader(*body).read(bookmark); !status.ok()) return status;
  return bookmark;
}

std::string BookmarkData::encode() const {
  Writer writer;
  std::map<std::uint32_t, std::uint32_t> entries;
  for (const auto& [key, value] : values) entries[key] = writer.add(static_cast<BookmarkKey>(key), value);
  for (const auto& entry : namedValues) {
    const std::uint32_t key = writer.addText(entry.key());
    entries[key | kKeyIsText] = writer.add(BookmarkKey{}, entry.value());
  }
  return writer.finish(entries);
}

Result<std::string> bookmarkFileFromBlob(std::string_view blob, NSDate created) {
  const auto body = bodyOf(blob);
  if (!body) return body.status();
  std::string file(kFileMagic);
  for (const std::uint32_t number :
       {static_cast<std::uint32_t>(kFileHeaderSize), static_cast<std::uint32_t>(kFileHeaderSize),
        static_cast<std::uint32_t>(body->size()), kVersion}) {
    appendLittleEndian(file, number);
  }
  file.resize(kFileHeaderSize, '\0');
  writeLittleEndian(file, kFileDateOffset, std::bit_cast<std::uint64_t>(created.secondsSinceReferenceDate));
  return file += *body;
}

Result<std::string> blobFromBookmarkFile(std::string_view file) {
  const auto body = bodyOf(file);
  if (!body) return body.status();
  std::string blob(kBlobMagic);
  appendLittleEndian(blob, static_cast<std::uint32_t>(kBlobHeaderSize + body->size()));
  appendLittleEndian(blob, kVersion);
  appendLittleEndian(blob, static_cast<std::uint32_t>(kBlobHeaderSize));
  blob.resize(kBlobHeaderSize, '\0');
  return blob += *body;
}

bool isBookmarkFileStart(std::string_view bytes) { return bytes.substr(0, kFileMagic.size()) == kFileMagic; }

}  // namespace macos
