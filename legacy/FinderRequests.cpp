// SPDX-License-Identifier: MIT
#include "legacy/FinderRequests.h"

#include <string_view>

#include "legacy/AppleEventUtilities.h"
#include "macos/carbon/AliasManager.h"
#include "macos/carbon/FileChanges.h"
#include "macos/carbon/Processes.h"
#include "macos/foundation/Value.h"

namespace vennick {

namespace {

using macos::fourCharCode;
using macos::FSRef;
using macos::OSErr;

constexpr macos::OSType kFinderSignature = fourCharCode("MACS");
constexpr std::int32_t kTimeoutInTicks = 300;

constexpr macos::AEEventClass kCoreSuite = fourCharCode("core");
constexpr macos::AEEventID kMove = fourCharCode("move");
constexpr std::string_view kMoveToTrashFormat =
    "insh:obj {\tform:prop,\twant:type(prop),\tseld:type(trsh),\tfrom:'null'()},'----':alis(@@)";

constexpr macos::AEEventClass kFinderSuite = fourCharCode("fndr");
constexpr macos::AEEventID kUpdate = fourCharCode("fupd");
constexpr std::string_view kUpdateFormat = "'----':alis(@@)";

OSErr errorNumberOf(const macos::AppleEvent& reply) {
  OSErr number = macos::noErr;
  const OSErr code = macos::AEGetParamPtr(reply, macos::keyErrorNumber, macos::typeSInt16, nullptr, &number,
                                          sizeof number, nullptr);
  if (code == macos::errAEDescNotFound) {
    return macos::noErr;
  }
  return code == macos::noErr ? number : code;
}

OSErr touchFolderOf(const FSRef& ref) {
  FSRef folder;
  const OSErr code = macos::FSGetCatalogInfo(ref, macos::kFSCatInfoNone, nullptr, nullptr, &folder);
  if (code != macos::noErr) {
    return code;
  }
  macos::FSCatalogInfo info;
  info.contentModDate =
      macos::UCConvertCFAbsoluteTimeToUTCDateTime(macos::NSDate::date().secondsSinceReferenceDate);
  return macos::FSSetCatalogInfo(folder, macos::kFSCatInfoContentMod, info);
}

}  // namespace

bool isFinderRunning() {
  macos::ProcessSerialNumber process;
  return macos::GetProcessBySignature(kFinderSignature, &process) == macos::noErr;
}

OSErr AskFinderToMoveToTrash(const FSRef& ref) {
  macos::AliasHandle alias;
  OSErr code = macos::FSNewAlias(nullptr, ref, &alias);
  if (code != macos::noErr) {
    return code;
  }
  macos::AppleEvent reply;
  const macos::AEBuildArgument arguments[] = {alias};
  code = SendEventToSignature(kCoreSuite, kMove, kFinderSignature, kTimeoutInTicks, &reply,
                              kMoveToTrashFormat, arguments);
  return code == macos::noErr ? errorNumberOf(reply) : code;
}

OSErr TouchAndNotifyFinder(const FSRef& ref) {
  const OSErr touched = touchFolderOf(ref);
  macos::AliasHandle alias;
  if (macos::FSNewAlias(nullptr, ref, &alias) != macos::noErr) {
    return touched;
  }
  const macos::AEBuildArgument arguments[] = {alias};
  return SendEventToSignature(kFinderSuite, kUpdate, kFinderSignature, kTimeoutInTicks, nullptr,
                              kUpdateFormat, arguments);
}

}  // namespace vennick
