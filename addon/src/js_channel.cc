#include "js_channel.h"

#include <algorithm>
#include <cstdint>
#include <exception>

#include "addon_state.h"
#include "errors.h"

namespace ombrix_addon {

namespace {
void* const kNoData = nullptr;
// What the function's queue carries: a nudge to run the channel's own queue.
void* const kSignal = nullptr;

// One task failing must not keep the others queued with it from running: its
// exception is raised as uncaught at once, as Node does for a thread-safe
// function's call-back that throws.
void RunTask(Napi::Env env, Napi::Function callback, JsTask& task) {
  Napi::HandleScope scope(env);
  try {
    task.Run(env, callback);
  } catch (const Napi::Error& error) {
    napi_value value = error.Value();
    if (value != nullptr) napi_fatal_exception(env, value);
  } catch (const std::exception& e) {
    napi_fatal_exception(env, CodedError(env, code::kInternal, e.what()).Value());
  }
}
}  // namespace

std::shared_ptr<JsChannel> JsChannel::Create(Napi::Env env, const char* resourceName,
                                             Napi::Function callback, OnClosed onClosed,
                                             Liveness liveness) {
  auto channel = std::make_shared<JsChannel>(Token());
  channel->onClosed_ = std::move(onClosed);
  auto finalize = [](Napi::Env finalizeEnv, void*, JsChannel* context) {
    std::shared_ptr<JsChannel> last = std::move(context->self_);  // freed on return, at the latest
    {
      std::lock_guard<std::mutex> lock(context->mutex_);
      context->open_ = false;
    }
    context->finalized_ = true;
    context->nextTurn_.Reset();
    context->TakeQueued(SIZE_MAX);  // destroyed unrun
    if (context->onClosed_) {
      try {
        context->onClosed_(finalizeEnv);
      } catch (...) {
        // The environment may be going away; nothing may escape a finalizer.
      }
      context->onClosed_ = nullptr;
    }
  };
  channel->tsfn_ =
      callback.IsEmpty()
          ? Tsfn::New(env, resourceName, 0, 1, channel.get(), finalize, kNoData)
          : Tsfn::New(env, callback, resourceName, 0, 1, channel.get(), finalize, kNoData);
  if (liveness == Liveness::kWhileHeld) channel->tsfn_.Unref(env);
  channel->env_ = env;
  channel->self_ = channel;
  channel->open_ = true;
  return channel;
}

bool JsChannel::Post(std::unique_ptr<JsTask> task) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (open_) {
    if (signalled_) {
      queue_.push_back(std::move(task));
      return true;
    }
    // Unlimited queue: a blocking call never waits.
    napi_status status = tsfn_.BlockingCall(kSignal);
    if (status == napi_ok) {
      signalled_ = true;
      queue_.push_back(std::move(task));
      return true;
    }
    if (status == napi_closing) open_ = false;
  }
  lock.unlock();
  task.reset();  // outside the lock: a destructor may post elsewhere
  return false;
}

void JsChannel::Release() { Close(napi_tsfn_release); }

void JsChannel::Abort() { Close(napi_tsfn_abort); }

void JsChannel::Close(napi_threadsafe_function_release_mode mode) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (mode == napi_tsfn_abort && releaseWhenEmpty_) {
    releaseWhenEmpty_ = false;
  } else if (!open_) {
    return;
  } else if (mode == napi_tsfn_release && signalled_) {
    // Node would finalize the function, dropping what is queued, once no
    // signal is in its queue: between two turns.
    open_ = false;
    releaseWhenEmpty_ = true;
    return;
  }
  open_ = false;
  napi_release_threadsafe_function(tsfn_, mode);
}

void JsChannel::Hold() {
  if (holds_++ == 0 && !finalized_) tsfn_.Ref(env_);
}

void JsChannel::Unhold() {
  if (holds_ > 0 && --holds_ == 0 && !finalized_) tsfn_.Unref(env_);
}

std::vector<std::unique_ptr<JsTask>> JsChannel::TakeQueued(size_t limit) {
  std::vector<std::unique_ptr<JsTask>> taken;
  std::lock_guard<std::mutex> lock(mutex_);
  const size_t count = std::min(limit, queue_.size());
  taken.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    taken.push_back(std::move(queue_.front()));
    queue_.pop_front();
  }
  return taken;
}

void JsChannel::EndTurn(Napi::Env env) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (queue_.empty()) {
      signalled_ = false;
      if (releaseWhenEmpty_) {
        releaseWhenEmpty_ = false;
        napi_release_threadsafe_function(tsfn_, napi_tsfn_release);
      }
      return;
    }
  }
  // Still signalled: posts keep queueing behind what is left.
  if (!DeferTurn(env)) Signal();
}

bool JsChannel::DeferTurn(Napi::Env env) {
  Napi::Function setImmediate = AddonState::Get(env).SetImmediate();
  if (setImmediate.IsEmpty()) return false;
  try {
    if (nextTurn_.IsEmpty()) {
      std::weak_ptr<JsChannel> weak = self_;
      nextTurn_ = Napi::Persistent(Napi::Function::New(
          env,
          [weak](const Napi::CallbackInfo& info) -> Napi::Value {
            std::shared_ptr<JsChannel> channel = weak.lock();
            // Aborted or finalized meanwhile: what was queued is gone.
            if (channel && !channel->finalized_) channel->Signal();
            return info.Env().Undefined();
          },
          "nextTurn"));
    }
    setImmediate.Call({nextTurn_.Value()});
    return true;
  } catch (const Napi::Error&) {  // replaced by one that throws, or the environment is ending
    return false;
  }
}

void JsChannel::Signal() {
  // A closing function (aborted) drops the signal, and the finalizer what is
  // queued.
  napi_call_threadsafe_function(tsfn_, kSignal, napi_tsfn_blocking);
}

void JsChannel::Dispatch(Napi::Env env, Napi::Function callback, JsChannel* channel, void*) {
  // Dropped at teardown: the finalizer destroys what is queued.
  if (static_cast<napi_env>(env) == nullptr || channel == nullptr) return;
  for (std::unique_ptr<JsTask>& task : channel->TakeQueued(kTurn)) {
    RunTask(env, callback, *task);
    task.reset();  // before the next runs, as each had its own turn before
  }
  channel->EndTurn(env);
}

}  // namespace ombrix_addon
