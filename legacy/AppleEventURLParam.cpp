// SPDX-License-Identifier: MIT
#include "legacy/AppleEventUtilities.h"
#include "macos/foundation/Text.h"
#include "macos/foundation/URL.h"

namespace vennick {

macos::OSErr GetFSRefFromURLParam(const macos::AppleEvent& event, macos::AEKeyword keyword,
                                  macos::FSRef* ref) {
  macos::AEDesc text;
  const macos::OSErr code = macos::AEGetParamDesc(event, keyword, kTextParamType, &text);
  if (code != macos::noErr) return code;
  if (!macos::isValidUTF8(text.data)) return macos::memFullErr;
  const auto url = macos::NSURL::URLWithString(text.data);
  return url && macos::CFURLGetFSRef(*url, ref) ? macos::noErr : macos::memFullErr;
}

}  // namespace vennick
