// SPDX-License-Identifier: MIT
//
// AppleDouble (RFC 1740): the "._name" file that carries what a foreign disk cannot keep beside a Mac
// file: Finder information, extended attributes, resource fork. A regular value with a pure codec that
// reads both versions of the format and writes the form that macOS writes; any thread.
#ifndef MACOS_CARBON_APPLEDOUBLE_H
#define MACOS_CARBON_APPLEDOUBLE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/carbon/FinderInfo.h"
#include "macos/host/Status.h"

namespace macos {

struct AppleDouble {
  struct Attribute {
    std::string name = {};  // "com.apple.quarantine"
    std::string value = {};
    std::uint16_t flags = 0;

    friend bool operator==(const Attribute&, const Attribute&) = default;
  };
  // An entry that has no field of its own here: comment, icon, dates, anything private.
  struct Entry {
    std::uint32_t identifier = 0;
    std::string bytes = {};

    friend bool operator==(const Entry&, const Entry&) = default;
  };

  FinderInfo finderInfo;
  std::vector<Attribute> attributes;
  std::string resourceFork;
  std::vector<Entry> otherEntries;  // in the order of the file

  // Corrupt when the magic number is another, or a count, an offset or a length leads outside the bytes.
  // Of two entries of one kind the first counts. The value never holds more than the bytes did.
  static Result<AppleDouble> decode(std::string_view bytes);
  // Finder information and attributes come first, the resource fork is last. InvalidArgument for an
  // attribute's name of 0 or more than 254 bytes, and for more than the format has room for.
  Result<std::string> encode() const;

  friend bool operator==(const AppleDouble&, const AppleDouble&) = default;
};

// "._" and the name.
std::string appleDoubleName(std::string_view name);

}  // namespace macos

#endif  // MACOS_CARBON_APPLEDOUBLE_H
