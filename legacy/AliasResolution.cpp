// SPDX-License-Identifier: MIT
#include "legacy/AliasResolution.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <vector>

#include "macos/carbon/Gestalt.h"
#include "macos/carbon/ItemInfo.h"
#include "macos/foundation/Bookmark.h"
#include "macos/foundation/Dispatch.h"
#include "macos/foundation/Log.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace vennick {

using macos::AliasHandle;
using macos::FSRef;
using macos::LSItemInfoFlags;
using macos::OSErr;

namespace {

constexpr std::chrono::nanoseconds kAliasFileTimeout{2'000'000'000};
constexpr std::size_t kLongestLoggedURL = 2047;
constexpr std::size_t kMostAliasFilesInAChain = 32;
constexpr std::uint32_t kFirstVersionWithBookmarks = 0x100900;
constexpr LSItemInfoFlags kLeadsElsewhere = macos::kLSItemInfoIsAliasFile | macos::kLSItemInfoIsSymlink;
constexpr LSItemInfoFlags kIsNoFolder =
    macos::kLSItemInfoIsPlainFile | macos::kLSItemInfoIsPackage | macos::kLSItemInfoIsApplication;

OSErr basicFlags(const FSRef& ref, LSItemInfoFlags* flags) {
  macos::LSItemInfoRecord record;
  const auto code = macos::LSCopyItemInfoForRef(ref, macos::kLSRequestBasicFlagsOnly, &record);
  *flags = record.flags;
  return static_cast<OSErr>(code);
}

bool isSameItem(const FSRef& a, const FSRef& b) { return macos::FSCompareFSRefs(a, b) == macos::noErr; }

// --- Volume names

// In the form in which volume names are compared: decomposed, with '/' for the ':' of a POSIX name.
std::u16string comparableVolumeName(const std::u16string& name) {
  std::u16string units = macos::utf16FromUTF8(macos::decomposedForFileSystem(macos::utf8FromUTF16(name)));
  std::replace(units.begin(), units.end(), u':', u'/');
  return units;
}

// Of two names of one length, as little-endian UTF-16, only as many bytes as the recorded name has units
// are compared: its first half. Deliberate; with an odd length the low byte of the middle unit decides.
bool isSameVolumeName(const std::u16string& recordedName, const std::u16string& volumeName) {
  const std::u16string recorded = comparableVolumeName(recordedName);
  const std::u16string found = comparableVolumeName(volumeName);
  if (recorded.size() != found.size()) {
    return false;
  }
  const std::size_t wholeUnits = recorded.size() / 2;
  if (recorded.compare(0, wholeUnits, found, 0, wholeUnits) != 0) {
    return false;
  }
  return recorded.size() % 2 == 0 || (recorded[wholeUnits] & 0xFF) == (found[wholeUnits] & 0xFF);
}

// nullopt when one of the two queries fails, as it does for a boot volume that nothing names.
std::optional<std::u16string> nameOfVolume(const FSRef& ref) {
  macos::FSCatalogInfo info;
  std::u16string name;
  if (macos::FSGetCatalogInfo(ref, macos::kFSCatInfoVolume, &info, nullptr, nullptr) != macos::noErr ||
      macos::FSGetVolumeInfo(info.volume, &name, nullptr) != macos::noErr) {
    return std::nullopt;
  }
  return name;
}

// --- Alias files

// What a worker reads and writes. Shared with it, since the waiter may give up and go while it works on.
struct AliasFileJob {
  FSRef ref;
  unsigned mountFlags = 0;
  OSErr code = macos::fnfErr;
  bool wasAliased = false;
};

void resolveTheOldWay(AliasFileJob& job) {
  bool isFolder = false;
  job.code =
      macos::FSResolveAliasFileWithMountFlags(&job.ref, true, &isFolder, &job.wasAliased, job.mountFlags);
}

void resolveThroughBookmark(AliasFileJob& job) {
  const auto url = macos::CFURLCreateFromFSRef(job.ref);
  const auto bookmark = url ? macos::CFURLCreateBookmarkDataFromFile(*url) : std::nullopt;
  const auto target = bookmark ? macos::CFURLCreateByResolvingBookmarkData(
                                     *bookmark, macos::NSURLBookmarkResolutionWithoutUI |
                                                    macos::NSURLBookmarkResolutionWithoutMounting)
                               : std::nullopt;
  job.wasAliased = target && macos::CFURLGetFSRef(*target, &job.ref);
  job.code = job.wasAliased ? macos::noErr : macos::fnfErr;
}

// Without a look at the disk, which may be the one that does not answer.
std::string urlTextForLog(const FSRef& ref) {
  const std::string path = macos::lastSeenPath(ref);
  if (path.empty()) {
    return "";
  }
  return macos::NSURL::fileURLWithPathIsDirectory(path, false).absoluteString().substr(0, kLongestLoggedURL);
}

class AliasFileChain {
 public:
  explicit AliasFileChain(unsigned mountFlags) : mountFlags_(mountFlags) {}

  struct Answer {
    OSErr code = macos::noErr;
    FSRef target;
    bool isFolder = false;
    bool wasAliased = false;
  };

  // Follows alias files from one to the next, each within its own two seconds.
  Answer follow(const FSRef& ref) {
    if (wasMet(ref) || met_.size() == kMostAliasFilesInAChain) {
      return {kAliasLeadsToItselfErr, FSRef(), false, true};
    }
    met_.push_back(ref);
    Answer answer = followOne(ref);
    // Not the worker's: the first answer about a package may take the reading of all installed applications.
    LSItemInfoFlags flags = 0;
    if (answer.code != macos::noErr || basicFlags(answer.target, &flags) != macos::noErr) {
      return answer;
    }
    if (isSameItem(answer.target, ref)) {
      answer.code = kAliasLeadsToItselfErr;
    } else if ((flags & kLeadsElsewhere) != 0) {
      return follow(answer.target);
    } else {
      answer.isFolder = (flags & kIsNoFolder) == 0;
    }
    return answer;
  }

 private:
  bool wasMet(const FSRef& ref) const {
    return std::any_of(met_.begin(), met_.end(), [&](const FSRef& each) { return isSameItem(each, ref); });
  }

  Answer followOne(const FSRef& ref) const {
    auto job = std::make_shared<AliasFileJob>();
    job->ref = ref;
    job->mountFlags = mountFlags_;
    const bool usesBookmarks = SystemVersionBCD() >= kFirstVersionWithBookmarks;
    macos::DispatchGroup group;
    group.async(macos::DispatchPriority::High, [job, usesBookmarks] {
      usesBookmarks ? resolveThroughBookmark(*job) : resolveTheOldWay(*job);
    });
    if (!group.wait(kAliasFileTimeout)) {
      macos::syslogMessage(macos::LOG_PRIORITY_ALERT,
                           "Alias file resolution timed out for " + urlTextForLog(ref));
      return {kResolutionTimedOutErr, FSRef(), false, false};
    }
    return {job->code, job->code == macos::noErr ? job->ref : FSRef(), false, job->wasAliased};
  }

  unsigned mountFlags_;
  std::vector<FSRef> met_;
};

// --- Item aliases

// What is collected on the way from a record to its target.
class ItemAliasResolver {
 public:
  ItemAliasResolver(WantedTarget wanted, ResolveMode mode, AllowUI allowUI, UseDisplayName useDisplayName,
                    bool* aliasChanged)
      : wanted_(wanted),
        mode_(mode),
        mountFlags_(allowUI == AllowUI::Yes
                        ? macos::kResolveAliasTryFileIDFirst
                        : macos::kResolveAliasFileNoUI | macos::kResolveAliasTryFileIDFirst),
        useDisplayName_(useDisplayName),
        aliasChanged_(aliasChanged) {}

  OSErr resolve(AliasHandle& alias, ItemAliasTarget& target) {
    target = ItemAliasTarget();
    OSErr code = ResolveAliasChecked(alias, &target.ref, mountFlags_, aliasChanged_);
    LSItemInfoFlags flags = 0;
    if (code == macos::noErr) {
      code = basicFlags(target.ref, &flags);
    }
    if (code != macos::noErr) {
      return code;
    }
    if ((flags & kLeadsElsewhere) != 0) {
      FSRef finalTarget;
      bool isFolder = false;
      code = ResolveAliasFileWithTimeout(target.ref, &finalTarget, &isFolder, nullptr, mountFlags_);
      if (code != macos::noErr) {
        return code;
      }
      if (isFolder) {
        return resolveAnew(finalTarget, target);
      }
    }
    return describe(alias, target);
  }

 private:
  // The folder that an alias file leads to takes the file's place, through a record of its own; the
  // caller's record stays the one of the alias file.
  OSErr resolveAnew(const FSRef& folder, ItemAliasTarget& target) {
    AliasHandle alias;
    const OSErr code = macos::FSNewAlias(nullptr, folder, &alias);
    return code == macos::noErr ? resolve(alias, target) : code;
  }

  OSErr describe(AliasHandle& alias, ItemAliasTarget& target) {
    if (!wanted_.name && !wanted_.isFolder && mode_ == ResolveMode::AnyTarget) {
      return macos::noErr;
    }
    macos::FSCatalogInfo info;
    macos::HFSUniStr255 catalogName;
    FSRef parent;
    OSErr code =
        macos::FSGetCatalogInfo(target.ref, macos::kFSCatInfoNodeFlags, &info, &catalogName, &parent);
    if (code != macos::noErr) {
      return code;
    }
    target.isFolder =
        (info.nodeFlags & macos::kFSNodeIsDirectoryMask) != 0 && IsBrowsableFolder(target.ref, false);
    if (mode_ == ResolveMode::FolderList && !target.isFolder) {
      code = replaceByParent(alias, target, parent, catalogName);
    }
    if (code == macos::noErr && wanted_.name) {
      target.name = shownName(target.ref, catalogName);
    }
    return code;
  }

  OSErr replaceByParent(AliasHandle& alias, ItemAliasTarget& target, const FSRef& parent,
                        macos::HFSUniStr255& catalogName) {
    macos::FSCatalogInfo info;
    const OSErr code =
        macos::FSGetCatalogInfo(parent, macos::kFSCatInfoNodeFlags, &info, &catalogName, nullptr);
    if (code != macos::noErr) {
      return code;
    }
    target.ref = parent;
    target.isFolder = true;
    bool wasChanged = false;
    const OSErr updated = macos::FSUpdateAlias(nullptr, parent, alias, &wasChanged);
    if (aliasChanged_ != nullptr) {
      *aliasChanged_ = *aliasChanged_ || wasChanged;
    }
    return updated;
  }

  std::string shownName(const FSRef& ref, const macos::HFSUniStr255& catalogName) const {
    std::string name;
    if (useDisplayName_ == UseDisplayName::Yes &&
        macos::LSCopyDisplayNameForRef(ref, &name) == macos::noErr) {
      return name;
    }
    return macos::utf8FromUTF16(catalogName);
  }

  WantedTarget wanted_;
  ResolveMode mode_;
  unsigned mountFlags_;
  UseDisplayName useDisplayName_;
  bool* aliasChanged_;
};

// --- The system's version

std::uint32_t twoDigits(std::int32_t number) {
  const auto value = static_cast<std::uint32_t>(number);
  return (value / 10 % 10) << 4 | value % 10;
}

struct SystemVersion {
  std::uint32_t bcd = systemVersionBCDFrom(macos::Gestalt);
};

}  // namespace

OSErr ResolveItemAlias(AliasHandle& alias, ItemAliasTarget* target, WantedTarget wanted, ResolveMode mode,
                       AllowUI allowUI, UseDisplayName useDisplayName, bool* aliasChanged) {
  if (aliasChanged != nullptr) {
    *aliasChanged = false;
  }
  ItemAliasTarget found;
  const OSErr code =
      ItemAliasResolver(wanted, mode, allowUI, useDisplayName, aliasChanged).resolve(alias, found);
  if (target != nullptr) {
    *target = std::move(found);
  }
  return code;
}

OSErr ResolveAliasChecked(AliasHandle& alias, FSRef* ref, unsigned mountFlags, bool* aliasChanged) {
  FSRef target;
  if (ref != nullptr) {
    *ref = target;
  }
  if (aliasChanged != nullptr) {
    *aliasChanged = false;
  }
  std::u16string volumeName;
  std::string path;
  OSErr code = alias.isNull() ? macos::paramErr
                              : macos::FSCopyAliasInfo(alias, nullptr, &volumeName, &path, nullptr, nullptr);
  if (code != macos::noErr) {
    return code;
  }
  // To look for what is not at its path could need a volume to be mounted, and so the user.
  if ((mountFlags & macos::kResolveAliasFileNoUI) != 0 && !path.empty() &&
      macos::FSPathMakeRef(path, &target) != macos::noErr) {
    return kVolumeGoneErr;
  }
  AliasHandle duplicate = alias;
  bool wasChanged = false;
  code = macos::FSResolveAliasWithMountFlags(nullptr, duplicate, &target, &wasChanged, mountFlags);
  if (code != macos::noErr) {
    return code;
  }
  if (const auto name = nameOfVolume(target)) {
    if (!volumeName.empty() && !isSameVolumeName(volumeName, *name)) {
      return macos::fnfErr;
    }
    if (wasChanged) {
      (void)macos::FSUpdateAlias(nullptr, target, alias, nullptr);
      if (aliasChanged != nullptr) {
        *aliasChanged = true;
      }
    }
  }
  if (ref != nullptr) {
    *ref = target;
  }
  return macos::noErr;
}

OSErr ResolveAliasFileWithTimeout(const FSRef& ref, FSRef* target, bool* isFolder, bool* wasAliased,
                                  unsigned mountFlags) {
  const AliasFileChain::Answer answer = AliasFileChain(mountFlags).follow(ref);
  if (target != nullptr) {
    *target = answer.target;
  }
  if (isFolder != nullptr) {
    *isFolder = answer.isFolder;
  }
  if (wasAliased != nullptr) {
    *wasAliased = answer.wasAliased;
  }
  return answer.code;
}

OSErr ResolveAliasChainInPlace(FSRef& ref) {
  const FSRef given = ref;
  bool isAlias = false;
  for (std::size_t steps = 0; macos::FSIsAliasFile(ref, &isAlias, nullptr) == macos::noErr && isAlias;
       ++steps) {
    FSRef target;
    const OSErr code =
        steps == kMostAliasFilesInAChain
            ? kAliasLeadsToItselfErr
            : ResolveAliasFileWithTimeout(ref, &target, nullptr, nullptr,
                                          macos::kResolveAliasFileNoUI | macos::kResolveAliasTryFileIDFirst);
    if (code != macos::noErr) {
      ref = given;
      return code;
    }
    ref = target;
  }
  return macos::noErr;
}

bool IsBrowsableFolder(FSRef& ref, bool allowPackages) {
  (void)ResolveAliasChainInPlace(ref);
  LSItemInfoFlags flags = 0;
  if (basicFlags(ref, &flags) != macos::noErr) {
    return false;
  }
  const bool isHiddenFile = (flags & (macos::kLSItemInfoIsInvisible | macos::kLSItemInfoIsContainer)) ==
                            macos::kLSItemInfoIsInvisible;
  const bool isPackage = (flags & macos::kLSItemInfoIsPackage) != 0;
  if (isHiddenFile || (isPackage && !allowPackages)) {
    return false;
  }
  return (flags & (macos::kLSItemInfoIsPlainFile | macos::kLSItemInfoIsApplication)) == 0;
}

std::uint32_t systemVersionBCDFrom(GestaltFunction& gestalt) {
  std::int32_t major = 0;
  std::int32_t minor = 0;
  std::int32_t bugFix = 0;
  if (gestalt(macos::gestaltSystemVersionMajor, &major) == macos::noErr &&
      gestalt(macos::gestaltSystemVersionMinor, &minor) == macos::noErr &&
      gestalt(macos::gestaltSystemVersionBugFix, &bugFix) == macos::noErr) {
    return twoDigits(major) << 16 | twoDigits(minor) << 8 | twoDigits(bugFix);
  }
  // The older selector has one digit each for minor version and bug fix.
  std::int32_t version = 0;
  (void)gestalt(macos::gestaltSystemVersion, &version);
  const auto v = static_cast<std::uint32_t>(version);
  return (v & 0xF) | (v << 4 & 0xF00) | (v << 8 & 0xFF0000);
}

std::uint32_t SystemVersionBCD() { return macos::hostLocal<SystemVersion>().bcd; }

}  // namespace vennick
