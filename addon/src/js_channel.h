// The one way work crosses from any thread to the JavaScript thread.
//
// A JsChannel owns one thread-safe function and a queue of its own in front
// of it: a post only signals the function when the queue was empty, and the
// JavaScript thread runs everything queued by then in one go. A burst of
// deliveries therefore costs one wake-up of the event loop, not one each. A
// turn runs at most kTurn tasks; the next is asked for with setImmediate,
// which signals the function again from the loop's check phase, so timers and
// I/O run between two turns whatever the producers do. (Signalling again from
// inside a turn would not yield: Node runs up to a thousand signals of one
// function in a single wake-up.)
//
// Node deletes a thread-safe function when its environment is torn down,
// whether or not producers still hold it; the channel therefore guards every
// post with its own lock and an `open` flag that the function's finalizer
// clears, so a late producer (an SDK thread finishing after a worker exited)
// finds the channel closed instead of touching freed memory. A Release while
// tasks are queued takes effect once they have run, turn by turn. Tasks that
// cannot run (refused, aborted, or dropped at teardown) are destroyed without
// running: their destructors are where abandonment is handled.
#pragma once

#include <functional>
#include <memory>
#include <deque>
#include <mutex>
#include <vector>

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
  // Runs on the JavaScript thread once Node is done with the function
  // (released and drained, or its environment torn down).
  using OnClosed = std::function<void(Napi::Env env)>;

  // How the channel holds the event loop.
  enum class Liveness {
    // Always, until released: an observer's or an adapter's channel.
    kWhileOpen,
    // Only while something holds it (Hold/Unhold): an environment's shared
    // result channel, alive exactly while calls are outstanding.
    kWhileHeld,
  };

  // Unlimited queue, one owning thread; `callback` may be empty.
  static std::shared_ptr<JsChannel> Create(Napi::Env env, const char* resourceName,
                                           Napi::Function callback = Napi::Function(),
                                           OnClosed onClosed = nullptr,
                                           Liveness liveness = Liveness::kWhileOpen);

  // Any thread. On failure the task is destroyed here and false returned.
  bool Post(std::unique_ptr<JsTask> task);
  // Any thread; only the first of Release/Abort acts. Release lets queued
  // tasks run first, Abort drops them.
  void Release();
  void Abort();

  // JavaScript thread, kWhileHeld channels: the event loop stays alive while
  // holds outnumber unholds.
  void Hold();
  void Unhold();

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
  static void Dispatch(Napi::Env env, Napi::Function callback, JsChannel* channel, void* signal);
  void Close(napi_threadsafe_function_release_mode mode);
  std::vector<std::unique_ptr<JsTask>> TakeQueued(size_t limit);
  // JavaScript thread, after a turn: nothing left (a deferred release then
  // goes ahead), or the next turn asked for.
  void EndTurn(Napi::Env env);
  bool DeferTurn(Napi::Env env);
  void Signal();
  static constexpr size_t kTurn = 64;

  using Tsfn = Napi::TypedThreadSafeFunction<JsChannel, void, &JsChannel::Dispatch>;
  std::mutex mutex_;
  Tsfn tsfn_;
  bool open_ = false;
  // A signal is in the function's queue, being run, or deferred to the next
  // turn: posts only queue.
  bool signalled_ = false;
  // Released while signalled: the release waits for the queue to empty.
  bool releaseWhenEmpty_ = false;
  std::deque<std::unique_ptr<JsTask>> queue_;
  // JavaScript thread only.
  napi_env env_ = nullptr;
  bool finalized_ = false;
  size_t holds_ = 0;
  // What setImmediate calls for the next turn; it holds the channel weakly.
  Napi::FunctionReference nextTurn_;
  OnClosed onClosed_;
  // The channel keeps itself alive until Node is done with its function.
  std::shared_ptr<JsChannel> self_;
};

}  // namespace ombrix_addon
