// SPDX-License-Identifier: MIT
//
// Alias records and alias files for tests, made with the services themselves. For a current TestHost.
#ifndef TESTS_SUPPORT_ALIASFILES_H
#define TESTS_SUPPORT_ALIASFILES_H

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>

#include "macos/carbon/AliasManager.h"
#include "macos/carbon/ResourceFork.h"
#include "macos/foundation/Bookmark.h"
#include "macos/foundation/FileMetadata.h"
#include "tests/support/References.h"
#include "tests/support/TestHost.h"

namespace vennick::tests {

inline macos::AliasHandle aliasTo(std::string_view path) {
  macos::AliasHandle alias;
  EXPECT_EQ(macos::FSNewAlias(nullptr, refTo(path), &alias), macos::noErr) << path;
  return alias;
}

// The alias with something else in its record.
inline macos::AliasHandle changedAlias(const macos::AliasHandle& alias,
                                       const std::function<void(macos::AliasRecord&)>& change) {
  auto record = *macos::AliasRecord::decode(alias.bytes);
  change(record);
  return {*record.encode()};
}

// With a bookmark in its data fork.
inline void writeAliasFile(const std::string& path, std::string_view target) {
  const auto bookmark = macos::bookmarkDataWithOptions(macos::NSURL::fileURLWithPath(target), 1024);
  ASSERT_TRUE(bookmark) << target;
  ASSERT_FALSE(macos::writeBookmarkData(*bookmark, macos::NSURL::fileURLWithPath(path), 1024)) << path;
}

// As Finders before 10.6 made it: with an alias record in its resource fork.
inline void writeClassicAliasFile(TestHost& host, const std::string& path, const macos::AliasHandle& alias) {
  host.root().writeFile(path, "");
  macos::ResourceFork fork;
  fork.set({.type = macos::rAliasType, .identifier = 0, .data = alias.bytes});
  ASSERT_TRUE(macos::setResourceFork(path, *fork.encode()).ok());
  macos::FinderInfo info;
  info.setFlags(macos::kIsAlias);
  ASSERT_TRUE(macos::setFinderInfo(path, info).ok());
}

}  // namespace vennick::tests

#endif  // TESTS_SUPPORT_ALIASFILES_H
