// SPDX-License-Identifier: MIT
#include "macos/host/MountTable.h"

#include <sys/sysmacros.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace macos {

namespace {

std::vector<std::string_view> splitAt(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(separator), text.size());
    if (end > 0) parts.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return parts;
}

// Blanks, new lines and backslashes are written as a backslash and three octal digits.
std::string unescaped(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned value = 0;
    if (text[i] == '\\' && i + 3 < text.size() &&
        std::from_chars(text.data() + i + 1, text.data() + i + 4, value, 8).ptr == text.data() + i + 4) {
      result += static_cast<char>(value);
      i += 3;
    } else {
      result += text[i];
    }
  }
  return result;
}

bool parseNumber(std::string_view text, unsigned& number) {
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stopped == end;
}

bool parseDevice(std::string_view text, std::uint64_t& device) {
  const std::size_t colon = text.find(':');
  unsigned majorNumber = 0;
  unsigned minorNumber = 0;
  if (colon == std::string_view::npos || !parseNumber(text.substr(0, colon), majorNumber) ||
      !parseNumber(text.substr(colon + 1), minorNumber)) {
    return false;
  }
  device = makedev(majorNumber, minorNumber);
  return true;
}

// "36 35 98:0 / /mnt rw,noatime shared:1 - ext3 /dev/root rw,errors=continue": any number of fields
// before the lone dash.
bool parseLine(std::string_view line, Mount& mount) {
  const std::vector<std::string_view> fields = splitAt(line, ' ');
  const auto dash = std::find(fields.begin(), fields.end(), "-");
  if (dash - fields.begin() < 6 || fields.end() - dash < 3) return false;
  if (!parseDevice(fields[2], mount.device)) return false;
  mount.mountPoint = unescaped(fields[4]);
  mount.options = fields[5];
  mount.type = dash[1];
  mount.source = unescaped(dash[2]);
  if (fields.end() - dash > 3) mount.options.append(",").append(dash[3]);
  return !mount.mountPoint.empty();
}

bool isUnreserved(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("-._~/").find(c) != std::string_view::npos;
}

std::string escapedForURL(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string result;
  for (const char c : text) {
    if (isUnreserved(c)) {
      result += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    result.append({'%', kDigits[byte >> 4], kDigits[byte & 15]});
  }
  return result;
}

// The machine's name; the brackets of an address of version 6 and its colons stay as they are.
std::string escapedServer(std::string_view server) {
  const bool isAddress = !server.empty() && server.front() == '[' && server.back() == ']';
  return isAddress ? std::string(server) : escapedForURL(server);
}

std::string withoutEndSlash(std::string text) {
  while (!text.empty() && text.back() == '/') text.pop_back();
  return text;
}

}  // namespace

std::vector<Mount> parseMountInfo(std::string_view text) {
  std::vector<Mount> mounts;
  for (const std::string_view line : splitAt(text, '\n')) {
    Mount mount;
    if (parseLine(line, mount)) mounts.push_back(std::move(mount));
  }
  return mounts;
}

bool isNetworkFileSystem(std::string_view type) {
  constexpr std::array<std::string_view, 31> kTypes = {"9p",
                                                       "afs",
                                                       "beegfs",
                                                       "ceph",
                                                       "cifs",
                                                       "coda",
                                                       "davfs",
                                                       "fuse.afpfs",
                                                       "fuse.ceph",
                                                       "fuse.curlftpfs",
                                                       "fuse.davfs2",
                                                       "fuse.gcsfuse",
                                                       "fuse.glusterfs",
                                                       "fuse.gvfsd-fuse",
                                                       "fuse.httpfs",
                                                       "fuse.mfs",
                                                       "fuse.rclone",
                                                       "fuse.s3fs",
                                                       "fuse.smbnetfs",
                                                       "fuse.sshfs",
                                                       "fuse.wdfs",
                                                       "gfs2",
                                                       "glusterfs",
                                                       "lustre",
                                                       "ncpfs",
                                                       "nfs",
                                                       "nfs4",
                                                       "ocfs2",
                                                       "orangefs",
                                                       "smb3",
                                                       "smbfs"};
  return std::find(kTypes.begin(), kTypes.end(), type) != kTypes.end();
}

bool hasMountOption(const Mount& mount, std::string_view option) {
  const std::vector<std::string_view> options = splitAt(mount.options, ',');
  return std::find(options.begin(), options.end(), option) != options.end();
}

std::string remountURL(const Mount& mount) {
  const std::string_view source = mount.source;
  if (mount.type == "cifs" || mount.type == "smb3" || mount.type == "smbfs") {
    if (source.substr(0, 2) != "//") return "";
    const std::size_t slash = std::min(source.find('/', 2), source.size());
    const std::string_view server = source.substr(2, slash - 2);
    if (server.empty()) return "";
    return withoutEndSlash("smb://" + escapedServer(server) + escapedForURL(source.substr(slash)));
  }
  if (mount.type == "nfs" || mount.type == "nfs4") {
    // "[fe80::1]:/path" has colons before the one that counts.
    const std::size_t colon = source.find(":/");
    if (colon == std::string_view::npos || colon == 0) return "";
    return withoutEndSlash("nfs://" + escapedServer(source.substr(0, colon)) +
                           escapedForURL(source.substr(colon + 1)));
  }
  if (mount.type == "fuse.afpfs" && source.substr(0, 6) == "afp://") return std::string(source);
  return "";
}

}  // namespace macos
