// SPDX-License-Identifier: MIT
//
// The reader of "bplist00" files. An object is read straight from the bytes into the value that holds
// it; nothing is kept about an object but one byte that says whether it was met before.
#include <bit>
#include <cmath>
#include <cstring>
#include <unordered_map>
#include <utility>
#include <vector>

#include "macos/foundation/KeyShapes.h"
#include "macos/foundation/PropertyListCodecs.h"
#include "macos/foundation/Text.h"
#include "macos/foundation/ValueStorage.h"

namespace macos {

namespace {

constexpr std::string_view kMagic = "bplist0";
constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kBinaryTrailerSize = 32;
constexpr unsigned char kDateMarker = 0x33;

// What an object stands for when every shared reference in it is written out.
struct Expansion {
  std::uint64_t objects = 1;
  std::uint64_t bytes = 0;  // of text and data
};

std::uint64_t loadBigEndian(const unsigned char* bytes, std::size_t width) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < width; ++i) value = value << 8 | bytes[i];
  return value;
}

std::uint64_t loadBigEndian64(const unsigned char* bytes) {
  std::uint64_t value = 0;
  std::memcpy(&value, bytes, sizeof value);
  return std::endian::native == std::endian::little ? __builtin_bswap64(value) : value;
}

std::uint32_t loadBigEndian32(const unsigned char* bytes) {
  std::uint32_t value = 0;
  std::memcpy(&value, bytes, sizeof value);
  return std::endian::native == std::endian::little ? __builtin_bswap32(value) : value;
}

// A run of unsigned integers of one width.
struct IntegerTable {
  const unsigned char* bytes = nullptr;
  std::size_t width = 1;

  std::uint64_t operator[](std::size_t index) const {
    const unsigned char* at = bytes + index * width;
    switch (width) {
      case 1:
        return *at;
      case 2:
        return static_cast<std::uint64_t>(at[0]) << 8 | at[1];
      case 4:
        return loadBigEndian32(at);
      case 8:
        return loadBigEndian64(at);
      default:
        return loadBigEndian(at, width);
    }
  }
};

class BinaryReader {
 public:
  explicit BinaryReader(std::string_view file)
      : bytes_(static_cast<const unsigned char*>(static_cast<const void*>(file.data()))),
        size_(file.size()) {}

  Result<Value> read();

 private:
  // What is known of an object. On the second visit it is kept, so that from then on it is shared.
  enum class Visit : std::uint8_t { None, UnderWay, Once, Kept };
  struct Kept {
    Value value;
    Expansion expansion;
  };
  // Where an object's content lies and how many units of what width it has.
  struct Payload {
    std::size_t start = 0;
    std::size_t count = 0;
  };

  bool readTrailer(std::uint64_t& topObject);
  bool checkOffsets();
  bool readTopObject(std::uint64_t reference, Value& value);
  bool readObject(std::uint64_t reference, Value& value, Expansion& expansion);
  bool readTracked(std::uint64_t reference, std::size_t offset, Value& value, Expansion& expansion);
  bool readShared(std::size_t offset, Value& value, Expansion& expansion);
  bool readSimple(std::size_t offset, Value& value);
  bool readInteger(std::size_t offset, Value& value);
  bool readReal(std::size_t offset, Value& value);
  bool readDate(std::size_t offset, Value& value);
  bool readUID(std::size_t offset, Value& value);
  bool readText(std::size_t offset, Value& value);
  bool readArray(std::size_t offset, Value& value, Expansion& expansion);
  bool readDictionary(std::size_t offset, Value& value, Expansion& expansion);
  bool findShape(const IntegerTable& keys, std::size_t count, KeyShapes::Shape& shape);
  bool readKey(std::uint64_t reference, Value& key);
  bool readLooseKeys(const IntegerTable& keys, std::size_t count, Expansion& expansion);

  bool locatePayload(std::size_t offset, std::size_t unitSize, Payload& payload);
  bool holds(std::size_t offset, std::size_t size) const {
    return offset <= objectsEnd_ && size <= objectsEnd_ - offset;
  }
  bool charge(std::size_t offset, std::size_t size);
  bool add(Expansion& sum, const Expansion& part);
  bool enter();
  bool fail(std::size_t offset, const char* cause) {
    failureOffset_ = offset;
    failureCause_ = cause;
    return false;
  }

