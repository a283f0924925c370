#include "js_channel.h"

#include <exception>

#include "errors.h"

namespace ombrix_addon {

namespace {
void* const kNoData = nullptr;
}  // namespace

std::shared_ptr<JsChannel> JsChannel::Create(Napi::Env env, const char* resourceName,
                                             Napi::Function callback, OnClosed onClosed) {
  auto channel = std::make_shared<JsChannel>(Token());
  channel->onClosed_ = std::move(onClosed);
  auto finalize = [](Napi::Env finalizeEnv, void*, JsChannel* context) {
    std::shared_ptr<JsChannel> last = std::move(context->self_);  // freed on return, at the latest
    {
      std::lock_guard<std::mutex> lock(context->mutex_);
      context->open_ = false;
    }
    if (context->onClosed_) {
      try {
        context->onClosed_(finalizeEnv);
      } catch (...) {
        // The environment may be going away; nothing may escape a finalizer.
      }
      context->onClosed_ = nullptr;
    }
  };
  channel->tsfn_ = callback.IsEmpty()
                       ? Tsfn::New(env, resourceName, 0, 1, channel.get(), finalize, kNoData)
                       : Tsfn::New(env, callback, resourceName, 0, 1, channel.get(), finalize, kNoData);
  channel->self_ = channel;
  channel->open_ = true;
  return channel;
}

bool JsChannel::Post(std::unique_ptr<JsTask> task, Mode mode) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (open_) {
    napi_status status = mode == Mode::kBlocking ? tsfn_.BlockingCall(task.get())
                                                 : tsfn_.NonBlockingCall(task.get());
    if (status == napi_ok) {
      task.release();
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
  if (!open_) return;
  open_ = false;
  napi_release_threadsafe_function(tsfn_, mode);
}

void JsChannel::Dispatch(Napi::Env env, Napi::Function callback, JsChannel*, JsTask* task) {
  std::unique_ptr<JsTask> owned(task);
  if (static_cast<napi_env>(env) == nullptr || !owned) return;  // dropped at teardown
  Napi::HandleScope scope(env);
  try {
    owned->Run(env, callback);
  } catch (const Napi::Error&) {
    throw;  // surfaces as a JavaScript exception
  } catch (const std::exception& e) {
    throw CodedError(env, code::kInternal, e.what());
  }
}

}  // namespace ombrix_addon
