#!/usr/bin/env bash
# The release build's node:test suites on other Node majors (default 24 and
# 26; the system node runs them in `npm test`), each taken from the npm
# registry by scripts/runtimes.js and first on PATH, so that whatever a suite
# starts as `node` is that Node too, two suite files at a time. Ends with the
# counts per runtime.
#   bash scripts/test-runtimes.sh [node22|node24|node26 ...]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
log="$(mktemp)"
trap 'rm -f "$log"' EXIT
cd "$root"

runtimes=("$@")
((${#runtimes[@]})) || runtimes=(node24 node26)
counts=()
total_passed=0
total_failed=0
for name in "${runtimes[@]}"; do
  bin="$(node scripts/runtimes.js "$name")"
  status=0
  PATH="$(dirname "$bin"):$PATH" "$bin" scripts/test.js release --no-native --concurrency 2 2>&1 | tee "$log" || status=$?
  # The test runner's closing summary lines: "ℹ pass N", "ℹ fail N", "ℹ skipped N".
  read -r passed failed skipped < <(awk '{ gsub(/\033\[[0-9;]*m/, "") } $1 == "ℹ" && $2 == "pass" { p = $3 }
    $1 == "ℹ" && $2 == "fail" { f = $3 } $1 == "ℹ" && $2 == "skipped" { s = $3 } END { print p + 0, f + 0, s + 0 }' "$log")
  # A run that broke off before its counts still fails.
  ((status == 0)) || ((failed > 0)) || failed=1
  counts+=("Node $("$bin" -p process.versions.node): $passed passed, $failed failed, $skipped skipped")
  total_passed=$((total_passed + passed))
  total_failed=$((total_failed + failed))
done

echo
printf '%s\n' "${counts[@]}"
echo "runtimes: $total_passed passed, $total_failed failed"
((total_failed == 0))
