#include "platform/posix/desktop_opener.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <system_error>
#include <thread>

#include "platform/posix/thread_error.h"

extern char** environ;

namespace ombrix_addon {

namespace {

// "scheme:" as URLs begin (RFC 3986), two letters at least.
bool HasScheme(const std::string& target) {
  const size_t colon = target.find(':');
  if (colon == std::string::npos || colon < 2 ||
      !std::isalpha(static_cast<unsigned char>(target[0])))
    return false;
  for (size_t i = 1; i < colon; ++i) {
    const unsigned char c = static_cast<unsigned char>(target[i]);
    if (!std::isalnum(c) && c != '+' && c != '-' && c != '.') return false;
  }
  return true;
}

// The opener's own standard streams, none of the module's descriptors, the
// default signal dispositions (node ignores SIGPIPE) and a session of its
// own, so that the host's terminal signals do not reach what it opens.
class SpawnSettings {
 public:
  SpawnSettings() {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions_, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions_, 1, 2);
#if defined(__GLIBC__) && (__GLIBC__ > 2 || __GLIBC_MINOR__ >= 34)
    posix_spawn_file_actions_addclosefrom_np(&actions_, 3);
#endif
    posix_spawnattr_init(&attributes_);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    short flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
#ifdef POSIX_SPAWN_SETSID
    flags |= POSIX_SPAWN_SETSID;
#endif
    posix_spawnattr_setflags(&attributes_, flags);
  }
  ~SpawnSettings() {
    posix_spawnattr_destroy(&attributes_);
    posix_spawn_file_actions_destroy(&actions_);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  const posix_spawn_file_actions_t* actions() const { return &actions_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

}  // namespace

bool OpenWithDesktopOpener(const std::string& target) {
  if (!HasScheme(target) && access(target.c_str(), F_OK) != 0) {
    SetThreadError(static_cast<uint32_t>(errno));
    return false;
  }
  const SpawnSettings settings;
  char opener[] = "xdg-open";
  std::string argument = target;
  char* argv[] = {opener, argument.data(), nullptr};
  pid_t pid = 0;
  const int error =
      posix_spawnp(&pid, opener, settings.actions(), settings.attributes(), argv, environ);
  if (error != 0) {
    SetThreadError(static_cast<uint32_t>(error));
    return false;
  }
  // Reaped whenever it ends; node reaps only the children it started.
  try {
    std::thread([pid] {
      while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
      }
    }).detach();
  } catch (const std::system_error&) {
    // No thread to spare: it stays a zombie until this process ends.
  }
  return true;
}

}  // namespace ombrix_addon
