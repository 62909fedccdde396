// SPDX-License-Identifier: MIT
#include "macos/carbon/AppleDouble.h"

#include <utility>

#include "macos/carbon/ByteOrder.h"

namespace macos {

namespace {

constexpr std::uint32_t kMagic = 0x00051607;
constexpr std::uint32_t kVersion1 = 0x00010000;
constexpr std::uint32_t kVersion2 = 0x00020000;
constexpr std::string_view kHomeFileSystem = "Mac OS X        ";
constexpr std::size_t kDoubleHeaderSize = 26;
constexpr std::size_t kEntrySize = 12;

constexpr std::uint32_t kResourceForkEntry = 2;
constexpr std::uint32_t kFinderInfoEntry = 9;

// The extended attributes lie inside the Finder information's entry, two bytes behind its 32.
constexpr std::string_view kAttributeMagic = "ATTR";
constexpr std::size_t kAttributeHeaderOffset = FinderInfo::kSize + 2;
constexpr std::size_t kAttributeHeaderSize = 36;
constexpr std::size_t kAttributeEntryFixedSize = 11;

Status corruptDouble(std::string_view cause) { return Status(ErrorCode::Corrupt, "AppleDouble", cause); }

constexpr std::size_t roundedUpTo4(std::size_t size) { return (size + 3) & ~std::size_t{3}; }

// What all copies together may still hold, so that entries which share their bytes cannot multiply them.
class Budget {
 public:
  explicit Budget(std::size_t bytes) : left_(bytes) {}
  bool take(std::uint64_t bytes) {
    if (bytes > left_) return false;
    left_ -= static_cast<std::size_t>(bytes);
    return true;
  }

