// ShmRegionCore over a named file mapping and a named Windows mutex.
#pragma once

#include "platform/win/win_api.h"
#include "shm_region_core.h"

namespace ombrix_addon {

class WinShmRegionCore final : public ShmRegionCore {
 public:
  WinShmRegionCore() = default;
  ~WinShmRegionCore() override;
  WinShmRegionCore(const WinShmRegionCore&) = delete;
  WinShmRegionCore& operator=(const WinShmRegionCore&) = delete;

  bool Open(const std::string& sectionName, const std::string& mutexName) override;
  void Close() override;
  bool IsOpen() const override;
  bool Lock(uint32_t timeoutMs) override;
  void Unlock() override;
  void Read(uint8_t* destination, uint32_t offset, uint32_t length) const override;
  void Write32(uint32_t offset, uint32_t value) override;

 private:
  // Undoes a partial open.
  void ReleaseView();

  HANDLE mapping_ = nullptr;
  uint8_t* view_ = nullptr;
  uint64_t size_ = 0;
  HANDLE mutex_ = nullptr;
  bool open_ = false;
};

}  // namespace ombrix_addon
