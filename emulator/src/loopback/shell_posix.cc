#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <memory>
#include <utility>

#include "loopback/captured_output.h"
#include "loopback/common.h"
#include "loopback/shell.h"
#include "loopback/shell_start.h"

extern char** environ;

namespace quelt::ombrix::emu::loopback {

namespace {

using Clock = std::chrono::steady_clock;

// How long a wait may go without looking at the cancel flag.
constexpr int kPollMs = 20;
constexpr auto kTermGrace = std::chrono::milliseconds(200);
constexpr size_t kReadChunk = 64 * 1024;
// Reads per stream per wake-up, so one busy stream cannot starve the other or
// the cancel check.
constexpr int kReadsPerWake = 16;
// After the shell exits, background processes may still be writing without
// end; read what is there and stop.
constexpr int kFinalReads = 64;

class Fd {
 public:
  explicit Fd(int fd = -1) noexcept : fd_(fd) {}
  Fd(Fd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Fd& operator=(Fd&& other) noexcept {
    Reset(std::exchange(other.fd_, -1));
    return *this;
  }
  ~Fd() { Reset(); }
  int get() const noexcept { return fd_; }
  void Reset(int fd = -1) noexcept {
    if (fd_ >= 0) close(fd_);
    fd_ = fd;
  }

 private:
  int fd_;
};

bool MakePipe(Fd& readEnd, Fd& writeEnd) noexcept {
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) return false;
  readEnd.Reset(fds[0]);
  writeEnd.Reset(fds[1]);
  // Only our end: the child's end stays blocking.
  return fcntl(fds[0], F_SETFL, fcntl(fds[0], F_GETFL) | O_NONBLOCK) == 0;
}

struct Stream {
  Fd fd;
  CapturedOutput output;

