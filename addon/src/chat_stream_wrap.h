// The objects "sendChat" hands the application in place of the SDK's response
// stream ("onChunk", "onToolCall", "onTodos", "onUsage", "onEnd") and its
// confirmation requester ("reqConfirm"). Each holds its SDK object through an
// external, so the SDK object lives as long as the JavaScript object does.
#pragma once

#include <napi.h>

#include "ombrix/chat_stream.h"

namespace ombrix_addon {

Napi::Object MakeStreamObject(
    Napi::Env env, quelt::ombrix::SharedPtr<quelt::ombrix::ChatResponseStreamItf> stream);
Napi::Object MakeConfirmObject(Napi::Env env,
                               quelt::ombrix::SharedPtr<quelt::ombrix::ConfirmCallbackItf> confirm);

}  // namespace ombrix_addon
