#include "shm_region_wrap.h"

#include <cmath>
#include <cstdint>
#include <string>

#include "addon_state.h"
#include "args.h"
#include "errors.h"

namespace ombrix_addon {

namespace {

constexpr uint32_t kDefaultLockTimeoutMs = 100;

struct U32Pair {
  uint32_t first;
  uint32_t second;
};

// Both arguments as uint32, fractions cut toward zero. Argument checks come
// after the caller's state check.
U32Pair ReadU32Pair(const Napi::CallbackInfo& info, const char* signature,
                    const char* rangeMessage) {
  Napi::Env env = info.Env();
  if (info.Length() < 2 || !info[0].IsNumber() || !info[1].IsNumber()) {
    throw ArgumentError(env, signature);
  }
  const double first = info[0].As<Napi::Number>().DoubleValue();
  const double second = info[1].As<Napi::Number>().DoubleValue();
  auto inRange = [](double v) { return !std::isnan(v) && v >= 0 && v <= 4294967295.0; };
  if (!inRange(first) || !inRange(second))
    throw CodedRangeError(env, code::kOutOfRange, rangeMessage);
  return {static_cast<uint32_t>(first), static_cast<uint32_t>(second)};
}

}  // namespace

void ShmRegion::Init(Napi::Env env, Napi::Object exports) {
  Napi::Function constructor = DefineClass(
      env, kClassName,
      {TaggedMethod<&ShmRegion::Open>("open"), TaggedMethod<&ShmRegion::Close>("close"),
       TaggedGetter<&ShmRegion::IsOpen>("isOpen"), TaggedMethod<&ShmRegion::Lock>("lock"),
       TaggedMethod<&ShmRegion::Unlock>("unlock"), TaggedMethod<&ShmRegion::ReadBytes>("readBytes"),
       TaggedMethod<&ShmRegion::WriteU32>("writeU32")});
  AddonState::Get(env).SetConstructor(kClassName, constructor);
  exports.Set(kClassName, constructor);
}

ShmRegion::ShmRegion(const Napi::CallbackInfo& info) : TaggedWrap<ShmRegion>(info) {}

Napi::Value ShmRegion::Open(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  if (info.Length() < 1 || !info[0].IsString()) {
    throw ArgumentError(env, "Expected shmName string");
  }
  const std::string sectionName = SdkString(info[0], "shmName");
  std::string mutexName;
  if (info.Length() >= 2 && info[1].IsString()) mutexName = SdkString(info[1], "mutexName");
  return Napi::Boolean::New(env, core_.Open(sectionName, mutexName));
}

Napi::Value ShmRegion::Close(const Napi::CallbackInfo& info) {
  if (locked_) {
    core_.Unlock();
    locked_ = false;
  }
  core_.Close();
  return info.Env().Undefined();
}

Napi::Value ShmRegion::IsOpen(const Napi::CallbackInfo& info) {
  return Napi::Boolean::New(info.Env(), core_.IsOpen());
}

Napi::Value ShmRegion::Lock(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  if (locked_)
    throw CodedError(env, code::kAlreadyLocked, "ShmRegion already locked (non-recursive)");
  uint32_t timeoutMs = kDefaultLockTimeoutMs;
  // uint32 conversion on purpose: -1 is the endless wait.
  if (info.Length() >= 1 && info[0].IsNumber()) {
    timeoutMs = info[0].As<Napi::Number>().Uint32Value();
  }
  const bool acquired = core_.Lock(timeoutMs);
  if (acquired) locked_ = true;
  return Napi::Boolean::New(env, acquired);
}

Napi::Value ShmRegion::Unlock(const Napi::CallbackInfo& info) {
  if (locked_) {
    core_.Unlock();
    locked_ = false;
  }
  return info.Env().Undefined();
}

Napi::Value ShmRegion::ReadBytes(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  if (!core_.IsOpen()) throw CodedError(env, code::kNotOpen, "ShmRegion is not open");
  const U32Pair args = ReadU32Pair(info, "Expected (offset: number, length: number)",
                                   "offset and length must be non-negative uint32");
  const uint32_t offset = args.first;
  const uint32_t length = args.second;
  if (length == 0) return Napi::Buffer<uint8_t>::New(env, 0);
  Napi::Buffer<uint8_t> bytes = Napi::Buffer<uint8_t>::New(env, length);
  core_.Read(bytes.Data(), offset, length);
  return bytes;
}

Napi::Value ShmRegion::WriteU32(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  if (!core_.IsOpen()) throw CodedError(env, code::kNotOpen, "ShmRegion is not open");
  const U32Pair args = ReadU32Pair(info, "Expected (offset: number, value: number)",
                                   "offset and value must be non-negative uint32");
  core_.Write32(args.first, args.second);
  return env.Undefined();
}

}  // namespace ombrix_addon
