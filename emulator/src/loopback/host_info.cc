#include "loopback/host_info.h"

#include <thread>

#if defined(_WIN32)
#include <windows.h>
#else
#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <fstream>
#endif

namespace quelt::ombrix::emu::loopback {

HostInfo ReadHostInfo() {
  HostInfo info;
  info.cpus = static_cast<int32_t>(std::thread::hardware_concurrency());
#if defined(_WIN32)
  char name[256];
  DWORD size = sizeof name;
  // The DNS name keeps its case, as the host's own hostname does; the NetBIOS
  // name is upper case.
  if (GetComputerNameExA(ComputerNameDnsHostname, name, &size)) info.hostName.assign(name, size);
  size = sizeof name;
  if (GetUserNameA(name, &size) && size > 0) info.userName.assign(name, size - 1);
  info.platform = "Windows";
  info.machine = "x86_64";
  info.uptimeSeconds = static_cast<int64_t>(GetTickCount64() / 1000);
#else
  struct utsname uts {};
  if (uname(&uts) == 0) {
    info.hostName = uts.nodename;
    info.platform = uts.sysname;
    info.release = uts.release;
    info.machine = uts.machine;
  }
  struct passwd entry {};
  struct passwd* found = nullptr;
  char buffer[4096];
  if (getpwuid_r(geteuid(), &entry, buffer, sizeof buffer, &found) == 0 && found) {
    info.userName = found->pw_name;
  } else {
    info.userName = "uid" + std::to_string(geteuid());
  }
  std::ifstream uptime("/proc/uptime");
  double seconds = 0;
  if (uptime >> seconds) info.uptimeSeconds = static_cast<int64_t>(seconds);
#endif
  return info;
}

}  // namespace quelt::ombrix::emu::loopback
