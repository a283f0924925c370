// The JavaScript object behind a JS-backed adapter, and the adapter's channel.
// Shared by the adapter and its in-flight requests, so a request that is still
// queued or awaiting its Promise keeps the object reachable even if the SDK has
// let go of the adapter meanwhile.
#pragma once

#include <memory>

#include <napi.h>

#include "js_channel.h"

namespace ombrix_addon {

class JsTarget {
 public:
  // On the JavaScript thread: a strong reference to `object` and a channel
  // whose resource name is the adapter's class name.
  JsTarget(Napi::Env env, Napi::Object object, const char* className);
  // Any thread: the reference is dropped on the JavaScript thread (or with
  // the environment, if that is already gone).
  ~JsTarget();
  JsTarget(const JsTarget&) = delete;
  JsTarget& operator=(const JsTarget&) = delete;

  // JavaScript thread only.
  Napi::Object Object(Napi::Env env) const;
  // Any thread; false (task destroyed) once the channel is closed.
  bool Post(std::unique_ptr<JsTask> task);

 private:
  napi_env env_;
  napi_ref ref_;
  std::shared_ptr<JsChannel> channel_;
};

}  // namespace ombrix_addon
