// SPDX-License-Identifier: MIT
//
// AppleDouble files, and the bytes themselves and the carried fork as resource forks: what decodes is
// never larger than the input and is written and read again as the same value. A file whose partner is made
// of the bytes is resolved as an alias file.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "fuzz/ResolutionRoot.h"
#include "macos/carbon/AppleDouble.h"
#include "macos/carbon/ItemInfo.h"
#include "macos/carbon/ResourceFork.h"

namespace {

using vennick::fuzz::ResolutionRoot;

// The partner of a file without content of its own.
void resolveAsPartner(std::string_view bytes) {
  constexpr std::string_view kFile = "/Users/anna/classic";
  const ResolutionRoot& root = ResolutionRoot::shared();
  root.write(std::string(kFile), "");
  root.write("/Users/anna/._classic", bytes);
  macos::FSRef ref;
  macos::LSItemInfoRecord info;
  if (macos::FSPathMakeRef(kFile, &ref) != macos::noErr) abort();
  if (macos::LSCopyItemInfoForRef(ref, macos::kLSRequestBasicFlagsOnly, &info) != macos::noErr) abort();
  (void)vennick::IsBrowsableFolder(ref, true);
  ResolutionRoot::checkAliasFile(kFile);
}

// The bytes as the fork of an alias file.
void resolveAsFork(std::string_view bytes) {
  macos::AppleDouble partner;
  partner.finderInfo.setFlags(macos::kIsAlias);
  partner.resourceFork = bytes;
  if (const auto file = partner.encode()) resolveAsPartner(*file);
}

void checkFork(std::string_view bytes) {
  const auto fork = macos::ResourceFork::decode(bytes);
  if (!fork) return;
  resolveAsFork(bytes);
  std::size_t held = 0;
  for (const auto& resource : fork->resources()) held += resource.data.size() + resource.name.size();
  if (held > bytes.size()) abort();
  const auto written = fork->encode();
  if (!written) return;
  const auto again = macos::ResourceFork::decode(*written);
  if (!again || again->resources().size() != fork->resources().size() || *again->encode() != *written) {
    abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  ResolutionRoot::shared();
  checkFork(bytes);
  const auto file = macos::AppleDouble::decode(bytes);
  if (!file) return 0;
  resolveAsPartner(bytes);
  checkFork(file->resourceFork);
  const auto written = file->encode();
  if (!written) return 0;
  const auto again = macos::AppleDouble::decode(*written);
  if (!again || !(*again == *file)) abort();
  return 0;
}
