#include "shm_region_core.h"

#include <cstring>

namespace ombrix_addon {

void ShmRegionCore::ReadFromView(const uint8_t* view, uint64_t size, uint8_t* destination,
                                 uint32_t offset, uint32_t length) {
  if (view && uint64_t{offset} + length <= size) {
    std::memcpy(destination, view + offset, length);
  } else {
    std::memset(destination, 0, length);
  }
}

void ShmRegionCore::WriteToView(uint8_t* view, uint64_t size, uint32_t offset, uint32_t value) {
  if (!view || uint64_t{offset} + 4 > size) return;
  const uint8_t bytes[4] = {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
                            static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 24)};
  std::memcpy(view + offset, bytes, sizeof bytes);
}

}  // namespace ombrix_addon
