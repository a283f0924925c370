// ombrix_control.node: the JavaScript face of the substitute SDK's control
// surface. Built for tests, examples and benchmarks only.
#include <napi.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "module_pin.h"
#include "ombrix_emu/control.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace {

namespace emu = quelt::ombrix::emu;

// Runs blocking control work off the JavaScript thread and settles a Promise
// with the text it returns.
class BlockingWork final : public Napi::AsyncWorker {
 public:
  using Work = std::function<std::string()>;

  static Napi::Promise Start(Napi::Env env, Work work) {
    auto* worker = new BlockingWork(env, std::move(work));
    Napi::Promise promise = worker->deferred_.Promise();
    worker->Queue();
    return promise;
  }

 private:
  BlockingWork(Napi::Env env, Work work)
      : Napi::AsyncWorker(env, "OmbrixControl"), deferred_(env), work_(std::move(work)) {}

  void Execute() override { result_ = work_(); }
  void OnOK() override { deferred_.Resolve(Napi::String::New(Env(), result_)); }
  void OnError(const Napi::Error& error) override { deferred_.Reject(error.Value()); }

  Napi::Promise::Deferred deferred_;
  Work work_;
  std::string result_;
};

// Like BlockingWork, but on a thread of its own, for work that waits on the
// application's JavaScript. A worker's teardown waits for its libuv pool work
// before it frees its pending calls, so pool work waiting for those calls
// would hold the teardown (and process.exit) until it gave up.
class ThreadWork {
 public:
  static Napi::Promise Start(Napi::Env env, BlockingWork::Work work) {
    auto shared = std::make_shared<Shared>();
    auto* deferred = new Napi::Promise::Deferred(env);
    Napi::Promise promise = deferred->Promise();
    shared->tsfn = Tsfn::New(env, "OmbrixControlThread", 0, 1, deferred,
                             [shared](Napi::Env, void*, Napi::Promise::Deferred* context) {
                               std::lock_guard<std::mutex> lock(shared->mutex);
                               shared->open = false;
                               delete context;
                             });
    std::thread([shared, work = std::move(work)] {
      auto* result = new std::string(work());
      std::lock_guard<std::mutex> lock(shared->mutex);
      // Gone with its environment: nobody waits for the result.
      if (!shared->open || shared->tsfn.BlockingCall(result) != napi_ok) {
        delete result;
        return;
      }
      shared->tsfn.Release();
    }).detach();
    return promise;
  }

 private:
  static void Settle(Napi::Env env, Napi::Function, Napi::Promise::Deferred* deferred,
                     std::string* result) {
    std::unique_ptr<std::string> owned(result);
    if (env != nullptr && owned) deferred->Resolve(Napi::String::New(env, *owned));
  }
  using Tsfn = Napi::TypedThreadSafeFunction<Napi::Promise::Deferred, std::string, Settle>;
  struct Shared {
    std::mutex mutex;
    bool open = true;
    Tsfn tsfn;
  };
};

int32_t IntOption(Napi::Object options, const char* key, int32_t fallback) {
  Napi::Value value = options.Get(key);
  return value.IsNumber() ? value.As<Napi::Number>().Int32Value() : fallback;
}

// Reads an optional string; null (or absent) stays a null pointer in the SDK.
void StringOption(Napi::Object options, const char* key, bool* present, std::string* out) {
  Napi::Value value = options.Get(key);
  *present = value.IsString();
  if (*present) *out = value.As<Napi::String>().Utf8Value();
}

Napi::Value SentryCounts(const Napi::CallbackInfo& info) {
  emu::SentryCounts counts = emu::GetSentryCounts();
  Napi::Object result = Napi::Object::New(info.Env());
  result.Set("initialized", Napi::Number::New(info.Env(), static_cast<double>(counts.initialized)));
  result.Set("shutdown", Napi::Number::New(info.Env(), static_cast<double>(counts.shutdown)));
  return result;
}

