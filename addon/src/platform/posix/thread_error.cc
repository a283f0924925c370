#include "platform/posix/thread_error.h"

#include <type_traits>

namespace ombrix_addon {

namespace {

thread_local uint32_t lastError = 0;
static_assert(std::is_trivially_destructible<decltype(lastError)>::value,
              "thread_local needs no destructor");

}  // namespace

void SetThreadError(uint32_t error) { lastError = error; }

uint32_t ThreadError() { return lastError; }

}  // namespace ombrix_addon
