// SPDX-License-Identifier: MIT
#include "settings/StoreFiles.h"

#include <algorithm>

#include "macos/foundation/Bookmark.h"
#include "macos/foundation/BookmarkData.h"
#include "macos/foundation/DamagedFile.h"
#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/Log.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/PropertyList.h"
#include "macos/host/Host.h"
#include "platform/FileQueries.h"

namespace vennick {

using macos::Array;
using macos::Dictionary;
using macos::FileInfo;
using macos::FileKind;
using macos::FollowLinks;
using macos::NSURL;
using macos::Status;
using macos::Value;

// What is ready to be written: places, and the bytes for them.
struct StoreFiles::Batch {
  std::vector<macos::NewContent> files;
  std::vector<Value::Kind> kinds;

  bool holds(std::string_view path) const {
    return std::any_of(files.begin(), files.end(), [&](const auto& each) { return each.path == path; });
  }
};

namespace {

constexpr std::uint32_t kFileMode = 0644;

macos::FileSystem& files() { return macos::Host::current().files(); }

// Where a store file's content is, behind a link or an alias file.
struct ContentPlace {
  std::string path;
  // Not ok: something is there that cannot be read through. NotFound: nothing is there yet.
  Status status;
  FileInfo info;
};

// Why an alias file leads nowhere: mostly nothing is at the place that it records any more. What is there
// and cannot be looked at is another matter.
Status whyNowhere(const std::string& path, const NSURL& aliasFile) {
  const auto bookmark = macos::bookmarkDataWithContentsOfURL(aliasFile);
  const auto content = macos::BookmarkData::decode(bookmark ? bookmark->bytes : std::string());
  if (const auto components = content.ok() ? content->pathComponents() : std::nullopt) {
    std::string recorded = "/";
    for (const std::string& component : *components) {
      recorded = macos::pathByAppendingComponent(recorded, component);
    }
    const auto info = macos::itemInfo(recorded, FollowLinks::Yes);
    if (!info.ok() && !info.status().isNotFound()) {
      return info.status();
    }
  }
  return {macos::ErrorCode::NotFound, path, "leads nowhere"};
}

// An alias file whose target is gone is itself the place, or the link that leads to it: it is what new
// content replaces.
ContentPlace placeBehindAliasFile(const std::string& path, const std::string& aliasPath) {
  const NSURL aliasFile = NSURL::fileURLWithPathIsDirectory(aliasPath, false);
  const NSURL target = URLByResolvingAliasFile(aliasFile);
  if (target == aliasFile) {
    return {path, whyNowhere(path, aliasFile), FileInfo()};
  }
  std::string place = macos::pathAsOnDisk(target.path());
  const auto info = files().info(place, FollowLinks::Yes);
  if (info.ok()) {
    return {std::move(place), Status(), *info};
  }
  return {info.status().isNotFound() ? path : place, info.status(), FileInfo()};
}

// A link whose target is gone is itself the place.
ContentPlace placeOfContent(const NSURL& file) {
  std::string path = file.path();
  auto here = files().info(path, FollowLinks::No);
  if (!here.ok()) {
    path = macos::pathAsOnDisk(path);
    here = files().info(path, FollowLinks::No);
  }
  std::string place = path;
  if (here.ok() && here->kind == FileKind::Link) {
    const auto target = files().realPath(path);
    if (!target.ok()) {
      return {path, target.status(), FileInfo()};
    }
    place = *target;
    here = files().info(place, FollowLinks::No);
  }
  if (!here.ok()) {
    return {place, here.status(), FileInfo()};
  }
  if (macos::isAliasFile(place, *here)) {
    return placeBehindAliasFile(path, place);
  }
  return {place, Status(), *here};
}

bool isUnchanged(const FileInfo& before, const FileInfo& now) {
  return before.isSameItem(now) && before.size == now.size && before.modified == now.modified;
}

std::string_view nameOfKind(Value::Kind kind) { return kind == Value::Kind::Array ? "array" : "dictionary"; }

}  // namespace

Array StoreFiles::readArray(const NSURL& file) {
  const Value value = read(file, Value::Kind::Array);
  return value.isNull() ? Array() : *value.ifArray();
}

Dictionary StoreFiles::readDictionary(const NSURL& file) {
  const Value value = read(file, Value::Kind::Dictionary);
  return value.isNull() ? Dictionary() : *value.ifDictionary();
}

bool StoreFiles::write(const Array& array, const NSURL& file) { return writeAll({{file, Value(array)}}); }

bool StoreFiles::write(const Dictionary& dictionary, const NSURL& file) {
  return writeAll({{file, Value(dictionary)}});
}

Value StoreFiles::read(const NSURL& file, Value::Kind kind) {
  const ContentPlace place = placeOfContent(file);
  if (!place.status.ok()) {
    if (!place.status.isNotFound()) {
      macos::NSLogStatus(place.status);
    }
    return Value();
  }
  return readJudged(place.path, kind, place.info);
}

Value StoreFiles::readJudged(const std::string& path, Value::Kind kind, const FileInfo& info) {
  Judgement& judgement = judgements_[path];
  judgement = {info, kind, Content::Unreadable};
  const auto bytes = files().read(path);
  if (!bytes.ok()) {
    macos::NSLogStatus(bytes.status());
    return Value();
  }
  judgement.content = Content::Damaged;
  auto reading = macos::NSPropertyListSerialization::propertyListWithData(*bytes);
  if (!reading.ok()) {
    macos::NSLog(path + ": " + reading.status().message());
    return Value();
  }
  if (reading->value.kind() != kind) {
    macos::NSLog(path + ": holds no " + std::string(nameOfKind(kind)));
    return Value();
  }
  judgement.content = Content::Good;
  return std::move(reading->value);
}

bool StoreFiles::writeAll(const std::vector<FileContent>& contents) {
  bool areAllWritten = true;
  Batch batch;
  for (const FileContent& content : contents) {
    ContentPlace place = placeOfContent(content.file);
    // Links may lead two names to one file: what the first puts there is judged before the second.
    if (batch.holds(place.path)) {
      areAllWritten &= replace(batch);
      place = placeOfContent(content.file);
    }
    if (!place.status.ok() && !place.status.isNotFound()) {
      macos::NSLogStatus(place.status);
      areAllWritten = false;
      continue;
    }
    const Value::Kind kind = content.value.kind();
    const bool mayWrite = !place.status.ok() || mayReplace(place.path, kind, place.info);
    areAllWritten &= mayWrite && add(content.value, place.path, batch);
  }
  return replace(batch) && areAllWritten;
}

bool StoreFiles::add(const Value& value, const std::string& path, Batch& batch) {
  const Value writable = macos::writablePropertyList(value);
  if (writable != value) {
    macos::NSLog(path + ": what no property list can hold is left out");
  }
  auto xml =
      macos::NSPropertyListSerialization::dataWithPropertyList(writable, macos::NSPropertyListFormat::XML);
  if (!xml.ok()) {
    macos::NSLog(path + ": " + xml.status().message());
    return false;
  }
  batch.files.push_back({path, std::move(xml).value()});
  batch.kinds.push_back(value.kind());
  return true;
}

bool StoreFiles::replace(Batch& batch) {
  const std::vector<Status> results = files().replaceAll(batch.files, kFileMode);
  bool areAllWritten = true;
  for (std::size_t i = 0; i < results.size(); ++i) {
    const std::string& path = batch.files[i].path;
    if (!results[i].ok()) {
      macos::NSLogStatus(results[i]);
      areAllWritten = false;
    } else if (const auto info = files().info(path, FollowLinks::Yes); info.ok()) {
      judgements_[path] = {*info, batch.kinds[i], Content::Good};
    }
  }
  batch = Batch();
  return areAllWritten;
}

// The last word before content is overwritten: what was never read, or has changed since, is judged first.
bool StoreFiles::mayReplace(const std::string& path, Value::Kind kind, const FileInfo& info) {
  const auto known = judgements_.find(path);
  if (known == judgements_.end() || known->second.kind != kind || !isUnchanged(known->second.info, info)) {
    readJudged(path, kind, info);
  }
  switch (judgements_[path].content) {
    case Content::Good:
      return true;
    case Content::Unreadable:
      macos::NSLog(path + ": is left alone, since it could not be read");
      return false;
    case Content::Damaged:
      break;
  }
  const Status kept = macos::keepDamagedCopy(path);
  if (!kept.ok()) {
    macos::NSLogStatus(kept);
  }
  return kept.ok();
}

}  // namespace vennick
