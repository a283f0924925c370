#!/usr/bin/env bash
# Checks the layout of the sources without changing them: the C and C++ files
# against .clang-format, then the JavaScript with eslint (npm run lint).
# Needs Debian's clang-format and `npm install` (eslint is a devDependency).
# Exits non-zero when either finds something.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"

if ! command -v clang-format >/dev/null 2>&1; then
  echo "clang-format is missing: apt-get install clang-format" >&2
  exit 1
fi

dirs=(addon emulator bench/native test/native test/windows test/x11)
if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
  mapfile -t files < <(git ls-files -- "${dirs[@]}" | grep -E '\.(c|cc|cpp|h|hpp)$')
else
  mapfile -t files < <(find "${dirs[@]}" -type f \( -name '*.c' -o -name '*.cc' -o -name '*.cpp' \
    -o -name '*.h' -o -name '*.hpp' \) 2>/dev/null | sort)
fi

rc=0
echo "clang-format: ${#files[@]} files"
clang-format --dry-run --Werror "${files[@]}" || rc=1
npm run --silent lint || rc=1
((rc == 0)) && echo "Format check: passed"
exit "$rc"
