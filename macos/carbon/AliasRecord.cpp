// SPDX-License-Identifier: MIT
#include "macos/carbon/AliasRecord.h"

#include <algorithm>

#include "macos/carbon/ByteOrder.h"

namespace macos {

namespace {

constexpr std::size_t kHeadSize = 8;
constexpr std::size_t kVersion2Size = 150;
constexpr std::size_t kVersion3Size = 58;
constexpr std::size_t kLargestRecord = 0xFFFF;

constexpr std::size_t kVolumeNameField = 28;  // a length byte and 27
constexpr std::size_t kTargetNameField = 64;  // a length byte and 63

// What every version 3 record that was seen has at its end.
constexpr std::string_view kVersion3Reserved("\xFF\xFE\0\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF", 14);

Status corrupt(std::string_view cause) { return Status(ErrorCode::Corrupt, "alias record", cause); }
Status invalid(std::string_view cause) { return Status(ErrorCode::InvalidArgument, "alias record", cause); }

std::string pascalString(std::string_view bytes, std::size_t offset, std::size_t fieldSize) {
  const auto length = readBigEndian<std::uint8_t>(bytes, offset);
  if (length >= fieldSize) return {};
  return std::string(bytes.substr(offset + 1, length));
}

// Leaves a field that already reads as the name untouched, with whatever lies behind its end.
void writePascalString(std::string& bytes, std::size_t offset, std::size_t fieldSize, std::string_view name) {
  if (pascalString(bytes, offset, fieldSize) == name) return;
  std::string field(1, static_cast<char>(name.size()));
  field += name;
  field.resize(fieldSize, '\0');
  bytes.replace(offset, fieldSize, field);
}

std::string unusedFixedPart(std::uint16_t version) {
  if (version == 2) return std::string(kVersion2Size, '\0');
  std::string part(kVersion3Size, '\0');
  part.replace(44, kVersion3Reserved.size(), kVersion3Reserved);
  return part;
}

std::size_t fixedSize(std::uint16_t version) { return version == 2 ? kVersion2Size : kVersion3Size; }

void readVersion2(std::string_view bytes, AliasRecord& record) {
  record.volumeName = pascalString(bytes, 10, kVolumeNameField);
  record.volumeCreatedLocal = readBigEndian<std::uint32_t>(bytes, 38);
  record.fileSystem = OSType{readBigEndian<std::uint16_t>(bytes, 42)} << 16;
  record.diskType = readBigEndian<std::uint16_t>(bytes, 44);
  record.parentID = readBigEndian<std::uint32_t>(bytes, 46);
  record.targetName = pascalString(bytes, 50, kTargetNameField);
  record.targetID = readBigEndian<std::uint32_t>(bytes, 114);
  record.targetCreatedLocal = readBigEndian<std::uint32_t>(bytes, 118);
  record.fileType = readBigEndian<OSType>(bytes, 122);
  record.fileCreator = readBigEndian<OSType>(bytes, 126);
  record.levelsFrom = readBigEndian<std::int16_t>(bytes, 130);
  record.levelsTo = readBigEndian<std::int16_t>(bytes, 132);
  record.volumeAttributes = readBigEndian<std::uint32_t>(bytes, 134);
  record.fileSystemID = readBigEndian<std::uint16_t>(bytes, 138);
}

void writeVersion2(const AliasRecord& record, std::string& bytes) {
  writePascalString(bytes, 10, kVolumeNameField, record.volumeName);
  writeBigEndian(bytes, 38, record.volumeCreatedLocal);
  writeBigEndian(bytes, 42, static_cast<std::uint16_t>(record.fileSystem >> 16));
  writeBigEndian(bytes, 44, record.diskType);
  writeBigEndian(bytes, 46, record.parentID);
  writePascalString(bytes, 50, kTargetNameField, record.targetName);
  writeBigEndian(bytes, 114, record.targetID);
  writeBigEndian(bytes, 118, record.targetCreatedLocal);
  writeBigEndian(bytes, 122, record.fileType);
  writeBigEndian(bytes, 126, record.fileCreator);
  writeBigEndian(bytes, 130, record.levelsFrom);
  writeBigEndian(bytes, 132, record.levelsTo);
  writeBigEndian(bytes, 134, record.volumeAttributes);
  writeBigEndian(bytes, 138, record.fileSystemID);
}

void readVersion3(std::string_view bytes, AliasRecord& record) {
  record.volumeCreated = readBigEndian<UTCDateTime>(bytes, 10);
  record.fileSystem = readBigEndian<OSType>(bytes, 18);
  record.diskType = readBigEndian<std::uint16_t>(bytes, 22);
  record.parentID = readBigEndian<std::uint32_t>(bytes, 24);
  record.targetID = readBigEndian<std::uint32_t>(bytes, 28);
  record.targetCreated = readBigEndian<UTCDateTime>(bytes, 32);
  record.volumeAttributes = readBigEndian<std::uint32_t>(bytes, 40);
}

void writeVersion3(const AliasRecord& record, std::string& bytes) {
  writeBigEndian(bytes, 10, record.volumeCreated);
  writeBigEndian(bytes, 18, record.fileSystem);
  writeBigEndian(bytes, 22, record.diskType);
  writeBigEndian(bytes, 24, record.parentID);
  writeBigEndian(bytes, 28, record.targetID);
  writeBigEndian(bytes, 32, record.targetCreated);
  writeBigEndian(bytes, 40, record.volumeAttributes);
}

Status readFields(std::string_view bytes, std::size_t position, std::vector<AliasRecord::Field>& fields) {
  // A record may end without the field that says so.
  while (position < bytes.size()) {
    if (!holdsRange(bytes, position, 4)) return corrupt("a field is cut off");
    const auto tag = readBigEndian<std::uint16_t>(bytes, position);
    if (tag == static_cast<std::uint16_t>(AliasTag::End)) return Status();
    const auto length = readBigEndian<std::uint16_t>(bytes, position + 2);
    if (!holdsRange(bytes, position + 4, length)) return corrupt("a field runs past the end");
    fields.push_back({.tag = tag, .bytes = std::string(bytes.substr(position + 4, length))});
    position += 4 + std::size_t{length} + length % 2;
  }
  return Status();
}

void appendField(std::string& out, std::uint16_t tag, std::string_view bytes) {
  appendBigEndian(out, tag);
  appendBigEndian(out, static_cast<std::uint16_t>(bytes.size()));
  out += bytes;
  if (bytes.size() % 2 != 0) out.push_back('\0');
}

}  // namespace

Result<AliasRecord> AliasRecord::decode(std::string_view bytes) {
  if (bytes.size() < kHeadSize) return corrupt("too short");
  AliasRecord record;
  record.userType = readBigEndian<OSType>(bytes, 0);
  const std::size_t size = readBigEndian<std::uint16_t>(bytes, 4);
  record.version = readBigEndian<std::uint16_t>(bytes, 6);
  if (record.version != 2 && record.version != 3) {
    return Status(ErrorCode::Unsupported, "alias record", "another version");
  }
  const std::size_t fixed = fixedSize(record.version);
  if (size < fixed) return corrupt("shorter than its fixed part");
  if (size > bytes.size()) return corrupt("longer than its data");

  bytes = bytes.substr(0, size);
  record.isFolder = readBigEndian<std::uint16_t>(bytes, 8) != 0;
  record.version == 2 ? readVersion2(bytes, record) : readVersion3(bytes, record);
  if (Status status = readFields(bytes, fixed, record.fields); !status.ok()) return status;
  record.fixedPart_ = bytes.substr(0, fixed);
  writeBigEndian(record.fixedPart_, 4, std::uint16_t{0});
  return record;
}

Result<std::string> AliasRecord::encode() const {
  if (version != 2 && version != 3) return invalid("another version");
  if (volumeName.size() >= kVolumeNameField || targetName.size() >= kTargetNameField) {
    return invalid("a name is too long");
  }

  std::string out = fixedPart_.size() == fixedSize(version) ? fixedPart_ : unusedFixedPart(version);
  writeBigEndian(out, 0, userType);
  writeBigEndian(out, 6, version);
  if ((readBigEndian<std::uint16_t>(out, 8) != 0) != isFolder) {
    writeBigEndian(out, 8, static_cast<std::uint16_t>(isFolder ? 1 : 0));
  }
  version == 2 ? writeVersion2(*this, out) : writeVersion3(*this, out);

  for (const Field& each : fields) {
    if (each.bytes.size() > kLargestRecord) return invalid("a field is too long");
    appendField(out, each.tag, each.bytes);
  }
  appendField(out, static_cast<std::uint16_t>(AliasTag::End), {});
  if (out.size() > kLargestRecord) return invalid("too long");
  writeBigEndian(out, 4, static_cast<std::uint16_t>(out.size()));
  return out;
}

std::optional<std::string_view> AliasRecord::field(AliasTag tag) const {
  for (const Field& each : fields) {
    if (each.tag == static_cast<std::uint16_t>(tag)) return each.bytes;
  }
  return std::nullopt;
}

void AliasRecord::setField(AliasTag tag, std::string bytes) {
  for (Field& each : fields) {
    if (each.tag == static_cast<std::uint16_t>(tag)) {
      each.bytes = std::move(bytes);
      return;
    }
  }
  fields.push_back({.tag = static_cast<std::uint16_t>(tag), .bytes = std::move(bytes)});
}

void AliasRecord::removeField(AliasTag tag) {
  std::erase_if(fields, [&](const Field& each) { return each.tag == static_cast<std::uint16_t>(tag); });
}

std::optional<std::u16string> AliasRecord::unicodeName(AliasTag tag) const {
  const auto bytes = field(tag);
  if (!bytes || bytes->size() < 2) return std::nullopt;
  const auto count = readBigEndian<std::uint16_t>(*bytes, 0);
  if (!holdsRange(*bytes, 2, std::uint64_t{count} * 2)) return std::nullopt;
  std::u16string name;
  for (std::size_t i = 0; i < count; ++i) {
    name.push_back(static_cast<char16_t>(readBigEndian<std::uint16_t>(*bytes, 2 + 2 * i)));
  }
  return name;
}

std::optional<UTCDateTime> AliasRecord::date(AliasTag tag) const {
  const auto bytes = field(tag);
  if (!bytes || bytes->size() != 8) return std::nullopt;
  return readBigEndian<UTCDateTime>(*bytes, 0);
}

std::vector<std::uint32_t> AliasRecord::directoryIDs() const {
  std::vector<std::uint32_t> identifiers;
  const std::string_view bytes = field(AliasTag::DirectoryIDs).value_or(std::string_view());
  for (std::size_t i = 0; i + 4 <= bytes.size(); i += 4) {
    identifiers.push_back(readBigEndian<std::uint32_t>(bytes, i));
  }
  return identifiers;
}

void AliasRecord::setUnicodeName(AliasTag tag, std::u16string_view name) {
  std::string bytes;
  appendBigEndian(bytes, static_cast<std::uint16_t>(name.size()));
  for (const char16_t unit : name) appendBigEndian(bytes, static_cast<std::uint16_t>(unit));
  setField(tag, std::move(bytes));
}

void AliasRecord::setDate(AliasTag tag, UTCDateTime date) {
  std::string bytes;
  appendBigEndian(bytes, date);
  setField(tag, std::move(bytes));
}

void AliasRecord::setDirectoryIDs(const std::vector<std::uint32_t>& identifiers) {
  std::string bytes;
  for (const std::uint32_t identifier : identifiers) appendBigEndian(bytes, identifier);
  setField(AliasTag::DirectoryIDs, std::move(bytes));
}

}  // namespace macos