Napi::Value LiveObjects(const Napi::CallbackInfo& info) {
  Napi::Object result = Napi::Object::New(info.Env());
  for (const emu::LiveCount& count : emu::GetLiveObjects()) {
    result.Set(count.label, Napi::Number::New(info.Env(), static_cast<double>(count.live)));
  }
  return result;
}

Napi::Value InjectThreadCreateFailure(const Napi::CallbackInfo& info) {
  emu::InjectThreadCreateFailure();
  return info.Env().Undefined();
}

// emitLogs({ level, module, file, line, function, message, threads, lines })
Napi::Value EmitLogs(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  if (!info[0].IsObject()) throw Napi::TypeError::New(env, "emitLogs(options)");
  Napi::Object options = info[0].As<Napi::Object>();
  emu::LogSpec spec;
  spec.level = IntOption(options, "level", 2);
  spec.line = IntOption(options, "line", 0);
  StringOption(options, "module", &spec.hasModule, &spec.module);
  StringOption(options, "file", &spec.hasFile, &spec.file);
  StringOption(options, "function", &spec.hasFunction, &spec.function);
  bool hasMessage = false;
  StringOption(options, "message", &hasMessage, &spec.message);
  int threads = IntOption(options, "threads", 1);
  int lines = IntOption(options, "lines", 1);
  return BlockingWork::Start(env, [spec, threads, lines] {
    emu::EmitLogs(spec, threads, lines);
    return std::to_string(threads * lines);
  });
}

Napi::Value StartLogStorm(const Napi::CallbackInfo& info) {
  int threads = info[0].IsNumber() ? info[0].As<Napi::Number>().Int32Value() : 8;
  emu::StartLogStorm(threads);
  return info.Env().Undefined();
}

Napi::Value StopLogStorm(const Napi::CallbackInfo& info) {
  return BlockingWork::Start(info.Env(), [] { return std::to_string(emu::StopLogStorm()); });
}

std::string StringArg(const Napi::CallbackInfo& info, size_t index) {
  if (!info[index].IsString()) throw Napi::TypeError::New(info.Env(), "expected a string argument");
  return info[index].As<Napi::String>().Utf8Value();
}

uint64_t IdArg(const Napi::CallbackInfo& info) {
  if (!info[0].IsNumber()) throw Napi::TypeError::New(info.Env(), "expected a call id");
  return static_cast<uint64_t>(info[0].As<Napi::Number>().Int64Value());
}

Napi::Value SetMode(const Napi::CallbackInfo& info) {
  return Napi::Boolean::New(info.Env(), emu::SetMode(StringArg(info, 0)));
}

Napi::Value GetMode(const Napi::CallbackInfo& info) {
  return Napi::String::New(info.Env(), emu::GetMode());
}

Napi::Value PendingCalls(const Napi::CallbackInfo& info) {
  return Napi::String::New(info.Env(), emu::PendingCalls());
}

Napi::Value CompleteCall(const Napi::CallbackInfo& info) {
  return Napi::Boolean::New(info.Env(), emu::CompleteCall(IdArg(info), StringArg(info, 1)));
}

Napi::Value DropCall(const Napi::CallbackInfo& info) {
  return Napi::Boolean::New(info.Env(), emu::DropCall(IdArg(info)));
}

Napi::Value SetAutoComplete(const Napi::CallbackInfo& info) {
  return Napi::Boolean::New(info.Env(),
                            emu::SetAutoComplete(StringArg(info, 0), StringArg(info, 1)));
}

// injectFault and injectWeakLockFailure answer "" when armed, else why not.
Napi::Value InjectFault(const Napi::CallbackInfo& info) {
  return Napi::String::New(info.Env(), emu::InjectFault(StringArg(info, 0), StringArg(info, 1)));
}

Napi::Value InjectWeakLockFailure(const Napi::CallbackInfo& info) {
  return Napi::String::New(info.Env(), emu::InjectWeakLockFailure(StringArg(info, 0)));
}

