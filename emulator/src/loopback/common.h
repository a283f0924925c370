// Helpers shared by the loopback operations.
#pragma once

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <new>
#include <string>
#include <system_error>

namespace quelt::ombrix::emu::loopback {

inline constexpr const char kCancelled[] = "Cancelled";

// "<reason>: <path>", the way the device words a failed file operation. The
// reason is the POSIX one wherever there is one: std::filesystem on Windows
// reports system errors, worded by Windows ("Access is denied").
inline std::string PathError(const std::error_code& ec, const std::string& path) {
  return ec.default_error_condition().message() + ": " + path;
}

inline std::error_code LastError() noexcept { return {errno, std::generic_category()}; }

// Runs `body` to produce a result, turning anything it throws into a failed
// result, and stamps the elapsed time on every result.
template <typename Result, typename Body>
Result Timed(Body&& body) noexcept {
  const auto start = std::chrono::steady_clock::now();
  Result result;
  try {
    result = body();
  } catch (const std::bad_alloc&) {
    result = Result{};
    result.errorMessage = "Out of memory";
  } catch (const std::exception& e) {
    result = Result{};
    result.errorMessage = std::string("Internal error: ") + e.what();
  } catch (...) {
    result = Result{};
    result.errorMessage = "Internal error";
  }
  result.durationMs = std::chrono::duration_cast<std::chrono::milliseconds>(
                          std::chrono::steady_clock::now() - start)
                          .count();
  return result;
}

// The longest prefix of data[0, size) that does not end inside a UTF-8
// sequence; a text cut to a byte budget then still decodes cleanly.
inline size_t Utf8SafeLength(const char* data, size_t size) noexcept {
  size_t back = 0;
  while (back < 4 && back < size) {
    const auto byte = static_cast<unsigned char>(data[size - 1 - back]);
    if ((byte & 0xC0) != 0x80) {
      size_t length = byte < 0x80 ? 1 : byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
      return length > back + 1 ? size - 1 - back : size;
    }
    ++back;
  }
  return size;
}

inline std::string Plural(int64_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

inline int32_t ClampToInt32(int64_t value) noexcept {
  return value > INT32_MAX ? INT32_MAX : static_cast<int32_t>(value);
}

}  // namespace quelt::ombrix::emu::loopback
