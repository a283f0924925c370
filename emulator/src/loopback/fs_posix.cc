#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "loopback/common.h"
#include "loopback/fs.h"

namespace quelt::ombrix::emu::loopback::fs {

namespace {

constexpr int kDirFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
// Directory levels that keep their descriptor open while the walk is below
// them; deeper levels are read whole and closed before descending, so a deep
// tree cannot exhaust descriptors.
constexpr size_t kHeldDepth = 48;

struct DirCloser {
  void operator()(DIR* dir) const noexcept { closedir(dir); }
};
using DirPtr = std::unique_ptr<DIR, DirCloser>;

DirPtr OpenDir(int fd) noexcept {
  DIR* dir = fdopendir(fd);
  if (dir == nullptr) {
    const int error = errno;
    close(fd);
    errno = error;
  }
  return DirPtr(dir);
}

bool IsDotOrDotDot(const char* name) noexcept {
  return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

int64_t ModifiedMs(const struct stat& st) noexcept {
#if defined(__APPLE__)
  const struct timespec& time = st.st_mtimespec;
#else
  const struct timespec& time = st.st_mtim;
#endif
  return static_cast<int64_t>(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
}

EntryKind KindOf(mode_t mode) noexcept {
  if (S_ISREG(mode)) return EntryKind::kFile;
  if (S_ISDIR(mode)) return EntryKind::kDirectory;
  if (S_ISLNK(mode)) return EntryKind::kSymlink;
  return EntryKind::kOther;
}

EntryKind KindOf(unsigned char type) noexcept {
  switch (type) {
    case DT_REG:
      return EntryKind::kFile;
    case DT_DIR:
      return EntryKind::kDirectory;
    case DT_LNK:
      return EntryKind::kSymlink;
    case DT_UNKNOWN:
      return EntryKind::kUnknown;
    default:
      return EntryKind::kOther;
  }
}

class Walker {
 public:
  using Visit = std::function<void(const std::string&, std::string_view)>;
  Walker(const CancelFlag& cancel, const Visit& visit) : cancel_(cancel), visit_(visit) {}

  // Walks the open directory `fd`, whose display path is path_.
  void Walk(int fd, size_t depth) {
    DirPtr dir = OpenDir(fd);
    if (!dir) {
      ++unreadable;
      return;
    }
    const bool hold = depth < kHeldDepth;
    std::vector<std::pair<std::string, bool>> entries;
    while (const dirent* entry = readdir(dir.get())) {
      if (cancel_.IsSet()) {
        cancelled = true;
        return;
      }
      if (IsDotOrDotDot(entry->d_name)) continue;
      const bool isDirectory = IsDirectory(dirfd(dir.get()), *entry);
      if (!hold) {
        entries.emplace_back(entry->d_name, isDirectory);
        continue;
      }
      visit_(path_, entry->d_name);
      if (isDirectory) {
        anchorFd_ = dirfd(dir.get());
        anchorLength_ = path_.size();
        Descend(openat(anchorFd_, entry->d_name, kDirFlags | O_NOFOLLOW), entry->d_name, depth);
        if (cancelled) return;
      }
    }
    dir.reset();
    for (const auto& [name, isDirectory] : entries) {
      visit_(path_, name);
      if (!isDirectory) continue;
      // Relative to the deepest directory still open, never to the process's
      // current directory, which another thread may change.
      const std::string below = path_.substr(anchorLength_ + 1) + '/' + name;
      Descend(openat(anchorFd_, below.c_str(), kDirFlags | O_NOFOLLOW), name, depth);
      if (cancelled) return;
    }
  }

  void Start(const std::string& root, int fd) {
    path_ = root;
    while (path_.size() > 1 && path_.back() == '/') path_.pop_back();
    if (path_ == "/") path_.clear();  // children are then "/name"
    Walk(fd, 0);
  }

  int64_t unreadable = 0;
  bool cancelled = false;

 private:
  static bool IsDirectory(int parent, const dirent& entry) noexcept {
#if defined(_DIRENT_HAVE_D_TYPE) || defined(__APPLE__)
    if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
#endif
    struct stat st;
    return fstatat(parent, entry.d_name, &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(st.st_mode);
  }

  void Descend(int fd, std::string_view name, size_t depth) {
    if (fd < 0) {
      ++unreadable;
      return;
    }
    const size_t length = path_.size();
    path_ += '/';
    path_ += name;
    Walk(fd, depth + 1);
    path_.resize(length);
  }

  const CancelFlag& cancel_;
  const Visit& visit_;
  std::string path_;
  int anchorFd_ = -1;        // the deepest directory the walk holds open
  size_t anchorLength_ = 0;  // its display path's length in path_
};

}  // namespace

File::File(File&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

File& File::operator=(File&& other) noexcept {
  if (this != &other) {
    if (fd_ >= 0) close(fd_);
    fd_ = std::exchange(other.fd_, -1);
  }
  return *this;
}

File::~File() {
  if (fd_ >= 0) close(fd_);
}

int64_t File::Read(char* buffer, size_t size, std::error_code& ec) noexcept {
  for (;;) {
    const ssize_t count = read(fd_, buffer, size);
    if (count >= 0) return count;
    if (errno != EINTR) {
      ec = LastError();
      return -1;
    }
  }
}

bool File::WriteAll(std::string_view data, std::error_code& ec) noexcept {
  while (!data.empty()) {
    const ssize_t count = write(fd_, data.data(), data.size());
    if (count < 0) {
      if (errno == EINTR) continue;
      ec = LastError();
      return false;
    }
    data.remove_prefix(static_cast<size_t>(count));
  }
  return true;
}

int64_t File::Size() const noexcept {
  struct stat st;
  return fstat(fd_, &st) == 0 && S_ISREG(st.st_mode) ? static_cast<int64_t>(st.st_size) : -1;
}

bool File::Close(std::error_code& ec) noexcept {
  const int fd = std::exchange(fd_, -1);
  // Linux closes the descriptor even when close() reports EINTR.
  if (fd >= 0 && close(fd) != 0 && errno != EINTR) {
    ec = LastError();
    return false;
  }
  return true;
}

File OpenForReading(const std::string& path, std::error_code& ec) noexcept {
  // Non-blocking only for the open itself, so that a FIFO without a writer
  // cannot hang the call.
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
  if (fd < 0) {
    ec = LastError();
    return File();
  }
  File file(fd);
  struct stat st;
  if (fstat(fd, &st) != 0) {
    ec = LastError();
    return File();
  }
  if (S_ISDIR(st.st_mode)) {
    ec = std::make_error_code(std::errc::is_a_directory);
    return File();
  }
  fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
#if defined(POSIX_FADV_SEQUENTIAL)
  posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
#endif
  return file;
}

File OpenForWriting(const std::string& path, bool append, std::error_code& ec) noexcept {
  const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY | (append ? O_APPEND : O_TRUNC);
  const int fd = open(path.c_str(), flags, 0666);
  if (fd < 0) ec = LastError();
  return File(fd);
}

bool MakePrivateDirectory(const std::string& path, std::error_code& ec) noexcept {
  if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
    ec = LastError();
    return false;
  }
  struct stat st;
  if (lstat(path.c_str(), &st) != 0) {
    ec = LastError();
    return false;
  }
  if (!S_ISDIR(st.st_mode) || st.st_uid != geteuid() || (st.st_mode & 077) != 0) {
    ec = std::make_error_code(std::errc::permission_denied);
    return false;
  }
  return true;
}

std::string UserPrivateDirectory(std::error_code& ec) {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  if (runtime && runtime[0] == '/') return runtime;
  const char* tmp = std::getenv("TMPDIR");
  std::string base = (tmp && tmp[0] == '/') ? tmp : "/tmp";
  base += "/ombrix-" + std::to_string(geteuid());
  return MakePrivateDirectory(base, ec) ? base : std::string();
}

File CreateExclusive(const std::string& path, std::error_code& ec) noexcept {
  const int fd =
      open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY, 0666);
  if (fd < 0) ec = LastError();
  return File(fd);
}

bool ReplaceContents(const std::string& path, std::string_view contents, std::string& failedPath,
                     std::error_code& ec) noexcept {
  failedPath = path;
  char* resolved = realpath(path.c_str(), nullptr);
  if (resolved == nullptr) {
    ec = LastError();
    return false;
  }
  std::string target;
  try {
    target = resolved;
  } catch (...) {
    free(resolved);
    ec = std::make_error_code(std::errc::not_enough_memory);
    return false;
  }
  free(resolved);

  struct stat st;
  if (stat(target.c_str(), &st) != 0) {
    ec = LastError();
    return false;
  }
  if (!S_ISREG(st.st_mode)) {
    ec = std::make_error_code(S_ISDIR(st.st_mode) ? std::errc::is_a_directory
                                                  : std::errc::operation_not_supported);
    return false;
  }
  // The rename only needs the directory to be writable; the file must be too.
  if (faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) {
    ec = LastError();
    return false;
  }

  const size_t slash = target.rfind('/');  // realpath() is absolute
  std::string temp = target.substr(0, slash + 1) + '.' + target.substr(slash + 1) + ".XXXXXX";
  const int fd = mkostemp(temp.data(), O_CLOEXEC);
  if (fd < 0) {
    ec = LastError();
    failedPath = slash == 0 ? "/" : target.substr(0, slash);
    return false;
  }
  File file(fd);
  // Ownership first: changing it may clear set-id bits that fchmod restores.
  if (st.st_uid != geteuid() || st.st_gid != getegid()) {
    [[maybe_unused]] const int ignored = fchown(fd, st.st_uid, st.st_gid);  // best effort
  }
  const bool written = fchmod(fd, st.st_mode & 07777) == 0 && file.WriteAll(contents, ec) &&
                       fdatasync(fd) == 0 && file.Close(ec) &&
                       rename(temp.c_str(), target.c_str()) == 0;
  if (!written) {
    if (!ec) ec = LastError();
    unlink(temp.c_str());
  }
  return written;
}

bool ListEntries(const std::string& path, bool includeHidden, const CancelFlag& cancel,
                 const std::function<void(std::string_view, const EntryInfo&)>& visit,
                 std::error_code& ec) {
  const int fd = open(path.c_str(), kDirFlags);
  DirPtr dir = fd < 0 ? nullptr : OpenDir(fd);
  if (!dir) {
    ec = LastError();
    return false;
  }
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(dir.get());
    if (entry == nullptr) {
      if (errno == 0) return true;
      ec = LastError();
      return false;
    }
    if (cancel.IsSet()) {
      ec = std::make_error_code(std::errc::operation_canceled);
      return false;
    }
    if (IsDotOrDotDot(entry->d_name) || (!includeHidden && entry->d_name[0] == '.')) continue;
    EntryInfo info;
    struct stat st;
    if (fstatat(dirfd(dir.get()), entry->d_name, &st, AT_SYMLINK_NOFOLLOW) == 0) {
      info.kind = KindOf(st.st_mode);
      if (info.kind == EntryKind::kFile || info.kind == EntryKind::kSymlink) {
        info.size = static_cast<int64_t>(st.st_size);
      }
      info.modifiedMs = ModifiedMs(st);
    } else if (errno == ENOENT) {
      continue;  // removed since readdir
    } else {
#if defined(_DIRENT_HAVE_D_TYPE) || defined(__APPLE__)
      info.kind = KindOf(entry->d_type);  // a directory we may read but not search
#endif
    }
    visit(entry->d_name, info);
  }
}

bool WalkTree(const std::string& root, const CancelFlag& cancel,
              const std::function<void(const std::string&, std::string_view)>& visit,
              int64_t& unreadable, std::error_code& ec) {
  const int fd = open(root.c_str(), kDirFlags);
  if (fd < 0) {
    ec = LastError();
    return false;
  }
  Walker walker(cancel, visit);
  walker.Start(root, fd);
  unreadable = walker.unreadable;
  if (walker.cancelled) {
    ec = std::make_error_code(std::errc::operation_canceled);
    return false;
  }
  return true;
}

}  // namespace quelt::ombrix::emu::loopback::fs