  const unsigned char* bytes_;
  std::size_t size_;
  std::size_t objectsEnd_ = 0;  // where the offset table begins
  std::size_t objectCount_ = 0;
  IntegerTable offsets_;
  std::size_t referenceWidth_ = 1;

  std::vector<Visit> visits_;
  std::unordered_map<std::uint64_t, Kept> kept_;
  KeyShapes shapes_{Duplicates::FirstStays};
  std::vector<Value> stack_;  // values of the dictionaries under way
  std::string text_;          // of the string under way
  std::size_t depth_ = 0;
  std::size_t bytesRead_ = 0;

  std::size_t failureOffset_ = 0;
  const char* failureCause_ = "";
};

bool isContainer(unsigned char marker) { return marker >= 0xA0; }

// In bytes: of UTF-16 text, or of ASCII text or data.
std::size_t textUnitSize(unsigned char marker) { return marker >> 4 == 0x6 ? 2 : 1; }

Result<Value> BinaryReader::read() {
  Value value;
  std::uint64_t topObject = 0;
  if (readTrailer(topObject) && checkOffsets() && readTopObject(topObject, value)) return value;
  return corruptPropertyList("binary property list", failureOffset_, failureCause_);
}

bool BinaryReader::readTopObject(std::uint64_t reference, Value& value) {
  Expansion expansion;
  if (!readObject(reference, value, expansion)) return false;
  const auto offset = static_cast<std::size_t>(offsets_[static_cast<std::size_t>(reference)]);
  const bool isBrokenDate = bytes_[offset] == kDateMarker && value.isNull();
  return !isBrokenDate || fail(offset, "a date out of range");
}

bool BinaryReader::readTrailer(std::uint64_t& topObject) {
  if (size_ > kPropertyListMaximumSize) return fail(0, "too large");
  if (size_ < kHeaderSize + 1 + kBinaryTrailerSize) {
    return fail(size_, "too short for a header and a trailer");
  }
  const std::size_t trailer = size_ - kBinaryTrailerSize;
  offsets_.width = bytes_[trailer + 6];
  referenceWidth_ = bytes_[trailer + 7];
  const std::uint64_t count = loadBigEndian64(bytes_ + trailer + 8);
  topObject = loadBigEndian64(bytes_ + trailer + 16);
  const std::uint64_t table = loadBigEndian64(bytes_ + trailer + 24);
  if (offsets_.width == 0 || referenceWidth_ == 0) return fail(trailer + 6, "a width of zero");
  if (table <= kHeaderSize || table >= trailer) return fail(trailer + 24, "no room for the offset table");
  if (count == 0 || topObject >= count) return fail(trailer + 16, "no top object");
  // The table must fill what is between the objects and the trailer, no more and no less.
  const std::uint64_t room = trailer - table;
  if (count > room || count * offsets_.width != room) return fail(table, "an offset table of another size");
  if (referenceWidth_ < 8 && count >> (8 * referenceWidth_) != 0) {
    return fail(trailer + 7, "references too narrow for the number of objects");
  }
  if (offsets_.width < 8 && table >> (8 * offsets_.width) != 0) {
    return fail(trailer + 6, "offsets too narrow for the size");
  }
  objectsEnd_ = static_cast<std::size_t>(table);
  objectCount_ = static_cast<std::size_t>(count);
  offsets_.bytes = bytes_ + table;
  visits_.resize(objectCount_);
  return true;
}

bool BinaryReader::checkOffsets() {
  for (std::size_t i = 0; i < objectCount_; ++i) {
    if (offsets_[i] >= objectsEnd_) {
      return fail(objectsEnd_ + i * offsets_.width, "an offset outside the objects");
    }
  }
  return true;
}

