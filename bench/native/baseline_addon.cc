// The least a promise round trip through another thread can cost: one
// thread-safe function shared by every call, one worker thread with a queue,
// a Deferred per call. No SDK, no per-call thread-safe function, no records.
// Beside it, the least a design with a thread-safe function per call (as the
// module's contract has it) can cost: the same trip, each call bringing its
// own function, created on the way out and released on the way back.
// And the floors of the other crossing: a native thread calling an async
// JavaScript method through one shared function, and reading a chat chunk.
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <string>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <napi.h>

namespace {

struct Call {
  napi_deferred deferred;
  double value;
  napi_threadsafe_function own = nullptr;  // a per-call trip's own function
};

void Settle(Napi::Env env, Napi::Function, void*, Call* call);
using Tsfn = Napi::TypedThreadSafeFunction<void, Call, Settle>;

class Worker {
 public:
  explicit Worker(Tsfn tsfn) : tsfn_(tsfn), thread_([this] { Loop(); }) {}
  ~Worker() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stopping_ = true;
    }
    ready_.notify_one();
    thread_.join();
  }
  void Push(Call* call) {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      queue_.push_back(call);
    }
    ready_.notify_one();
  }
  void Ref(Napi::Env env) {
    if (pending_++ == 0) tsfn_.Ref(env);
  }
  void Unref(Napi::Env env) {
    if (--pending_ == 0) tsfn_.Unref(env);
  }

 private:
  void Loop() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      ready_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
      if (stopping_) return;
      Call* call = queue_.front();
      queue_.pop_front();
      lock.unlock();
      if (call->own) {
        napi_threadsafe_function own = call->own;
        napi_call_threadsafe_function(own, call, napi_tsfn_blocking);
        napi_release_threadsafe_function(own, napi_tsfn_release);
      } else {
        tsfn_.BlockingCall(call);
      }
      lock.lock();
    }
  }

  Tsfn tsfn_;
  std::mutex mutex_;
  std::condition_variable ready_;
  std::deque<Call*> queue_;
  bool stopping_ = false;
  int pending_ = 0;  // JavaScript thread only
  std::thread thread_;
};

void Settle(Napi::Env env, Napi::Function, void*, Call* call) {
  if (env) {
    napi_resolve_deferred(env, call->deferred, Napi::Number::New(env, call->value));
    env.GetInstanceData<Worker>()->Unref(env);
  }
  delete call;
}

void SettleOwn(napi_env env, napi_value, void*, void* data) {
  auto* call = static_cast<Call*>(data);
  if (env) napi_resolve_deferred(env, call->deferred, Napi::Number::New(env, call->value));
  delete call;
}

// A call with its own thread-safe function, not yet on its way.
Call* NewOwnCall(Napi::Env env, napi_value* promise) {
  auto call = std::make_unique<Call>(Call{nullptr, 0});
  napi_value name = Napi::String::New(env, "BenchPerCall");
  NAPI_THROW_IF_FAILED(env,
                       napi_create_threadsafe_function(env, nullptr, nullptr, name, 0, 1, nullptr,
                                                       nullptr, nullptr, SettleOwn, &call->own),
                       nullptr);
  if (napi_create_promise(env, &call->deferred, promise) != napi_ok) {
    napi_release_threadsafe_function(call->own, napi_tsfn_abort);
    NAPI_THROW(Napi::Error::New(env, "napi_create_promise failed"), nullptr);
  }
  return call.release();
}

// The calls `hold` keeps back (JavaScript thread only).
std::vector<Call*> held;

// roundTripPerCall(): a Promise of 0 after a trip with its own function.
Napi::Value RoundTripPerCall(const Napi::CallbackInfo& info) {
  napi_value promise;
  info.Env().GetInstanceData<Worker>()->Push(NewOwnCall(info.Env(), &promise));
  return Napi::Value(info.Env(), promise);
}

