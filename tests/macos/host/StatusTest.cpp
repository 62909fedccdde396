// SPDX-License-Identifier: MIT
#include "macos/host/Status.h"

#include <cerrno>
#include <string>

#include "gtest/gtest.h"

namespace macos {
namespace {

TEST(Status, IsOkWithoutMessageByDefault) {
  const Status status;
  EXPECT_TRUE(status.ok());
  EXPECT_EQ(status.code(), ErrorCode::Ok);
  EXPECT_EQ(status.message(), "");
  EXPECT_EQ(status.errnoValue(), 0);
}

TEST(Status, SaysTheContextFirstAndTheCauseSecond) {
  EXPECT_EQ(Status(ErrorCode::Corrupt, "/a.plist", "no trailer").message(), "/a.plist: no trailer");
  EXPECT_EQ(Status(ErrorCode::Corrupt, "", "no trailer").message(), "no trailer");
  EXPECT_EQ(Status(ErrorCode::Corrupt, "/a.plist", "").message(), "/a.plist");
  EXPECT_EQ(Status::fromErrno("/a.plist", ENOENT).message(), "/a.plist: No such file or directory");
}

TEST(Status, TurnsEachErrnoIntoItsKind) {
  const std::pair<int, ErrorCode> kinds[] = {{ENOENT, ErrorCode::NotFound},
                                             {ENOTDIR, ErrorCode::NotFound},
                                             {ESRCH, ErrorCode::NotFound},
                                             {EINVAL, ErrorCode::InvalidArgument},
                                             {ENAMETOOLONG, ErrorCode::InvalidArgument},
                                             {EACCES, ErrorCode::PermissionDenied},
                                             {EPERM, ErrorCode::PermissionDenied},
                                             {EROFS, ErrorCode::PermissionDenied},
                                             {EEXIST, ErrorCode::AlreadyExists},
                                             {ENOEXEC, ErrorCode::Unsupported},
                                             {EOPNOTSUPP, ErrorCode::Unsupported},
                                             {ENOSYS, ErrorCode::Unsupported},
                                             {ENOSPC, ErrorCode::Io},
                                             {EIO, ErrorCode::Io},
                                             {ELOOP, ErrorCode::Io},
                                             {EXDEV, ErrorCode::Io},
                                             {EINTR, ErrorCode::Io},
                                             {ETIMEDOUT, ErrorCode::Cancelled}};
  for (const auto& [number, code] : kinds) {
    const Status status = Status::fromErrno("x", number);
    EXPECT_EQ(status.code(), code) << number;
    EXPECT_EQ(status.errnoValue(), number);
  }
}

TEST(Status, NeverTakesAnUnreadableItemForAMissingOne) {
  // A socket or a device that is not there to answer is still an item at the path.
  EXPECT_FALSE(Status::fromErrno("x", ENXIO).isNotFound());
  EXPECT_FALSE(Status::fromErrno("x", ENODEV).isNotFound());
  EXPECT_FALSE(Status::fromErrno("x", ELOOP).isNotFound());
}

TEST(Result, HoldsAValueOrAStatus) {
  Result<std::string> good = std::string("value");
  ASSERT_TRUE(good.ok());
  EXPECT_EQ(*good, "value");
  EXPECT_EQ(good->size(), 5U);
  const Result<std::string> bad = Status::fromErrno("x", EIO);
  EXPECT_FALSE(bad);
  EXPECT_EQ(bad.status().errnoValue(), EIO);
  EXPECT_EQ(Result<int>(Status::fromErrno("x", EIO)).valueOr(7), 7);
  EXPECT_EQ(Result<int>(3).valueOr(7), 3);
}

}  // namespace
}  // namespace macos
