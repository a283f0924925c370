// A callback as a hostile SDK invokes it: from wherever it likes, late, or
// twice. Wraps the application's callback; each invocation keeps an owning
// copy of its argument, since it may outlive the caller's.
#pragma once

#include <memory>
#include <string>
#include <type_traits>

#include "hostile/hostile.h"
#include "ombrix/callback.h"
#include "ombrix/chat_stream.h"

namespace quelt::ombrix::emu::hostile {

// An owning copy of a callback argument, and the argument made from it again.
template <class Arg>
struct Kept {
  using Type = std::decay_t<Arg>;
  static Type Keep(Arg value) { return value; }
  static Arg Pass(const Type& kept) { return kept; }
};
template <>
struct Kept<const char*> {
  struct Type {
    bool null;
    std::string text;
  };
  static Type Keep(const char* value) { return Type{value == nullptr, value ? value : ""}; }
  static const char* Pass(const Type& kept) { return kept.null ? nullptr : kept.text.c_str(); }
};
template <>
struct Kept<ConfirmResult> {
  using Type = Kept<const char*>::Type;
  static Type Keep(ConfirmResult value) { return Kept<const char*>::Keep(value.responseJson); }
  static ConfirmResult Pass(const Type& kept) {
    return ConfirmResult{Kept<const char*>::Pass(kept)};
  }
};

template <class Arg>
class Callback final : public CallbackItf<Arg> {
 public:
  explicit Callback(SharedPtr<CallbackItf<Arg>> inner) : inner_(std::move(inner)) {}

  void OnResult(Arg value) override {
    auto kept = std::make_shared<const typename Kept<Arg>::Type>(Kept<Arg>::Keep(value));
    SharedPtr<CallbackItf<Arg>> inner = inner_;
    auto deliver = [inner, kept] { inner->OnResult(Kept<Arg>::Pass(*kept)); };
    if (!Deliver(deliver, false)) inner_->OnResult(value);
    Again(deliver);
  }

 private:
  SharedPtr<CallbackItf<Arg>> inner_;
};

// `callback` wrapped while the mode is on; as it is otherwise.
template <class Arg>
SharedPtr<CallbackItf<Arg>> Wrap(SharedPtr<CallbackItf<Arg>> callback) {
  if (!Enabled() || !callback) return callback;
  return SharedPtr<CallbackItf<Arg>>(new Callback<Arg>(std::move(callback)));
}

}  // namespace quelt::ombrix::emu::hostile
