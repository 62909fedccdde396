// SPDX-License-Identifier: MIT
//
// MeasuredRun PROGRAM [ARGUMENT...]: runs a program with nothing on its standard streams but a file for its
// messages, and prints what it cost: seconds on the wall, seconds of processor time, user and system, with
// those of its children, and peak memory in KiB. Started from a small process, since a program's peak
// includes that of the process that it is started from.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const auto start = std::chrono::steady_clock::now();
  const pid_t process = fork();
  if (process == 0) {
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nothing, stream);
    execvp(argv[1], argv + 1);
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  if (wait4(process, &status, 0, &usage) != process || status != 0) {
    std::fprintf(stderr, "%s failed\n", argv[1]);
    return EXIT_FAILURE;
  }
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  std::printf("%.6f %.6f %ld\n", wall.count(), seconds(usage.ru_utime) + seconds(usage.ru_stime),
              usage.ru_maxrss);
}
