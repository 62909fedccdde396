// SPDX-License-Identifier: MIT
//
// The writer of "bplist00" files, in two passes over the tree: the first numbers the objects, an object
// before what it holds, the second writes them in that order. Equal texts and data are written once, and so
// are equal numbers of one kind that are not too far apart.
#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

#include "macos/foundation/PropertyListCodecs.h"
#include "macos/foundation/Text.h"
#include "macos/foundation/ValueStorage.h"

namespace macos {

namespace {

using ObjectIndex = std::uint32_t;
constexpr ObjectIndex kNoObject = 0xFFFFFFFF;

// 1, 2, 4 or 8: the bytes that hold the number.
std::size_t widthOf(std::uint64_t number) {
  if (number <= 0xFF) return 1;
  if (number <= 0xFFFF) return 2;
  return number <= 0xFFFFFFFF ? 4 : 8;
}

// The identifier, when the dictionary is one in its written-out form.
std::optional<std::uint64_t> uidOf(const Dictionary& dictionary) {
  if (dictionary.size() != 1) return std::nullopt;
  const auto number = dictionary.integer(kUIDKey);
  if (!number || number->isNegative() || number->bits() > 0xFFFFFFFF) return std::nullopt;
  return number->bits();
}

std::uint64_t bitsOf(double number) { return std::bit_cast<std::uint64_t>(number); }

void putBigEndian(char* to, std::uint64_t number, std::size_t width) {
  for (std::size_t i = width; i-- > 0; number >>= 8) to[i] = static_cast<char>(number);
}

void putNumbers(char* to, const std::uint32_t* numbers, std::size_t count, std::size_t width) {
  // A width that the compiler knows makes one store of a number.
  for (std::size_t i = 0; i < count; ++i, to += width) {
    switch (width) {
      case 1:
        putBigEndian(to, numbers[i], 1);
        break;
      case 2:
        putBigEndian(to, numbers[i], 2);
        break;
      case 4:
        putBigEndian(to, numbers[i], 4);
        break;
      default:
        putBigEndian(to, numbers[i], width);
    }
  }
}

// A run of numbers that grows with realloc(), which moves the pages of a large run instead of copying
// them: a vector would take new memory for all of it again and again, and twice as much at its peak.
class NumberRun {
 public:
  NumberRun() = default;
  NumberRun(const NumberRun&) = delete;
  NumberRun& operator=(const NumberRun&) = delete;
  ~NumberRun() { std::free(numbers_); }

  std::size_t size() const { return size_; }
  std::uint32_t* data() { return numbers_; }
  const std::uint32_t* data() const { return numbers_; }
  void reserve(std::size_t count) {
    if (count > capacity_) grow(count);
  }
  // Makes room for more at the end, whose content is undefined, and gives the index of the first.
  std::size_t extend(std::size_t count) {
    if (size_ + count > capacity_) grow(std::max<std::size_t>({size_ + count, 2 * capacity_, 1024}));
    return std::exchange(size_, size_ + count);
  }
  void append(std::uint32_t number) {
    const std::size_t index = extend(1);
    numbers_[index] = number;
  }

 private:
  void grow(std::size_t capacity) {
    void* grown = std::realloc(numbers_, capacity * sizeof(std::uint32_t));
    if (grown == nullptr) throw std::bad_alloc();
    numbers_ = static_cast<std::uint32_t*>(grown);
    capacity_ = capacity;
  }

  std::uint32_t* numbers_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

// Texts and data that were numbered, found by their content.
class TextTable {
 public:
  TextTable() : slots_(1024) {}

  // The object that equals the leaf. When there is none yet the given number becomes it and is returned.
  // The leaf must stay where it is.
  ObjectIndex findOrAdd(const Value& leaf, ObjectIndex next);

 private:
  struct Slot {
    const Value* leaf = nullptr;
    ObjectIndex object = kNoObject;
    std::uint32_t hash = 0;
  };

