// A tool service as a connected client announces it. In loopback mode it
// offers a few real tools of this machine: echo, time, system_info and sleep.
#pragma once

#include <string>

#include "ombrix/shell.h"
#include "tools/mode.h"

namespace quelt::ombrix::emu {

class ToolService final : public ToolServiceItf {
 public:
  ToolService(ToolContext context, std::string name)
      : context_(std::move(context)),
        registration_(static_cast<ToolServiceItf*>(this), context_),
        name_(std::move(name)) {}

  void ListTools(SharedPtr<CallbackItf<const ToolServiceResult&>> callback) override;
  SharedPtr<OperationHandleItf> CallTool(
      const char* toolName, const char* arguments,
      SharedPtr<CallbackItf<const ToolServiceResult&>> callback) override;

 private:
  ToolContext context_;
  ToolRegistration registration_;
  std::string name_;
};

}  // namespace quelt::ombrix::emu
