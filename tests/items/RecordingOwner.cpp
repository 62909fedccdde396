// SPDX-License-Identifier: MIT
#include "tests/items/RecordingOwner.h"

namespace vennick::tests {
namespace {

std::string nameOfKind(macos::NSKeyValueChange kind) {
  switch (kind) {
    case macos::NSKeyValueChange::Setting:
      return "set";
    case macos::NSKeyValueChange::Insertion:
      return "insert";
    case macos::NSKeyValueChange::Removal:
      return "remove";
    case macos::NSKeyValueChange::Replacement:
      return "replace";
  }
  return "?";
}

}  // namespace

// A prior observation tells of the will-change, the plain one of the did-change.
RecordingOwner::RecordingOwner()
    : token_(addObserver(
          "favorites", macos::NSKeyValueObservingOptionPrior,
          [this](std::string_view, const macos::NSKeyValueChangeDictionary& change) { note(change); })) {}

void RecordingOwner::note(const macos::NSKeyValueChangeDictionary& change) {
  std::string notice = (change.isPrior ? "will " : "did ") + nameOfKind(change.kind);
  if (change.kind != macos::NSKeyValueChange::Setting) {
    std::string indexes;
    for (const std::size_t index : change.indexes) {
      indexes += (indexes.empty() ? "" : " ") + std::to_string(index);
    }
    notice += " [" + indexes + "] of " + std::to_string(array != nullptr ? array->count() : 0);
  }
  notices.push_back(std::move(notice));
  if (onNotice) {
    onNotice();
  }
}

macos::Value RecordingOwner::valuesAtIndexes(const macos::NSIndexSet& indexes, std::string_view) const {
  macos::Array values;
  for (const std::size_t index : indexes) {
    values.append(macos::Value(*array->items()->entries.at(index)));
  }
  return macos::Value(std::move(values));
}

}  // namespace vennick::tests