  static std::uint64_t hash(const Value& leaf);
  void grow();

  std::vector<Slot> slots_;
  std::size_t used_ = 0;
};

// Long content is judged by its length, its beginning, its middle and its end: that tells apart what is
// different, but for content made to look alike, and leaves most of it where it is.
std::uint64_t TextTable::hash(const Value& leaf) {
  constexpr std::size_t kWhole = 96;
  constexpr std::size_t kPiece = 32;
  const auto text = leaf.ifString();
  const std::string_view bytes = text ? *text : *leaf.ifData();
  const std::hash<std::string_view> hashOf;
  const std::uint64_t kind = text ? 0 : ~std::uint64_t{0};
  if (bytes.size() <= kWhole) return hashOf(bytes) ^ kind;
  std::array<char, 3 * kPiece> pieces;
  std::memcpy(pieces.data(), bytes.data(), kPiece);
  std::memcpy(pieces.data() + kPiece, bytes.data() + bytes.size() / 2, kPiece);
  std::memcpy(pieces.data() + 2 * kPiece, bytes.data() + bytes.size() - kPiece, kPiece);
  return (hashOf({pieces.data(), pieces.size()}) + bytes.size()) ^ kind;
}

// Booleans, numbers and dates that were numbered lately. Each has one place, which it loses to the next
// that has the same: so what repeats is found, and the cost does not grow with how many there are.
class NumberTable {
 public:
  NumberTable() : slots_(kSlots) {}

  ObjectIndex findOrAdd(const Value& leaf, ObjectIndex next);

 private:
  static constexpr unsigned kSlotBits = 12;
  static constexpr std::size_t kSlots = std::size_t{1} << kSlotBits;
  struct Slot {
    std::uint64_t bits = 0;
    ObjectIndex object = kNoObject;
    std::uint32_t kind = 0;  // a negative integer is of another kind than one that is not
  };

  std::vector<Slot> slots_;
};

ObjectIndex NumberTable::findOrAdd(const Value& leaf, ObjectIndex next) {
  Slot wanted;
  wanted.object = next;
  wanted.kind = 2 * static_cast<std::uint32_t>(leaf.kind());
  if (const auto integer = leaf.ifInteger()) {
    wanted.bits = integer->bits();
    wanted.kind += integer->isNegative() ? 1 : 0;
  } else if (const auto real = leaf.ifReal()) {
    wanted.bits = bitsOf(*real);
  } else if (const auto date = leaf.ifDate()) {
    wanted.bits = bitsOf(date->secondsSinceReferenceDate);
  } else {
    wanted.bits = *leaf.ifBoolean() ? 1 : 0;
  }
  Slot& slot = slots_[(wanted.bits + wanted.kind) * 0x9E3779B97F4A7C15U >> (64 - kSlotBits)];
  if (slot.object == kNoObject || slot.bits != wanted.bits || slot.kind != wanted.kind) slot = wanted;
  return slot.object;
}

ObjectIndex TextTable::findOrAdd(const Value& leaf, ObjectIndex next) {
  // Content made to collide costs a second copy of an object, not time.
  constexpr std::size_t kMaximumProbes = 32;
  if (used_ * 3 >= slots_.size() * 2) grow();
  const auto full = hash(leaf);
  const auto hash32 = static_cast<std::uint32_t>(full >> 32 ^ full);
  std::size_t at = hash32 & (slots_.size() - 1);
  for (std::size_t probe = 0; probe < kMaximumProbes; ++probe) {
    Slot& slot = slots_[at];
    if (slot.leaf == nullptr) {
      slot = {&leaf, next, hash32};
      ++used_;
      return next;
    }
    if (slot.hash == hash32 && *slot.leaf == leaf) return slot.object;
    at = (at + 1) & (slots_.size() - 1);
  }
  return next;
}

void TextTable::grow() {
  std::vector<Slot> old(2 * slots_.size());
  old.swap(slots_);
  for (const Slot& slot : old) {
    if (slot.leaf == nullptr) continue;
    std::size_t at = slot.hash & (slots_.size() - 1);
    while (slots_[at].leaf != nullptr) at = (at + 1) & (slots_.size() - 1);
    slots_[at] = slot;
  }
}

class BinaryWriter {
 public:
  Result<std::string> write(const Value& value);