Napi::Value ClearFaults(const Napi::CallbackInfo& info) {
  return Napi::Number::New(info.Env(), emu::ClearFaults());
}

// Bytes the process holds from malloc (module, SDK, node's own native side);
// -1 where the C library cannot tell.
Napi::Value MallocBytes(const Napi::CallbackInfo& info) {
#if defined(__GLIBC__) && (__GLIBC__ > 2 || __GLIBC_MINOR__ >= 33)
  struct mallinfo2 info2 = mallinfo2();
  return Napi::Number::New(info.Env(), static_cast<double>(info2.uordblks + info2.hblkhd));
#else
  return Napi::Number::New(info.Env(), -1);
#endif
}

Napi::Value LiveClients(const Napi::CallbackInfo& info) {
  return Napi::Number::New(info.Env(), emu::LiveClients());
}

Napi::Value Clients(const Napi::CallbackInfo& info) {
  return Napi::String::New(info.Env(), emu::Clients());
}

Napi::Value CancelTransfers(const Napi::CallbackInfo& info) {
  return Napi::Number::New(info.Env(), emu::CancelTransfers());
}

Napi::Value SetTransferRate(const Napi::CallbackInfo& info) {
  double rate = info[0].IsNumber() ? info[0].As<Napi::Number>().DoubleValue() : 0;
  emu::SetTransferRate(rate > 0 ? static_cast<uint64_t>(rate) : 0);
  return info.Env().Undefined();
}

Napi::Value SetScreenLocked(const Napi::CallbackInfo& info) {
  emu::SetScreenLocked(info[0].ToBoolean().Value());
  return info.Env().Undefined();
}

// Finished drives reach JavaScript through one thread-safe function per
// environment. It holds the event loop only while JavaScript awaits a drive.
struct DriveEvents {
  static void Deliver(Napi::Env env, Napi::Function callback, DriveEvents*, uint64_t* drive) {
    std::unique_ptr<uint64_t> owned(drive);
    if (env == nullptr || callback.IsEmpty()) return;
    callback.Call({Napi::Number::New(env, static_cast<double>(*owned))});
  }
  using Tsfn = Napi::TypedThreadSafeFunction<DriveEvents, uint64_t, &DriveEvents::Deliver>;

  Tsfn tsfn;
  int listener = 0;
};

// onDriveReport(callback(driveId)): once per environment, from the JS face.
Napi::Value OnDriveReport(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  if (!info[0].IsFunction()) throw Napi::TypeError::New(env, "expected a function");
  if (env.GetInstanceData<DriveEvents>()) throw Napi::Error::New(env, "already listening");
  auto* events = new DriveEvents();
  env.SetInstanceData<DriveEvents>(events);  // freed with the environment
  events->tsfn =
      DriveEvents::Tsfn::New(env, info[0].As<Napi::Function>(), "DriveReports", 0, 1, events);
  events->tsfn.Unref(env);
  DriveEvents::Tsfn tsfn = events->tsfn;
  events->listener = emu::AddDriveListener(
      [tsfn](uint64_t drive) mutable { tsfn.BlockingCall(new uint64_t(drive)); });
  emu::AddJsThread();
  env.AddCleanupHook([events] {
    emu::RemoveDriveListener(events->listener);
    emu::RemoveJsThread();
    events->tsfn.Release();
  });
  return Napi::Number::New(env, events->listener);
}

// holdEvents(true | false): keep the event loop alive while drives are awaited.
Napi::Value HoldEvents(const Napi::CallbackInfo& info) {
  DriveEvents* events = info.Env().GetInstanceData<DriveEvents>();
  if (events) {
    if (info[0].ToBoolean().Value()) {
      events->tsfn.Ref(info.Env());
    } else {
      events->tsfn.Unref(info.Env());
    }
  }
  return info.Env().Undefined();
}

Napi::Value Drive(const Napi::CallbackInfo& info) {
  int listener = info[3].IsNumber() ? info[3].As<Napi::Number>().Int32Value() : 0;
  return Napi::String::New(
      info.Env(), emu::Drive(StringArg(info, 0), StringArg(info, 1), StringArg(info, 2), listener));
}

