// The operating-system side of ShmRegion: a named section mapped read/write,
// optionally guarded by a named mutex that the calling thread owns.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace ombrix_addon {

class ShmRegionCore {
 public:
  virtual ~ShmRegionCore();

  // Opens an existing section (never creates one) and, when mutexName is not
  // empty, creates or opens the mutex. True when already open.
  virtual bool Open(const std::string& sectionName, const std::string& mutexName) = 0;
  virtual void Close() = 0;
  virtual bool IsOpen() const = 0;
  // True only when the mutex was acquired cleanly, or when there is no mutex.
  // An abandoned mutex is owned afterwards but still reported as false.
  // A timeout of 0xFFFFFFFF waits without end.
  virtual bool Lock(uint32_t timeoutMs) = 0;
  virtual void Unlock() = 0;
  // Out-of-range reads yield zeros; out-of-range writes are dropped.
  virtual void Read(uint8_t* destination, uint32_t offset, uint32_t length) const = 0;
  virtual void Write32(uint32_t offset, uint32_t value) = 0;

 protected:
  // Bounds are checked in 64 bits so that offset + length cannot wrap.
  static void ReadFromView(const uint8_t* view, uint64_t size, uint8_t* destination,
                           uint32_t offset, uint32_t length);
  // Little-endian, any alignment.
  static void WriteToView(uint8_t* view, uint64_t size, uint32_t offset, uint32_t value);
};

// The core of the platform the module is built for.
std::unique_ptr<ShmRegionCore> CreateShmRegionCore();

}  // namespace ombrix_addon
