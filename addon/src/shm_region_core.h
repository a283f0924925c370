// The operating-system side of ShmRegion: a named section mapped read/write,
// optionally guarded by a named mutex that the calling thread owns. One class
// for every platform; the build links platform/posix/posix_shm_region_core.cc
// or platform/win/win_shm_region_core.cc, which also define its Impl.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace ombrix_addon {

class ShmRegionCore {
 public:
  ShmRegionCore();
  ~ShmRegionCore();
  ShmRegionCore(const ShmRegionCore&) = delete;
  ShmRegionCore& operator=(const ShmRegionCore&) = delete;

  // Opens an existing section (never creates one) and, when mutexName is not
  // empty, creates or opens the mutex. True when already open.
  bool Open(const std::string& sectionName, const std::string& mutexName);
  void Close();
  bool IsOpen() const;
  // True only when the mutex was acquired cleanly, or when there is no mutex.
  // An abandoned mutex is owned afterwards but still reported as false.
  // A timeout of 0xFFFFFFFF waits without end.
  bool Lock(uint32_t timeoutMs);
  void Unlock();
  // Out-of-range reads yield zeros; out-of-range writes are dropped.
  void Read(uint8_t* destination, uint32_t offset, uint32_t length) const;
  void Write32(uint32_t offset, uint32_t value);

 private:
  struct Impl;

  // Bounds are checked in 64 bits so that offset + length cannot wrap.
  static void ReadFromView(const uint8_t* view, uint64_t size, uint8_t* destination,
                           uint32_t offset, uint32_t length);
  // Little-endian, any alignment.
  static void WriteToView(uint8_t* view, uint64_t size, uint32_t offset, uint32_t value);

  std::unique_ptr<Impl> impl_;
};

}  // namespace ombrix_addon
