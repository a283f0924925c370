#!/usr/bin/env bash
# Runs the GuiTool suites on a private X11 desktop: Xvfb with openbox, an EWMH
# window manager, and windows of another process (test/x11/window_client).
#   npm run test:x11 [-- release|asan|tsan] [-- test/x.test.js ...]
# Needs Debian's xvfb, openbox and xdg-utils; .ci/run installs them.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"

for tool in Xvfb openbox xdg-open; do
  command -v "$tool" >/dev/null 2>&1 || {
    echo "$tool is missing: apt-get install xvfb openbox xdg-utils" >&2
    exit 1
  }
done

variant=release
case "${1:-}" in release|asan|tsan) variant=$1; shift ;; esac
files=("$@")
((${#files[@]})) || files=("$root/test/gui_tool.test.js" "$root/test/gui_tool_x11.test.js")
node "$root/scripts/build.js" "$variant" --developer

work="$(mktemp -d)"
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

# Xvfb picks a free display and writes its number once it accepts clients.
Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$work/display" 2>"$work/xvfb.log" &
pids+=($!)
for _ in $(seq 100); do [[ -s "$work/display" ]] && break; sleep 0.1; done
[[ -s "$work/display" ]] || { cat "$work/xvfb.log" >&2; echo "Xvfb did not start" >&2; exit 1; }
export DISPLAY=":$(cat "$work/display")"

# openbox's own settings and caches stay out of the user's home.
export XDG_CONFIG_HOME="$work/config" XDG_CACHE_HOME="$work/cache"
openbox --sm-disable 2>"$work/openbox.log" &
pids+=($!)
"$root/build/$( [[ $variant == release ]] && echo Release || echo "$variant" )/window_client" --wait-wm || {
  cat "$work/openbox.log" >&2
  echo "openbox did not start" >&2
  exit 1
}
unset XDG_CONFIG_HOME XDG_CACHE_HOME

node "$root/scripts/test.js" "$variant" "${files[@]}"
# The asan build counts coverage: after a whole `npm run test:asan`, these
# suites add the X11 backend, which runs only here.
if [[ $variant == asan ]]; then node "$root/scripts/coverage.js"; fi
