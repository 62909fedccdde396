// SPDX-License-Identifier: MIT
//
// The form in which events go from process to process, all numbers big-endian:
//   event  := "AEv1" class identifier returnID:16 transaction:32 address parameters
//   desc   := type 0:8 size:32 bytes  |  type 1:8 count:32 { keyword desc }
// The data of numbers and codes stays as it is: both ends are on one machine.
#include <algorithm>

#include "macos/carbon/AppleEvents.h"
#include "macos/carbon/ByteOrder.h"

namespace macos {

namespace {

constexpr OSType kMagic = fourCharCode("AEv1");
constexpr std::uint8_t kSimple = 0;
constexpr std::uint8_t kRecord = 1;

void appendDesc(std::string& out, const AEDesc& desc) {
  appendBigEndian(out, desc.descriptorType);
  if (desc.isRecord) {
    appendBigEndian(out, kRecord);
    appendBigEndian(out, static_cast<std::uint32_t>(desc.fields.size()));
    for (const AERecordField& field : desc.fields) {
      appendBigEndian(out, field.keyword);
      appendDesc(out, field.desc);
    }
    return;
  }
  appendBigEndian(out, kSimple);
  appendBigEndian(out, static_cast<std::uint32_t>(desc.data.size()));
  out += desc.data;
}

class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}

  bool atEnd() const { return place_ == bytes_.size(); }

  template <std::integral T>
  bool read(T* value) {
    if (!holdsRange(bytes_, place_, sizeof(T))) return false;
    *value = readBigEndian<T>(bytes_, place_);
    place_ += sizeof(T);
    return true;
  }

  bool readDesc(AEDesc* desc, int depth) {
    std::uint8_t kind = 0;
    std::uint32_t count = 0;
    if (!read(&desc->descriptorType) || !read(&kind) || !read(&count)) return false;
    if (kind == kRecord) return readFields(desc, count, depth);
    if (kind != kSimple || !holdsRange(bytes_, place_, count)) return false;
    desc->data = bytes_.substr(place_, count);
    place_ += count;
    return true;
  }

 private:
  bool readFields(AEDesc* desc, std::uint32_t count, int depth) {
    if (depth > kDeepestAERecord) return false;
    desc->isRecord = true;
    for (std::uint32_t index = 0; index < count; ++index) {
      AERecordField field;
      if (!read(&field.keyword) || !readDesc(&field.desc, depth + 1)) return false;
      desc->fields.push_back(std::move(field));
    }
    return haveDifferentKeywords(desc->fields);
  }

  static bool haveDifferentKeywords(const std::vector<AERecordField>& fields) {
    std::vector<AEKeyword> keywords;
    for (const AERecordField& field : fields) keywords.push_back(field.keyword);
    std::sort(keywords.begin(), keywords.end());
    return std::adjacent_find(keywords.begin(), keywords.end()) == keywords.end();
  }

  std::string_view bytes_;
  std::size_t place_ = 0;
};

}  // namespace

std::string AEFlattenEvent(const AppleEvent& event) {
  std::string bytes;
  appendBigEndian(bytes, kMagic);
  appendBigEndian(bytes, event.eventClass);
  appendBigEndian(bytes, event.eventID);
  appendBigEndian(bytes, event.returnID);
  appendBigEndian(bytes, event.transactionID);
  appendDesc(bytes, event.address);
  appendDesc(bytes, event.parameters);
  return bytes;
}

OSErr AEUnflattenEvent(std::string_view bytes, AppleEvent* event) {
  Reader reader(bytes);
  OSType magic = 0;
  AppleEvent read;
  read.parameters = {};
  if (!reader.read(&magic) || magic != kMagic || !reader.read(&read.eventClass) ||
      !reader.read(&read.eventID) || !reader.read(&read.returnID) || !reader.read(&read.transactionID) ||
      !reader.readDesc(&read.address, 0) || !reader.readDesc(&read.parameters, 0) || !reader.atEnd() ||
      !read.parameters.isRecord) {
    return errAECorruptData;
  }
  *event = std::move(read);
  return noErr;
}

}  // namespace macos
