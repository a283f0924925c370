// Windows object names as POSIX shared-memory object names.
#pragma once

#include <string>

namespace ombrix_addon {

// "Local\Name", "Global\Name" and "Name" all become "/Name" + suffix: POSIX
// has one namespace per machine. Empty when no valid name remains (empty, or
// holding a '/').
std::string PosixShmName(const std::string& objectName, const char* suffix = "");

// Whether the object behind `fd` belongs to this user. With one namespace per
// machine (not per session, as on Windows) another user could create a
// section or mutex object under the name first; such an object is refused,
// with a warning in the SDK log naming `objectName`.
bool OwnedByThisUser(int fd, const std::string& objectName);

}  // namespace ombrix_addon
