// ShmRegionCore over a named file mapping and a named Windows mutex.
#include "shm_region_core.h"

#include "platform/win/utf16.h"
#include "platform/win/win_api.h"

namespace ombrix_addon {

namespace {
constexpr DWORD kReadWrite = FILE_MAP_READ | FILE_MAP_WRITE;
}  // namespace

struct ShmRegionCore::Impl {
  // Undoes a partial open.
  void ReleaseView();

  HANDLE mapping = nullptr;
  uint8_t* view = nullptr;
  uint64_t size = 0;
  HANDLE mutex = nullptr;
  bool open = false;
};

ShmRegionCore::ShmRegionCore() : impl_(std::make_unique<Impl>()) {}

ShmRegionCore::~ShmRegionCore() { Close(); }

bool ShmRegionCore::Open(const std::string& sectionName, const std::string& mutexName) {
  Impl& s = *impl_;
  if (s.open) return true;  // the names are not compared
  std::wstring section;
  if (!Utf8ToUtf16(sectionName, section)) return false;

  s.mapping = OpenFileMappingW(kReadWrite, FALSE, section.c_str());
  if (!s.mapping) return false;
  s.view = static_cast<uint8_t*>(MapViewOfFile(s.mapping, kReadWrite, 0, 0, 0));
  if (!s.view) {
    s.ReleaseView();
    return false;
  }
  // The section's own size is not queryable; the mapped region's is, and it
  // is page-granular.
  MEMORY_BASIC_INFORMATION region{};
  if (VirtualQuery(s.view, &region, sizeof region) == 0 || region.RegionSize == 0) {
    s.ReleaseView();
    return false;
  }
  s.size = region.RegionSize;

  if (!mutexName.empty()) {
    std::wstring mutex;
    if (!Utf8ToUtf16(mutexName, mutex)) {
      s.ReleaseView();
      return false;
    }
    // Creates the mutex or, when another process already did, opens it.
    s.mutex = CreateMutexW(nullptr, FALSE, mutex.c_str());
    if (!s.mutex) {
      s.ReleaseView();
      return false;
    }
  }
  s.open = true;
  return true;
}

void ShmRegionCore::Impl::ReleaseView() {
  if (view) {
    UnmapViewOfFile(view);
    view = nullptr;
  }
  if (mapping) {
    CloseHandle(mapping);
    mapping = nullptr;
  }
}

void ShmRegionCore::Close() {
  Impl& s = *impl_;
  if (!s.open) return;
  s.ReleaseView();
  if (s.mutex) {
    // A mutex this thread still owns stays owned until the thread ends.
    CloseHandle(s.mutex);
    s.mutex = nullptr;
  }
  s.open = false;
}

bool ShmRegionCore::IsOpen() const { return impl_->open; }

bool ShmRegionCore::Lock(uint32_t timeoutMs) {
  if (!impl_->mutex) return true;
  // WAIT_ABANDONED hands this thread the mutex but still counts as failure.
  return WaitForSingleObject(impl_->mutex, timeoutMs) == WAIT_OBJECT_0;
}

void ShmRegionCore::Unlock() {
  if (impl_->mutex) ReleaseMutex(impl_->mutex);
}

void ShmRegionCore::Read(uint8_t* destination, uint32_t offset, uint32_t length) const {
  ReadFromView(impl_->view, impl_->size, destination, offset, length);
}

void ShmRegionCore::Write32(uint32_t offset, uint32_t value) {
  WriteToView(impl_->view, impl_->size, offset, value);
}

}  // namespace ombrix_addon