  // Reads what is available now; the descriptor is closed at end of stream.
  void Drain(char* buffer, int maxReads) {
    for (int i = 0; fd.get() >= 0 && i < maxReads; ++i) {
      const ssize_t count = read(fd.get(), buffer, kReadChunk);
      if (count > 0) {
        output.Append(buffer, static_cast<size_t>(count));
      } else if (count < 0 && errno == EINTR) {
        continue;
      } else if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        return;
      } else {
        fd.Reset();
      }
    }
  }
};

class Child {
 public:
  explicit Child(pid_t pid) noexcept : pid_(pid) {
#if defined(SYS_pidfd_open)
    // Readable once the child exits, so waits end at once instead of at the
    // next poll timeout; older kernels fall back to short timeouts.
    pidfd_.Reset(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
#endif
  }

  // Whether the child has exited, leaving it unreaped: its pid, and with it
  // the process group id, cannot be reused while we still signal the group.
  bool HasExited() noexcept {
    if (exited_) return true;
    siginfo_t info{};
    if (waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0) {
      exited_ = info.si_pid == pid_;
    } else if (errno == ECHILD) {
      exited_ = true;  // reaped behind our back (SIGCHLD ignored)
    }
    return exited_;
  }

  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  // Only reached unreaped when something failed on the way out.
  ~Child() {
    if (reaped_) return;
    SignalGroup(SIGKILL);
    Reap();
  }

  void SignalGroup(int signal) const noexcept { kill(-pid_, signal); }

  // The wait status, or -1 when it was lost.
  int Reap() noexcept {
    reaped_ = true;
    int status = 0;
    for (;;) {
      if (waitpid(pid_, &status, 0) == pid_) return status;
      if (errno != EINTR) return -1;
    }
  }

  // Waits up to `timeoutMs` for output or the child's exit, reading output.
  void Wait(Stream* streams, char* buffer, int timeoutMs) noexcept {
    pollfd fds[3];
    nfds_t count = 0;
    for (int i = 0; i < 2; ++i) {
      if (streams[i].fd.get() >= 0) fds[count++] = {streams[i].fd.get(), POLLIN, 0};
    }
    if (pidfd_.get() >= 0) {
      fds[count++] = {pidfd_.get(), POLLIN, 0};
    } else {
      timeoutMs = std::min(timeoutMs, fallbackMs_);
      fallbackMs_ = std::min(fallbackMs_ * 2, kPollMs);
    }
    if (poll(fds, count, timeoutMs) <= 0) return;
    fallbackMs_ = 1;
    for (nfds_t i = 0; i < count; ++i) {
      if (fds[i].revents == 0) continue;
      for (int s = 0; s < 2; ++s) {
        if (fds[i].fd == streams[s].fd.get()) streams[s].Drain(buffer, kReadsPerWake);
      }
    }
  }

 private:
  pid_t pid_;
  Fd pidfd_;
  bool exited_ = false;
  bool reaped_ = false;
  int fallbackMs_ = 1;
};

// Starts /bin/sh -c `command` in a new process group. Returns 0 or an errno.
int Spawn(const std::string& command, const std::string& workingDir, int stdoutFd, int stderrFd,
          pid_t& pid) noexcept {
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  if (int error = posix_spawn_file_actions_init(&actions)) return error;
  if (int error = posix_spawnattr_init(&attributes)) {
    posix_spawn_file_actions_destroy(&actions);
    return error;
  }
  // The caller's thread may block signals, and Node ignores SIGPIPE; neither
  // may leak into the command.
  sigset_t none;
  sigset_t all;
  sigemptyset(&none);
  sigfillset(&all);
  sigdelset(&all, SIGKILL);
  sigdelset(&all, SIGSTOP);
  int error = posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  if (!error) error = posix_spawn_file_actions_adddup2(&actions, stdoutFd, 1);
  if (!error) error = posix_spawn_file_actions_adddup2(&actions, stderrFd, 2);
  if (!error && !workingDir.empty()) {
    error = posix_spawn_file_actions_addchdir_np(&actions, workingDir.c_str());
  }
  if (!error) {
    error = posix_spawnattr_setflags(
        &attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  if (!error) error = posix_spawnattr_setpgroup(&attributes, 0);
  if (!error) error = posix_spawnattr_setsigmask(&attributes, &none);
  if (!error) error = posix_spawnattr_setsigdefault(&attributes, &all);
  if (!error) {
    char* argv[] = {const_cast<char*>("sh"), const_cast<char*>("-c"),
                    const_cast<char*>(command.c_str()), nullptr};
    error = posix_spawn(&pid, "/bin/sh", &actions, &attributes, argv, environ);
  }
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return error;
}

ShellExecResult Run(const std::string& command, const std::string& workingDir,
                    const CancelFlag& cancel, const ShellLimits& limits) {
  ShellExecResult result;
  if (!MayStart(workingDir, cancel, result)) return result;
  Stream streams[2];
  Fd stdoutWrite;
  Fd stderrWrite;
  if (!MakePipe(streams[0].fd, stdoutWrite) || !MakePipe(streams[1].fd, stderrWrite)) {
    result.errorMessage = "Cannot create pipes: " + LastError().message();
    return result;
  }
  pid_t pid = -1;
  if (const int error = Spawn(command, workingDir, stdoutWrite.get(), stderrWrite.get(), pid)) {
    result.errorMessage =
        StartFailure(workingDir, "Cannot start /bin/sh: " + std::generic_category().message(error));
    return result;
  }
  stdoutWrite.Reset();
  stderrWrite.Reset();
  for (Stream& stream : streams) stream.output.SetLimit(limits.maxOutputBytes);
  std::unique_ptr<char[]> buffer(new char[kReadChunk]);

  Child child(pid);
  bool cancelled = false;
  while (!child.HasExited()) {
    if (cancel.IsSet()) {
      cancelled = true;
      child.SignalGroup(SIGTERM);
      const auto deadline = Clock::now() + kTermGrace;
      for (auto now = Clock::now(); now < deadline && !child.HasExited(); now = Clock::now()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now);
        child.Wait(streams, buffer.get(),
                   static_cast<int>(std::min<int64_t>(left.count() + 1, kPollMs)));
      }
      // Also catches group members that outlived the shell or ignore SIGTERM.
      child.SignalGroup(SIGKILL);
      break;
    }
    child.Wait(streams, buffer.get(), kPollMs);
  }
  for (Stream& stream : streams) stream.Drain(buffer.get(), kFinalReads);
  const int status = child.Reap();

  std::string outcome;
  if (status == -1) {
    outcome = "Command exit status unavailable";
  } else if (WIFSIGNALED(status)) {
    result.exitCode = 128 + WTERMSIG(status);
    outcome = "Command killed by signal " + std::to_string(WTERMSIG(status));
  } else {
    result.exitCode = WEXITSTATUS(status);
    outcome = "Command exited with code " + std::to_string(result.exitCode);
  }
  CapturedOutput::Finish(status != -1 && WIFEXITED(status), cancelled, outcome, streams[0].output,
                         streams[1].output, result);
  return result;
}

}  // namespace

bool IsUsableDirectory(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode) &&
         faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
}

ShellExecResult RunShell(const std::string& command, const std::string& workingDir,
                         const CancelFlag& cancel, const ShellLimits& limits) noexcept {
  return Timed<ShellExecResult>([&] { return Run(command, workingDir, cancel, limits); });
}

}  // namespace quelt::ombrix::emu::loopback
