// SPDX-License-Identifier: MIT
#include "macos/foundation/Error.h"

#include <cerrno>
#include <system_error>

#include "macos/foundation/Path.h"
#include "macos/foundation/StringFormat.h"
#include "macos/foundation/Text.h"

namespace macos {

namespace {

// A status's message begins with its path.
std::string pathOfStatus(const Status& status) {
  const std::string& message = status.message();
  const std::size_t end = message.rfind(": ");
  return end != std::string::npos && message.starts_with('/') ? message.substr(0, end) : "";
}

NSError makeError(int code, const Status& status, std::string_view path) {
  NSError error;
  error.code = code;
  error.filePath = path.empty() ? pathOfStatus(status) : std::string(path);
  error.underlyingErrno = status.errnoValue();
  if (error.underlyingErrno != 0) {
    error.underlyingReason = std::generic_category().message(error.underlyingErrno);
  } else if (!status.ok()) {
    error.underlyingReason = status.message();
  }
  return error;
}

std::string textForReading(int code, const std::string& name) {
  const std::string file = "The file " + quotedName(name) + " couldn’t be opened";
  switch (code) {
    case NSFileReadNoSuchFileError:
      return file + " because there is no such file.";
    case NSFileReadNoPermissionError:
      return file + " because you don’t have permission to view it.";
    case NSFileReadInvalidFileNameError:
      return file + " because the file name is invalid.";
    case NSFileReadUnsupportedSchemeError:
      return file + " because the specified URL type isn’t supported.";
    default:
      return file + ".";
  }
}

std::string textForWriting(int code, const std::string& name, const std::string& folder) {
  const std::string file = "The file " + quotedName(name) + " couldn’t be saved";
  switch (code) {
    case NSFileNoSuchFileError:
      return "The folder " + quotedName(name) + " doesn’t exist.";
    case NSFileWriteNoPermissionError:
      return "You don’t have permission to save the file " + quotedName(name) + " in the folder " +
             quotedName(folder) + ".";
    case NSFileWriteInvalidFileNameError:
      return file + " because the file name is invalid.";
    case NSFileWriteFileExistsError:
      return file + " in the folder " + quotedName(folder) +
             " because a file with the same name already exists.";
    case NSFileWriteUnsupportedSchemeError:
      return file + " because the specified URL type isn’t supported.";
    case NSFileWriteOutOfSpaceError:
      return "You can’t save the file " + quotedName(name) + " because the volume is out of space.";
    case NSFileWriteVolumeReadOnlyError:
      return "You can’t save the file " + quotedName(name) + " because the volume is read only.";
    default:
      return file + " in the folder " + quotedName(folder) + ".";
  }
}

}  // namespace

std::string NSError::description() const {
  std::string text =
      "Error Domain=NSCocoaErrorDomain Code=" + std::to_string(code) + " \"" + localizedDescription + "\"";
  std::string userInfo;
  if (!filePath.empty()) userInfo = "NSFilePath=" + validUTF8(filePath);
  if (!underlyingReason.empty()) {
    if (!userInfo.empty()) userInfo += ", ";
    userInfo += "NSUnderlyingError={Error Domain=NSPOSIXErrorDomain Code=" + std::to_string(underlyingErrno) +
                " \"" + underlyingReason + "\"}";
  }
  return userInfo.empty() ? text : text + " UserInfo={" + userInfo + "}";
}

int cocoaCodeForReading(const Status& status) {
  switch (status.code()) {
    case ErrorCode::NotFound:
      return NSFileReadNoSuchFileError;
    case ErrorCode::PermissionDenied:
      return NSFileReadNoPermissionError;
    case ErrorCode::InvalidArgument:
      return NSFileReadInvalidFileNameError;
    default:
      return NSFileReadUnknownError;
  }
}

int cocoaCodeForWriting(const Status& status) {
  switch (status.errnoValue()) {
    case ENOSPC:
    case EDQUOT:
      return NSFileWriteOutOfSpaceError;
    case EROFS:
      return NSFileWriteVolumeReadOnlyError;
    default:
      break;
  }
  switch (status.code()) {
    case ErrorCode::NotFound:
      return NSFileNoSuchFileError;
    case ErrorCode::PermissionDenied:
      return NSFileWriteNoPermissionError;
    case ErrorCode::AlreadyExists:
      return NSFileWriteFileExistsError;
    case ErrorCode::InvalidArgument:
      return NSFileWriteInvalidFileNameError;
    default:
      return NSFileWriteUnknownError;
  }
}

NSError cocoaErrorForReading(const Status& status, std::string_view path) {
  NSError error = makeError(cocoaCodeForReading(status), status, path);
  error.localizedDescription = textForReading(error.code, lastPathComponent(error.filePath));
  return error;
}

NSError cocoaErrorForWriting(const Status& status, std::string_view path) {
  NSError error = makeError(cocoaCodeForWriting(status), status, path);
  error.localizedDescription =
      textForWriting(error.code, lastPathComponent(error.filePath),
                     lastPathComponent(pathByDeletingLastPathComponent(error.filePath)));
  return error;
}

}  // namespace macos
