// SPDX-License-Identifier: MIT
//
// The property-list files of the settings store. Any format is read; XML is written, in one step, so that
// a file is never seen half written. A link or an alias file in the place of a store file is read and
// written through and stays what it is; one whose target is missing reads as empty and is replaced.
//
// What cannot be made sense of (no property list, or of another type) reads as empty, and before it is
// first overwritten it is copied beside itself as "NAME.damaged". What is there but cannot be read is never
// overwritten. Both are logged with path and reason. Main thread.
#ifndef SETTINGS_STOREFILES_H
#define SETTINGS_STOREFILES_H

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/URL.h"
#include "macos/foundation/Value.h"
#include "macos/host/FileSystem.h"

namespace vennick {

class StoreFiles {
 public:
  // Empty when the file is missing or holds no such container.
  macos::Array readArray(const macos::NSURL& file);
  macos::Dictionary readDictionary(const macos::NSURL& file);
  // Whether the content is on disk.
  bool write(const macos::Array& array, const macos::NSURL& file);
  bool write(const macos::Dictionary& dictionary, const macos::NSURL& file);
  // Several files at once, which costs the disk little more than one. Whether all are on disk; each is
  // written whatever becomes of the others.
  struct FileContent {
    macos::NSURL file;
    macos::Value value;  // an array or a dictionary
  };
  bool writeAll(const std::vector<FileContent>& contents);

 private:
  enum class Content { Good, Damaged, Unreadable };
  // What is known of a file, for as long as it is the same item, size and time.
  struct Judgement {
    macos::FileInfo info;
    macos::Value::Kind kind = macos::Value::Kind::Null;
    Content content = Content::Good;
  };

  macos::Value read(const macos::NSURL& file, macos::Value::Kind kind);
  macos::Value readJudged(const std::string& path, macos::Value::Kind kind, const macos::FileInfo& info);
  // What is ready to be written.
  struct Batch;
  bool add(const macos::Value& value, const std::string& path, Batch& batch);
  // Writes it, and empties it.
  bool replace(Batch& batch);
  bool mayReplace(const std::string& path, macos::Value::Kind kind, const macos::FileInfo& info);

  std::map<std::string, Judgement> judgements_;
};

}  // namespace vennick

#endif  // SETTINGS_STOREFILES_H
