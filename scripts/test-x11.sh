#!/usr/bin/env bash
# Runs the GuiTool suites on private X11 desktops: Xvfb with openbox, an EWMH
# window manager, and windows of another process (test/x11/window_client);
# then test/gui_tool_managers.test.js once under each window manager, on a
# fresh Xvfb each, against stock X programs (xlogo, xterm) with the stock
# tools (xprop, xwininfo, xdotool, wmctrl) as the oracles.
#   npm run test:x11 [-- release|asan|tsan] [-- test/x.test.js ...]
# Given test files, runs only those under openbox.
# Needs Debian's xvfb, openbox, fluxbox, icewm, twm, x11-apps, xterm, x11-utils,
# xdotool, wmctrl and xdg-utils; .ci/run installs them.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"

for tool in Xvfb openbox fluxbox icewm twm xlogo xterm xprop xwininfo xdotool wmctrl xdg-open; do
  command -v "$tool" >/dev/null 2>&1 || {
    echo "$tool is missing: apt-get install xvfb openbox fluxbox icewm twm x11-apps xterm x11-utils xdotool wmctrl xdg-utils" >&2
    exit 1
  }
done

variant=release
case "${1:-}" in release|asan|tsan) variant=$1; shift ;; esac
files=("$@")
managers=(openbox fluxbox icewm twm none)
if ((${#files[@]})); then
  managers=()
else
  files=("$root/test/gui_tool.test.js" "$root/test/gui_tool_x11.test.js")
fi
node "$root/scripts/build.js" "$variant" --developer
window_client="$root/build/$( [[ $variant == release ]] && echo Release || echo "$variant" )/window_client"

work="$(mktemp -d)"
pids=()
stop_desktop() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  pids=()
}
trap 'stop_desktop; rm -rf "$work"' EXIT
trap 'exit 130' INT TERM

# start_desktop <manager|none>: a fresh Xvfb (it picks a free display and
# writes its number once it accepts clients) with that manager running.
start_desktop() {
  local manager=$1 home="$work/$1"
  mkdir -p "$home"
  Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$home/display" 2>"$home/xvfb.log" &
  pids+=($!)
  for _ in $(seq 100); do [[ -s "$home/display" ]] && break; sleep 0.1; done
  [[ -s "$home/display" ]] || { cat "$home/xvfb.log" >&2; echo "Xvfb did not start" >&2; exit 1; }
  export DISPLAY=":$(cat "$home/display")"
  # The managers' own settings and caches stay out of the user's home.
  case $manager in
    openbox) XDG_CONFIG_HOME="$home" XDG_CACHE_HOME="$home" openbox --sm-disable 2>"$home/wm.log" & ;;
    fluxbox) HOME="$home" fluxbox 2>"$home/wm.log" & ;;
    icewm) HOME="$home" icewm 2>"$home/wm.log" & ;;
    twm) LC_ALL=C twm -f "$root/test/x11/twmrc" 2>"$home/wm.log" & ;;
    none) return 0 ;;
  esac
  pids+=($!)
  if [[ $manager == twm ]]; then
    # twm speaks no EWMH: it is up once it has framed a window.
    for _ in $(seq 100); do xwininfo -root -children 2>/dev/null | grep -q ' children:' && break; sleep 0.1; done
    sleep 0.5
  else
    "$window_client" --wait-wm || { cat "$home/wm.log" >&2; echo "$manager did not start" >&2; exit 1; }
  fi
}

start_desktop openbox
node "$root/scripts/test.js" "$variant" "${files[@]}"
stop_desktop

# The same tests once per manager: what each says and does differs.
results=()
for manager in "${managers[@]}"; do
  start_desktop "$manager"
  started=$SECONDS
  log="$work/$manager.log"
  status=0
  OMBRIX_X11_WM=$manager node "$root/scripts/test.js" "$variant" --no-native "$root/test/gui_tool_managers.test.js" \
    2>&1 | tee "$log" || status=$?
  stop_desktop
  counts=$(grep -E '^ℹ (pass|fail|skipped) ' "$log" | awk '{printf "%s %s, ", $3, $2}')
  results+=("x11 under $manager: ${counts%, } ($((SECONDS - started)) s)")
  ((status == 0)) || { printf '%s\n' "${results[@]}"; exit "$status"; }
done
printf '%s\n' "${results[@]}"
# The asan build counts coverage: after a whole `npm run test:asan`, these
# suites add the X11 backend, which runs only here.
if [[ $variant == asan ]]; then node "$root/scripts/coverage.js"; fi