 private:
  std::size_t left_;
};

Status readAttributes(std::string_view file, std::size_t entryOffset, std::size_t entryLength, Budget& budget,
                      std::vector<AppleDouble::Attribute>& attributes) {
  const std::string_view entry = file.substr(entryOffset, entryLength);
  if (!holdsRange(entry, kAttributeHeaderOffset, kAttributeHeaderSize)) return Status();
  if (entry.substr(kAttributeHeaderOffset, kAttributeMagic.size()) != kAttributeMagic) return Status();

  const std::size_t header = entryOffset + kAttributeHeaderOffset;
  const auto count = readBigEndian<std::uint16_t>(file, header + 34);
  std::size_t position = header + kAttributeHeaderSize;
  for (unsigned i = 0; i < count; ++i) {
    if (!holdsRange(file, position, kAttributeEntryFixedSize)) {
      return corruptDouble("an attribute lies outside");
    }
    const auto valueOffset = readBigEndian<std::uint32_t>(file, position);
    const auto valueLength = readBigEndian<std::uint32_t>(file, position + 4);
    const auto nameLength = readBigEndian<std::uint8_t>(file, position + 10);
    if (nameLength == 0 || !holdsRange(file, position + kAttributeEntryFixedSize, nameLength)) {
      return corruptDouble("an attribute's name lies outside");
    }
    if (!holdsRange(file, valueOffset, valueLength)) {
      return corruptDouble("an attribute's value lies outside");
    }
    if (!budget.take(valueLength)) return corruptDouble("attributes hold more than the file");

    // The length counts a zero byte at the end.
    const std::string_view name = file.substr(position + kAttributeEntryFixedSize, nameLength);
    attributes.push_back({.name = std::string(name.substr(0, name.find('\0'))),
                          .value = std::string(file.substr(valueOffset, valueLength)),
                          .flags = readBigEndian<std::uint16_t>(file, position + 8)});
    position += roundedUpTo4(kAttributeEntryFixedSize + nameLength);
  }
  return Status();
}

void appendEntry(std::string& out, std::uint32_t identifier, std::size_t offset, std::size_t length) {
  appendBigEndian(out, identifier);
  appendBigEndian(out, static_cast<std::uint32_t>(offset));
  appendBigEndian(out, static_cast<std::uint32_t>(length));
}

// The Finder information's entry with everything inside it, for the place where it begins in the file.
std::string finderInfoEntry(const AppleDouble& file, std::size_t place) {
  std::string entry = file.finderInfo.encode();
  if (file.attributes.empty()) return entry;

  std::size_t namesSize = 0, valuesSize = 0;
  for (const auto& attribute : file.attributes) {
    namesSize += roundedUpTo4(kAttributeEntryFixedSize + attribute.name.size() + 1);
    valuesSize += attribute.value.size();
  }
  const std::size_t dataStart = place + kAttributeHeaderOffset + kAttributeHeaderSize + namesSize;

  entry.append(2, '\0');
  entry += kAttributeMagic;
  appendBigEndian(entry, std::uint32_t{0});  // a mark for debugging
  appendBigEndian(entry, static_cast<std::uint32_t>(dataStart + valuesSize));
  appendBigEndian(entry, static_cast<std::uint32_t>(dataStart));
  appendBigEndian(entry, static_cast<std::uint32_t>(valuesSize));
  entry.append(12, '\0');
  appendBigEndian(entry, std::uint16_t{0});
  appendBigEndian(entry, static_cast<std::uint16_t>(file.attributes.size()));

  std::size_t valueOffset = dataStart;
  for (const auto& attribute : file.attributes) {
    appendBigEndian(entry, static_cast<std::uint32_t>(valueOffset));
    appendBigEndian(entry, static_cast<std::uint32_t>(attribute.value.size()));
    appendBigEndian(entry, attribute.flags);
    appendBigEndian(entry, static_cast<std::uint8_t>(attribute.name.size() + 1));
    entry += attribute.name;
    const std::size_t size = kAttributeEntryFixedSize + attribute.name.size();
    entry.append(roundedUpTo4(size + 1) - size, '\0');
    valueOffset += attribute.value.size();
  }
  for (const auto& attribute : file.attributes) entry += attribute.value;
  return entry;
}

bool canBeWritten(const AppleDouble& file) {
  std::uint64_t total = file.resourceFork.size();
  for (const auto& attribute : file.attributes) {
    if (attribute.name.empty() || attribute.name.size() > 254) return false;
    total += attribute.value.size();
  }
  for (const auto& entry : file.otherEntries) total += entry.bytes.size();
  // Leaves room for the headers and for every name.
  return file.attributes.size() <= 0xFFFF && file.otherEntries.size() <= 0xFFFF - 2 && total < 0xF000'0000;
}

}  // namespace

Result<AppleDouble> AppleDouble::decode(std::string_view bytes) {
  if (bytes.size() < kDoubleHeaderSize) return corruptDouble("too short");
  if (readBigEndian<std::uint32_t>(bytes, 0) != kMagic) return corruptDouble("another magic number");
  const auto version = readBigEndian<std::uint32_t>(bytes, 4);
  if (version != kVersion1 && version != kVersion2) {
    return Status(ErrorCode::Unsupported, "AppleDouble", "another version");
  }
  const auto count = readBigEndian<std::uint16_t>(bytes, 24);
  if (!holdsRange(bytes, kDoubleHeaderSize, std::uint64_t{count} * kEntrySize)) {
    return corruptDouble("too many entries");
  }

  AppleDouble file;
  Budget budget(bytes.size());
  bool hasFinderInfo = false, hasResourceFork = false;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t position = kDoubleHeaderSize + i * kEntrySize;
    const auto identifier = readBigEndian<std::uint32_t>(bytes, position);
    const auto offset = readBigEndian<std::uint32_t>(bytes, position + 4);
    const auto length = readBigEndian<std::uint32_t>(bytes, position + 8);
    if (!holdsRange(bytes, offset, length)) return corruptDouble("an entry lies outside");
    if (!budget.take(length)) return corruptDouble("entries hold more than the file");

    if (identifier == kFinderInfoEntry) {
      if (std::exchange(hasFinderInfo, true)) continue;
      if (length < FinderInfo::kSize) return corruptDouble("short Finder information");
      file.finderInfo = *FinderInfo::decode(bytes.substr(offset, FinderInfo::kSize));
      Budget values(bytes.size());
      if (Status status = readAttributes(bytes, offset, length, values, file.attributes); !status.ok()) {
        return status;
      }
    } else if (identifier == kResourceForkEntry) {
      if (!std::exchange(hasResourceFork, true)) file.resourceFork = bytes.substr(offset, length);
    } else {
      file.otherEntries.push_back(
          {.identifier = identifier, .bytes = std::string(bytes.substr(offset, length))});
    }
  }
  return file;
}

Result<std::string> AppleDouble::encode() const {
  if (!canBeWritten(*this)) {
    return Status(ErrorCode::InvalidArgument, "AppleDouble", "too large, or a name is too long");
  }

  const std::size_t count = otherEntries.size() + 2;
  std::string out;
  appendBigEndian(out, kMagic);
  appendBigEndian(out, kVersion2);
  out += kHomeFileSystem;
  appendBigEndian(out, static_cast<std::uint16_t>(count));

  std::size_t place = kDoubleHeaderSize + count * kEntrySize;
  const std::string finderEntry = finderInfoEntry(*this, place);
  appendEntry(out, kFinderInfoEntry, place, finderEntry.size());
  place += finderEntry.size();
  for (const auto& entry : otherEntries) {
    appendEntry(out, entry.identifier, place, entry.bytes.size());
    place += entry.bytes.size();
  }
  appendEntry(out, kResourceForkEntry, place, resourceFork.size());

  out += finderEntry;
  for (const auto& entry : otherEntries) out += entry.bytes;
  out += resourceFork;
  return out;
}

std::string appleDoubleName(std::string_view name) { return "._" + std::string(name); }

}  // namespace macos
