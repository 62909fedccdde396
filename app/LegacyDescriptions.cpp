// SPDX-License-Identifier: MIT
#include "app/LegacyDescriptions.h"

#include <string_view>

#include "legacy/CFItem.h"

namespace vennick {
namespace {

using macos::Dictionary;

void appendItem(std::string& text, const Dictionary* item) {
  if (item == nullptr) {
    text += "[no item]";
    return;
  }
  text += item->string(LegacyItemKeys::Name).value_or("");
  const auto alias = item->data(LegacyItemKeys::Alias);
  text += alias ? " [alias, " + std::to_string(alias->size()) + " bytes]" : " [no alias]";
}

}  // namespace

std::string descriptionOfItems(const LegacyItemArray& items) {
  if (!items) {
    return "(null)";
  }
  std::string text = "(";
  for (const LegacyEntry& entry : *items) {
    text += text.size() > 1 ? ", " : "";
    const auto* item = std::get_if<LegacyItem>(&entry);
    appendItem(text, item != nullptr ? item->get() : nullptr);
  }
  return text + ")";
}

std::string descriptionOfItems(const Dictionary& itemsByKey) {
  std::string text = "{";
  for (const auto& entry : itemsByKey) {
    text += text.size() > 1 ? ", " : "";
    text += std::string(entry.key()) + " = ";
    appendItem(text, entry.value().ifDictionary());
  }
  return text + "}";
}

}  // namespace vennick
