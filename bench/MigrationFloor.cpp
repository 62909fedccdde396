// SPDX-License-Identifier: MIT
//
// MigrationFloor DOMAIN TARGETS PACK FOLDER: the least that a migration can cost. It reads the version 4
// domain, stats every target once, and writes the bytes of the version 5 store atomically; it understands
// none of them. TARGETS holds one path a line. PACK holds the store: for each file a line with its path, a
// line with its size, and its bytes; they go below FOLDER.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

namespace {

[[noreturn]] void fail(const std::string& what) {
  std::perror(what.c_str());
  std::exit(EXIT_FAILURE);
}

std::string readWhole(const char* path) {
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  struct stat info {};
  if (file < 0 || fstat(file, &info) != 0) fail(path);
  std::string content(static_cast<std::size_t>(info.st_size), '\0');
  if (read(file, content.data(), content.size()) != info.st_size) fail(path);
  close(file);
  return content;
}

std::string_view nextLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

void writeAtomically(const std::string& path, std::string_view content) {
  const std::string beside = path + ".new";
  const int file = open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (file < 0 || write(file, content.data(), content.size()) != static_cast<ssize_t>(content.size()) ||
      fsync(file) != 0 || close(file) != 0 || rename(beside.c_str(), path.c_str()) != 0) {
    fail(path);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) return 2;
  const std::string domain = readWhole(argv[1]);
  const std::string targets = readWhole(argv[2]);
  for (std::string_view rest = targets; !rest.empty();) {
    struct stat info {};
    if (stat(std::string(nextLine(rest)).c_str(), &info) != 0) fail("a target");
  }
  const std::string pack = readWhole(argv[3]);
  std::string folder;
  for (std::string_view rest = pack; !rest.empty();) {
    const std::string path = std::string(argv[4]) + "/" + std::string(nextLine(rest));
    const std::size_t size = std::stoul(std::string(nextLine(rest)));
    if (const std::string parent = path.substr(0, path.rfind('/')); parent != folder) {
      folder = parent;
      std::filesystem::create_directories(folder);
    }
    writeAtomically(path, rest.substr(0, size));
    rest.remove_prefix(size);
  }
}
