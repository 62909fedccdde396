// SPDX-License-Identifier: MIT
//
// Alias records: what decodes is written and read again as the same record, and resolved.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "fuzz/ResolutionRoot.h"
#include "macos/carbon/AliasRecord.h"

namespace {

using macos::AliasRecord;
using macos::AliasTag;
using vennick::ResolveMode;
using vennick::fuzz::ResolutionRoot;

void resolve(const std::string& bytes, ResolveMode mode, vennick::AllowUI allowUI) {
  macos::AliasHandle alias{bytes};
  vennick::ItemAliasTarget target;
  const macos::OSErr code = vennick::ResolveItemAlias(alias, &target, {.name = true, .isFolder = true}, mode,
                                                      allowUI, vennick::UseDisplayName::Yes, nullptr);
  ResolutionRoot::check(code, target.ref);
}

std::uint32_t identifier(std::string_view path) {
  const auto info = macos::Host::current().files().info(path, macos::FollowLinks::No);
  return info ? static_cast<std::uint32_t>(info->inode) : 0;
}

// The same record as if it had been made of the document: it is looked for by its identifiers.
std::string withIdentifiersOfTheDocument(AliasRecord record) {
  record.targetID = identifier(ResolutionRoot::kFile);
  record.parentID = identifier(ResolutionRoot::kFolder);
  if (!record.directoryIDs().empty()) {
    record.setDirectoryIDs({record.parentID, identifier("/Users/anna"), identifier("/Users")});
  }
  return record.encode().valueOr("");
}

void resolveInEveryWay(const AliasRecord& record, const std::string& bytes) {
  std::string path;
  if (macos::FSCopyAliasInfo({bytes}, nullptr, nullptr, &path, nullptr, nullptr) != macos::noErr) abort();
  resolve(bytes, ResolveMode::AnyTarget, vennick::AllowUI::No);
  resolve(bytes, ResolveMode::FolderList, vennick::AllowUI::Yes);
  resolve(withIdentifiersOfTheDocument(record), ResolveMode::AnyTarget, vennick::AllowUI::Yes);
  AliasRecord withoutPath = record;
  withoutPath.removeField(AliasTag::PosixPath);
  withoutPath.removeField(AliasTag::CarbonPath);
  resolve(withIdentifiersOfTheDocument(withoutPath), ResolveMode::AnyTarget, vennick::AllowUI::No);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ResolutionRoot::shared();
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const auto record = AliasRecord::decode(bytes);
  if (!record) {
    resolve(bytes, ResolveMode::AnyTarget, vennick::AllowUI::No);
    return 0;
  }
  for (const auto tag : {AliasTag::UnicodeName, AliasTag::UnicodeVolumeName}) {
    if (const auto name = record->unicodeName(tag); name && name->size() > size / 2) abort();
  }
  if (record->directoryIDs().size() > size / 4) abort();
  resolveInEveryWay(*record, bytes);

  // A record that fills its 65,535 bytes without an end field has no room for one.
  const auto written = record->encode();
  if (!written) return 0;
  const auto again = AliasRecord::decode(*written);
  if (!again || !(*again == *record) || *again->encode() != *written) abort();
  return 0;
}
