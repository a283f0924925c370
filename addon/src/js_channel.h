// The one way work crosses from any thread to the JavaScript thread.
//
// A JsChannel owns one thread-safe function. Node deletes a thread-safe
// function when its environment is torn down, whether or not producers still
// hold it; the channel therefore guards every call with its own lock and an
// `open` flag that the function's finalizer clears, so a late producer (an SDK
// thread finishing after a worker exited) finds the channel closed instead of
// touching freed memory. Tasks that cannot run (refused, or dropped at
// teardown) are destroyed without running: their destructors are where
// abandonment is handled.
#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include <napi.h>

namespace ombrix_addon {

class JsTask {
 public:
  virtual ~JsTask() = default;
  // On the JavaScript thread. `callback` is the channel's function, if any.
  virtual void Run(Napi::Env env, Napi::Function callback) = 0;
};

class JsChannel {
 public:
  enum class Mode { kBlocking, kNonBlocking };

  // Runs on the JavaScript thread once Node is done with the function
  // (released and drained, or its environment torn down).
  using OnClosed = std::function<void(Napi::Env env)>;

  // Unlimited queue, one owning thread; `callback` may be empty. Never
  // unreferenced: while open it keeps the event loop alive.
  static std::shared_ptr<JsChannel> Create(Napi::Env env, const char* resourceName,
                                           Napi::Function callback = Napi::Function(),
                                           OnClosed onClosed = nullptr);

  // Any thread. On failure the task is destroyed here and false returned.
  bool Post(std::unique_ptr<JsTask> task, Mode mode = Mode::kBlocking);
  // Any thread; only the first of Release/Abort acts. Release lets queued
  // tasks run first, Abort drops them.
  void Release();
  void Abort();

  // Only Create can make the token, so only Create makes channels.
  class Token {
    friend class JsChannel;
    explicit Token() = default;
  };
  explicit JsChannel(Token) {}
  JsChannel(const JsChannel&) = delete;
  JsChannel& operator=(const JsChannel&) = delete;
  ~JsChannel() = default;

 private:
  static void Dispatch(Napi::Env env, Napi::Function callback, JsChannel* channel, JsTask* task);
  void Close(napi_threadsafe_function_release_mode mode);

  using Tsfn = Napi::TypedThreadSafeFunction<JsChannel, JsTask, &JsChannel::Dispatch>;
  std::mutex mutex_;
  Tsfn tsfn_;
  bool open_ = false;
  OnClosed onClosed_;
  // The channel keeps itself alive until Node is done with its function.
  std::shared_ptr<JsChannel> self_;
};

}  // namespace ombrix_addon
