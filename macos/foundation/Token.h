// SPDX-License-Identifier: MIT
//
// A token stands for something that goes on until it is ended: an observation, a timer, a subscription.
// It is a value that can be moved and not copied; destroying it ends what it stands for. Ending it after
// the other side has gone is harmless.
#ifndef MACOS_FOUNDATION_TOKEN_H
#define MACOS_FOUNDATION_TOKEN_H

#include <functional>
#include <utility>

namespace macos {

class [[nodiscard]] Token {
 public:
  Token() = default;  // stands for nothing
  explicit Token(std::function<void()> end) : end_(std::move(end)) {}
  Token(Token&& other) noexcept : end_(std::exchange(other.end_, nullptr)) {}
  Token& operator=(Token&& other) noexcept;
  Token(const Token&) = delete;
  Token& operator=(const Token&) = delete;
  ~Token() { end(); }

  // Whether it still stands for something.
  explicit operator bool() const { return static_cast<bool>(end_); }
  void end() {
    if (auto end = std::exchange(end_, nullptr)) end();
  }
  // Lets go: what it stood for lives as long as its source.
  void detach() { end_ = nullptr; }

 private:
  std::function<void()> end_;
};

inline Token& Token::operator=(Token&& other) noexcept {
  if (this != &other) {
    end();
    end_ = std::exchange(other.end_, nullptr);
  }
  return *this;
}

}  // namespace macos

#endif  // MACOS_FOUNDATION_TOKEN_H
