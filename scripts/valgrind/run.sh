#!/usr/bin/env bash
# On-demand leak check: runs a workload that crosses every boundary under
# valgrind and fails if any block definitely or indirectly lost was allocated
# by the module or the substitute SDK. node's own allocations are not ours
# and are ignored. Takes a few minutes.
#   bash scripts/valgrind/run.sh
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
cd "$root"
node scripts/build.js release
log="$(mktemp)"
trap 'rm -f "$log"' EXIT
valgrind --leak-check=full --show-leak-kinds=definite,indirect --num-callers=40 \
  --log-file="$log" node --expose-gc scripts/valgrind/workload.js
# A loss record is ours when a frame of its allocation stack is in our code.
ours=$(awk '/(definitely|indirectly) lost in/ {record=$0; keep=1; next}
            keep && /^==[0-9]+== *$/ {keep=0; if (hit) print record; hit=0}
            keep && /ombrix|quelt/ {hit=1}' "$log")
grep -E "definitely lost:|indirectly lost:|ERROR SUMMARY" "$log" || true
if [[ -n "$ours" ]]; then
  echo "leaks allocated by the module or the SDK:"
  echo "$ours"
  grep -B2 -A40 -E "(definitely|indirectly) lost in" "$log" | grep -E "lost in|ombrix|quelt" | head -80
  exit 1
fi
echo "no leak allocated by the module or the SDK"
