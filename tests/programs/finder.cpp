// SPDX-License-Identifier: MIT
//
// A stand-in for the Finder: put into a bundle with its signature and started from there, it receives
// Apple events and writes each, as a line of text, to the file that its second argument names (a path on
// the machine), after a line "ready". Its first argument says what it does with them: "accept",
// "refuse" (with -1728, no such object), "slow" (accepts after two seconds), "die" (before it replies).
#include <unistd.h>

#include <fstream>
#include <string>
#include <string_view>

#include "macos/carbon/AppleEventDelivery.h"
#include "macos/host/Host.h"

namespace {

constexpr macos::OSErr kNoSuchObject = -1728;
constexpr unsigned kLongestLife = 300;
constexpr unsigned kSlowSeconds = 2;

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

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const std::string_view behaviour = argv[1];
  std::ofstream record(argv[2], std::ios::app);
  const auto host = macos::Host::make(macos::posixHostParts());
  const macos::ScopedHost scope(host);
  auto port = macos::AppleEventPort::open();
  if (!port || !record) return 1;
  record << "ready" << std::endl;
  ::alarm(kLongestLife);
  for (;;) {
    port->receiveNext(macos::kNoDeadline,
                      [&](const macos::AppleEvent& event, macos::AppleEvent*) -> macos::OSErr {
                        record << text(event) << std::endl;
                        if (behaviour == "die") ::_exit(0);
                        if (behaviour == "slow") ::sleep(kSlowSeconds);
                        return behaviour == "refuse" ? kNoSuchObject : macos::noErr;
                      });
  }
}
