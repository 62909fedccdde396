// SPDX-License-Identifier: MIT
//
// The writer of "bplist00" files, in two passes: the first goes through the tree and numbers the objects, an
// object before what it holds, the second writes them in that order. Equal texts and data are written once,
// and so are equal numbers of one kind that are not too far apart.
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "macos/foundation/PropertyListCodecs.h"
#include "macos/foundation/PropertyListUniquing.h"
#include "macos/foundation/Text.h"
#include "macos/foundation/ValueStorage.h"
#include "macos/host/LargePages.h"

namespace macos {

namespace {

// 1, 2, 4 or 8: the bytes that hold the number.
std::size_t widthOf(std::uint64_t number) {
  if (number <= 0xFF) return 1;
  if (number <= 0xFFFF) return 2;
  return number <= 0xFFFFFFFF ? 4 : 8;
}

// The identifier, when the dictionary is one in its written-out form.
std::optional<std::uint64_t> uidOf(const Dictionary& dictionary) {
  if (ValueStorage::values(dictionary).size() != 1) return std::nullopt;
  const auto number = dictionary.integer(kUIDKey);
  if (!number || number->isNegative() || number->bits() > 0xFFFFFFFF) return std::nullopt;
  return number->bits();
}

std::uint64_t bitsOf(double number) { return std::bit_cast<std::uint64_t>(number); }

void putBigEndian(char* to, std::uint64_t number, std::size_t width) {
  for (std::size_t i = width; i-- > 0; number >>= 8) to[i] = static_cast<char>(number);
}

// A width that the compiler knows makes one store of a number.
template <std::size_t kWidth>
void putNumbers(char* to, const ObjectIndex* numbers, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) putBigEndian(to + i * kWidth, numbers[i], kWidth);
}

// The bytes that are made. A string that is appended to in small pieces costs more than the pieces.
class Output {
 public:
  // Makes room for all that will be put.
  void begin(std::size_t size) {
    bytes_.reserve(size);
    preferLargePages(bytes_.data(), size);
    finalSize_ = size;
  }
  std::size_t size() const { return size_; }
  // Where the next bytes go, so many, all of which the caller sets.
  char* room(std::size_t count) {
    if (count > bytes_.size() - size_) extend(count);
    return bytes_.data() + std::exchange(size_, size_ + count);
  }
  void put(char byte) { *room(1) = byte; }
  void put(std::string_view bytes) {
    if (bytes.size() <= bytes_.size() - size_) {
      std::memcpy(room(bytes.size()), bytes.data(), bytes.size());
    } else {
      bytes_.resize(size_);
      bytes_ += bytes;
      size_ = bytes_.size();
    }
  }
  std::string take() {
    bytes_.resize(size_);
    return std::move(bytes_);
  }

 private:
  // A string sets what it grows by to zero. It grows by what the nearest cache holds, so that the zeros do
  // not go to memory and back.
  void extend(std::size_t count) {
    constexpr std::size_t kStep = std::size_t{16} << 10;
    bytes_.resize(std::max(size_ + count, std::min(finalSize_, size_ + count + kStep)));
  }

  std::string bytes_;
  std::size_t size_ = 0;
  std::size_t finalSize_ = 0;
};

bool isText(const Value& value) {
  return value.kind() == Value::Kind::String || value.kind() == Value::Kind::Data;
}

bool isContainer(const Value& value) {
  return value.kind() == Value::Kind::Array || value.kind() == Value::Kind::Dictionary;
}

// Null when the format has the value.
const char* whyRefused(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::Null:
      return "null has no form";
    case Value::Kind::URL:
      return "a URL has no form";
    case Value::Kind::Date:
      return isInCalendar(*value.ifDate()) ? nullptr : "a date out of range";
    default:
      return nullptr;
  }
}

class BinaryWriter {
 public:
  Result<std::string> write(const Value& value);

