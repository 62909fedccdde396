// SPDX-License-Identifier: MIT
#include "legacy/AliasFiles.h"

#include <algorithm>
#include <vector>

#include "legacy/AliasResolution.h"
#include "legacy/CopyNames.h"
#include "macos/carbon/FileChanges.h"
#include "macos/carbon/ResourceFile.h"
#include "macos/foundation/Text.h"

namespace vennick {

namespace {

using macos::AliasHandle;
using macos::fourCharCode;
using macos::FSRef;
using macos::HFSUniStr255;
using macos::OSErr;
using macos::OSType;

constexpr OSType kFinderCreator = fourCharCode("MACS");
constexpr int kMostNumbers = 999;
constexpr unsigned kMountFlags = macos::kResolveAliasFileNoUI | macos::kResolveAliasTryFileIDFirst;
constexpr std::int16_t kAliasIdentifier = 0;

OSType aliasTypeOfFlags(macos::LSItemInfoFlags flags) {
  if ((flags & macos::kLSItemInfoIsPackage) != 0) {
    return (flags & macos::kLSItemInfoIsApplication) != 0 ? macos::kApplicationPackageAliasType
                                                          : macos::kPackageAliasType;
  }
  if ((flags & macos::kLSItemInfoIsVolume) != 0) {
    return macos::kContainerHardDiskAliasType;
  }
  return (flags & macos::kLSItemInfoIsContainer) != 0 ? macos::kContainerFolderAliasType : 0;
}

// The Finder's type for an alias file that leads to a file of the type.
OSType aliasTypeOfFileType(OSType type) {
  switch (type) {
    case fourCharCode("dfil"):
      return fourCharCode("addp");
    case fourCharCode("APPL"):
      return macos::kApplicationAliasType;
    case fourCharCode("APPC"):
      return fourCharCode("acdp");
    default:
      return type;
  }
}

std::vector<HFSUniStr255> componentsOf(const HFSUniStr255& name) {
  std::vector<HFSUniStr255> components;
  for (std::size_t start = 0; start <= name.size();) {
    const std::size_t end = std::min(name.find(u'.', start), name.size());
    components.push_back(name.substr(start, end - start));
    start = end + 1;
  }
  return components;
}

// The names that are tried when a name is taken.
class NumberedNames {
 public:
  NumberedNames(const HFSUniStr255& name, std::optional<std::string_view> extension)
      : components_(componentsOf(name)), numbered_(components_.size() - 1) {
    if (extension && numbered_ > 0 && components_.back() == macos::utf16FromUTF8(*extension)) {
      --numbered_;
    }
  }

  std::optional<HFSUniStr255> withNumber(int number) const {
    const auto component = nameWithNumber(components_[numbered_], number);
    if (!component) {
      return std::nullopt;
    }
    HFSUniStr255 name;
    for (std::size_t i = 0; i < components_.size(); ++i) {
      if (i > 0) {
        name += u'.';
      }
      name += i == numbered_ ? *component : components_[i];
    }
    return name;
  }

 private:
  std::vector<HFSUniStr255> components_;
  std::size_t numbered_;
};

class AliasFileMaker {
 public:
  AliasFileMaker(const FSRef& parent, const HFSUniStr255& name, AliasHandle& alias)
      : parent_(parent), name_(name), alias_(alias) {}

  OSErr make(OSType fileType, OSType creator, std::optional<std::string_view> extension) {
    info_.finderInfo.setType(aliasTypeOfFileType(fileType));
    info_.finderInfo.setCreator(creator);
    info_.finderInfo.setFlags(macos::kIsAlias);
    FSRef file;
    OSErr code = create(name_, &file);
    if (code == macos::dupFNErr) {
      if (isThereAlready()) {
        return macos::noErr;
      }
      code = createUnderFreeName(extension, &file);
    }
    if (code == macos::dupFNErr) {
      return existingIsAliasFile() && !existingIsLink() ? putAliasInto(existing_) : code;
    }
    return code == macos::noErr ? putAliasInto(file) : code;
  }

