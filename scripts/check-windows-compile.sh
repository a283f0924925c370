#!/usr/bin/env bash
# Compiles the desktop helpers for 64-bit Windows (MinGW-w64): the Win32
# platform units and the units they share with every platform, and the
# substitute SDK's Win32 loopback units. Object files only; needs
# `npm install` (for the Node-API headers) and Debian's
# g++-mingw-w64-x86-64-posix.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="$root/build/windows-check"

if ! command -v x86_64-w64-mingw32-g++-posix >/dev/null 2>&1; then
  echo "x86_64-w64-mingw32-g++-posix is missing: apt-get install g++-mingw-w64-x86-64-posix" >&2
  exit 1
fi

cmake -S "$root/cmake/windows-compile-check" -B "$build" \
  -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" --parallel 2
echo "Windows compile check: passed"