 private:
  // First pass.
  bool walk(std::span<const Value> values, std::size_t reference, std::size_t depth);
  bool walkContent(const Value& container, std::size_t depth);
  void walkKeys(const Array& keys, std::size_t first);
  void meet(const Value& value, std::size_t reference);
  void hashNext();
  void numberNext();
  void numberUntil(std::size_t count);
  static std::size_t contentSize(const Value& value);
  static std::size_t headSize(std::size_t count) { return count < 0x0F ? 1 : 2 + widthOf(count); }

  // Second pass.
  void writeObjects();
  void writeObject(const Value& value);
  void writeArray(const Array& array);
  void writeDictionary(const Dictionary& dictionary);
  void writeInteger(Integer integer);
  void writeText(std::string_view text);
  void writeReferences(std::size_t count);
  void writeOffsets(std::size_t width);
  void writeHead(unsigned kind, std::size_t count);
  void writeNumber(std::uint64_t number, std::size_t width);
  void writeTrailer(std::size_t table, std::size_t offsetWidth);

  bool fail(const char* cause) {
    cause_ = cause;
    return false;
  }

  // A value that was met and waits for its number. The tree and the table of texts of a large list are not
  // in the cache: the content is asked for when the value is met, it is hashed and its place in the table
  // asked for some values later, and it gets its number some values after that.
  struct WaitingValue {
    const Value* value = nullptr;
    std::size_t reference = 0;  // in references_, where its number belongs
    std::uint32_t hash = 0;     // of a text or data
  };
  static constexpr std::size_t kWaiting = 16;
  // A list of keys that dictionaries share, as it was met first.
  struct Keys {
    std::size_t reference = 0;
    std::size_t metBy = 0;  // what met_ was behind the last of them
  };

  std::array<WaitingValue, kWaiting> waiting_;  // a ring
  // How many values were met, of these hashed, of these numbered.
  std::size_t met_ = 0;
  std::size_t hashed_ = 0;
  std::size_t numbered_ = 0;
  WrittenObjects objects_;
  // The number of the top object, and then what the containers hold, container after container in the order
  // of their numbers: the numbers of the elements, or of the keys and then the values.
  Run<ObjectIndex> references_;
  std::unordered_map<const void*, Keys> knownKeys_;
  TextTable texts_;
  NumberTable numbers_;
  std::size_t contentSize_ = 0;  // of all objects without their references
  std::size_t referenceWidth_ = 1;
  std::size_t nextReference_ = 1;
  Output output_;
  const char* cause_ = "";
};

Result<std::string> BinaryWriter::write(const Value& value) {
  if (!walk({&value, 1}, references_.extend(1), 0)) {
    return Status(ErrorCode::InvalidArgument, "binary property list", cause_);
  }
  numberUntil(met_);
  texts_ = TextTable();
  knownKeys_ = {};
  constexpr std::string_view kHeader = "bplist00";
  referenceWidth_ = widthOf(objects_.size());
  const std::size_t table = kHeader.size() + contentSize_ + (references_.size() - 1) * referenceWidth_;
  const std::size_t offsetWidth = widthOf(table);
  constexpr std::size_t kTrailerSize = 32;
  const std::size_t size = table + objects_.size() * offsetWidth + kTrailerSize;
  // So there are fewer objects than an index can count, too.
  if (size > kPropertyListMaximumSize) {
    return Status(ErrorCode::InvalidArgument, "binary property list", "too large");
  }
  output_.begin(size);
  output_.put(kHeader);
  writeObjects();
  writeOffsets(offsetWidth);
  writeTrailer(table, offsetWidth);
  return output_.take();
}

bool BinaryWriter::walk(std::span<const Value> values, std::size_t reference, std::size_t depth) {
  for (const Value& value : values) {
    if (const char* cause = whyRefused(value)) return fail(cause);
    meet(value, reference++);
    if (isContainer(value) && !walkContent(value, depth)) return false;
  }
  return true;
}

