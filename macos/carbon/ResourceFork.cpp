// SPDX-License-Identifier: MIT
#include "macos/carbon/ResourceFork.h"

#include <algorithm>
#include <map>

#include "macos/carbon/ByteOrder.h"

namespace macos {

namespace {

constexpr std::size_t kForkHeaderSize = 16;
constexpr std::size_t kDataOffset = 256;
constexpr std::size_t kMapFixedSize = 28;
constexpr std::size_t kTypeSize = 8;
constexpr std::size_t kReferenceSize = 12;
constexpr std::uint16_t kNoName = 0xFFFF;
constexpr std::size_t kLargestDataOffset = 0xFFFFFF;

Status corruptFork(std::string_view cause) { return Status(ErrorCode::Corrupt, "resource fork", cause); }

struct Range {
  std::uint64_t start = 0;
  std::uint64_t length = 0;
};

bool overlap(std::vector<Range> ranges) {
  std::erase_if(ranges, [](const Range& range) { return range.length == 0; });
  std::sort(ranges.begin(), ranges.end(), [](const Range& a, const Range& b) { return a.start < b.start; });
  for (std::size_t i = 1; i < ranges.size(); ++i) {
    if (ranges[i].start < ranges[i - 1].start + ranges[i - 1].length) return true;
  }
  return false;
}

// Reads the map and, through it, the data. The two areas are views that were checked already.
class MapReader {
 public:
  MapReader(std::string_view data, std::string_view map) : data_(data), map_(map) {}

  Status read(std::vector<Resource>& resources);

 private:
  Status readReferences(OSType type, std::size_t list, std::size_t count, std::vector<Resource>& resources);
  Status readName(std::uint16_t offset, std::string& name);

  std::string_view data_;
  std::string_view map_;
  std::size_t names_ = 0;
  std::size_t nameBytes_ = 0;
  std::vector<Range> lists_;   // in the map
  std::vector<Range> pieces_;  // in the data, one for each resource, with the four bytes of its length
};

Status MapReader::read(std::vector<Resource>& resources) {
  const std::size_t types = readBigEndian<std::uint16_t>(map_, 24);
  names_ = readBigEndian<std::uint16_t>(map_, 26);
  if (!holdsRange(map_, types, 2)) return corruptFork("the type list lies outside");
  // The count is stored less one: 0xFFFF is none.
  const std::size_t typeCount = static_cast<std::uint16_t>(readBigEndian<std::uint16_t>(map_, types) + 1);
  if (!holdsRange(map_, types + 2, typeCount * kTypeSize)) return corruptFork("too many types");
  lists_.push_back({types, 2 + typeCount * kTypeSize});

  for (std::size_t i = 0; i < typeCount; ++i) {
    const std::size_t entry = types + 2 + i * kTypeSize;
    const std::size_t count = std::size_t{readBigEndian<std::uint16_t>(map_, entry + 4)} + 1;
    const std::size_t list = types + readBigEndian<std::uint16_t>(map_, entry + 6);
    if (!holdsRange(map_, list, count * kReferenceSize)) return corruptFork("a reference list lies outside");
    lists_.push_back({list, count * kReferenceSize});
  }
  if (overlap(lists_)) return corruptFork("lists overlap");

  for (std::size_t i = 0; i < typeCount; ++i) {
    const auto type = readBigEndian<OSType>(map_, types + 2 + i * kTypeSize);
    const Range& list = lists_[i + 1];
    if (Status status = readReferences(type, list.start, list.length / kReferenceSize, resources);
        !status.ok()) {
      return status;
    }
  }
  // Before anything is copied: pieces that shared their bytes would multiply them.
  if (overlap(pieces_)) return corruptFork("resources overlap");
  for (std::size_t i = 0; i < pieces_.size(); ++i) {
    resources[i].data = data_.substr(pieces_[i].start + 4, pieces_[i].length - 4);
  }
  return Status();
}

Status MapReader::readReferences(OSType type, std::size_t list, std::size_t count,
                                 std::vector<Resource>& resources) {
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t entry = list + i * kReferenceSize;
    Resource resource{.type = type, .identifier = readBigEndian<std::int16_t>(map_, entry)};
    if (Status status = readName(readBigEndian<std::uint16_t>(map_, entry + 2), resource.name);
        !status.ok()) {
      return status;
    }
    const auto place = readBigEndian<std::uint32_t>(map_, entry + 4);
    resource.attributes = static_cast<std::uint8_t>(place >> 24);

    const std::size_t start = place & kLargestDataOffset;
    if (!holdsRange(data_, start, 4)) return corruptFork("a resource lies outside");
    const auto length = readBigEndian<std::uint32_t>(data_, start);
    if (!holdsRange(data_, start + 4, length)) return corruptFork("a resource ends outside");
    pieces_.push_back({start, std::uint64_t{4} + length});
    resources.push_back(std::move(resource));
  }
  return Status();
}

Status MapReader::readName(std::uint16_t offset, std::string& name) {
  if (offset == kNoName) return Status();
  const std::size_t place = names_ + offset;
  if (!holdsRange(map_, place, 1)) return corruptFork("a name lies outside");
  const auto length = readBigEndian<std::uint8_t>(map_, place);
  if (!holdsRange(map_, place + 1, length)) return corruptFork("a name ends outside");
  nameBytes_ += length;
  if (nameBytes_ > map_.size()) return corruptFork("names overlap");
  name = map_.substr(place + 1, length);
  return Status();
}

// The resources grouped by type, the groups in the order in which their types first occur.
std::vector<std::vector<const Resource*>> groupedByType(const std::vector<Resource>& resources) {
  std::vector<std::vector<const Resource*>> groups;
  std::map<OSType, std::size_t> groupOfType;
  for (const Resource& resource : resources) {
    const auto [found, isNew] = groupOfType.emplace(resource.type, groups.size());
    if (isNew) groups.emplace_back();
    groups[found->second].push_back(&resource);
  }
  return groups;
}

}  // namespace

