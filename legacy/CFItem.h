// SPDX-License-Identifier: MIT
//
// CFItem: one version 4 item dictionary with its alias record, and where that record last led. A view: it
// shares the dictionary and changes it in place. Without a dictionary every operation does nothing or
// gives the empty answer. Main thread.
#ifndef LEGACY_CFITEM_H
#define LEGACY_CFITEM_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "legacy/AliasResolution.h"
#include "legacy/CommandKey.h"
#include "legacy/ItemArray.h"
#include "macos/carbon/AliasManager.h"
#include "macos/foundation/URL.h"
#include "macos/foundation/Value.h"

namespace vennick {

// The keys of an item dictionary. "TimeStamp" belongs to version 4's set and is neither read nor written.
namespace LegacyItemKeys {

inline constexpr std::string_view Name = "Name";
inline constexpr std::string_view Alias = "Alias";                  // an alias record's bytes
inline constexpr std::string_view AliasChecksum = "AliasChecksum";  // 2 bytes, little-endian; optional
inline constexpr std::string_view FSRef = "FSRef";                  // location cache: 80 bytes
inline constexpr std::string_view URL = "URL";                      // location cache: a URL
// Location cache: the result code of the last attempt, 2 bytes, little-endian. Whatever it holds, and 0
// too, its presence says that there was one and that there is to be no other.
inline constexpr std::string_view ResolveError = "ResolveError";
inline constexpr std::string_view CommandKey = "CommandKey";  // 8 bytes
inline constexpr std::string_view IsOnServer = "IsOnServer";  // present for a target on a server

}  // namespace LegacyItemKeys

class CFItem {
 public:
  explicit CFItem(ResolveMode mode) : resolveMode_(mode) {}
  CFItem(LegacyItem dictionary, ResolveMode mode) : dict_(std::move(dictionary)), resolveMode_(mode) {}

  const LegacyItem& dictionary() const { return dict_; }
  void setDictionary(LegacyItem dictionary) { dict_ = std::move(dictionary); }

  std::string name() const;  // "" for none
  // Clears the location cache too.
  void setName(std::string_view name);

  // Stores the record, its checksum and what it resolves to, the target's name included. A record that
  // cannot be resolved is deliberately not kept, and neither is a null one. The result code is stored in
  // every case.
  void setAlias(macos::AliasHandle alias);
  // A copy of the record; null when there is none. A record whose checksum is wrong in both byte orders
  // is logged and removed.
  macos::AliasHandle aliasHandle();
  // The record's bytes as they are, unchecked.
  std::optional<macos::NSData> aliasData() const;

  // Whether the location is known, after looking for it when that was not tried yet.
  bool resolve();
  std::optional<macos::NSURL> url();
  // REQUIRES: ref is not null. It is untouched when there is none.
  bool getFSRef(macos::FSRef* ref);
  // Make a record of the item; nothing happens when there is no such item.
  void setURL(const macos::NSURL& url);
  void setFSRef(const macos::FSRef& ref);
  void clearLocation();

  // Whether the key holds data. Its length is stored, and its bytes when the buffer has room for them all;
  // the answer is true also when it has not. Without data the length is 0 and the buffer is zeroed. The
  // length may be null.
  bool getData(std::string_view key, std::span<char> buffer, std::size_t* length) const;
  // No bytes remove the key.
  void setData(std::string_view key, std::string_view bytes);

  // A record that is no plausible hotkey removes the key.
  void setCommandKey(const CommandKey& commandKey);
  // Whether the item has a plausible hotkey. A record that is none as it stands is taken to be in the
  // other byte order and is given swapped; a function key in the other byte order is therefore never
  // swapped. Zeros when there is no record. Deliberate.
  bool getCommandKey(CommandKey* commandKey) const;
  bool isOnServer() const;

 private:
  void storeAlias(const macos::AliasHandle& alias);
  void storeLocation(const macos::FSRef& ref);
  void storeServer(const macos::FSRef& ref);
  void storeResolveError(macos::OSErr code);
  const macos::NSURL* cachedURL() const;
  std::optional<macos::FSRef> cachedFSRef() const;
  bool wasTried() const;

  LegacyItem dict_;
  ResolveMode resolveMode_;
};

}  // namespace vennick

#endif  // LEGACY_CFITEM_H