// hold(n): n per-call trips created but not sent, as an array of Promises;
// sendHeld() sends them.
Napi::Value Hold(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  uint32_t n = info[0].IsNumber() ? info[0].As<Napi::Number>().Uint32Value() : 0;
  Napi::Array promises = Napi::Array::New(env, n);
  for (uint32_t i = 0; i < n; ++i) {
    napi_value promise;
    held.push_back(NewOwnCall(env, &promise));
    promises.Set(i, Napi::Value(env, promise));
  }
  return promises;
}

Napi::Value SendHeld(const Napi::CallbackInfo& info) {
  Worker* worker = info.Env().GetInstanceData<Worker>();
  for (Call* call : held) worker->Push(call);
  held.clear();
  return info.Env().Undefined();
}

// roundTrip(x): a Promise of x, resolved after a trip through the worker.
Napi::Value RoundTrip(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  napi_deferred deferred;
  napi_value promise;
  NAPI_THROW_IF_FAILED(env, napi_create_promise(env, &deferred, &promise), Napi::Value());
  Worker* worker = env.GetInstanceData<Worker>();
  worker->Ref(env);
  worker->Push(
      new Call{deferred, info[0].IsNumber() ? info[0].As<Napi::Number>().DoubleValue() : 0});
  return Napi::Value(env, promise);
}

// --- service calls: native thread → async JavaScript method → settlement ---

// One storm of calls; lives until every call has settled and the caller
// thread's function has been finalized, whichever comes last.
struct ServiceStorm {
  Napi::Promise::Deferred done;
  Napi::ObjectReference target;
  Napi::FunctionReference onSettled;
  uint32_t calls = 0;
  uint32_t settled = 0;
  double codes = 0;
  bool finalized = false;
  std::thread caller;

  explicit ServiceStorm(Napi::Env env) : done(Napi::Promise::Deferred::New(env)) {}
  void SettleOne(Napi::Env env) {
    if (++settled < calls) return;
    done.Resolve(Napi::Number::New(env, codes));
    if (finalized) delete this;
  }
};

struct ServiceCall {
  int32_t language;
};

void CallService(Napi::Env env, Napi::Function, ServiceStorm* storm, ServiceCall* call) {
  int32_t language = call->language;
  delete call;
  if (!env) return;
  Napi::Object target = storm->target.Value();
  Napi::Value result = target.Get("setLanguageCode")
                           .As<Napi::Function>()
                           .Call(target, {Napi::Number::New(env, language)});
  Napi::Object promise = result.As<Napi::Object>();
  Napi::Function handler = storm->onSettled.Value();
  promise.Get("then").As<Napi::Function>().Call(promise, {handler, handler});
}

using ServiceTsfn = Napi::TypedThreadSafeFunction<ServiceStorm, ServiceCall, CallService>;

Napi::Value OnServiceSettled(const Napi::CallbackInfo& info) {
  auto* storm = static_cast<ServiceStorm*>(info.Data());
  if (info.Length() > 0 && info[0].IsObject()) {
    Napi::Value code = info[0].As<Napi::Object>().Get("code");
    if (code.IsNumber()) storm->codes += code.As<Napi::Number>().DoubleValue();
  }
  storm->SettleOne(info.Env());
  return info.Env().Undefined();
}

// serviceStorm(target, n): a Promise, resolved once n calls of
// target.setLanguageCode, made from one native thread and all in flight,
// have settled.
Napi::Value ServiceStormStart(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  auto* storm = new ServiceStorm(env);
  Napi::Promise promise = storm->done.Promise();
  storm->calls = info[1].As<Napi::Number>().Uint32Value();
  storm->target = Napi::Persistent(info[0].As<Napi::Object>());
  storm->onSettled = Napi::Persistent(Napi::Function::New(env, OnServiceSettled, "settled", storm));
  if (storm->calls == 0) storm->done.Resolve(Napi::Number::New(env, 0));
  ServiceTsfn tsfn = ServiceTsfn::New(env, "BenchServiceStorm", 0, 1, storm,
                                      [](Napi::Env, void*, ServiceStorm* finished) {
                                        finished->caller.join();
                                        finished->finalized = true;
                                        if (finished->settled >= finished->calls) delete finished;
                                      });
  storm->caller = std::thread([tsfn, n = storm->calls]() mutable {
    for (uint32_t i = 0; i < n; ++i)
      tsfn.BlockingCall(new ServiceCall{static_cast<int32_t>(i % 7)});
    tsfn.Release();
  });
  return promise;
}

