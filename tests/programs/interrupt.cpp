// SPDX-License-Identifier: MIT
//
// interrupt N PROGRAM [ARGUMENT...]: runs a program and kills it at the Nth of its calls that change a
// file: before the call takes effect, or in the middle of it when it writes. Its threads count, the
// processes that it starts do not. Says "changing calls 12" at the end, so that with N = 0 they are counted.
//
// interrupt calls PROGRAM [ARGUMENT...]: says how many system calls it makes, the processes that it starts
// included: "calls 345".
//
// Both end with the program's status, 137 when it was killed, or with 77 where no process may be traced. What
// they say goes to standard error.
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace {

constexpr int kNoTracing = 77;
constexpr int kSystemCallStop = SIGTRAP | 0x80;
constexpr std::uint32_t kChangingOpen = O_CREAT | O_TRUNC;

constexpr std::array kWrites{SYS_write, SYS_pwrite64, SYS_writev};
constexpr std::array kOtherChanges{
    SYS_fsync,     SYS_fdatasync, SYS_renameat,        SYS_renameat2, SYS_linkat,
    SYS_symlinkat, SYS_unlinkat,  SYS_mkdirat,         SYS_fchmod,    SYS_fchmodat,
    SYS_fchown,    SYS_fchownat,  SYS_utimensat,       SYS_ftruncate, SYS_truncate,
    SYS_setxattr,  SYS_fsetxattr, SYS_copy_file_range, SYS_fallocate, SYS_sendfile,
#ifdef SYS_open
    SYS_rename,    SYS_link,      SYS_symlink,         SYS_unlink,    SYS_mkdir,
    SYS_rmdir,     SYS_chmod,     SYS_chown,           SYS_creat,
#endif
};

template <std::size_t Count>
bool contains(const std::array<int, Count>& calls, std::uint64_t call) {
  return std::find(calls.begin(), calls.end(), static_cast<int>(call)) != calls.end();
}

using Call = decltype(__ptrace_syscall_info::seccomp);

// The standard streams are no files of the program's.
bool writesToFile(const Call& call) { return contains(kWrites, call.nr) && call.args[0] > STDERR_FILENO; }

// An openat2 that makes a file is not seen, since its flags lie in memory: the first write to the file is.
bool changesFiles(const Call& call) {
  switch (call.nr) {
#ifdef SYS_open
    case SYS_open:
      return (call.args[1] & kChangingOpen) != 0;
#endif
    case SYS_openat:
      return (call.args[2] & kChangingOpen) != 0;
    default:
      return writesToFile(call) || contains(kOtherChanges, call.nr);
  }
}

// Lets the calls that may change files stop, in this process and those that it starts, and no others, which
// would take many times as long.
bool stopAtChanges() {
  std::vector<sock_filter> filter;
  const auto load = [&](std::size_t offset) {
    filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)));
  };
  const auto stopAt = [&](std::uint32_t call) {
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
  };
  // The low half of the flags comes first on the machines that this runs on.
  const auto stopAtOpen = [&](std::uint32_t call, std::size_t flags) {
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 4));
    load(offsetof(seccomp_data, args) + flags * sizeof(std::uint64_t));
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, kChangingOpen, 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  };
  load(offsetof(seccomp_data, nr));
  stopAtOpen(SYS_openat, 2);
#ifdef SYS_open
  stopAtOpen(SYS_open, 1);
#endif
  std::for_each(kWrites.begin(), kWrites.end(), stopAt);
  std::for_each(kOtherChanges.begin(), kOtherChanges.end(), stopAt);
  filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

enum class Mode { Interrupt, CountCalls };

class Tracer {
 public:
  Tracer(pid_t process, Mode mode, long killAt) : process_(process), mode_(mode), killAt_(killAt) {}

  int run() {
    for (;;) {
      int status = 0;
      const pid_t thread = waitpid(-1, &status, __WALL);
      if (thread < 0) return EXIT_FAILURE;
      if (WIFSTOPPED(status)) {
        goOn(thread, status);
      } else if (thread == process_) {
        std::fprintf(stderr, mode_ == Mode::Interrupt ? "changing calls %ld\n" : "calls %ld\n", count_);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
      }
    }
  }

 private:
  void goOn(pid_t thread, int status) {
    int signal = WSTOPSIG(status);
    if (signal == kSystemCallStop) {
      lookAtStop(thread);
    } else if (status >> 16 == PTRACE_EVENT_SECCOMP) {
      lookAtChange(thread);
    }
    // What stops it for tracing's sake is no signal of its own.
    if (signal == kSystemCallStop || status >> 16 != 0 || signal == SIGSTOP) signal = 0;
    const bool toEveryCall = mode_ == Mode::CountCalls || thread == halved_;
    ptrace(toEveryCall ? PTRACE_SYSCALL : PTRACE_CONT, thread, 0, signal);
  }

  void lookAtStop(pid_t thread) {
    if (thread == halved_) {
      kill(process_, SIGKILL);
      return;
    }
    __ptrace_syscall_info info{};
    ptrace(PTRACE_GET_SYSCALL_INFO, thread, sizeof info, &info);
    if (info.op == PTRACE_SYSCALL_INFO_ENTRY) ++count_;
  }

  void lookAtChange(pid_t thread) {
    __ptrace_syscall_info info{};
    ptrace(PTRACE_GET_SYSCALL_INFO, thread, sizeof info, &info);
    const bool isOurs = syscall(SYS_tgkill, process_, thread, 0) == 0;
    if (!isOurs || !changesFiles(info.seccomp) || ++count_ != killAt_) return;
    if (!halve(thread, info.seccomp)) kill(process_, SIGKILL);
  }

  // Lets the thread write only half of it; it is killed when it has.
  bool halve(pid_t thread, const Call& call) {
#ifdef __x86_64__
    if (call.nr == SYS_write && writesToFile(call) && call.args[2] > 1 &&
        ptrace(PTRACE_POKEUSER, thread, offsetof(user_regs_struct, rdx), call.args[2] / 2) == 0) {
      halved_ = thread;
      return true;
    }
#endif
    return false;
  }

  pid_t process_;
  Mode mode_;
  long killAt_;
  pid_t halved_ = -1;
  long count_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "interrupt N|calls PROGRAM [ARGUMENT...]\n");
    return 2;
  }
  const Mode mode = argv[1] == std::string_view("calls") ? Mode::CountCalls : Mode::Interrupt;
  const pid_t process = fork();
  if (process == 0) {
    if (ptrace(PTRACE_TRACEME, 0, 0, 0) != 0) _exit(kNoTracing);
    raise(SIGSTOP);
    if (mode == Mode::Interrupt && !stopAtChanges()) _exit(kNoTracing);
    execv(argv[2], argv + 2);
    _exit(127);
  }
  int status = 0;
  if (waitpid(process, &status, 0) != process || !WIFSTOPPED(status)) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE;
  }
  constexpr long kOptions = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACECLONE | PTRACE_O_TRACEFORK |
                            PTRACE_O_TRACEVFORK | PTRACE_O_TRACEEXEC | PTRACE_O_TRACESECCOMP |
                            PTRACE_O_EXITKILL;
  if (ptrace(PTRACE_SETOPTIONS, process, 0, kOptions) != 0 ||
      ptrace(mode == Mode::CountCalls ? PTRACE_SYSCALL : PTRACE_CONT, process, 0, 0) != 0) {
    kill(process, SIGKILL);
    return kNoTracing;
  }
  return Tracer(process, mode, std::strtol(argv[1], nullptr, 10)).run();
}
