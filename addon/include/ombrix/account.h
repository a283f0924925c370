// Signed-in account, tokens and the account's devices.
#pragma once

#include <cstdint>

#include "ombrix/callback.h"
#include "ombrix/enums.h"

namespace quelt::ombrix {

// Strings stay valid while the list that returned the record lives.
struct RemoteDeviceInfo {
  const char* deviceId = nullptr;
  const char* deviceName = nullptr;
  RemoteDeviceType deviceType = RemoteDeviceType::kUnknown;
  RemoteDeviceStatus deviceStatus = RemoteDeviceStatus::kUnknown;
};

class RemoteDeviceListItf {
 public:
  virtual ~RemoteDeviceListItf() = default;
  virtual uint32_t GetCount() const = 0;
  // Out of range: an empty record.
  virtual RemoteDeviceInfo GetItem(uint32_t index) const = 0;
};

class AccountObserverItf {
 public:
  virtual ~AccountObserverItf() = default;
  virtual void OnTokenUpdated(const char* token) = 0;
  virtual void OnMcpTokenUpdated(const char* token) = 0;
};

class AccountToolItf {
 public:
  virtual ~AccountToolItf() = default;
  virtual void GetAccountId(SharedPtr<CallbackItf<const char*>> callback) = 0;
  virtual void GetAccountDescription(SharedPtr<CallbackItf<const char*>> callback) = 0;
  virtual void GenerateAccountToken(SharedPtr<CallbackItf<const char*>> callback) = 0;
  virtual void GenerateMcpToken(SharedPtr<CallbackItf<const char*>> callback) = 0;
  virtual void GetLocalDeviceId(SharedPtr<CallbackItf<const char*>> callback) = 0;
  virtual void GetLocalDeviceName(SharedPtr<CallbackItf<const char*>> callback) = 0;
  virtual void GetRemoteDeviceList(
      SharedPtr<CallbackItf<SharedPtr<RemoteDeviceListItf>>> callback) = 0;
  virtual void SetAccountObserver(WeakPtr<AccountObserverItf> observer) = 0;
};

}  // namespace quelt::ombrix