bool BinaryReader::readObject(std::uint64_t reference, Value& value, Expansion& expansion) {
  if (reference >= objectCount_) return fail(objectsEnd_, "a reference to no object");
  const auto offset = static_cast<std::size_t>(offsets_[static_cast<std::size_t>(reference)]);
  if (offset < kHeaderSize) return fail(offset, "an object inside the header");
  const unsigned char marker = bytes_[offset];
  switch (marker >> 4) {
    case 0x0:
      return readSimple(offset, value);
    case 0x1:
      return readInteger(offset, value);
    case 0x2:
      return readReal(offset, value);
    case 0x3:
      return readDate(offset, value);
    case 0x4:
    case 0x5:
    case 0x6:
      // Short ones lie inside their value, so that there is nothing to share.
      if ((marker & 0x0F) == 0x0F) return readTracked(reference, offset, value, expansion);
      if (!readText(offset, value)) return false;
      expansion.bytes += marker & 0x0FU;
      return true;
    case 0x8:
      return readUID(offset, value);
    case 0xA:
    case 0xC:
    case 0xD:
      return readTracked(reference, offset, value, expansion);
    default:
      return fail(offset, "an object of unknown kind");
  }
}

// Reads what can be shared. An object that is met again is read once more and kept; whoever meets it
// after that shares it. So a file whose objects are each used once, as most are, costs one byte an object.
bool BinaryReader::readTracked(std::uint64_t reference, std::size_t offset, Value& value,
                               Expansion& expansion) {
  Visit& visit = visits_[static_cast<std::size_t>(reference)];
  if (visit == Visit::Kept) {
    const Kept& kept = kept_.find(reference)->second;
    value = kept.value;
    expansion = kept.expansion;
    return true;
  }
  if (visit == Visit::UnderWay) return fail(offset, "an object that contains itself");
  const Visit before = std::exchange(visit, Visit::UnderWay);
  if (!readShared(offset, value, expansion)) return false;
  visit = before == Visit::None ? Visit::Once : Visit::Kept;
  if (visit == Visit::Kept) kept_.emplace(reference, Kept{value, expansion});
  return true;
}

bool BinaryReader::readShared(std::size_t offset, Value& value, Expansion& expansion) {
  const unsigned char marker = bytes_[offset];
  if (!isContainer(marker)) {
    // What it takes in the file, which in UTF-8 may be half as much again.
    const std::size_t unitSize = textUnitSize(marker);
    Payload payload;
    if (!locatePayload(offset, unitSize, payload) || !charge(offset, payload.count * unitSize)) return false;
    if (!readText(offset, value)) return false;
    const auto text = value.kind() == Value::Kind::Data ? value.ifData() : value.ifString();
    expansion.bytes += text->size();
    return true;
  }
  if (!enter()) return fail(offset, "containers nested too deep");
  const bool isRead =
      (marker >> 4) == 0xD ? readDictionary(offset, value, expansion) : readArray(offset, value, expansion);
  --depth_;
  return isRead;
}

bool BinaryReader::enter() { return ++depth_ <= kPropertyListMaximumDepth; }

bool BinaryReader::readSimple(std::size_t offset, Value& value) {
  switch (bytes_[offset]) {
    case 0x00:
      value = Value();
      return true;
    case 0x08:
      value = Value(false);
      return true;
    case 0x09:
      value = Value(true);
      return true;
    default:
      return fail(offset, "an object of unknown kind");
  }
}

bool BinaryReader::readInteger(std::size_t offset, Value& value) {
  const unsigned exponent = bytes_[offset] & 0x0FU;
  if (exponent > 4) return fail(offset, "an integer of unknown width");
  const std::size_t width = std::size_t{1} << exponent;
  if (!holds(offset + 1, width)) return fail(offset, "an integer cut short");
  const unsigned char* at = bytes_ + offset + 1;
  // Eight bytes are signed. Sixteen hold what is too large for that, in their lower half.
  if (exponent == 3) {
    value = Value(static_cast<std::int64_t>(loadBigEndian64(at)));
  } else if (exponent == 4) {
    value = Value(loadBigEndian64(at + 8));
  } else {
    value = Value(loadBigEndian(at, width));
  }
  return true;
}

bool BinaryReader::readReal(std::size_t offset, Value& value) {
  const unsigned char marker = bytes_[offset];
  if (marker != 0x22 && marker != 0x23) return fail(offset, "a real of unknown width");
  if (!holds(offset + 1, marker == 0x22 ? 4 : 8)) return fail(offset, "a real cut short");
  value = marker == 0x22
              ? Value(static_cast<double>(std::bit_cast<float>(loadBigEndian32(bytes_ + offset + 1))))
              : Value(std::bit_cast<double>(loadBigEndian64(bytes_ + offset + 1)));
  return true;
}