bool BinaryWriter::walkContent(const Value& container, std::size_t depth) {
  const Dictionary* dictionary = container.ifDictionary();
  if (dictionary != nullptr && uidOf(*dictionary)) return true;
  if (depth >= kPropertyListMaximumDepth) return fail("containers nested too deep");
  if (dictionary == nullptr) {
    const std::span<const Value> elements = ValueStorage::values(*container.ifArray());
    return walk(elements, references_.extend(elements.size()), depth + 1);
  }
  const std::span<const Value> values = ValueStorage::values(*dictionary);
  if (values.empty()) return true;
  const std::size_t reference = references_.extend(2 * values.size());
  walkKeys(*ValueStorage::keys(*dictionary), reference);
  return walk(values, reference + values.size(), depth + 1);
}

void BinaryWriter::walkKeys(const Array& keys, std::size_t first) {
  const auto [known, isNew] = knownKeys_.try_emplace(ValueStorage::block(keys));
  if (isNew) {
    known->second = {first, met_ + keys.size()};
    for (std::size_t i = 0; i < keys.size(); ++i) meet(keys[i], first + i);
  } else {
    numberUntil(known->second.metBy);
    std::copy_n(references_.data() + known->second.reference, keys.size(), references_.data() + first);
  }
}

void BinaryWriter::meet(const Value& value, std::size_t reference) {
  if (met_ - numbered_ == kWaiting) numberNext();
  if (met_ - hashed_ == kWaiting / 2) hashNext();
  ValueStorage::fetch(value);
  waiting_[met_++ % kWaiting] = {&value, reference};
}

void BinaryWriter::hashNext() {
  WaitingValue& waiting = waiting_[hashed_++ % kWaiting];
  if (!isText(*waiting.value)) return;
  waiting.hash = TextTable::hash(*waiting.value);
  texts_.fetch(waiting.hash);
}

void BinaryWriter::numberUntil(std::size_t count) {
  while (hashed_ < count) hashNext();
  while (numbered_ < count) numberNext();
}

// REQUIRES: it is hashed
void BinaryWriter::numberNext() {
  const WaitingValue& waiting = waiting_[numbered_++ % kWaiting];
  const Value& value = *waiting.value;
  const auto next = static_cast<ObjectIndex>(objects_.size());
  ObjectIndex object = next;
  if (isText(value)) {
    object = texts_.findOrAdd(value, waiting.hash, objects_);
  } else if (!isContainer(value)) {
    object = numbers_.findOrAdd(value, next);
  }
  references_.data()[waiting.reference] = object;
  if (object != next) return;
  objects_.append({&value});
  contentSize_ += contentSize(value);
}

std::size_t BinaryWriter::contentSize(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::Boolean:
      return 1;
    case Value::Kind::Integer: {
      const Integer integer = *value.ifInteger();
      if (integer.isNegative()) return 9;
      return integer.fitsSigned() ? 1 + widthOf(integer.bits()) : 17;
    }
    case Value::Kind::Data:
      return headSize(ValueStorage::bytes(value).size()) + ValueStorage::bytes(value).size();
    case Value::Kind::String: {
      const std::string_view text = ValueStorage::bytes(value);
      if (isASCII(text)) return headSize(text.size()) + text.size();
      const std::size_t units = utf16Length(text);
      return headSize(units) + 2 * units;
    }
    case Value::Kind::Array:
      return headSize(ValueStorage::values(*value.ifArray()).size());
    case Value::Kind::Dictionary: {
      const auto uid = uidOf(*value.ifDictionary());
      return uid ? 1 + widthOf(*uid) : headSize(ValueStorage::values(*value.ifDictionary()).size());
    }
    default:
      return 9;
  }
}

void BinaryWriter::writeNumber(std::uint64_t number, std::size_t width) {
  putBigEndian(output_.room(width), number, width);
}

void BinaryWriter::writeHead(unsigned kind, std::size_t count) {
  output_.put(static_cast<char>(kind << 4 | std::min<std::size_t>(count, 0x0F)));
  if (count >= 0x0F) writeInteger(Integer(count));
}

void BinaryWriter::writeInteger(Integer integer) {
  if (!integer.isNegative() && !integer.fitsSigned()) {
    output_.put('\x14');
    writeNumber(0, 8);
    writeNumber(integer.bits(), 8);
    return;
  }
  // Only the widest form has a sign.
  const std::size_t width = integer.isNegative() ? 8 : widthOf(integer.bits());
  output_.put(static_cast<char>(0x10 | std::countr_zero(width)));
  writeNumber(integer.bits(), width);
}

