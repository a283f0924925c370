// Creates a named section and a named mutex, as the process that owns a
// shared region does, and keeps them until stdin ends. It prints "ready",
// then answers one command a line on the thread that owns the mutex:
//   lock                  waits for the mutex; "locked"
//   unlock-after <value>  writes <value> at offset 0, waits 100 ms, then
//                         releases; "unlocked"
//   trylock               waits 0 ms and releases whatever it got; the wait's
//                         result (0 acquired, 128 abandoned, 258 timed out)
//   write <offset> <value>, read <offset>   a 32-bit word of the section
//   section_host <section name> <bytes> <mutex name>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <iostream>
#include <sstream>
#include <string>

#include "window_thread.h"

#include <shellapi.h>  // after windows.h, which it needs

namespace {

struct Shared {
  uint8_t* view;
  HANDLE mutex;
};

std::string Answer(const Shared& shared, const std::string& line) {
  std::istringstream in(line);
  std::string command;
  uint32_t offset = 0, value = 0;
  in >> command;
  if (command == "lock") {
    WaitForSingleObject(shared.mutex, INFINITE);
    return "locked";
  }
  if (command == "unlock-after") {
    in >> value;
    std::memcpy(shared.view, &value, sizeof value);
    Sleep(100);  // long enough for the other side to be waiting
    ReleaseMutex(shared.mutex);
    return "unlocked";
  }
  if (command == "trylock") {
    const DWORD result = WaitForSingleObject(shared.mutex, 0);
    if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) ReleaseMutex(shared.mutex);
    return std::to_string(result);
  }
  if (command == "write") {
    in >> offset >> value;
    std::memcpy(shared.view + offset, &value, sizeof value);
    return "ok";
  }
  if (command == "read") {
    in >> offset;
    std::memcpy(&value, shared.view + offset, sizeof value);
    return std::to_string(value);
  }
  return "unknown command";
}

}  // namespace

int main() {
  // The names as given, whatever the ANSI code page: from the UTF-16 command line.
  int argc = 0;
  wchar_t** argv = CommandLineToArgvW(GetCommandLineW(), &argc);
  if (!argv || argc != 4) return 2;
  const DWORD bytes = static_cast<DWORD>(std::wcstoul(argv[2], nullptr, 10));
  HANDLE section =
      CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, bytes, argv[1]);
  if (!section) return 3;
  Shared shared{static_cast<uint8_t*>(MapViewOfFile(section, FILE_MAP_ALL_ACCESS, 0, 0, 0)),
                CreateMutexW(nullptr, FALSE, argv[3])};
  if (!shared.view || !shared.mutex) return 4;
  std::printf("ready\n");
  std::fflush(stdout);
  std::string line;
  while (std::getline(std::cin, line)) {
    std::printf("%s\n", Answer(shared, line).c_str());
    std::fflush(stdout);
  }
  return 0;
}
