// Every error the module raises carries a stable `code` beside its text: the
// texts are fixed for people to read, the codes are for programs to branch on.
#pragma once

#include <string>

#include <napi.h>

namespace ombrix_addon {
namespace code {
constexpr const char* kInvalidArgument = "ERR_OMBRIX_INVALID_ARG";  // a TypeError for an argument
constexpr const char* kIllegalInvocation =
    "ERR_OMBRIX_ILLEGAL_INVOCATION";  // a method on a foreign receiver
constexpr const char* kNotInitialized =
    "ERR_OMBRIX_NOT_INITIALIZED";  // no SDK object behind the wrapper
constexpr const char* kToolDestroyed =
    "ERR_OMBRIX_TOOL_DESTROYED";                           // the tool went away as the call started
constexpr const char* kNoResult = "ERR_OMBRIX_NO_RESULT";  // the SDK dropped the call unanswered
constexpr const char* kSdkFailure = "ERR_OMBRIX_SDK_FAILURE";   // the SDK refused or threw
constexpr const char* kUnavailable = "ERR_OMBRIX_UNAVAILABLE";  // the SDK answered with nothing
constexpr const char* kAborted = "ERR_OMBRIX_ABORTED";          // a request released unanswered
constexpr const char* kNotOpen = "ERR_OMBRIX_NOT_OPEN";         // a ShmRegion that is not open
constexpr const char* kAlreadyLocked = "ERR_OMBRIX_ALREADY_LOCKED";  // a ShmRegion locked twice
constexpr const char* kOutOfRange = "ERR_OMBRIX_OUT_OF_RANGE";       // a RangeError for an argument
constexpr const char* kInternal = "ERR_OMBRIX_INTERNAL";             // the module itself failed
}  // namespace code

Napi::Error CodedError(Napi::Env env, const char* code, const std::string& message);
Napi::Error CodedTypeError(Napi::Env env, const char* code, const std::string& message);
Napi::Error CodedRangeError(Napi::Env env, const char* code, const std::string& message);

// The common case: a TypeError about the arguments.
inline Napi::Error ArgumentError(Napi::Env env, const std::string& message) {
  return CodedTypeError(env, code::kInvalidArgument, message);
}

}  // namespace ombrix_addon
