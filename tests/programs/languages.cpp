// SPDX-License-Identifier: MIT
//
// Put into a bundle and started from there, it prints what the language monitor says and the name of the
// item given as its argument: "ours|system's|preferred,…|name"; then again whenever a notice has made
// something else of it. It ends by itself after a minute.
#include <cstdio>
#include <string>

#include "macos/foundation/RunLoop.h"
#include "platform/FileQueries.h"
#include "platform/LanguageMonitor.h"

namespace {

constexpr double kLongestLife = 60;
constexpr double kPause = 0.02;

std::string languages(const char* path) {
  std::string text = vennick::activeLanguage() + "|" + vennick::activeSystemLanguage() + "|";
  const auto preferred = vennick::systemPreferredLanguages();
  for (std::size_t i = 0; i < preferred.size(); ++i) text += (i == 0 ? "" : ",") + preferred[i];
  return text + "|" + vennick::displayName(path);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 1;
  const auto now = [](double seconds) { return macos::NSDate::dateWithTimeIntervalSinceNow(seconds); };
  const macos::NSDate end = now(kLongestLife);
  std::string printed;
  while (now(0) < end) {
    const std::string text = languages(argv[1]);
    if (text != printed) {
      std::puts(text.c_str());
      std::fflush(stdout);
      printed = text;
    }
    macos::NSRunLoop::mainRunLoop().runUntilDate(now(kPause));
  }
  return 0;
}
