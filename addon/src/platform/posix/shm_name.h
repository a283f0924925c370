// Windows object names as POSIX shared-memory object names.
#pragma once

#include <string>

namespace ombrix_addon {

// "Local\Name", "Global\Name" and "Name" all become "/Name" + suffix: POSIX
// has one namespace per machine. Empty when no valid name remains (empty, or
// holding a '/').
std::string PosixShmName(const std::string& objectName, const char* suffix = "");

}  // namespace ombrix_addon
