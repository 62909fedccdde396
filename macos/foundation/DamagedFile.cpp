// SPDX-License-Identifier: MIT
#include "macos/foundation/DamagedFile.h"

#include <string>

#include "macos/foundation/Log.h"
#include "macos/host/Host.h"

namespace macos {
namespace {

constexpr int kMostCopies = 1000;
// What was readable for its owner only stays so.
constexpr std::uint32_t kModeOfCopy = 0600;

}  // namespace

Status keepDamagedCopy(std::string_view path) {
  FileSystem& files = Host::current().files();
  const auto content = files.read(path);
  if (!content.ok()) {
    return content.status();
  }
  const std::string firstName = std::string(path) + ".damaged";
  std::string name = firstName;
  Status status = files.create(name, *content, kModeOfCopy);
  for (int number = 2; status.code() == ErrorCode::AlreadyExists && number <= kMostCopies; ++number) {
    name = firstName + "-" + std::to_string(number);
    status = files.create(name, *content, kModeOfCopy);
  }
  if (status.ok()) {
    NSLog(std::string(path) + ": its unreadable content is kept in " + name);
  }
  return status;
}

}  // namespace macos