 private:
  OSErr create(const HFSUniStr255& name, FSRef* file) const {
    return macos::FSCreateResFile(parent_, name, macos::kFSCatInfoFinderInfo, &info_, file);
  }

  bool existingIsAliasFile() {
    bool isAlias = false;
    return macos::FSMakeFSRefUnicode(parent_, name_, &existing_) == macos::noErr &&
           macos::FSIsAliasFile(existing_, &isAlias, nullptr) == macos::noErr && isAlias;
  }

  // A link counts as an alias file wherever one is followed, but has no room for an alias.
  bool existingIsLink() const {
    macos::LSItemInfoRecord record;
    const auto code = macos::LSCopyItemInfoForRef(existing_, macos::kLSRequestBasicFlagsOnly, &record);
    return code == macos::noErr && (record.flags & macos::kLSItemInfoIsSymlink) != 0;
  }

  // Whether an alias file of the name leads where the alias does. Two that lead nowhere count as such, and
  // nothing is made; deliberately.
  bool isThereAlready() {
    if (!existingIsAliasFile()) {
      return false;
    }
    FSRef oldTarget;
    FSRef newTarget;
    const OSErr oldCode = ResolveAliasFileWithTimeout(existing_, &oldTarget, nullptr, nullptr, kMountFlags);
    const OSErr newCode = ResolveAliasChecked(alias_, &newTarget, kMountFlags, nullptr);
    if (oldCode != macos::noErr || newCode != macos::noErr) {
      return oldCode != macos::noErr && newCode != macos::noErr;
    }
    return macos::FSCompareFSRefs(oldTarget, newTarget) == macos::noErr;
  }

  OSErr createUnderFreeName(std::optional<std::string_view> extension, FSRef* file) const {
    const NumberedNames names(name_, extension);
    OSErr code = macos::dupFNErr;
    for (int number = 1; code == macos::dupFNErr && number <= kMostNumbers; ++number) {
      const auto name = names.withNumber(number);
      if (!name) {
        return macos::dupFNErr;
      }
      code = create(*name, file);
    }
    return code;
  }

  OSErr putAliasInto(const FSRef& file) const {
    macos::ResourceFile resources;
    const OSErr code = macos::ResourceFile::FSOpenResFile(file, &resources);
    if (code != macos::noErr) {
      return code;
    }
    return resources.AddResource({.type = macos::rAliasType,
                                  .identifier = kAliasIdentifier,
                                  .name = {},
                                  .attributes = 0,
                                  .data = alias_.bytes});
  }

  const FSRef& parent_;
  const HFSUniStr255& name_;
  AliasHandle& alias_;
  macos::FSCatalogInfo info_;
  FSRef existing_;
};

}  // namespace

OSErr AliasTypeAndCreator(const FSRef& ref, OSType* type, OSType* creator, macos::LSItemInfoRecord* info) {
  macos::LSItemInfoRecord record;
  const auto code = macos::LSCopyItemInfoForRef(
      ref, macos::kLSRequestExtension | macos::kLSRequestTypeCreator | macos::kLSRequestBasicFlagsOnly,
      &record);
  if (code != macos::noErr) {
    return static_cast<OSErr>(code);
  }
  *type = record.filetype;
  *creator = record.creator;
  if (record.filetype == 0 && record.creator == 0) {
    *type = aliasTypeOfFlags(record.flags);
    *creator = *type != 0 ? kFinderCreator : 0;
  }
  if (info != nullptr) {
    *info = std::move(record);
  }
  return macos::noErr;
}

OSErr CreateAliasFile(const FSRef& parent, const HFSUniStr255& name, AliasHandle& alias, OSType fileType,
                      OSType creator, std::optional<std::string_view> extension) {
  return AliasFileMaker(parent, name, alias).make(fileType, creator, extension);
}

OSErr CreateAliasFileNamed(const FSRef& parent, std::string_view name, AliasHandle& alias, OSType fileType,
                           OSType creator, std::optional<std::string_view> extension) {
  if (!macos::isValidUTF8(name)) {
    return macos::bdNamErr;
  }
  return CreateAliasFile(parent, macos::utf16FromUTF8(name), alias, fileType, creator, extension);
}

}  // namespace vennick
