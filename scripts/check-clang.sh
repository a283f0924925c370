#!/usr/bin/env bash
# Portability check: builds everything (module, substitute SDK, native suites,
# bench addon) with clang as a second compiler, warnings as errors and
# -Wpedantic, so a GNU extension or a GCC-only habit fails here rather than
# under another vendor's compiler. Object files only matter: nothing is run.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="$root/build/clang"
command -v clang++ >/dev/null || { echo "clang++ is missing: apt-get install clang" >&2; exit 1; }
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release \
  -DOMBRIX_WARNINGS_AS_ERRORS=ON -DOMBRIX_DEVELOPER=ON "-DOMBRIX_NODE_EXECUTABLE=$(command -v node)" >/dev/null
cmake --build "$build" --parallel "$(nproc)"
echo "clang portability check: passed"