Napi::Value DriveDuplicates(const Napi::CallbackInfo& info) {
  return Napi::Number::New(info.Env(), static_cast<double>(emu::DriveDuplicates()));
}

Napi::Value DriveReport(const Napi::CallbackInfo& info) {
  return Napi::String::New(info.Env(), emu::DriveReport(IdArg(info)));
}

Napi::Value Inspect(const Napi::CallbackInfo& info) {
  if (!info[1].IsNumber()) throw Napi::TypeError::New(info.Env(), "expected an id");
  return Napi::String::New(
      info.Env(), emu::Inspect(StringArg(info, 0),
                               static_cast<uint64_t>(info[1].As<Napi::Number>().Int64Value())));
}

Napi::Value CancelToolCall(const Napi::CallbackInfo& info) {
  return Napi::Boolean::New(
      info.Env(), emu::CancelToolCall(IdArg(info), info[1].As<Napi::Number>().Uint32Value()));
}

Napi::Value AnswerConfirm(const Napi::CallbackInfo& info) {
  return Napi::Boolean::New(
      info.Env(), emu::AnswerConfirm(IdArg(info), info[1].As<Napi::Number>().Uint32Value(),
                                     StringArg(info, 2)));
}

// (enabled, seed as a decimal string, habits, percent)
Napi::Value SetHostile(const Napi::CallbackInfo& info) {
  uint64_t seed = std::strtoull(info[1].As<Napi::String>().Utf8Value().c_str(), nullptr, 10);
  return Napi::Boolean::New(info.Env(), emu::SetHostile(info[0].As<Napi::Boolean>().Value(), seed,
                                                        info[2].As<Napi::String>().Utf8Value(),
                                                        info[3].As<Napi::Number>().Int32Value()));
}

Napi::Value HostileStatus(const Napi::CallbackInfo& info) {
  return Napi::String::New(info.Env(), emu::HostileStatus());
}

Napi::Value ReleaseHeldCallbacks(const Napi::CallbackInfo& info) {
  return Napi::Number::New(info.Env(), emu::ReleaseHeldCallbacks());
}

Napi::Value LoggerEnabled(const Napi::CallbackInfo& info) {
  return Napi::Boolean::New(info.Env(),
                            emu::LoggerEnabled(info[0].As<Napi::Number>().Int32Value()));
}

Napi::Value SignalingThreadName(const Napi::CallbackInfo& info) {
  return Napi::String::New(info.Env(), emu::SignalingThreadName());
}

// chatStorm(threads, calls, argsJson): the manager is picked here, on the
// JavaScript thread that asks, so that a drive names this thread's client.
Napi::Value ChatStorm(const Napi::CallbackInfo& info) {
  int threads = info[0].As<Napi::Number>().Int32Value();
  int calls = info[1].As<Napi::Number>().Int32Value();
  return ThreadWork::Start(info.Env(), emu::ChatStorm(threads, calls, StringArg(info, 2)));
}

// The inspector page's feed. One environment watches at a time; the SDK wakes
// it through a thread-safe function that never keeps the process alive: a
// page left open must not stop an application that is done from ending.
class InspectorFeed {
 public:
  static Napi::Value Watch(const Napi::CallbackInfo& info) {
    Napi::Env env = info.Env();
    if (!info[0].IsFunction()) throw Napi::TypeError::New(env, "expected a function");
    std::lock_guard<std::mutex> lock(mutex_);
    if (watching_) throw Napi::Error::New(env, "the inspector feed is already watched");
    tsfn_ = Tsfn::New(env, info[0].As<Napi::Function>(), "OmbrixInspector", 0, 1);
    tsfn_.Unref(env);
    Tsfn wake = tsfn_;
    emu::WatchInspector([wake]() mutable { wake.NonBlockingCall(); });
    watching_ = true;
    owner_ = env;
    cleanup_ = env.AddCleanupHook(std::function<void()>([] { Stop(); }));
    return env.Undefined();
  }

