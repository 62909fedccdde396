// SPDX-License-Identifier: MIT
//
// The classic resource fork: typed, numbered, optionally named pieces of data in one stream. A regular
// value with a pure codec; any thread.
#ifndef MACOS_CARBON_RESOURCEFORK_H
#define MACOS_CARBON_RESOURCEFORK_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "macos/carbon/FourCharCode.h"
#include "macos/host/Status.h"

namespace macos {

inline constexpr OSType rAliasType = fourCharCode("alis");

struct Resource {
  OSType type = 0;
  std::int16_t identifier = 0;
  std::string name = {};  // Mac Roman bytes; empty for none
  std::uint8_t attributes = 0;
  std::string data = {};

  friend bool operator==(const Resource&, const Resource&) = default;
};

class ResourceFork {
 public:
  // An empty stream is a fork without resources. Corrupt when an offset, a length or a count leads
  // outside its area, when two areas, lists or pieces of data overlap, or when shared names would hold
  // more bytes than the map does.
  static Result<ResourceFork> decode(std::string_view bytes);
  // Data at 256, the map behind it; resources of one type together, in the order of their first one.
  // InvalidArgument when there is more than the format has room for (16 MiB of data, 255 bytes of name).
  Result<std::string> encode() const;

  const std::vector<Resource>& resources() const { return resources_; }
  // Null when there is none.
  const Resource* find(OSType type, std::int16_t identifier) const;
  const Resource* findFirst(OSType type) const;
  // Adds, or replaces the one of that type and identifier.
  void set(Resource resource);
  // Whether there was one.
  bool remove(OSType type, std::int16_t identifier);

  friend bool operator==(const ResourceFork&, const ResourceFork&) = default;

 private:
  std::vector<Resource> resources_;
  std::uint16_t mapAttributes_ = 0;
};

}  // namespace macos

#endif  // MACOS_CARBON_RESOURCEFORK_H
