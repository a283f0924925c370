#include "fernwick_manager_wrap.h"

#include "js_call_bridge.h"

namespace ombrix_addon {

using namespace quelt::ombrix;

namespace {

// The application need not implement the method, nor answer with a Promise;
// whatever a Promise fulfils with is success.
const BridgeRules kFernwickRules =
    BridgeRules().MissingMethodSucceeds().AnswerAbandonedWith("request abandoned");

Outcome<OperationResult> AnySuccess(Napi::Env, Napi::Value) { return Success<OperationResult>(); }

}  // namespace

JSFernwickManager::JSFernwickManager(Napi::Env env, Napi::Object manager)
    : target_(std::make_shared<JsTarget>(env, manager, "JSFernwickManager")) {}

void JSFernwickManager::SetFernwickWorkspace(
    const char* workspace, SharedPtr<CallbackItf<const OperationResult&>> callback) {
  CallJs<OperationResult>(target_, "setFernwickWorkspace", TextArgument(workspace), AnySuccess,
                          std::move(callback), kFernwickRules);
}

}  // namespace ombrix_addon
