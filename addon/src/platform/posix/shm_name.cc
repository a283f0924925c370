#include "platform/posix/shm_name.h"

#include <sys/stat.h>
#include <unistd.h>

#include "module_log.h"

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

bool OwnedByThisUser(int fd, const std::string& objectName) {
  struct stat status;
  if (fstat(fd, &status) != 0) return false;
  if (status.st_uid == geteuid()) return true;
  ModuleLog(quelt::ombrix::LogLevel::kWarning, "ShmRegion", "addon/src/platform/posix/shm_name",
            __LINE__, "OwnedByThisUser",
            "ShmRegion: \"" + objectName + "\" belongs to another user (uid " +
                std::to_string(status.st_uid) + "): refused");
  return false;
}

}  // namespace ombrix_addon
