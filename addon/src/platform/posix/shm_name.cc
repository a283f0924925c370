#include "platform/posix/shm_name.h"

namespace ombrix_addon {

std::string PosixShmName(const std::string& objectName, const char* suffix) {
  std::string name = objectName;
  for (const char* prefix : {"Local\\", "Global\\"}) {
    const std::string namespacePrefix(prefix);
    if (name.compare(0, namespacePrefix.size(), namespacePrefix) == 0) {
      name.erase(0, namespacePrefix.size());
      break;
    }
  }
  if (name.empty() || name.find('/') != std::string::npos) return std::string();
  return "/" + name + suffix;
}

}  // namespace ombrix_addon