bool BinaryReader::readDate(std::size_t offset, Value& value) {
  if (bytes_[offset] != kDateMarker || !holds(offset + 1, 8)) return fail(offset, "a date cut short");
  const NSDate date{std::bit_cast<double>(loadBigEndian64(bytes_ + offset + 1))};
  // One that no calendar holds, or that is no number, reads as null: what stands beside it is not broken.
  value = isInCalendar(date) ? Value(date) : Value();
  return true;
}

bool BinaryReader::readUID(std::size_t offset, Value& value) {
  const std::size_t width = (bytes_[offset] & 0x0FU) + std::size_t{1};
  if (!holds(offset + 1, width)) return fail(offset, "an identifier cut short");
  for (std::size_t i = 0; i + 4 < width; ++i) {
    if (bytes_[offset + 1 + i] != 0) return fail(offset, "an identifier of more than 32 bits");
  }
  Dictionary dictionary;
  dictionary.set(kUIDKey, Value(loadBigEndian(bytes_ + offset + 1, width)));
  value = Value(std::move(dictionary));
  return true;
}

// Finds the content of an object with a count, all of it before the offset table.
bool BinaryReader::locatePayload(std::size_t offset, std::size_t unitSize, Payload& payload) {
  payload.start = offset + 1;
  payload.count = bytes_[offset] & 0x0FU;
  if (payload.count == 0x0F) {
    if (!holds(payload.start, 1)) return fail(offset, "a count cut short");
    const unsigned char marker = bytes_[payload.start];
    if (marker < 0x10 || marker > 0x14) return fail(payload.start, "a count that is no integer");
    const std::size_t width = std::size_t{1} << (marker & 0x0FU);
    if (!holds(payload.start + 1, width)) return fail(offset, "a count cut short");
    const std::uint64_t count = loadBigEndian(bytes_ + payload.start + 1, width);
    if (count > size_) return fail(payload.start, "a count beyond the end");
    payload.start += 1 + width;
    payload.count = static_cast<std::size_t>(count);
  }
  if (payload.count > (objectsEnd_ - payload.start) / unitSize) return fail(offset, "content beyond the end");
  return true;
}

// Objects that overlap would let a small file fill a large memory: all that is read may not exceed what
// is there, each object being read twice at most.
bool BinaryReader::charge(std::size_t offset, std::size_t size) {
  bytesRead_ += size;
  return bytesRead_ <= 2 * objectsEnd_ || fail(offset, "objects that overlap");
}

bool BinaryReader::readText(std::size_t offset, Value& value) {
  const unsigned kind = bytes_[offset] >> 4U;
  Payload payload;
  if (!locatePayload(offset, textUnitSize(bytes_[offset]), payload)) return false;
  const unsigned char* start = bytes_ + payload.start;
  const std::string_view content(static_cast<const char*>(static_cast<const void*>(start)), payload.count);
  if (kind == 0x4) {
    value = Value::fromData(content);
    return true;
  }
  if (kind == 0x5) {
    if (!isASCII(content)) return fail(offset, "a byte that is not ASCII in an ASCII string");
    value = ValueStorage::stringFromValidUTF8(content);
    return true;
  }
  text_.clear();
  for (std::size_t i = 0; i < payload.count; ++i) {
    const auto unit = [&](std::size_t index) {
      return static_cast<char32_t>(start[2 * index] << 8 | start[2 * index + 1]);
    };
    char32_t c = unit(i);
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < payload.count && (unit(i + 1) & 0xFC00) == 0xDC00) {
      c = 0x10000 + ((c - 0xD800) << 10) + (unit(++i) - 0xDC00);
    }
    appendUTF8(text_, c);
  }
  value = ValueStorage::stringFromValidUTF8(text_);
  return true;
}

// A budget for what is shared: without one, 500 bytes of arrays that each hold the next one twice stand
// for more objects than any reader of this value could walk through.
bool BinaryReader::add(Expansion& sum, const Expansion& part) {
  sum.objects += part.objects;
  sum.bytes += part.bytes;
  return sum.objects <= 1024 + 16 * size_ && sum.bytes <= (std::uint64_t{16} << 20) + 64 * size_;
}