// --- stream chunks: one chat chunk read into a native record ---

struct ChunkAttachment {
  std::string fileId, filename;
  double size = 0;
  std::string uploadDate, fileType, fileUrl, localPath;
};

struct Chunk {
  int32_t type = 0;
  std::string eventId, role, content;
  int64_t createdAt = 0;
  std::vector<ChunkAttachment> attachments;
  std::vector<std::string> suggestions;
};

std::string StringAt(const Napi::Object& object, const char* key) {
  Napi::Value value = object.Get(key);
  return value.IsString() ? value.As<Napi::String>().Utf8Value() : std::string();
}

double NumberAt(const Napi::Object& object, const char* key) {
  Napi::Value value = object.Get(key);
  return value.IsNumber() ? value.As<Napi::Number>().DoubleValue() : 0;
}

std::atomic<size_t> chunkBytes{0};  // keeps the copies from being optimised away

// readChunk(chunk): copies its seven keys (and each attachment's seven) into
// a native record and drops it.
Napi::Value ReadChunk(const Napi::CallbackInfo& info) {
  Napi::Object object = info[0].As<Napi::Object>();
  Chunk chunk;
  chunk.type = static_cast<int32_t>(NumberAt(object, "type"));
  chunk.eventId = StringAt(object, "eventId");
  chunk.role = StringAt(object, "role");
  chunk.content = StringAt(object, "content");
  chunk.createdAt = static_cast<int64_t>(NumberAt(object, "createdAt"));
  Napi::Value attachments = object.Get("attachments");
  if (attachments.IsArray()) {
    Napi::Array list = attachments.As<Napi::Array>();
    for (uint32_t i = 0; i < list.Length(); ++i) {
      Napi::Object item = list.Get(i).As<Napi::Object>();
      chunk.attachments.push_back({StringAt(item, "fileId"), StringAt(item, "filename"),
                                   NumberAt(item, "size"), StringAt(item, "uploadDate"),
                                   StringAt(item, "fileType"), StringAt(item, "fileUrl"),
                                   StringAt(item, "localPath")});
    }
  }
  Napi::Value suggestions = object.Get("suggestions");
  if (suggestions.IsArray()) {
    Napi::Array list = suggestions.As<Napi::Array>();
    for (uint32_t i = 0; i < list.Length(); ++i)
      chunk.suggestions.push_back(list.Get(i).As<Napi::String>());
  }
  chunkBytes.fetch_add(chunk.content.size() + chunk.attachments.size() + chunk.suggestions.size(),
                       std::memory_order_relaxed);
  return info.Env().Undefined();
}

Napi::Object Init(Napi::Env env, Napi::Object exports) {
  Tsfn tsfn = Tsfn::New(env, "BenchBaseline", 0, 1);
  tsfn.Unref(env);  // only calls in flight keep the loop alive
  env.SetInstanceData(new Worker(tsfn));
  env.AddCleanupHook([tsfn]() mutable { tsfn.Release(); });
  exports.Set("roundTrip", Napi::Function::New(env, RoundTrip, "roundTrip"));
  exports.Set("roundTripPerCall", Napi::Function::New(env, RoundTripPerCall, "roundTripPerCall"));
  exports.Set("hold", Napi::Function::New(env, Hold, "hold"));
  exports.Set("sendHeld", Napi::Function::New(env, SendHeld, "sendHeld"));
  exports.Set("serviceStorm", Napi::Function::New(env, ServiceStormStart, "serviceStorm"));
  exports.Set("readChunk", Napi::Function::New(env, ReadChunk, "readChunk"));
  return exports;
}

}  // namespace

NODE_API_MODULE(ombrix_bench_baseline, Init)
