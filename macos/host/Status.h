// SPDX-License-Identifier: MIT
//
// How the host and the codecs answer: a Status, or a Result that holds a value or a Status. A Status
// says what kind of thing went wrong, for the program, and where and why, for the log. Absence of a
// key is never a Status: that is an empty optional or a null pointer.
#ifndef MACOS_HOST_STATUS_H
#define MACOS_HOST_STATUS_H

#include <cassert>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace macos {

enum class ErrorCode {
  Ok,
  NotFound,          // a named file, domain or volume is not there
  Corrupt,           // bytes are there and break their format
  Unsupported,       // recognised, but not handled here
  InvalidArgument,   // the call could never succeed, whatever the disk holds
  PermissionDenied,  // the host refused
  AlreadyExists,     // the name is taken
  Io,                // anything else that the host reports; errnoValue() tells which
  Cancelled,         // the host asked to stop
};

// A regular value. Ok has no message.
class [[nodiscard]] Status {
 public:
  Status() = default;
  // The context (mostly a path) comes first, the cause second: "…/x.plist: No such file or directory".
  Status(ErrorCode code, std::string_view context, std::string_view cause, int errnoValue = 0);

  // The one place that turns an errno into a Status. A path whose parent is no folder is NotFound, a
  // read-only volume is PermissionDenied, a name or path that is too long is InvalidArgument; a full disk,
  // a link loop, a move between volumes and all the rest are Io.
  // REQUIRES: errnoValue != 0
  static Status fromErrno(std::string_view context, int errnoValue);

  bool ok() const { return code_ == ErrorCode::Ok; }
  ErrorCode code() const { return code_; }
  bool isNotFound() const { return code_ == ErrorCode::NotFound; }
  // 0 when the failure was not the host's.
  int errnoValue() const { return errno_; }
  const std::string& message() const { return message_; }

 private:
  ErrorCode code_ = ErrorCode::Ok;
  int errno_ = 0;
  std::string message_;
};

// A value or the Status that says why there is none.
template <typename T>
class [[nodiscard]] Result {
 public:
  Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}
  // REQUIRES: !status.ok()
  Result(Status status) : state_(std::in_place_index<1>, std::move(status)) { assert(!this->status().ok()); }

  bool ok() const { return state_.index() == 0; }
  explicit operator bool() const { return ok(); }
  // REQUIRES: ok() for the value, !ok() for the status.
  T& value() & { return std::get<0>(state_); }
  const T& value() const& { return std::get<0>(state_); }
  T&& value() && { return std::get<0>(std::move(state_)); }
  T& operator*() & { return value(); }
  const T& operator*() const& { return value(); }
  T&& operator*() && { return std::move(*this).value(); }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }
  const Status& status() const { return std::get<1>(state_); }
  T valueOr(T fallback) && { return ok() ? std::move(*this).value() : std::move(fallback); }

 private:
  std::variant<T, Status> state_;
};

}  // namespace macos

#endif  // MACOS_HOST_STATUS_H
