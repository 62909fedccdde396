// SPDX-License-Identifier: MIT
#include "legacy/CFItem.h"

#include <algorithm>
#include <cstring>

#include "legacy/AliasChecksum.h"
#include "macos/foundation/Log.h"

namespace vennick {

using macos::AliasHandle;
using macos::FSRef;
using macos::NSData;
using macos::NSURL;
using macos::OSErr;
using macos::Value;

namespace Keys = LegacyItemKeys;

namespace {

constexpr std::size_t kTwoBytes = 2;

std::string littleEndian(std::uint16_t number) {
  return {static_cast<char>(number & 0xFF), static_cast<char>(number >> 8)};
}

Value dataValue(std::string bytes) { return Value(NSData{std::move(bytes)}); }

std::string_view bytesOf(const FSRef& ref) {
  return {reinterpret_cast<const char*>(ref.hidden.data()), ref.hidden.size()};
}

}  // namespace

std::string CFItem::name() const {
  const auto name = dict_ ? dict_->string(Keys::Name) : std::nullopt;
  return std::string(name.value_or(""));
}

void CFItem::setName(std::string_view name) {
  if (dict_) {
    dict_->set(Keys::Name, Value(name));
    clearLocation();
  }
}

void CFItem::clearLocation() {
  if (dict_) {
    dict_->remove(Keys::URL);
    dict_->remove(Keys::FSRef);
    dict_->remove(Keys::ResolveError);
  }
}

void CFItem::setAlias(AliasHandle alias) {
  if (!dict_) {
    return;
  }
  clearLocation();
  OSErr code = macos::paramErr;
  if (!alias.isNull()) {
    ItemAliasTarget target;
    code = ResolveItemAlias(alias, &target, {.name = true}, resolveMode_, AllowUI::No, UseDisplayName::Yes,
                            nullptr);
    if (code == macos::noErr) {
      storeAlias(alias);
      dict_->set(Keys::Name, Value(target.name));
      storeLocation(target.ref);
    }
  }
  if (code != macos::noErr) {
    dict_->remove(Keys::Alias);
    dict_->remove(Keys::AliasChecksum);
  }
  // Every code, -124 too, although resolve() does not keep that one. Deliberate.
  storeResolveError(code);
}

AliasHandle CFItem::aliasHandle() {
  const auto data = dict_ ? dict_->data(Keys::Alias) : std::nullopt;
  if (!data || data->empty()) {
    return AliasHandle();
  }
  AliasHandle alias{std::string(*data)};
  const auto stored = dict_->data(Keys::AliasChecksum);
  if (!stored || stored->size() != kTwoBytes) {
    return alias;
  }
  const std::uint16_t sum = ComputeAliasChecksum(alias.bytes.size(), alias.bytes);
  // Records of machines of the other byte order hold the sum swapped.
  if (*stored == littleEndian(sum) || *stored == littleEndian(__builtin_bswap16(sum))) {
    return alias;
  }
  macos::syslogMessage(macos::LOG_PRIORITY_ALERT,
                       "** Corrupted alias data for " + name() + " - ignoring the alias **");
  setAlias(AliasHandle());
  return AliasHandle();
}

std::optional<NSData> CFItem::aliasData() const {
  const auto data = dict_ ? dict_->data(Keys::Alias) : std::nullopt;
  return data ? std::optional(NSData{std::string(*data)}) : std::nullopt;
}

bool CFItem::resolve() {
  if (cachedURL() != nullptr && cachedFSRef()) {
    return true;
  }
  if (wasTried()) {
    return false;
  }
  AliasHandle alias = aliasHandle();
  if (alias.isNull()) {
    return false;
  }
  ItemAliasTarget target;
  const OSErr code = ResolveItemAlias(alias, &target, {.name = true}, resolveMode_, AllowUI::No,
                                      UseDisplayName::Yes, nullptr);
  if (code == macos::noErr) {
    storeAlias(alias);
    if (name().empty()) {
      dict_->set(Keys::Name, Value(target.name));
    }
    storeLocation(target.ref);
    storeServer(target.ref);
  }
  // A volume that is gone may come back: the item is tried again next time. Success is kept too, so that an
  // item whose URL could not be made is not tried again. Deliberate.
  if (code != kVolumeGoneErr) {
    storeResolveError(code);
  }
  return code == macos::noErr;
}

std::optional<NSURL> CFItem::url() {
  if (cachedURL() == nullptr && !wasTried()) {
    resolve();
  }
  const NSURL* url = cachedURL();
  return url != nullptr ? std::optional(*url) : std::nullopt;
}

bool CFItem::getFSRef(FSRef* ref) {
  if (!cachedFSRef() && !wasTried()) {
    resolve();
  }
  const auto cached = cachedFSRef();
  if (cached) {
    *ref = *cached;
  }
  return cached.has_value();
}

void CFItem::setURL(const NSURL& url) {
  FSRef ref;
  if (dict_ && macos::CFURLGetFSRef(url, &ref)) {
    setFSRef(ref);
  }
}

void CFItem::setFSRef(const FSRef& ref) {
  AliasHandle alias;
  if (dict_ && macos::FSNewAlias(nullptr, ref, &alias) == macos::noErr) {
    setAlias(std::move(alias));
  }
}

bool CFItem::getData(std::string_view key, std::span<char> buffer, std::size_t* length) const {
  const auto data = dict_ ? dict_->data(key) : std::nullopt;
  if (length != nullptr) {
    *length = data ? data->size() : 0;
  }
  if (!data) {
    std::fill(buffer.begin(), buffer.end(), '\0');
  } else if (data->size() <= buffer.size()) {
    std::copy(data->begin(), data->end(), buffer.begin());
  }
  return data.has_value();
}

void CFItem::setData(std::string_view key, std::string_view bytes) {
  if (!dict_) {
    return;
  }
  if (bytes.empty()) {
    dict_->remove(key);
  } else {
    dict_->set(key, dataValue(std::string(bytes)));
  }
}

void CFItem::setCommandKey(const CommandKey& commandKey) {
  setData(Keys::CommandKey, commandKey.isPlausible() ? commandKey.encode() : std::string());
}

bool CFItem::getCommandKey(CommandKey* commandKey) const {
  *commandKey = CommandKey();
  const auto data = dict_ ? dict_->data(Keys::CommandKey) : std::nullopt;
  if (!data || data->size() != CommandKey::kSize) {
    return false;
  }
  *commandKey = CommandKey::decode(*data);
  if (!commandKey->isPlausible()) {
    *commandKey = commandKey->swapped();
  }
  return commandKey->isPlausible();
}

bool CFItem::isOnServer() const { return dict_ && dict_->contains(Keys::IsOnServer); }

void CFItem::storeAlias(const AliasHandle& alias) {
  dict_->set(Keys::Alias, dataValue(alias.bytes));
  dict_->set(Keys::AliasChecksum,
             dataValue(littleEndian(ComputeAliasChecksum(alias.bytes.size(), alias.bytes))));
}

void CFItem::storeLocation(const FSRef& ref) {
  dict_->set(Keys::FSRef, dataValue(std::string(bytesOf(ref))));
  if (const auto url = macos::CFURLCreateFromFSRef(ref)) {
    dict_->set(Keys::URL, Value(*url));
  }
}

void CFItem::storeServer(const FSRef& ref) {
  macos::FSCatalogInfo info;
  macos::GetVolParmsInfoBuffer parameters;
  if (macos::FSGetCatalogInfo(ref, macos::kFSCatInfoVolume, &info, nullptr, nullptr) != macos::noErr ||
      macos::FSGetVolumeParms(info.volume, &parameters) != macos::noErr) {
    return;
  }
  if (parameters.vMServerAdr != 0) {
    dict_->set(Keys::IsOnServer, dataValue(std::string(1, '\1')));
  } else {
    dict_->remove(Keys::IsOnServer);
  }
}

void CFItem::storeResolveError(OSErr code) {
  dict_->set(Keys::ResolveError, dataValue(littleEndian(static_cast<std::uint16_t>(code))));
}

const NSURL* CFItem::cachedURL() const {
  const Value* url = dict_ ? std::as_const(*dict_).find(Keys::URL) : nullptr;
  return url != nullptr ? url->ifURL() : nullptr;
}

std::optional<FSRef> CFItem::cachedFSRef() const {
  const auto data = dict_ ? dict_->data(Keys::FSRef) : std::nullopt;
  FSRef ref;
  if (!data || data->size() != FSRef::kSize) {
    return std::nullopt;
  }
  std::memcpy(ref.hidden.data(), data->data(), FSRef::kSize);
  return ref.isValid() ? std::optional(ref) : std::nullopt;
}

bool CFItem::wasTried() const { return dict_ && dict_->contains(Keys::ResolveError); }

}  // namespace vennick
