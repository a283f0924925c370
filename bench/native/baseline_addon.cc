// The least a promise round trip through another thread can cost: one
// thread-safe function shared by every call, one worker thread with a queue,
// a Deferred per call. No SDK, no per-call thread-safe function, no records.
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include <napi.h>

namespace {

struct Call {
  napi_deferred deferred;
  double value;
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
  void Ref(Napi::Env env) { if (pending_++ == 0) tsfn_.Ref(env); }
  void Unref(Napi::Env env) { if (--pending_ == 0) tsfn_.Unref(env); }

 private:
  void Loop() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      ready_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
      if (stopping_) return;
      Call* call = queue_.front();
      queue_.pop_front();
      lock.unlock();
      tsfn_.BlockingCall(call);
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

// roundTrip(x): a Promise of x, resolved after a trip through the worker.
Napi::Value RoundTrip(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  napi_deferred deferred;
  napi_value promise;
  NAPI_THROW_IF_FAILED(env, napi_create_promise(env, &deferred, &promise), Napi::Value());
  Worker* worker = env.GetInstanceData<Worker>();
  worker->Ref(env);
  worker->Push(new Call{deferred, info[0].IsNumber() ? info[0].As<Napi::Number>().DoubleValue() : 0});
  return Napi::Value(env, promise);
}

Napi::Object Init(Napi::Env env, Napi::Object exports) {
  Tsfn tsfn = Tsfn::New(env, "BenchBaseline", 0, 1);
  tsfn.Unref(env);  // only calls in flight keep the loop alive
  env.SetInstanceData(new Worker(tsfn));
  env.AddCleanupHook([tsfn]() mutable { tsfn.Release(); });
  exports.Set("roundTrip", Napi::Function::New(env, RoundTrip, "roundTrip"));
  return exports;
}

}  // namespace

NODE_API_MODULE(ombrix_bench_baseline, Init)
