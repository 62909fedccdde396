// SPDX-License-Identifier: MIT
//
// NSError of the domain NSCocoaErrorDomain: what a file operation answers when it fails. A value.
#ifndef MACOS_FOUNDATION_ERROR_H
#define MACOS_FOUNDATION_ERROR_H

#include <string>
#include <string_view>

#include "macos/host/Status.h"

namespace macos {

inline constexpr int NSFileNoSuchFileError = 4;
inline constexpr int NSFileReadUnknownError = 256;
inline constexpr int NSFileReadNoPermissionError = 257;
inline constexpr int NSFileReadInvalidFileNameError = 258;
inline constexpr int NSFileReadNoSuchFileError = 260;
inline constexpr int NSFileReadUnsupportedSchemeError = 262;
inline constexpr int NSFileWriteUnknownError = 512;
inline constexpr int NSFileWriteNoPermissionError = 513;
inline constexpr int NSFileWriteInvalidFileNameError = 514;
inline constexpr int NSFileWriteFileExistsError = 516;
inline constexpr int NSFileWriteUnsupportedSchemeError = 518;
inline constexpr int NSFileWriteOutOfSpaceError = 640;
inline constexpr int NSFileWriteVolumeReadOnlyError = 642;

struct NSError {
  int code = 0;
  std::string localizedDescription;
  std::string filePath;  // "" when it is about no file
  // What the host said; 0 and "" when it was not the host.
  int underlyingErrno = 0;
  std::string underlyingReason;

  // As %@ shows it: domain, code, text, path and cause.
  std::string description() const;
};

// The code that the platform gives for the failure of a reading or a writing operation.
int cocoaCodeForReading(const Status& status);
int cocoaCodeForWriting(const Status& status);

// The error of a failed reading or writing of the file at the path, with the platform's English text; the
// path is that of the status's message when none is given.
NSError cocoaErrorForReading(const Status& status, std::string_view path = {});
NSError cocoaErrorForWriting(const Status& status, std::string_view path = {});

}  // namespace macos

#endif  // MACOS_FOUNDATION_ERROR_H
