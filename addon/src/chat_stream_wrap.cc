#include "chat_stream_wrap.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "addon_state.h"
#include "errors.h"
#include "js_channel.h"
#include "js_records.h"
#include "native_tool_call.h"
#include "owned_external.h"
#include "tagged_wrap.h"
#include "tool_promise.h"

namespace ombrix_addon {

using namespace quelt::ombrix;

namespace {

constexpr napi_type_tag kStreamTag = MakeTypeTag("ChatResponseStream external");
constexpr napi_type_tag kConfirmTag = MakeTypeTag("ConfirmCallback external");

template <class Itf>
Napi::Value MakeExternal(Napi::Env env, SharedPtr<Itf> target, const napi_type_tag& tag) {
  auto external = OwnedExternal(env, std::make_unique<SharedPtr<Itf>>(std::move(target)));
  external.TypeTag(&tag);
  return external;
}

// The SDK object behind the receiver's external. A function detached from
// its object (or pointed at a foreign external) is refused.
template <class Itf>
Itf& Held(const Napi::CallbackInfo& info, const char* key, const napi_type_tag& tag) {
  if (info.This().IsObject()) {
    Napi::Value value = GetByKey(info.This().As<Napi::Object>(), key);
    if (value.IsExternal() && value.As<Napi::Object>().CheckTypeTag(&tag)) {
      SharedPtr<Itf>* held = value.As<Napi::External<SharedPtr<Itf>>>().Data();
      if (held && *held) return *held->get();
    }
  }
  throw CodedTypeError(info.Env(), code::kIllegalInvocation, "Illegal invocation");
}

ChatResponseStreamItf& Stream(const Napi::CallbackInfo& info) {
  return Held<ChatResponseStreamItf>(info, "__stream_ptr__", kStreamTag);
}

Napi::Value OnChunk(const Napi::CallbackInfo& info) {
  ChatResponseStreamItf& stream = Stream(info);
  if (info.Length() > 0 && info[0].IsObject()) {
    ombrix_records::ChatStreamChunk chunk(FromJs<ombrix_records::ChunkData>(info[0]));
    stream.OnChunk(chunk.record());
  }
  return info.Env().Undefined();
}

Napi::Value OnToolCall(const Napi::CallbackInfo& info) {
  ChatResponseStreamItf& stream = Stream(info);
  if (info.Length() > 0 && info[0].IsObject()) {
    Napi::Object call = info[0].As<Napi::Object>();
    Napi::Function cancel;
    if (call.Has("cancel")) {
      Napi::Value value = call.Get("cancel");
      if (value.IsFunction()) cancel = value.As<Napi::Function>();
    }
    stream.OnToolCall(SharedPtr<ToolCallItf>(
        new NativeToolCall(info.Env(), FromJs<ombrix_records::ToolCallData>(call), cancel)));
  }
  return info.Env().Undefined();
}

Napi::Value OnTodos(const Napi::CallbackInfo& info) {
  ChatResponseStreamItf& stream = Stream(info);
  if (info.Length() > 0 && info[0].IsArray()) {
    std::vector<ombrix_records::TodoData> todos =
        FromJs<std::vector<ombrix_records::TodoData>>(info[0]);
    std::vector<Todo> records;
    records.reserve(todos.size());
    for (const ombrix_records::TodoData& todo : todos) records.push_back(View(todo));
    stream.OnTodos(records.data(), static_cast<uint32_t>(records.size()));
  }
  return info.Env().Undefined();
}

Napi::Value OnUsage(const Napi::CallbackInfo& info) {
  ChatResponseStreamItf& stream = Stream(info);
  if (info.Length() > 0 && info[0].IsObject()) {
    ombrix_records::UsageData usage = FromJs<ombrix_records::UsageData>(info[0]);
    stream.OnUsage(View(usage));
  }
  return info.Env().Undefined();
}

Napi::Value OnEnd(const Napi::CallbackInfo& info) {
  Stream(info).OnEnd();
  return info.Env().Undefined();
}

}  // namespace

// What a confirmation answer becomes once copied off the SDK thread.
template <>
struct Captured<ConfirmResult> {
  using Type = std::string;
  static std::string Copy(ConfirmResult result) {
    return result.responseJson ? result.responseJson : "";
  }
};

namespace {

// "reqConfirm"'s Promise is settled through its resolve function, held by
// reference. Unlike a Deferred, that reference can be let go when the SDK
// drops a request unanswered: the Promise then stays pending as it must, but
// it and everything awaiting it become collectable. A reference never let go
// on the JavaScript thread goes with its environment.
//
// The Promise constructor is the application's to replace, and a replacement
// may run its executor late, more than once or never: the executor and the
// answer meet in a cell, whichever comes first waits for the other.
struct ConfirmCell {
  napi_ref resolve = nullptr;
  bool executed = false;
  bool answered = false;
  bool abandoned = false;
  std::string answer;
};

// The reference goes first: a replaced constructor's resolve function may throw.
void ResolveConfirm(Napi::Env env, ConfirmCell& cell) {
  napi_value function = nullptr;
  napi_get_reference_value(env, cell.resolve, &function);
  napi_delete_reference(env, cell.resolve);
  cell.resolve = nullptr;
  if (function == nullptr) return;
  Napi::Object answer = Napi::Object::New(env);
  answer.Set("responseJson", cell.answer);
  Napi::Function(env, function).Call({answer});
}

struct ConfirmAnswer {
  using Handle = std::shared_ptr<ConfirmCell>;
  static void Resolve(Napi::Env env, Handle& cell, const std::string& json) {
    cell->answered = true;
    cell->answer = json;
    if (cell->resolve) ResolveConfirm(env, *cell);
  }
  static void Reject(Napi::Env env, Handle& cell, const DeliveryError&) {
    cell->abandoned = true;
    if (cell->resolve) napi_delete_reference(env, cell->resolve);
    cell->resolve = nullptr;
  }
};

// The executor, on whatever turn the constructor runs it.
void ConfirmExecutor(const Napi::CallbackInfo& info, ConfirmCell& cell) {
  if (cell.executed || cell.abandoned || info.Length() < 1 || !info[0].IsFunction()) {
    return;
  }
  cell.executed = true;
  NAPI_THROW_IF_FAILED_VOID(info.Env(),
                            napi_create_reference(info.Env(), info[0], 1, &cell.resolve));
  if (cell.answered) ResolveConfirm(info.Env(), cell);
}

Napi::Value ReqConfirm(const Napi::CallbackInfo& info) {
  ConfirmCallbackItf& requester = Held<ConfirmCallbackItf>(info, "__confirm_ptr__", kConfirmTag);
  Napi::Env env = info.Env();
  if (info.Length() < 3 || !info[0].IsNumber() || !info[1].IsString() || !info[2].IsString()) {
    return env.Undefined();
  }
  auto actionType = static_cast<ConfirmActionType>(info[0].As<Napi::Number>().Int32Value());
  std::string title = info[1].As<Napi::String>().Utf8Value();
  std::string content = info[2].As<Napi::String>().Utf8Value();
  auto cell = std::make_shared<ConfirmCell>();
  Napi::Function executor = Napi::Function::New(
      env, [cell](const Napi::CallbackInfo& call) { ConfirmExecutor(call, *cell); });
  Napi::Value promise = AddonState::Get(env).PromiseConstructor().New({executor});
  SharedPtr<CallbackItf<ConfirmResult>> callback(new PromiseCallback<ConfirmResult, ConfirmAnswer>(
      cell, AddonState::Get(env).ResultChannel(env, "ConfirmCallback")));
  requester.RequestConfirm(actionType, title.c_str(), content.c_str(), callback);
  return promise;
}

}  // namespace

Napi::Object MakeStreamObject(Napi::Env env, SharedPtr<ChatResponseStreamItf> stream) {
  AddonState& state = AddonState::Get(env);
  Napi::Object object = Napi::Object::New(env);
  object.Set("__stream_ptr__", MakeExternal(env, std::move(stream), kStreamTag));
  object.Set("onChunk", state.SharedFunction(env, "onChunk", OnChunk));
  object.Set("onToolCall", state.SharedFunction(env, "onToolCall", OnToolCall));
  object.Set("onTodos", state.SharedFunction(env, "onTodos", OnTodos));
  object.Set("onUsage", state.SharedFunction(env, "onUsage", OnUsage));
  object.Set("onEnd", state.SharedFunction(env, "onEnd", OnEnd));
  return object;
}

Napi::Object MakeConfirmObject(Napi::Env env, SharedPtr<ConfirmCallbackItf> confirm) {
  Napi::Object object = Napi::Object::New(env);
  object.Set("__confirm_ptr__", MakeExternal(env, std::move(confirm), kConfirmTag));
  object.Set("reqConfirm", AddonState::Get(env).SharedFunction(env, "reqConfirm", ReqConfirm));
  return object;
}

}  // namespace ombrix_addon
