// SPDX-License-Identifier: MIT
#include "macos/carbon/FinderInfo.h"

#include <algorithm>

namespace macos {

namespace {

constexpr std::size_t kTypeOffset = 0;
constexpr std::size_t kCreatorOffset = 4;
constexpr std::size_t kFlagsOffset = 8;

using Bytes = std::array<std::uint8_t, FinderInfo::kSize>;

OSType codeAt(const Bytes& bytes, std::size_t offset) {
  OSType code = 0;
  for (std::size_t i = 0; i < 4; ++i) code = code << 8 | bytes[offset + i];
  return code;
}

void setCodeAt(Bytes& bytes, std::size_t offset, OSType code) {
  for (std::size_t i = 4; i-- > 0; code >>= 8) bytes[offset + i] = static_cast<std::uint8_t>(code);
}

}  // namespace

std::optional<FinderInfo> FinderInfo::decode(std::string_view bytes) {
  if (bytes.size() != kSize) return std::nullopt;
  FinderInfo info;
  std::transform(bytes.begin(), bytes.end(), info.bytes.begin(),
                 [](char byte) { return static_cast<std::uint8_t>(byte); });
  return info;
}

std::string FinderInfo::encode() const { return std::string(bytes.begin(), bytes.end()); }

OSType FinderInfo::type() const { return codeAt(bytes, kTypeOffset); }
OSType FinderInfo::creator() const { return codeAt(bytes, kCreatorOffset); }
std::uint16_t FinderInfo::flags() const {
  return static_cast<std::uint16_t>(bytes[kFlagsOffset] << 8 | bytes[kFlagsOffset + 1]);
}

void FinderInfo::setType(OSType type) { setCodeAt(bytes, kTypeOffset, type); }
void FinderInfo::setCreator(OSType creator) { setCodeAt(bytes, kCreatorOffset, creator); }
void FinderInfo::setFlags(std::uint16_t flags) {
  bytes[kFlagsOffset] = static_cast<std::uint8_t>(flags >> 8);
  bytes[kFlagsOffset + 1] = static_cast<std::uint8_t>(flags);
}

}  // namespace macos
