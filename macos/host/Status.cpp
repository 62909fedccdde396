// SPDX-License-Identifier: MIT
#include "macos/host/Status.h"

#include <cerrno>
#include <system_error>

namespace macos {

namespace {

ErrorCode codeForErrno(int errnoValue) {
  switch (errnoValue) {
    case ENOENT:
    case ENOTDIR:
    case ESRCH:
      return ErrorCode::NotFound;
    case EINVAL:
    case ENAMETOOLONG:
    case EILSEQ:
      return ErrorCode::InvalidArgument;
    case EACCES:
    case EPERM:
    case EROFS:
      return ErrorCode::PermissionDenied;
    case EEXIST:
      return ErrorCode::AlreadyExists;
    case ENOSYS:
    case ENOTTY:
    case ENOEXEC:
    case EOPNOTSUPP:
      return ErrorCode::Unsupported;
    case ECANCELED:
    case ETIMEDOUT:
      return ErrorCode::Cancelled;
    default:
      return ErrorCode::Io;
  }
}

}  // namespace

Status::Status(ErrorCode code, std::string_view context, std::string_view cause, int errnoValue)
    : code_(code), errno_(errnoValue) {
  assert(code != ErrorCode::Ok);
  message_.reserve(context.size() + cause.size() + 2);
  message_.append(context);
  if (!context.empty() && !cause.empty()) message_.append(": ");
  message_.append(cause);
}

Status Status::fromErrno(std::string_view context, int errnoValue) {
  return {codeForErrno(errnoValue), context, std::generic_category().message(errnoValue), errnoValue};
}

}  // namespace macos
