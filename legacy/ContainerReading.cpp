// SPDX-License-Identifier: MIT
#include "legacy/ContainerReading.h"

#include <utility>

namespace vennick {
namespace {

class DictionaryParent final : public ContainerParent {
 public:
  explicit DictionaryParent(macos::Dictionary& dictionary) : dictionary_(dictionary) {}

  std::optional<macos::Value> read(std::string_view key) const override {
    const macos::Value* value = dictionary_.find(key);
    return value ? std::optional(*value) : std::nullopt;
  }

  void write(std::string_view key, std::optional<macos::Value> value) override {
    if (value) {
      dictionary_.set(key, *std::move(value));
    } else {
      dictionary_.remove(key);
    }
  }

 private:
  macos::Dictionary& dictionary_;
};

const macos::Dictionary* containerIn(const macos::Value& value, const macos::Dictionary* /*kind*/) {
  return value.ifDictionary();
}
const macos::Array* containerIn(const macos::Value& value, const macos::Array* /*kind*/) {
  return value.ifArray();
}

template <typename Container>
const Container* containerIn(const std::optional<macos::Value>& value) {
  return value ? containerIn(*value, static_cast<const Container*>(nullptr)) : nullptr;
}

template <typename Container>
ContainerRead<Container> readContainer(ContainerParent& parent, std::string_view key) {
  std::optional<macos::Value> stored = parent.read(key);
  const Container* container = containerIn<Container>(stored);
  if (container && container->empty()) {
    parent.write(key, std::nullopt);
    stored = parent.read(key);
    container = containerIn<Container>(stored);
  }
  if (container && !container->empty()) return {*container, false};
  parent.write(key, macos::Value(Container()));
  return {Container(), true};
}

}  // namespace

ContainerRead<macos::Dictionary> readDictionary(ContainerParent& parent, std::string_view key) {
  return readContainer<macos::Dictionary>(parent, key);
}

ContainerRead<macos::Array> readArray(ContainerParent& parent, std::string_view key) {
  return readContainer<macos::Array>(parent, key);
}

ContainerRead<macos::Dictionary> readDictionary(macos::Dictionary& parent, std::string_view key) {
  DictionaryParent dictionary(parent);
  return readContainer<macos::Dictionary>(dictionary, key);
}

ContainerRead<macos::Array> readArray(macos::Dictionary& parent, std::string_view key) {
  DictionaryParent dictionary(parent);
  return readContainer<macos::Array>(dictionary, key);
}

std::string readString(macos::Dictionary& parent, std::string_view key, std::string_view defaultValue) {
  if (const auto stored = parent.string(key); stored && !stored->empty()) return std::string(*stored);
  parent.set(key, macos::Value(defaultValue));
  return std::string(defaultValue);
}

std::int64_t readInteger(macos::Dictionary& parent, std::string_view key, std::int64_t defaultValue) {
  if (const auto stored = parent.integer(key)) return stored->low64();
  writeInteger(parent, key, defaultValue);
  return defaultValue;
}

void writeInteger(macos::Dictionary& parent, std::string_view key, std::int64_t value) {
  parent.set(key, macos::Value(value));
}

}  // namespace vennick
