// Facts about this machine, for the loopback device's identity and tools.
#pragma once

#include <cstdint>
#include <string>

namespace quelt::ombrix::emu::loopback {

struct HostInfo {
  std::string hostName;
  std::string userName;
  std::string platform;  // e.g. "Linux"
  std::string release;
  std::string machine;  // e.g. "x86_64"
  int32_t cpus = 0;
  int64_t uptimeSeconds = 0;
};

HostInfo ReadHostInfo();

}  // namespace quelt::ombrix::emu::loopback
