#include "platform/win/win_shm_region_core.h"

#include "platform/win/utf16.h"

namespace ombrix_addon {

namespace {
constexpr DWORD kReadWrite = FILE_MAP_READ | FILE_MAP_WRITE;
}  // namespace

std::unique_ptr<ShmRegionCore> CreateShmRegionCore() {
  return std::make_unique<WinShmRegionCore>();
}

WinShmRegionCore::~WinShmRegionCore() { Close(); }

bool WinShmRegionCore::Open(const std::string& sectionName, const std::string& mutexName) {
  if (open_) return true;  // the names are not compared
  std::wstring section;
  if (!Utf8ToUtf16(sectionName, section)) return false;

  mapping_ = OpenFileMappingW(kReadWrite, FALSE, section.c_str());
  if (!mapping_) return false;
  view_ = static_cast<uint8_t*>(MapViewOfFile(mapping_, kReadWrite, 0, 0, 0));
  if (!view_) {
    ReleaseView();
    return false;
  }
  // The section's own size is not queryable; the mapped region's is, and it
  // is page-granular.
  MEMORY_BASIC_INFORMATION region{};
  if (VirtualQuery(view_, &region, sizeof region) == 0 || region.RegionSize == 0) {
    ReleaseView();
    return false;
  }
  size_ = region.RegionSize;

  if (!mutexName.empty()) {
    std::wstring mutex;
    if (!Utf8ToUtf16(mutexName, mutex)) {
      ReleaseView();
      return false;
    }
    // Creates the mutex or, when another process already did, opens it.
    mutex_ = CreateMutexW(nullptr, FALSE, mutex.c_str());
    if (!mutex_) {
      ReleaseView();
      return false;
    }
  }
  open_ = true;
  return true;
}

void WinShmRegionCore::ReleaseView() {
  if (view_) {
    UnmapViewOfFile(view_);
    view_ = nullptr;
  }
  if (mapping_) {
    CloseHandle(mapping_);
    mapping_ = nullptr;
  }
}

void WinShmRegionCore::Close() {
  if (!open_) return;
  ReleaseView();
  if (mutex_) {
    // A mutex this thread still owns stays owned until the thread ends.
    CloseHandle(mutex_);
    mutex_ = nullptr;
  }
  open_ = false;
}

bool WinShmRegionCore::IsOpen() const { return open_; }

bool WinShmRegionCore::Lock(uint32_t timeoutMs) {
  if (!mutex_) return true;
  // WAIT_ABANDONED hands this thread the mutex but still counts as failure.
  return WaitForSingleObject(mutex_, timeoutMs) == WAIT_OBJECT_0;
}

void WinShmRegionCore::Unlock() {
  if (mutex_) ReleaseMutex(mutex_);
}

void WinShmRegionCore::Read(uint8_t* destination, uint32_t offset, uint32_t length) const {
  ReadFromView(view_, size_, destination, offset, length);
}

void WinShmRegionCore::Write32(uint32_t offset, uint32_t value) {
  WriteToView(view_, size_, offset, value);
}

}  // namespace ombrix_addon
