// Who the loopback device says the account and this machine are. The account
// is the local user on this host; the only device is this machine. Every
// string is non-empty and stable for a given user and host.
#pragma once

#include <string>

#include "loopback/host_info.h"
#include "ombrix/enums.h"

namespace quelt::ombrix::emu::loopback {

struct LocalIdentity {
  std::string accountId;           // "acct-" and 16 hex digits of "<user>@<host>"
  std::string accountDescription;  // "<user>@<host>"
  std::string deviceId;            // "dev-" and 16 hex digits of the host and machine type
  std::string deviceName;          // the host name
  RemoteDeviceType deviceType = RemoteDeviceType::kUnknown;  // from the platform name
};

// Empty user or host names fall back to "user" and "localhost".
LocalIdentity IdentityOf(const HostInfo& host);

// A fresh random token "<prefix>.<32 hex digits>" (128 bits); thread-safe.
std::string GenerateToken(const std::string& prefix);

}  // namespace quelt::ombrix::emu::loopback