 private:
  // First pass.
  bool number(const Value& value, std::size_t depth, ObjectIndex& index);
  bool numberArray(const Array& array, std::size_t depth);
  bool numberDictionary(const Dictionary& dictionary, std::size_t depth);
  bool numberKeys(const Array& keys, std::size_t first);
  bool addObject(std::size_t contentSize, ObjectIndex& index);
  bool numberLeaf(const Value& value, ObjectIndex& index);
  static std::size_t leafSize(const Value& value);
  static std::size_t headSize(std::size_t count) { return count < 0x0F ? 1 : 2 + widthOf(count); }

  // Second pass.
  void write(const Value& value, ObjectIndex index);
  void writeLeaf(const Value& value);
  void writeArray(const Array& array);
  void writeDictionary(const Dictionary& dictionary);
  void writeInteger(Integer integer);
  void writeText(std::string_view text);
  std::size_t writeReferences(std::size_t count);
  void writeNumbers(const std::uint32_t* numbers, std::size_t count, std::size_t width);
  void writeHead(unsigned kind, std::size_t count);
  void writeNumber(std::uint64_t number, std::size_t width);
  void writeTrailer(std::size_t table, std::size_t offsetWidth);

  bool fail(const char* cause) {
    cause_ = cause;
    return false;
  }

