// ShmRegionCore over a POSIX shared-memory object and a NamedMutex.
#pragma once

#include <memory>

#include "platform/posix/named_mutex.h"
#include "shm_region_core.h"

namespace ombrix_addon {

class PosixShmRegionCore final : public ShmRegionCore {
 public:
  PosixShmRegionCore() = default;
  ~PosixShmRegionCore() override;
  PosixShmRegionCore(const PosixShmRegionCore&) = delete;
  PosixShmRegionCore& operator=(const PosixShmRegionCore&) = delete;

  bool Open(const std::string& sectionName, const std::string& mutexName) override;
  void Close() override;
  bool IsOpen() const override;
  bool Lock(uint32_t timeoutMs) override;
  void Unlock() override;
  void Read(uint8_t* destination, uint32_t offset, uint32_t length) const override;
  void Write32(uint32_t offset, uint32_t value) override;

 private:
  // The part of the view still backed by the object: its owner may have
  // shrunk it, and touching a page past its end raises SIGBUS.
  uint64_t BackedSize() const;

  uint8_t* view_ = nullptr;
  uint64_t size_ = 0;  // the object's length at open, rounded up to whole pages
  uint64_t page_ = 0;
  int fd_ = -1;        // kept to read the object's current length
  std::unique_ptr<NamedMutex> mutex_;
  bool open_ = false;
};

}  // namespace ombrix_addon
