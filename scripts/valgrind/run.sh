#!/usr/bin/env bash
# On-demand memory check: runs a workload that crosses every boundary under
# valgrind and fails on any invalid read, write or free, or any block
# definitely or indirectly lost, whose stack runs through the module or the
# substitute SDK. node's own errors and allocations are not ours and are
# ignored. Takes a few minutes.
#   bash scripts/valgrind/run.sh
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
cd "$root"
node scripts/build.js release
log="$(mktemp)"
trap 'rm -f "$log"' EXIT
valgrind --leak-check=full --show-leak-kinds=definite,indirect --num-callers=40 --error-limit=no \
  --log-file="$log" node --expose-gc scripts/valgrind/workload.js
# A loss record is ours when a frame of its allocation stack is in our code.
ours=$(awk '/(definitely|indirectly) lost in/ {record=$0; keep=1; next}
            keep && /^==[0-9]+== *$/ {keep=0; if (hit) print record; hit=0}
            keep && /ombrix|quelt/ {hit=1}' "$log")
# An error record is ours the same way: invalid accesses and frees.
errors=$(awk '/== (Invalid (read|write|free)|Mismatched free|Source and destination overlap)/ {record=$0; keep=1; next}
              keep && /^==[0-9]+== *$/ {keep=0; if (hit) print record; hit=0}
              keep && /ombrix|quelt/ {hit=1}' "$log")
grep -E "definitely lost:|indirectly lost:|ERROR SUMMARY" "$log" || true
if [[ -n "$errors" ]]; then
  echo "invalid accesses in the module or the SDK:"
  echo "$errors"
  grep -A40 -E "== (Invalid (read|write|free)|Mismatched free)" "$log" | grep -E "Invalid|Mismatched|ombrix|quelt" | head -80
  exit 1
fi
if [[ -n "$ours" ]]; then
  echo "leaks allocated by the module or the SDK:"
  echo "$ours"
  grep -B2 -A40 -E "(definitely|indirectly) lost in" "$log" | grep -E "lost in|ombrix|quelt" | head -80
  exit 1
fi
echo "no invalid access and no leak in the module or the SDK"