  std::size_t objectCount_ = 0;
  // What the containers hold, container after container in the order of their numbers: the numbers of the
  // elements, or of the keys and then the values.
  NumberRun references_;
  // Where in references_ a list of keys that dictionaries share was numbered first.
  std::unordered_map<const void*, std::size_t> numberedKeys_;
  TextTable texts_;
  NumberTable numbers_;
  std::size_t contentSize_ = 0;  // of all objects without their references
  std::size_t referenceWidth_ = 1;
  std::size_t referencesWritten_ = 0;
  NumberRun offsets_;  // of the objects that are written
  std::string bytes_;
  const char* cause_ = "";
};

Result<std::string> BinaryWriter::write(const Value& value) {
  ObjectIndex top = 0;
  if (!number(value, 0, top)) return Status(ErrorCode::InvalidArgument, "binary property list", cause_);
  texts_ = TextTable();
  numberedKeys_ = {};
  constexpr std::string_view kHeader = "bplist00";
  referenceWidth_ = widthOf(objectCount_);
  const std::size_t table = kHeader.size() + contentSize_ + references_.size() * referenceWidth_;
  const std::size_t offsetWidth = widthOf(table);
  constexpr std::size_t kTrailerSize = 32;
  const std::size_t size = table + objectCount_ * offsetWidth + kTrailerSize;
  if (size > kPropertyListMaximumSize) {
    return Status(ErrorCode::InvalidArgument, "binary property list", "too large");
  }
  bytes_.reserve(size);
  offsets_.reserve(objectCount_);
  bytes_ = kHeader;
  write(value, top);
  writeNumbers(offsets_.data(), offsets_.size(), offsetWidth);
  writeTrailer(table, offsetWidth);
  return std::move(bytes_);
}

bool BinaryWriter::addObject(std::size_t contentSize, ObjectIndex& index) {
  if (objectCount_ >= kNoObject) return fail("too many objects");
  index = static_cast<ObjectIndex>(objectCount_++);
  contentSize_ += contentSize;
  return true;
}

bool BinaryWriter::number(const Value& value, std::size_t depth, ObjectIndex& index) {
  switch (value.kind()) {
    case Value::Kind::Null:
      return fail("null has no form");
    case Value::Kind::URL:
      return fail("a URL has no form");
    case Value::Kind::Array: {
      const Array& array = *value.ifArray();
      return addObject(headSize(array.size()), index) && numberArray(array, depth);
    }
    case Value::Kind::Dictionary: {
      const Dictionary& dictionary = *value.ifDictionary();
      if (const auto uid = uidOf(dictionary)) return addObject(1 + widthOf(*uid), index);
      return addObject(headSize(dictionary.size()), index) && numberDictionary(dictionary, depth);
    }
    default:
      return numberLeaf(value, index);
  }
}

bool BinaryWriter::numberLeaf(const Value& value, ObjectIndex& index) {
  if (value.kind() == Value::Kind::Date) {
    const double seconds = value.ifDate()->secondsSinceReferenceDate;
    if (!(seconds >= kEarliestDate && seconds < kLatestDate)) return fail("a date out of range");
  }
  const auto next = static_cast<ObjectIndex>(objectCount_);
  const bool isText = value.kind() == Value::Kind::String || value.kind() == Value::Kind::Data;
  index = isText ? texts_.findOrAdd(value, next) : numbers_.findOrAdd(value, next);
  return index != next || addObject(leafSize(value), index);
}

std::size_t BinaryWriter::leafSize(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::Boolean:
      return 1;
    case Value::Kind::Integer: {
      const Integer integer = *value.ifInteger();
      if (integer.isNegative()) return 9;
      return integer.fitsSigned() ? 1 + widthOf(integer.bits()) : 17;
    }
    case Value::Kind::Data:
      return headSize(value.ifData()->size()) + value.ifData()->size();
    case Value::Kind::String: {
      const std::string_view text = *value.ifString();
      if (isASCII(text)) return headSize(text.size()) + text.size();
      const std::size_t units = utf16Length(text);
      return headSize(units) + 2 * units;
    }
    default:
      return 9;
  }
}

bool BinaryWriter::numberArray(const Array& array, std::size_t depth) {
  if (depth >= kPropertyListMaximumDepth) return fail("containers nested too deep");
  std::size_t reference = references_.extend(array.size());
  for (const Value& element : array) {
    ObjectIndex index = 0;
    if (!number(element, depth + 1, index)) return false;
    references_.data()[reference++] = index;
  }
  return true;
}

bool BinaryWriter::numberDictionary(const Dictionary& dictionary, std::size_t depth) {
  if (depth >= kPropertyListMaximumDepth) return fail("containers nested too deep");
  if (dictionary.empty()) return true;
  const std::size_t first = references_.extend(2 * dictionary.size());
  if (!numberKeys(*ValueStorage::keys(dictionary), first)) return false;
  std::size_t reference = first + dictionary.size();
  for (const auto& entry : dictionary) {
    ObjectIndex index = 0;
    if (!number(entry.value(), depth + 1, index)) return false;
    references_.data()[reference++] = index;
  }
  return true;
}

bool BinaryWriter::numberKeys(const Array& keys, std::size_t first) {
  const auto [numbered, isNew] = numberedKeys_.try_emplace(ValueStorage::block(keys), first);
  if (!isNew) {
    std::copy_n(references_.data() + numbered->second, keys.size(), references_.data() + first);
    return true;
  }
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (!numberLeaf(keys[i], references_.data()[first + i])) return false;
  }
  return true;
}

void BinaryWriter::writeNumber(std::uint64_t number, std::size_t width) {
  std::array<char, 8> digits;
  putBigEndian(digits.data(), number, width);
  bytes_.append(digits.data(), width);
}

void BinaryWriter::writeNumbers(const std::uint32_t* numbers, std::size_t count, std::size_t width) {
  const std::size_t first = bytes_.size();
  bytes_.resize(first + count * width);
  putNumbers(bytes_.data() + first, numbers, count, width);
}

void BinaryWriter::writeHead(unsigned kind, std::size_t count) {
  bytes_ += static_cast<char>(kind << 4 | std::min<std::size_t>(count, 0x0F));
  if (count >= 0x0F) writeInteger(Integer(count));
}

void BinaryWriter::writeInteger(Integer integer) {
  if (!integer.isNegative() && !integer.fitsSigned()) {
    bytes_ += '\x14';
    writeNumber(0, 8);
    writeNumber(integer.bits(), 8);
    return;
  }
  // Only the widest form has a sign.
  const std::size_t width = integer.isNegative() ? 8 : widthOf(integer.bits());
  bytes_ += static_cast<char>(0x10 | std::countr_zero(width));
  writeNumber(integer.bits(), width);
}

void BinaryWriter::writeText(std::string_view text) {
  if (isASCII(text)) {
    writeHead(0x5, text.size());
    bytes_ += text;
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

// The references of the next container; gives the place of the first of them in references_.
std::size_t BinaryWriter::writeReferences(std::size_t count) {
  const std::size_t first = std::exchange(referencesWritten_, referencesWritten_ + count);
  writeNumbers(references_.data() + first, count, referenceWidth_);
  return first;
}

// Objects are met in the order of their numbers, so that a number which is not the next one says that the
// object is written already.
void BinaryWriter::write(const Value& value, ObjectIndex index) {
  if (index != offsets_.size()) return;
  offsets_.append(static_cast<std::uint32_t>(bytes_.size()));
  if (const Array* array = value.ifArray()) {
    writeArray(*array);
  } else if (const Dictionary* dictionary = value.ifDictionary()) {
    writeDictionary(*dictionary);
  } else {
    writeLeaf(value);
  }
}

void BinaryWriter::writeArray(const Array& array) {
  writeHead(0xA, array.size());
  std::size_t reference = writeReferences(array.size());
  for (const Value& element : array) write(element, references_.data()[reference++]);
}

void BinaryWriter::writeDictionary(const Dictionary& dictionary) {
  if (const auto uid = uidOf(dictionary)) {
    const std::size_t width = widthOf(*uid);
    bytes_ += static_cast<char>(0x80 | (width - 1));
    writeNumber(*uid, width);
    return;
  }
  const std::size_t count = dictionary.size();
  writeHead(0xD, count);
  if (count == 0) return;
  std::size_t reference = writeReferences(2 * count);
  for (const Value& key : *ValueStorage::keys(dictionary)) write(key, references_.data()[reference++]);
  for (const auto& entry : dictionary) write(entry.value(), references_.data()[reference++]);
}

void BinaryWriter::writeLeaf(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::Boolean:
      bytes_ += *value.ifBoolean() ? '\x09' : '\x08';
      break;
    case Value::Kind::Integer:
      writeInteger(*value.ifInteger());
      break;
    case Value::Kind::Real:
      bytes_ += '\x23';
      writeNumber(bitsOf(*value.ifReal()), 8);
      break;
    case Value::Kind::Date:
      bytes_ += '\x33';
      writeNumber(bitsOf(value.ifDate()->secondsSinceReferenceDate), 8);
      break;
    case Value::Kind::Data:
      writeHead(0x4, value.ifData()->size());
      bytes_ += *value.ifData();
      break;
    case Value::Kind::String:
      writeText(*value.ifString());
      break;
    default:
      break;  // containers are no leaves, and the first pass refuses the rest
  }
}

void BinaryWriter::writeTrailer(std::size_t table, std::size_t offsetWidth) {
  writeNumber(0, 6);
  writeNumber(offsetWidth, 1);
  writeNumber(referenceWidth_, 1);
  writeNumber(objectCount_, 8);
  writeNumber(0, 8);
  writeNumber(table, 8);
}

}  // namespace

Result<std::string> writeBinaryPropertyList(const Value& value) { return BinaryWriter().write(value); }

}  // namespace macos
