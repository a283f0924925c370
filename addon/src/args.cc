#include "args.h"

namespace ombrix_addon {

std::string ParameterName(const char* signature, size_t index) {
  const std::string text(signature);
  size_t start = text.find('(');
  for (size_t i = 0; start != std::string::npos && i < index; ++i)
    start = text.find(", ", start + 1);
  if (start == std::string::npos) return "argument " + std::to_string(index + 1);
  start += text[start] == '(' ? 1 : 2;
  return text.substr(start, text.find_first_of("?:", start) - start);
}

std::string SdkString(Napi::Value value, const std::string& name) {
  std::string text = value.As<Napi::String>().Utf8Value();
  if (text.find('\0') != std::string::npos) {
    throw ArgumentError(value.Env(),
                        "The argument '" + name + "' must be a string without null bytes");
  }
  return text;
}

}  // namespace ombrix_addon