Result<ResourceFork> ResourceFork::decode(std::string_view bytes) {
  ResourceFork fork;
  if (bytes.empty()) return fork;
  if (bytes.size() < kForkHeaderSize) return corruptFork("too short");
  const auto dataOffset = readBigEndian<std::uint32_t>(bytes, 0);
  const auto mapOffset = readBigEndian<std::uint32_t>(bytes, 4);
  const auto dataLength = readBigEndian<std::uint32_t>(bytes, 8);
  const auto mapLength = readBigEndian<std::uint32_t>(bytes, 12);
  if (!holdsRange(bytes, dataOffset, dataLength)) return corruptFork("the data area lies outside");
  if (!holdsRange(bytes, mapOffset, mapLength)) return corruptFork("the map lies outside");
  if (mapLength < kMapFixedSize) return corruptFork("the map is too short");
  if (overlap({{0, kForkHeaderSize}, {dataOffset, dataLength}, {mapOffset, mapLength}})) {
    return corruptFork("areas overlap");
  }

  const std::string_view map = bytes.substr(mapOffset, mapLength);
  fork.mapAttributes_ = readBigEndian<std::uint16_t>(map, 22);
  MapReader reader(bytes.substr(dataOffset, dataLength), map);
  if (Status status = reader.read(fork.resources_); !status.ok()) return status;
  return fork;
}

Result<std::string> ResourceFork::encode() const {
  const auto groups = groupedByType(resources_);
  const std::size_t typeListSize = 2 + groups.size() * kTypeSize;
  std::string data, types, references, names;

  appendBigEndian(types, static_cast<std::uint16_t>(groups.size() - 1));
  for (const auto& group : groups) {
    const std::size_t referenceList = typeListSize + references.size();
    if (referenceList > 0xFFFF) {
      return Status(ErrorCode::InvalidArgument, "resource fork", "too many resources");
    }
    appendBigEndian(types, group.front()->type);
    appendBigEndian(types, static_cast<std::uint16_t>(group.size() - 1));
    appendBigEndian(types, static_cast<std::uint16_t>(referenceList));

    for (const Resource* resource : group) {
      const bool isNamed = !resource->name.empty();
      if (resource->name.size() > 0xFF || names.size() >= kNoName || data.size() > kLargestDataOffset) {
        return Status(ErrorCode::InvalidArgument, "resource fork", "too much data or too long a name");
      }
      appendBigEndian(references, resource->identifier);
      appendBigEndian(references, isNamed ? static_cast<std::uint16_t>(names.size()) : kNoName);
      appendBigEndian(references,
                      static_cast<std::uint32_t>(std::uint32_t{resource->attributes} << 24 | data.size()));
      appendBigEndian(references, std::uint32_t{0});
      if (isNamed) {
        appendBigEndian(names, static_cast<std::uint8_t>(resource->name.size()));
        names += resource->name;
      }
      appendBigEndian(data, static_cast<std::uint32_t>(resource->data.size()));
      data += resource->data;
    }
  }
  const std::size_t nameList = kMapFixedSize + typeListSize + references.size();
  if (nameList > 0xFFFF) return Status(ErrorCode::InvalidArgument, "resource fork", "too many resources");

  std::string header;
  appendBigEndian(header, static_cast<std::uint32_t>(kDataOffset));
  appendBigEndian(header, static_cast<std::uint32_t>(kDataOffset + data.size()));
  appendBigEndian(header, static_cast<std::uint32_t>(data.size()));
  appendBigEndian(header, static_cast<std::uint32_t>(nameList + names.size()));

  std::string out = header;
  out.append(kDataOffset - kForkHeaderSize, '\0');
  out += data;
  // The map begins with room for a copy of the header and two handles, which readers fill in memory.
  out.append(22, '\0');
  appendBigEndian(out, mapAttributes_);
  appendBigEndian(out, static_cast<std::uint16_t>(kMapFixedSize));
  appendBigEndian(out, static_cast<std::uint16_t>(nameList));
  return out + types + references + names;
}

const Resource* ResourceFork::find(OSType type, std::int16_t identifier) const {
  for (const Resource& resource : resources_) {
    if (resource.type == type && resource.identifier == identifier) return &resource;
  }
  return nullptr;
}

const Resource* ResourceFork::findFirst(OSType type) const {
  for (const Resource& resource : resources_) {
    if (resource.type == type) return &resource;
  }
  return nullptr;
}

void ResourceFork::set(Resource resource) {
  for (Resource& present : resources_) {
    if (present.type == resource.type && present.identifier == resource.identifier) {
      present = std::move(resource);
      return;
    }
  }
  resources_.push_back(std::move(resource));
}

bool ResourceFork::remove(OSType type, std::int16_t identifier) {
  return std::erase_if(resources_, [&](const Resource& resource) {
           return resource.type == type && resource.identifier == identifier;
         }) > 0;
}

}  // namespace macos
