#include "platform/posix/posix_shm_region_core.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/shm_name.h"

namespace ombrix_addon {

std::unique_ptr<ShmRegionCore> CreateShmRegionCore() {
  return std::make_unique<PosixShmRegionCore>();
}

PosixShmRegionCore::~PosixShmRegionCore() { Close(); }

bool PosixShmRegionCore::Open(const std::string& sectionName, const std::string& mutexName) {
  if (open_) return true;  // the names are not compared
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
    mutex_ = NamedMutex::Open(mutexName);
    if (!mutex_) {
      munmap(view, size);
      close(fd);
      return false;
    }
  }
  view_ = static_cast<uint8_t*>(view);
  size_ = size;
  page_ = page;
  fd_ = fd;
  open_ = true;
  return true;
}

void PosixShmRegionCore::Close() {
  if (!open_) return;
  munmap(view_, size_);
  close(fd_);
  fd_ = -1;
  view_ = nullptr;
  mutex_.reset();
  open_ = false;
}

bool PosixShmRegionCore::IsOpen() const { return open_; }

bool PosixShmRegionCore::Lock(uint32_t timeoutMs) {
  if (!mutex_) return true;
  // An abandoned mutex is owned from now on but still reported as a failure.
  return mutex_->Lock(timeoutMs) == NamedMutex::LockResult::kAcquired;
}

void PosixShmRegionCore::Unlock() {
  if (mutex_) mutex_->Unlock();
}

uint64_t PosixShmRegionCore::BackedSize() const {
  struct stat status;
  if (fstat(fd_, &status) != 0 || status.st_size <= 0) return 0;
  // Within the page that holds the end, bytes past it read as zeros: no signal.
  const uint64_t backed = (static_cast<uint64_t>(status.st_size) + page_ - 1) / page_ * page_;
  return backed < size_ ? backed : size_;
}

// A shrink between the length check and the access would still fault; the
// window is one system call wide, where before it was the region's whole life.
void PosixShmRegionCore::Read(uint8_t* destination, uint32_t offset, uint32_t length) const {
  ReadFromView(view_, BackedSize(), destination, offset, length);
}

void PosixShmRegionCore::Write32(uint32_t offset, uint32_t value) {
  WriteToView(view_, BackedSize(), offset, value);
}

}  // namespace ombrix_addon