  static Napi::Value Unwatch(const Napi::CallbackInfo& info) {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      if (watching_ && owner_ != static_cast<napi_env>(info.Env())) {
        throw Napi::Error::New(info.Env(), "the inspector feed is watched by another thread");
      }
    }
    if (Stop()) cleanup_.Remove(info.Env());
    return info.Env().Undefined();
  }

  static Napi::Value Drain(const Napi::CallbackInfo& info) {
    return Napi::String::New(info.Env(), emu::DrainInspector());
  }

  static Napi::Value State(const Napi::CallbackInfo& info) {
    return Napi::String::New(info.Env(), emu::InspectorState());
  }

 private:
  static void Wake(Napi::Env env, Napi::Function callback, std::nullptr_t*, std::nullptr_t*) {
    if (env != nullptr && !callback.IsEmpty()) callback.Call({});
  }
  using Tsfn = Napi::TypedThreadSafeFunction<std::nullptr_t, std::nullptr_t, &InspectorFeed::Wake>;

  // Once UnwatchInspector has returned the SDK never wakes again, so the
  // function is released after it, exactly once. False when not watching.
  static bool Stop() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!watching_) return false;
    emu::UnwatchInspector();
    tsfn_.Release();
    watching_ = false;
    return true;
  }

  static inline std::mutex mutex_;
  static inline bool watching_ = false;
  static inline napi_env owner_ = nullptr;
  static inline Tsfn tsfn_;
  static inline Napi::Env::CleanupHook<std::function<void()>> cleanup_;
};

Napi::Object Init(Napi::Env env, Napi::Object exports) {
  ombrix_addon::PinThisModule();  // storm threads may outlive the environment that loaded it
  const std::pair<const char*, Napi::Function::Callback> functions[] = {
      {"sentryCounts", SentryCounts},
      {"liveObjects", LiveObjects},
      {"injectThreadCreateFailure", InjectThreadCreateFailure},
      {"emitLogs", EmitLogs},
      {"startLogStorm", StartLogStorm},
      {"stopLogStorm", StopLogStorm},
      {"setMode", SetMode},
      {"getMode", GetMode},
      {"pendingCalls", PendingCalls},
      {"completeCall", CompleteCall},
      {"dropCall", DropCall},
      {"setAutoComplete", SetAutoComplete},
      {"injectFault", InjectFault},
      {"injectWeakLockFailure", InjectWeakLockFailure},
      {"clearFaults", ClearFaults},
      {"liveClients", LiveClients},
      {"clients", Clients},
      {"mallocBytes", MallocBytes},
      {"cancelTransfers", CancelTransfers},
      {"setTransferRate", SetTransferRate},
      {"setScreenLocked", SetScreenLocked},
      {"onDriveReport", OnDriveReport},
      {"holdEvents", HoldEvents},
      {"drive", Drive},
      {"driveReport", DriveReport},
      {"driveDuplicates", DriveDuplicates},
      {"inspect", Inspect},
      {"cancelToolCall", CancelToolCall},
      {"answerConfirm", AnswerConfirm},
      {"chatStorm", ChatStorm},
      {"setHostile", SetHostile},
      {"hostileStatus", HostileStatus},
      {"releaseHeldCallbacks", ReleaseHeldCallbacks},
      {"loggerEnabled", LoggerEnabled},
      {"signalingThreadName", SignalingThreadName},
      {"inspectorWatch", InspectorFeed::Watch},
      {"inspectorUnwatch", InspectorFeed::Unwatch},
      {"inspectorDrain", InspectorFeed::Drain},
      {"inspectorState", InspectorFeed::State},
  };
  for (const auto& [name, function] : functions) {
    exports.Set(name, Napi::Function::New(env, function, name));
  }
  return exports;
}

}  // namespace

NODE_API_MODULE(ombrix_control, Init)
