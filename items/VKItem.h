// SPDX-License-Identifier: MIT
//
// VKItem: a typed view over one item dictionary, which is what is stored. A view copies nothing: every
// setter changes the dictionary that it was made over, and whoever shares that dictionary sees it at
// once. Only copy() detaches. An item without a dictionary reads as empty and changes nothing.
//
// The dictionary's keys are below; each is optional, and a value of the wrong type reads as missing. Main
// thread, like the lists that hold the dictionaries. Whoever sets "url" past it calls noteLocationChange().
#ifndef ITEMS_VKITEM_H
#define ITEMS_VKITEM_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "macos/foundation/URL.h"
#include "macos/foundation/Value.h"
#include "platform/DeepCopy.h"

namespace vennick {

namespace ItemKeys {
inline constexpr std::string_view URL = "url";
inline constexpr std::string_view Bookmark = "bookmark";
inline constexpr std::string_view Name = "name";
inline constexpr std::string_view ItemType = "itemType";
inline constexpr std::string_view Date = "date";
inline constexpr std::string_view Hotkey = "hotkey";
inline constexpr std::string_view FileTypes = "fileTypes";
inline constexpr std::string_view Applications = "applications";
inline constexpr std::string_view Flags = "flags";
}  // namespace ItemKeys

// "itemType"
inline constexpr std::uint32_t kItemTypeFile = 1;    // a file or a package
inline constexpr std::uint32_t kItemTypeFolder = 2;  // any other thing that exists, and what does not exist
inline constexpr std::uint32_t kItemTypeSeparator = 4;

inline constexpr std::uint32_t kDefaultItemFlags = 2;
inline constexpr std::string_view kSeparatorURL = "VKMenuSeparator";
// In "fileTypes" and "applications": any of them.
inline constexpr std::string_view kAnyType = "*";

class VKItem {
 public:
  VKItem() = default;
  static VKItem itemWithDictionary(SharedDictionary dictionary) { return VKItem(std::move(dictionary)); }
  explicit VKItem(SharedDictionary dictionary) : dict_(std::move(dictionary)) {}

  // An item over a deep copy of the dictionary.
  VKItem copy() const { return VKItem(mutableCopyDeep(dict_)); }

  // The hook through which every stored shortcut is read. It deliberately translates nothing.
  static macos::Dictionary hotkeyForCurrentKeyboard(const macos::Dictionary& hotkey) { return hotkey; }

  const SharedDictionary& dict() const { return dict_; }
  void setDict(SharedDictionary dictionary) { dict_ = std::move(dictionary); }

  // nullopt when "url" is missing or no URL; for a separator the relative URL of its text.
  std::optional<macos::NSURL> url() const;
  // Sets "url" and, from what is there now, "name", "itemType" and "bookmark". nullopt removes "url",
  // "name" and "bookmark" and stores type 2.
  void setUrl(const std::optional<macos::NSURL>& url);
  // Where the item is now. A location that is gone is looked for through the bookmark, with the given
  // resolution options; a new place found so is stored under "url". A relative location is taken against
  // the base. nullopt when the bookmark leads nowhere; the stored location when there is no bookmark.
  std::optional<macos::NSURL> resolvedURL(unsigned options, const std::optional<macos::NSURL>& relativeToURL);
  // By the bookmark's own volume facts, without looking at any volume: ejectable, or not local. No
  // without a bookmark; deliberately yes for one that holds no such facts.
  bool canBeRemounted() const;

  std::optional<std::string> name() const;
  void setName(const std::optional<std::string>& name);
  std::optional<macos::NSDate> date() const;
  void setDate(const std::optional<macos::NSDate>& date);
  std::optional<macos::Dictionary> hotkey() const;
  void setHotkey(const std::optional<macos::Dictionary>& hotkey);
  std::uint32_t type() const;  // 0 when missing
  void setType(std::uint32_t type);
  std::uint32_t flags() const;  // 2 when missing
  void setFlags(std::uint32_t flags);

  // The list inside the entry itself. A missing or empty one is first replaced by ["*"], in place, with a
  // line in the log. Null only for an item without a dictionary; the pointer lives until the entry
  // changes.
  macos::Array* fileTypes();
  void setFileTypes(const std::optional<macos::Array>& fileTypes);
  macos::Array* applications();
  void setApplications(const std::optional<macos::Array>& applications);

  // As %@ shows the item.
  std::string description() const;

 private:
  macos::Array* repairedList(std::string_view key);
  void setOrRemove(std::string_view key, std::optional<macos::Value> value);

  SharedDictionary dict_;
};

}  // namespace vennick

#endif  // ITEMS_VKITEM_H
