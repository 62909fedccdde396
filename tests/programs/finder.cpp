// SPDX-License-Identifier: MIT
//
// A stand-in for the Finder: put into a bundle with its signature and started from there, it receives
// Apple events and writes each, as a line of text, to the file that its second argument names (a path on
// the machine), after a line "ready". Its first argument says what it does with them: "accept",
// "refuse" (with -1728, no such object), "slow" (accepts after two seconds), "stuck" (after an hour), "die"
// (before it replies); and, with what an event is to be moved to the Trash, "move", "move-zero" (replies
// with an error number of 0) and "move-die" (before it replies).
#include <unistd.h>

#include <fstream>
#include <string>
#include <string_view>

#include "macos/carbon/AliasManager.h"
#include "macos/carbon/AppleEventDelivery.h"
#include "macos/carbon/FileChanges.h"
#include "macos/carbon/Folders.h"
#include "macos/host/Host.h"

namespace {

constexpr macos::OSErr kNoSuchObject = -1728;
constexpr unsigned kLongestLife = 300;
constexpr unsigned kSlowSeconds = 2;
constexpr unsigned kStuckSeconds = 3600;

std::string text(const macos::AEDesc& desc) {
  std::string result = macos::bytesOfFourCharCode(desc.descriptorType);
  if (desc.isRecord) {
    result += '{';
    for (const macos::AERecordField& field : desc.fields) {
      if (result.back() != '{') result += ',';
      result += macos::bytesOfFourCharCode(field.keyword) + ':' + text(field.desc);
    }
    return result + '}';
  }
  const bool isCode = desc.descriptorType == macos::typeType || desc.descriptorType == macos::typeEnumerated;
  const auto code = isCode ? macos::codeOfDesc(desc) : std::nullopt;
  return result + '(' + (code ? macos::bytesOfFourCharCode(*code) : std::to_string(desc.data.size())) + ')';
}

std::string text(const macos::AppleEvent& event) {
  return macos::bytesOfFourCharCode(event.eventClass) + '/' + macos::bytesOfFourCharCode(event.eventID) +
         ' ' + text(event.parameters);
}

macos::OSErr moveToTrash(const macos::AppleEvent& event) {
  macos::AEDesc desc;
  macos::OSErr code = macos::AEGetParamDesc(event, macos::keyDirectObject, macos::typeAlias, &desc);
  macos::AliasHandle alias{std::move(desc.data)};
  macos::FSRef item, trash;
  if (code == macos::noErr) {
    code = macos::FSResolveAliasWithMountFlags(nullptr, alias, &item, nullptr, macos::kResolveAliasFileNoUI);
  }
  if (code == macos::noErr) {
    code = macos::FSFindFolder(macos::kUserDomain, macos::kTrashFolderType, true, &trash);
  }
  return code == macos::noErr ? macos::FSMoveObject(item, trash, nullptr) : code;
}

// What is said of an event, in the manner of the first argument.
macos::OSErr answer(std::string_view manner, const macos::AppleEvent& event, macos::AppleEvent* reply) {
  macos::OSErr code = macos::noErr;
  if (manner.starts_with("move")) code = moveToTrash(event);
  if (manner.ends_with("die")) ::_exit(0);
  if (manner == "slow") ::sleep(kSlowSeconds);
  if (manner == "stuck") ::sleep(kStuckSeconds);
  if (manner == "move-zero") {
    macos::AEPutParamDesc(reply, macos::keyErrorNumber,
                          macos::AEDesc::withInteger(macos::typeSInt32, macos::noErr));
  }
  return manner == "refuse" ? kNoSuchObject : code;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const std::string_view manner = argv[1];
  std::ofstream record(argv[2], std::ios::app);
  const auto host = macos::Host::make(macos::posixHostParts());
  const macos::ScopedHost scope(host);
  auto port = macos::AppleEventPort::open();
  if (!port || !record) return 1;
  record << "ready" << std::endl;
  ::alarm(kLongestLife);
  for (;;) {
    port->receiveNext(macos::kNoDeadline, [&](const macos::AppleEvent& event, macos::AppleEvent* reply) {
      record << text(event) << std::endl;
      return answer(manner, event, reply);
    });
  }
}
