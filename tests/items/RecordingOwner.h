// SPDX-License-Identifier: MIT
//
// An owner of an item array that notes every announcement as it is made, with the count of the list at
// that moment: "will insert [0] of 0".
#ifndef TESTS_ITEMS_RECORDINGOWNER_H
#define TESTS_ITEMS_RECORDINGOWNER_H

#include <functional>
#include <string>
#include <vector>

#include "items/VKItemArray.h"
#include "macos/foundation/KeyValueObserving.h"

namespace vennick::tests {

class RecordingOwner : public macos::NSObservable {
 public:
  RecordingOwner();

  macos::Value valuesAtIndexes(const macos::NSIndexSet& indexes, std::string_view key) const override;

  std::vector<std::string> notices;
  std::function<void()> onNotice;
  const VKItemArray* array = nullptr;

 private:
  void note(const macos::NSKeyValueChangeDictionary& change);
  macos::ObservationToken token_;
};

}  // namespace vennick::tests

#endif  // TESTS_ITEMS_RECORDINGOWNER_H