void BinaryWriter::writeText(std::string_view text) {
  if (isASCII(text)) {
    writeHead(0x5, text.size());
    output_.put(text);
    return;
  }
  writeHead(0x6, utf16Length(text));
  for (std::size_t i = 0; i < text.size();) {
    const CodePoint c = codePointAt(text, i);
    if (c.value >= 0x10000) {
      writeNumber(0xD7C0 + (c.value >> 10), 2);
      writeNumber(0xDC00 + (c.value & 0x3FF), 2);
    } else {
      writeNumber(c.value, 2);
    }
    i += c.length;
  }
}

// The references of the next container.
void BinaryWriter::writeReferences(std::size_t count) {
  const ObjectIndex* references = references_.data() + std::exchange(nextReference_, nextReference_ + count);
  char* to = output_.room(count * referenceWidth_);
  switch (referenceWidth_) {
    case 1:
      return putNumbers<1>(to, references, count);
    case 2:
      return putNumbers<2>(to, references, count);
    default:
      return putNumbers<4>(to, references, count);
  }
}

void BinaryWriter::writeObjects() {
  constexpr std::size_t kAhead = 8;
  for (std::size_t i = 0; i < objects_.size(); ++i) {
    if (objects_.size() - i > kAhead) ValueStorage::fetch(*objects_[i + kAhead].value);
    const Value& value = *objects_[i].value;
    objects_.data()[i].offset = output_.size();
    writeObject(value);
  }
}

void BinaryWriter::writeOffsets(std::size_t width) {
  char* to = output_.room(objects_.size() * width);
  for (std::size_t i = 0; i < objects_.size(); ++i, to += width) putBigEndian(to, objects_[i].offset, width);
}

void BinaryWriter::writeArray(const Array& array) {
  const std::size_t count = ValueStorage::values(array).size();
  writeHead(0xA, count);
  writeReferences(count);
}

void BinaryWriter::writeDictionary(const Dictionary& dictionary) {
  if (const auto uid = uidOf(dictionary)) {
    const std::size_t width = widthOf(*uid);
    output_.put(static_cast<char>(0x80 | (width - 1)));
    writeNumber(*uid, width);
    return;
  }
  const std::size_t count = ValueStorage::values(dictionary).size();
  writeHead(0xD, count);
  writeReferences(2 * count);
}

void BinaryWriter::writeObject(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::Boolean:
      output_.put(*value.ifBoolean() ? '\x09' : '\x08');
      break;
    case Value::Kind::Integer:
      writeInteger(*value.ifInteger());
      break;
    case Value::Kind::Real:
      output_.put('\x23');
      writeNumber(bitsOf(*value.ifReal()), 8);
      break;
    case Value::Kind::Date:
      output_.put('\x33');
      writeNumber(bitsOf(value.ifDate()->secondsSinceReferenceDate), 8);
      break;
    case Value::Kind::Data:
      writeHead(0x4, ValueStorage::bytes(value).size());
      output_.put(ValueStorage::bytes(value));
      break;
    case Value::Kind::String:
      writeText(ValueStorage::bytes(value));
      break;
    case Value::Kind::Array:
      writeArray(*value.ifArray());
      break;
    case Value::Kind::Dictionary:
      writeDictionary(*value.ifDictionary());
      break;
    default:
      break;  // the first pass refuses the rest
  }
}

void BinaryWriter::writeTrailer(std::size_t table, std::size_t offsetWidth) {
  writeNumber(0, 6);
  writeNumber(offsetWidth, 1);
  writeNumber(referenceWidth_, 1);
  writeNumber(objects_.size(), 8);
  writeNumber(0, 8);
  writeNumber(table, 8);
}

}  // namespace

Result<std::string> writeBinaryPropertyList(const Value& value) { return BinaryWriter().write(value); }

}  // namespace macos
