#include "loopback/identity.h"

#include <cstdint>
#include <cstdio>
#include <random>
#include <type_traits>

namespace quelt::ombrix::emu::loopback {

namespace {

// FNV-1a: stable across runs, builds and platforms, unlike std::hash.
uint64_t Fnv1a(const std::string& text) {
  uint64_t hash = 0xcbf29ce484222325ull;
  for (unsigned char c : text) hash = (hash ^ c) * 0x100000001b3ull;
  return hash;
}

std::string Hex(uint64_t value) {
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(value));
  return text;
}

RemoteDeviceType TypeOf(const std::string& platform) {
  if (platform == "Linux") return RemoteDeviceType::kPcLinux;
  if (platform == "Darwin") return RemoteDeviceType::kPcMac;
  if (platform == "Windows") return RemoteDeviceType::kPcWindows;
  return RemoteDeviceType::kUnknown;
}

}  // namespace

LocalIdentity IdentityOf(const HostInfo& host) {
  const std::string user = host.userName.empty() ? "user" : host.userName;
  const std::string hostName = host.hostName.empty() ? "localhost" : host.hostName;
  LocalIdentity identity;
  identity.accountDescription = user + "@" + hostName;
  identity.accountId = "acct-" + Hex(Fnv1a(identity.accountDescription));
  identity.deviceId = "dev-" + Hex(Fnv1a(hostName + "/" + host.platform + "/" + host.machine));
  identity.deviceName = hostName;
  identity.deviceType = TypeOf(host.platform);
  return identity;
}

std::string GenerateToken(const std::string& prefix) {
  // One engine per thread, each seeded from the system's entropy source.
  thread_local std::mt19937_64 engine([] {
    std::random_device device;
    std::seed_seq seed{device(), device(), device(), device()};
    return std::mt19937_64(seed);
  }());
  static_assert(std::is_trivially_destructible<decltype(engine)>::value,
                "thread_local needs no destructor");
  return prefix + "." + Hex(engine()) + Hex(engine());
}

}  // namespace quelt::ombrix::emu::loopback
