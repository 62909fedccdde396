// SPDX-License-Identifier: MIT
//
// The one rule by which version 4 reads a container or a scalar out of a parent, be the parent a
// preference domain or a dictionary in memory: what is missing or of another kind is replaced by a new
// empty container, or by the default, which is stored into the parent. Nothing here fails.
#ifndef LEGACY_CONTAINERREADING_H
#define LEGACY_CONTAINERREADING_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "macos/foundation/Value.h"

namespace vennick {

// A container that was read, and whether it had to be made.
template <typename Container>
struct ContainerRead {
  Container value;
  bool created = false;
};

// What a container or scalar is read out of.
class ContainerParent {
 public:
  virtual ~ContainerParent() = default;
  virtual std::optional<macos::Value> read(std::string_view key) const = 0;
  // nullopt removes the key.
  virtual void write(std::string_view key, std::optional<macos::Value> value) = 0;
};

// A copy of the value when it is of the kind and not empty. An empty one is removed first and the key
// read again: a domain further down a search list may have something to show. Everything else is
// replaced by a new empty container, stored into the parent.
ContainerRead<macos::Dictionary> readDictionary(ContainerParent& parent, std::string_view key);
ContainerRead<macos::Array> readArray(ContainerParent& parent, std::string_view key);

// The same rule inside a dictionary.
ContainerRead<macos::Dictionary> readDictionary(macos::Dictionary& parent, std::string_view key);
ContainerRead<macos::Array> readArray(macos::Dictionary& parent, std::string_view key);
// An empty string counts as missing.
std::string readString(macos::Dictionary& parent, std::string_view key, std::string_view defaultValue);
// Only a number of integer type counts, read as its low 64 bits; a boolean or a real is missing.
std::int64_t readInteger(macos::Dictionary& parent, std::string_view key, std::int64_t defaultValue);

void writeInteger(macos::Dictionary& parent, std::string_view key, std::int64_t value);

}  // namespace vennick

#endif  // LEGACY_CONTAINERREADING_H