bool BinaryReader::readArray(std::size_t offset, Value& value, Expansion& expansion) {
  Payload payload;
  if (!locatePayload(offset, referenceWidth_, payload)) return false;
  if (!charge(offset, payload.count * referenceWidth_)) return false;
  const IntegerTable references{bytes_ + payload.start, referenceWidth_};
  Array array;
  array.reserve(payload.count);
  for (std::size_t i = 0; i < payload.count; ++i) {
    Value element;
    Expansion part;
    if (!readObject(references[i], element, part)) return false;
    if (!add(expansion, part)) return fail(offset, "shared references that stand for too much");
    array.append(std::move(element));
  }
  value = Value(std::move(array));
  return true;
}

bool BinaryReader::readDictionary(std::size_t offset, Value& value, Expansion& expansion) {
  Payload payload;
  if (!locatePayload(offset, 2 * referenceWidth_, payload)) return false;
  if (!charge(offset, payload.count * 2 * referenceWidth_)) return false;
  const IntegerTable keys{bytes_ + payload.start, referenceWidth_};
  const IntegerTable references{keys.bytes + payload.count * referenceWidth_, referenceWidth_};
  KeyShapes::Shape shape = KeyShapes::kEmpty;
  if (!findShape(keys, payload.count, shape)) return false;
  const std::size_t firstKey = stack_.size();
  if (shape != KeyShapes::kNone) {
    const KeyShapes::Totals totals = shapes_.totals(shape);
    if (!add(expansion, {totals.keys, totals.bytes})) {
      return fail(offset, "shared keys that stand for too much");
    }
  } else if (!readLooseKeys(keys, payload.count, expansion)) {
    return false;
  }
  const std::size_t firstValue = stack_.size();
  for (std::size_t i = 0; i < payload.count; ++i) {
    Value element;
    Expansion part;
    if (!readObject(references[i], element, part)) return false;
    if (!add(expansion, part)) return fail(offset, "shared references that stand for too much");
    stack_.push_back(std::move(element));
  }
  Value* values = stack_.data() + firstValue;
  value = Value(shape != KeyShapes::kNone ? shapes_.dictionary(shape, values)
                                          : looseDictionary(stack_.data() + firstKey, values, payload.count,
                                                            Duplicates::FirstStays));
  stack_.resize(firstKey);
  return true;
}

// The shape of these keys, kNone when it cannot be had.
bool BinaryReader::findShape(const IntegerTable& keys, std::size_t count, KeyShapes::Shape& shape) {
  for (std::size_t i = 0; i < count && shape != KeyShapes::kNone; ++i) {
    const std::uint64_t reference = keys[i];
    const KeyShapes::Shape known = shapes_.next(shape, reference);
    if (known != KeyShapes::kNone) {
      shape = known;
      continue;
    }
    if (!shapes_.hasRoomAfter(shape)) {
      shape = KeyShapes::kNone;
      return true;
    }
    Value key;
    if (!readKey(reference, key)) return false;
    shape = shapes_.add(shape, reference, std::move(key));
  }
  return true;
}

bool BinaryReader::readKey(std::uint64_t reference, Value& key) {
  Expansion ignored;
  if (reference < objectCount_ && isContainer(bytes_[offsets_[static_cast<std::size_t>(reference)]])) {
    return fail(objectsEnd_, "a key that is a container");
  }
  if (!readObject(reference, key, ignored)) return false;
  return key.kind() == Value::Kind::String || fail(objectsEnd_, "a key that is no string");
}

bool BinaryReader::readLooseKeys(const IntegerTable& keys, std::size_t count, Expansion& expansion) {
  for (std::size_t i = 0; i < count; ++i) {
    Value key;
    if (!readKey(keys[i], key)) return false;
    if (!add(expansion, {1, key.ifString()->size()})) {
      return fail(objectsEnd_, "shared keys that stand for too much");
    }
    stack_.push_back(std::move(key));
  }
  return true;
}

}  // namespace

bool hasBinaryPropertyListMagic(std::string_view bytes) { return bytes.starts_with(kMagic); }

Result<Value> readBinaryPropertyList(std::string_view bytes) {
  if (!hasBinaryPropertyListMagic(bytes)) {
    return corruptPropertyList("binary property list", 0, "no such header");
  }
  return BinaryReader(bytes).read();
}

}  // namespace macos
