// SPDX-License-Identifier: MIT
#include "macos/host/HiddenNeighbours.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cinttypes>
#include <memory>
#include <optional>
#include <string_view>

#include "macos/host/Descriptor.h"

namespace macos {

namespace {

// Leaves room for what is put around it in a hidden name, on volumes with short names too.
constexpr std::size_t kLongestNamePart = 100;
// A cut falls between two characters, of which the longest has four bytes.
constexpr std::size_t kShortestCutName = kLongestNamePart - 3;
constexpr std::size_t kDigitsOfNumber = 16;
constexpr std::int64_t kSecondsPerDay = std::int64_t{24} * 60 * 60;

std::string shortened(const std::string& name) {
  if (name.size() <= kLongestNamePart) return name;
  std::size_t length = kLongestNamePart;
  while (length > 0 && (static_cast<unsigned char>(name[length]) & 0xC0) == 0x80) --length;
  return name.substr(0, length);
}

std::string hexadecimal(std::uint64_t number) {
  char text[kDigitsOfNumber + 1];
  std::snprintf(text, sizeof text, "%016" PRIx64, number);
  return text;
}

// The NAME of ".NAME." and 16 digits; "" for any other name.
std::string_view nameInNeighbour(std::string_view name) {
  if (name.size() <= kDigitsOfNumber + 2 || name.front() != '.') return {};
  const std::size_t dot = name.size() - kDigitsOfNumber - 1;
  const bool isNeighbour =
      name[dot] == '.' && name.find_first_not_of("0123456789abcdef", dot + 1) == std::string_view::npos;
  return isNeighbour ? name.substr(1, dot - 1) : std::string_view();
}

// When a regular file was last written; nullopt for anything else.
std::optional<std::int64_t> secondOfWriting(int folder, const char* name) {
  struct stat found {};
  if (::fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(found.st_mode)) {
    return std::nullopt;
  }
  return found.st_mtim.tv_sec;
}

}  // namespace

std::string neighbourName(const std::string& name, std::uint64_t number) {
  return "." + shortened(name) + "." + hexadecimal(number);
}

std::string lockName(const std::string& name) {
  std::string part = shortened(name);
  if (part.size() < name.size()) {
    // FNV-1a, the same in every build: two long names must not share a lock.
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char c : name) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    part.append(".").append(hexadecimal(hash));
  }
  return "." + part + ".lock";
}

void removeAbandonedNeighbours(int folder, const std::set<std::string, std::less<>>& names,
                               const std::string& justWritten) {
  Descriptor opened(uninterrupted([&] { return ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  if (!opened.isOpen()) return;
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(::fdopendir(opened.get()), ::closedir);
  if (!entries) return;
  opened.release();
  while (const dirent* const entry = ::readdir(entries.get())) {
    const std::string_view name = nameInNeighbour(entry->d_name);
    if (name.empty() || name.size() >= kShortestCutName || names.count(name) == 0) continue;
    const auto written = secondOfWriting(folder, entry->d_name);
    const auto now = secondOfWriting(folder, justWritten.c_str());
    if (written && now && *now - *written >= kSecondsPerDay) ::unlinkat(folder, entry->d_name, 0);
  }
}

}  // namespace macos
