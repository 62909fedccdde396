// SPDX-License-Identifier: MIT
//
// The building language of Apple events.
#include <algorithm>

#include "macos/carbon/AppleEvents.h"

namespace macos {

namespace {

constexpr std::size_t kLongestWord = 4;

bool isSeparator(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }

bool isBareWordCharacter(char c) { return isLetter(c) || (c >= '0' && c <= '9'); }

bool isQuotedWordCharacter(char c) { return c >= ' ' && c <= '~' && c != '\''; }

// Recursive descent. Each function leaves the place behind what it took and answers whether that was well
// formed; after a false the place is where it went wrong.
class Builder {
 public:
  Builder(std::string_view format, std::span<const AEBuildArgument> arguments)
      : format_(format), arguments_(arguments) {}

  bool buildParameters(AEDesc* record) {
    skipSeparators();
    if (atEnd()) return true;
    return takePairs(record, 0) && atEnd();
  }

  std::size_t place() const { return place_; }

 private:
  bool atEnd() const { return place_ == format_.size(); }

  void skipSeparators() {
    while (!atEnd() && isSeparator(format_[place_])) ++place_;
  }

  bool take(std::string_view symbol) {
    skipSeparators();
    if (!format_.substr(place_).starts_with(symbol)) return false;
    place_ += symbol.size();
    skipSeparators();
    return true;
  }

  bool takePairs(AEDesc* record, int depth) {
    do {
      OSType keyword = 0;
      AEDesc value;
      if (!takeWord(&keyword) || !take(":") || !takeValue(&value, depth)) return false;
      record->setField(keyword, std::move(value));
    } while (take(","));
    return true;
  }

  bool takeWord(OSType* code) {
    skipSeparators();
    const bool isQuoted = !atEnd() && format_[place_] == '\'';
    const std::size_t start = isQuoted ? place_ + 1 : place_;
    const auto belongs = isQuoted ? isQuotedWordCharacter : isBareWordCharacter;
    const auto end =
        std::find_if_not(format_.begin() + static_cast<std::ptrdiff_t>(start), format_.end(), belongs);
    const std::string_view word =
        format_.substr(start, static_cast<std::size_t>(end - format_.begin()) - start);
    if (word.empty() || word.size() > kLongestWord) return false;
    if (!isQuoted && !isLetter(word.front())) return false;
    const std::size_t after = start + word.size();
    if (isQuoted && (after == format_.size() || format_[after] != '\'')) return false;
    place_ = isQuoted ? after + 1 : after;

    *code = 0;
    for (std::size_t index = 0; index < kLongestWord; ++index) {
      *code = *code << 8 | static_cast<std::uint8_t>(index < word.size() ? word[index] : ' ');
    }
    return true;
  }

  bool takeValue(AEDesc* value, int depth) {
    OSType type = 0;
    if (!takeWord(&type)) return false;
    if (take("(")) return takeData(type, value) && take(")");
    if (take("{")) return takeRecord(type, value, depth + 1) && take("}");
    *value = AEDesc::withCode(typeEnumerated, type);
    return true;
  }

  bool takeData(DescType type, AEDesc* value) {
    if (format_.substr(place_).starts_with(')')) {
      *value = AEDesc::withData(type, {});
      return true;
    }
    if (format_.substr(place_).starts_with("@@")) return takeHandle(type, value);
    OSType code = 0;
    if (!takeWord(&code)) return false;
    *value = AEDesc::withCode(type, code);
    return true;
  }

  bool takeHandle(DescType type, AEDesc* value) {
    if (arguments_.empty()) return false;
    const auto* handle = std::get_if<AliasHandle>(&arguments_.front());
    if (handle == nullptr || handle->isNull()) return false;
    arguments_ = arguments_.subspan(1);
    *value = AEDesc::withData(type, handle->bytes);
    return take("@@");
  }

  bool takeRecord(DescType type, AEDesc* value, int depth) {
    if (depth > kDeepestAERecord) return false;
    value->descriptorType = type;
    value->isRecord = true;
    return format_.substr(place_).starts_with('}') || takePairs(value, depth);
  }

  std::string_view format_;
  std::span<const AEBuildArgument> arguments_;
  std::size_t place_ = 0;
};

}  // namespace

OSErr vAEBuildAppleEvent(AEEventClass eventClass, AEEventID eventID, const AEDesc& address,
                         AEReturnID returnID, AETransactionID transactionID, AppleEvent* result,
                         AEBuildError* error, std::string_view format,
                         std::span<const AEBuildArgument> arguments) {
  Builder builder(format, arguments);
  AEDesc parameters{.descriptorType = typeAERecord, .data = {}, .fields = {}, .isRecord = true};
  if (!builder.buildParameters(&parameters)) {
    if (error != nullptr) error->position = builder.place();
    return aeBuildSyntaxErr;
  }
  *result = AECreateAppleEvent(eventClass, eventID, address, returnID, transactionID);
  result->parameters = std::move(parameters);
  return noErr;
}

}  // namespace macos
