// ShmRegionCore over a POSIX shared-memory object and a NamedMutex.
#include "shm_region_core.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/named_mutex.h"
#include "platform/posix/shm_name.h"

namespace ombrix_addon {

struct ShmRegionCore::Impl {
  // The part of the view still backed by the object: its owner may have
  // shrunk it, and touching a page past its end raises SIGBUS.
  uint64_t BackedSize() const;

  uint8_t* view = nullptr;
  uint64_t size = 0;  // the object's length at open, rounded up to whole pages
  uint64_t page = 0;
  int fd = -1;  // kept to read the object's current length
  std::unique_ptr<NamedMutex> mutex;
  bool open = false;
};

ShmRegionCore::ShmRegionCore() : impl_(std::make_unique<Impl>()) {}

ShmRegionCore::~ShmRegionCore() { Close(); }

bool ShmRegionCore::Open(const std::string& sectionName, const std::string& mutexName) {
  Impl& s = *impl_;
  if (s.open) return true;  // the names are not compared
  const std::string name = PosixShmName(sectionName);
  if (name.empty()) return false;

  // Opened only: the section belongs to the process that created it.
  const int fd = shm_open(name.c_str(), O_RDWR, 0);
  if (fd < 0) return false;
  if (!OwnedByThisUser(fd, sectionName)) {
    close(fd);
    return false;
  }
  struct stat status;
  if (fstat(fd, &status) != 0 || status.st_size <= 0) {
    close(fd);
    return false;
  }
  // Whole pages, as a Windows view reports its region.
  const uint64_t page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
  const uint64_t size = (static_cast<uint64_t>(status.st_size) + page - 1) / page * page;
  void* view = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (view == MAP_FAILED) {
    close(fd);
    return false;
  }

  if (!mutexName.empty()) {
    s.mutex = NamedMutex::Open(mutexName);
    if (!s.mutex) {
      munmap(view, size);
      close(fd);
      return false;
    }
  }
  s.view = static_cast<uint8_t*>(view);
  s.size = size;
  s.page = page;
  s.fd = fd;
  s.open = true;
  return true;
}

void ShmRegionCore::Close() {
  Impl& s = *impl_;
  if (!s.open) return;
  munmap(s.view, s.size);
  close(s.fd);
  s.fd = -1;
  s.view = nullptr;
  s.mutex.reset();
  s.open = false;
}

bool ShmRegionCore::IsOpen() const { return impl_->open; }

bool ShmRegionCore::Lock(uint32_t timeoutMs) {
  if (!impl_->mutex) return true;
  // An abandoned mutex is owned from now on but still reported as a failure.
  return impl_->mutex->Lock(timeoutMs) == NamedMutex::LockResult::kAcquired;
}

void ShmRegionCore::Unlock() {
  if (impl_->mutex) impl_->mutex->Unlock();
}

uint64_t ShmRegionCore::Impl::BackedSize() const {
  struct stat status;
  if (fstat(fd, &status) != 0 || status.st_size <= 0) return 0;
  // Within the page that holds the end, bytes past it read as zeros: no signal.
  const uint64_t backed = (static_cast<uint64_t>(status.st_size) + page - 1) / page * page;
  return backed < size ? backed : size;
}

// A shrink between the length check and the access would still fault; the
// window is one system call wide, where before it was the region's whole life.
void ShmRegionCore::Read(uint8_t* destination, uint32_t offset, uint32_t length) const {
  ReadFromView(impl_->view, impl_->BackedSize(), destination, offset, length);
}

void ShmRegionCore::Write32(uint32_t offset, uint32_t value) {
  WriteToView(impl_->view, impl_->BackedSize(), offset, value);
}

}  // namespace ombrix_addon
