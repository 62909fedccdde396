// SPDX-License-Identifier: MIT
#include "macos/frameworks/ShortcutRecorder.h"

#include <algorithm>
#include <array>

#include "macos/carbon/KeyboardLayout.h"
#include "macos/foundation/Text.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

struct KeyText {
  std::uint16_t keyCode;
  std::u16string_view text;
};

// Keys whose events carry something else than what the layout types for them: the function-key
// characters of NSEvent, and Delete's, which is not the one that its layout entry has.
constexpr std::array kEventTexts = std::to_array<KeyText>({
    {36, u"\r"},      {48, u"\t"},      {51, u"\x7F"},    {53, u"\x1B"},    {52, u"\x03"},
    {76, u"\x03"},    {71, u"\uF739"},  {114, u"\uF746"}, {115, u"\uF729"}, {116, u"\uF72C"},
    {117, u"\uF728"}, {119, u"\uF72B"}, {121, u"\uF72D"}, {126, u"\uF700"}, {125, u"\uF701"},
    {123, u"\uF702"}, {124, u"\uF703"}, {122, u"\uF704"}, {120, u"\uF705"}, {99, u"\uF706"},
    {118, u"\uF707"}, {96, u"\uF708"},  {97, u"\uF709"},  {98, u"\uF70A"},  {100, u"\uF70B"},
    {101, u"\uF70C"}, {109, u"\uF70D"}, {103, u"\uF70E"}, {111, u"\uF70F"}, {105, u"\uF710"},
    {107, u"\uF711"}, {113, u"\uF712"}, {106, u"\uF713"}, {64, u"\uF714"},  {79, u"\uF715"},
    {80, u"\uF716"},  {90, u"\uF717"},
});

// The keys of an ANSI keyboard by code, for those that the layout has nothing for.
constexpr std::u16string_view kANSIKeys = u"asdfhgzxcv\u00A7bqweryt123465=97-80]ou[ip\rlj'k;\\,/nm.\t `";

// Likewise, of other keyboards. No event carries text for the modifier keys, the media keys and the two
// Japanese mode keys; they get the sign, or NSEvent's system character, that stands for them.
constexpr std::array kOtherTexts = std::to_array<KeyText>({
    {65, u"."},
    {67, u"*"},
    {69, u"+"},
    {75, u"/"},
    {78, u"-"},
    {81, u"="},
    {82, u"0"},
    {83, u"1"},
    {84, u"2"},
    {85, u"3"},
    {86, u"4"},
    {87, u"5"},
    {88, u"6"},
    {89, u"7"},
    {91, u"8"},
    {92, u"9"},
    {93, u"\u00A5"},
    {94, u"_"},
    {95, u","},
    {54, u"\u2318"},
    {55, u"\u2318"},
    {56, u"\u21E7"},
    {57, u"\u21EA"},
    {58, u"\u2325"},
    {59, u"\u2303"},
    {60, u"\u21E7"},
    {61, u"\u2325"},
    {62, u"\u2303"},
    {63, u"fn"},
    {72, u"\uF735"},
    {73, u"\uF735"},
    {74, u"\uF735"},
    {102, u"\u82F1\u6570"},
    {104, u"\u304B\u306A"},
});

constexpr std::uint32_t kCapsLockFlag = 1U << 16;
constexpr std::uint32_t kShiftFlag = 1U << 17;
constexpr std::uint32_t kControlFlag = 1U << 18;
constexpr std::uint32_t kOptionFlag = 1U << 19;
constexpr std::uint32_t kCommandFlag = 1U << 20;

// The byte that layouts are indexed with; its bits stand in another order than NSEvent's.
std::uint8_t modifierKeyState(std::uint32_t flags) {
  const unsigned state =
      ((flags & kCommandFlag) != 0 ? 0x01U : 0U) | ((flags & kShiftFlag) != 0 ? 0x02U : 0U) |
      ((flags & kCapsLockFlag) != 0 ? 0x04U : 0U) | ((flags & kOptionFlag) != 0 ? 0x08U : 0U) |
      ((flags & kControlFlag) != 0 ? 0x10U : 0U);
  return static_cast<std::uint8_t>(state);
}

template <std::size_t N>
std::u16string_view textIn(const std::array<KeyText, N>& texts, std::uint16_t keyCode) {
  const auto found =
      std::find_if(texts.begin(), texts.end(), [&](const KeyText& key) { return key.keyCode == keyCode; });
  return found == texts.end() ? std::u16string_view() : found->text;
}

constexpr bool isSurrogate(char16_t unit) { return unit >= 0xD800 && unit < 0xE000; }

// Whether XML can hold the unit, and gives it back.
constexpr bool isWritable(char16_t unit) {
  if (unit < 0x20) return unit == u'\t' || unit == u'\n' || unit == u'\r';
  return unit < 0xFFFE;
}

// The text without what a property list cannot hold: control characters, and halves of surrogate pairs.
std::u16string writableText(std::u16string_view text) {
  std::u16string result;
  for (std::size_t index = 0; index < text.size(); ++index) {
    const char16_t unit = text[index];
    const bool isPair =
        unit < 0xDC00 && index + 1 < text.size() && text[index + 1] >= 0xDC00 && text[index + 1] < 0xE000;
    if (isSurrogate(unit)) {
      if (isPair) result.append(text.substr(index++, 2));
    } else if (isWritable(unit)) {
      result.push_back(unit);
    }
  }
  return result;
}

}  // namespace

SRKeyCodeTransformer::SRKeyCodeTransformer() : source_(TISCopyCurrentKeyboardLayoutInputSource()) {}

SRKeyCodeTransformer& SRKeyCodeTransformer::sharedASCIITransformer() {
  return hostLocal<SRKeyCodeTransformer>();
}

std::optional<std::string> SRKeyCodeTransformer::transformedValue(std::uint16_t keyCode,
                                                                  std::uint32_t implicitModifierFlags,
                                                                  std::uint32_t /*explicitModifierFlags*/) {
  const std::uint8_t state = modifierKeyState(implicitModifierFlags);
  const std::uint32_t place = std::uint32_t{state} << 16 | keyCode;
  std::lock_guard lock(mutex_);
  auto known = texts_.find(place);
  if (known == texts_.end()) known = texts_.emplace(place, textOfKey(keyCode, state)).first;
  return known->second;
}

std::optional<std::string> SRKeyCodeTransformer::textOfKey(std::uint16_t keyCode,
                                                           std::uint8_t modifierKeyState) const {
  std::u16string text(textIn(kEventTexts, keyCode));
  if (text.empty()) {
    std::uint32_t deadKeyState = 0;
    text = UCKeyTranslate(source_->unicodeKeyLayoutData(), {keyCode, kUCKeyActionDisplay, modifierKeyState},
                          0, kUCKeyTranslateNoDeadKeysMask, &deadKeyState)
               .value_or(u"");
  }
  if (text.empty()) {
    text = keyCode < kANSIKeys.size() ? kANSIKeys.substr(keyCode, 1) : textIn(kOtherTexts, keyCode);
  }
  const std::u16string writable = writableText(text);
  if (writable.empty()) return std::nullopt;
  return utf8FromUTF16(writable);
}

}  // namespace macos
