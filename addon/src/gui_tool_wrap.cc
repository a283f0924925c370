#include "gui_tool_wrap.h"

#include <algorithm>

#include "activate_window_worker.h"
#include "addon_state.h"
#include "args.h"

namespace ombrix_addon {

namespace {

// Arguments are not checked up front: a missing or mistyped one fails in its
// Node-API conversion, whose error is thrown as is, coded like every argument
// error of the module so that programs can tell it from the others.
template <class Convert>
auto Converted(Convert&& convert) -> decltype(convert()) {
  try {
    return convert();
  } catch (Napi::Error& error) {
    if (error.Value().IsObject()) error.Set("code", code::kInvalidArgument);
    throw;
  }
}

WindowSystem::Handle HandleArg(const Napi::CallbackInfo& info, size_t index) {
  bool lossless = false;  // ignored: the low 64 bits are the handle
  return Converted([&] { return info[index].As<Napi::BigInt>().Uint64Value(&lossless); });
}

Napi::Value HandleValue(Napi::Env env, WindowSystem::Handle handle) {
  return Napi::BigInt::New(env, static_cast<uint64_t>(handle));
}

uint32_t U32Arg(const Napi::CallbackInfo& info, size_t index) {
  return Converted([&] { return info[index].As<Napi::Number>().Uint32Value(); });
}

int32_t I32Arg(const Napi::CallbackInfo& info, size_t index) {
  return Converted([&] { return info[index].As<Napi::Number>().Int32Value(); });
}

// Any Buffer or other ArrayBufferView.
void BufferArg(const Napi::CallbackInfo& info, size_t index, void** data, size_t* length) {
  Converted([&] {
    napi_status status = napi_get_buffer_info(info.Env(), info[index], data, length);
    if (status != napi_ok) throw Napi::Error::New(info.Env());
  });
}

}  // namespace

void GuiTool::Init(Napi::Env env) {
  Napi::Function constructor = DefineClass(
      env, kClassName,
      {TaggedMethod<&GuiTool::ActivateWindow>("activateWindow"),
       TaggedMethod<&GuiTool::EnumerateVisibleTopLevelWindows>("enumerateVisibleTopLevelWindows"),
       TaggedMethod<&GuiTool::GetForegroundHwnd>("getForegroundHwnd"),
       TaggedMethod<&GuiTool::SetForegroundWindow>("setForegroundWindow"),
       TaggedMethod<&GuiTool::GetWindowPlacement>("getWindowPlacement"),
       TaggedMethod<&GuiTool::SetWindowPlacement>("setWindowPlacement"),
       TaggedMethod<&GuiTool::IsWindow>("isWindow"), TaggedMethod<&GuiTool::IsIconic>("isIconic"),
       TaggedMethod<&GuiTool::IsAltTabWindow>("isAltTabWindow"),
       TaggedMethod<&GuiTool::ShowWindow>("showWindow"),
       TaggedMethod<&GuiTool::ShellExecute>("shellExecute"),
       TaggedMethod<&GuiTool::GetWindowProcessId>("getWindowProcessId"),
       TaggedMethod<&GuiTool::GetProcessExePath>("getProcessExePath"),
       TaggedMethod<&GuiTool::AllowSetForegroundWindow>("allowSetForegroundWindow"),
       TaggedMethod<&GuiTool::GetLastError>("getLastError")});
  AddonState::Get(env).SetConstructor(kClassName, constructor);
}

GuiTool::GuiTool(const Napi::CallbackInfo& info)
    : TaggedWrap<GuiTool>(info), windows_(WindowSystem::Platform()) {}

Napi::Value GuiTool::ActivateWindow(const Napi::CallbackInfo& info) {
  const WindowSystem::Handle window = HandleArg(info, 0);  // throws before any Promise exists
  auto* worker = new ActivateWindowWorker(info.Env(), window);
  Napi::Promise promise = worker->Promise();
  try {
    worker->Queue();  // the worker deletes itself once it completes
  } catch (...) {
    delete worker;
    throw;
  }
  return promise;
}

Napi::Value GuiTool::EnumerateVisibleTopLevelWindows(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  const std::vector<WindowSystem::Window> windows = windows_.VisibleTitledWindows();
  Napi::Array records = Napi::Array::New(env, windows.size());
  for (size_t i = 0; i < windows.size(); ++i) {
    Napi::Object record = Napi::Object::New(env);
    record.Set("hwnd", HandleValue(env, windows[i].handle));
    record.Set("title", Napi::String::New(env, windows[i].title));
    records.Set(static_cast<uint32_t>(i), record);
  }
  return records;
}

Napi::Value GuiTool::GetForegroundHwnd(const Napi::CallbackInfo& info) {
  const WindowSystem::Handle window = windows_.Foreground();
  return window ? HandleValue(info.Env(), window) : info.Env().Null();
}

Napi::Value GuiTool::SetForegroundWindow(const Napi::CallbackInfo& info) {
  return Napi::Boolean::New(info.Env(), windows_.BringToForeground(HandleArg(info, 0)));
}

Napi::Value GuiTool::GetWindowPlacement(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  WindowSystem::Placement placement{};
  if (!windows_.ReadPlacement(HandleArg(info, 0), placement)) return env.Null();
  return Napi::Buffer<uint8_t>::Copy(env, placement.data(), placement.size());
}

Napi::Value GuiTool::SetWindowPlacement(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  const WindowSystem::Handle window = HandleArg(info, 0);
  void* data = nullptr;
  size_t length = 0;
  BufferArg(info, 1, &data, &length);
  if (length < WindowSystem::kPlacementSize) return Napi::Boolean::New(env, false);
  WindowSystem::Placement placement;
  std::copy_n(static_cast<const uint8_t*>(data), placement.size(), placement.begin());
  return Napi::Boolean::New(env, windows_.WritePlacement(window, placement));
}

Napi::Value GuiTool::IsWindow(const Napi::CallbackInfo& info) {
  return Napi::Boolean::New(info.Env(), windows_.Exists(HandleArg(info, 0)));
}

Napi::Value GuiTool::IsIconic(const Napi::CallbackInfo& info) {
  return Napi::Boolean::New(info.Env(), windows_.Minimized(HandleArg(info, 0)));
}

Napi::Value GuiTool::IsAltTabWindow(const Napi::CallbackInfo& info) {
  return Napi::Boolean::New(info.Env(), windows_.ShownInAltTab(HandleArg(info, 0)));
}

Napi::Value GuiTool::ShowWindow(const Napi::CallbackInfo& info) {
  const WindowSystem::Handle window = HandleArg(info, 0);
  const int32_t command = I32Arg(info, 1);
  return Napi::Boolean::New(info.Env(), windows_.Show(window, command));
}

Napi::Value GuiTool::ShellExecute(const Napi::CallbackInfo& info) {
  const std::string target = SdkString(info[0], "target");
  return Napi::Boolean::New(info.Env(), windows_.OpenWithShell(target));
}

Napi::Value GuiTool::GetWindowProcessId(const Napi::CallbackInfo& info) {
  return Napi::Number::New(info.Env(), windows_.ProcessOf(HandleArg(info, 0)));
}

Napi::Value GuiTool::GetProcessExePath(const Napi::CallbackInfo& info) {
  const std::optional<std::string> path = windows_.ProcessImagePath(U32Arg(info, 0));
  return path ? Napi::String::New(info.Env(), *path) : info.Env().Null();
}

Napi::Value GuiTool::AllowSetForegroundWindow(const Napi::CallbackInfo& info) {
  // uint32 on purpose: -1 is "any process".
  return Napi::Boolean::New(info.Env(), windows_.AllowForeground(U32Arg(info, 0)));
}

Napi::Value GuiTool::GetLastError(const Napi::CallbackInfo& info) {
  return Napi::Number::New(info.Env(), windows_.LastError());
}

Napi::Value CreateGuiTool(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  return AddonState::Get(env).Constructor(env, GuiTool::kClassName).New({});
}

}  // namespace ombrix_addon
