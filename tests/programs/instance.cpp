// SPDX-License-Identifier: MIT
//
// An instance of an application for tests: put into a bundle and started from there, it answers the polite
// request to quit as its first argument says: "at-once", "later" (after two seconds) or "never". It prints
// a line when it is ready to be asked, and ends by itself after five minutes.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string_view>

namespace {

constexpr unsigned kLongestLife = 300;
volatile std::sig_atomic_t asked = 0;

void noteRequest(int) { asked = 1; }

}  // namespace

int main(int argc, char** argv) {
  const std::string_view behaviour = argc > 1 ? argv[1] : "at-once";
  if (behaviour == "later") std::signal(SIGTERM, noteRequest);
  if (behaviour == "never") std::signal(SIGTERM, SIG_IGN);
  std::puts("ready");
  std::fflush(stdout);
  alarm(kLongestLife);
  while (asked == 0) pause();
  alarm(0);
  for (unsigned left = 2; left > 0;) left = sleep(left);
  return 0;
}
