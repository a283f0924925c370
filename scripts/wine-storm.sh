#!/usr/bin/env bash
# The 80,000-call chat storm under Wine, where a thread_local with a
# destructor in a MinGW-built DLL once corrupted the heap at thread exit.
#   bash scripts/wine-storm.sh [runs]   the full storm, `runs` times in a row (50 by default)
#   bash scripts/wine-storm.sh --heap   a short storm once with Wine's heap checks: fails on any heap warning
set -uo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
storm=(test/chat_session.test.js "--test-name-pattern=eight SDK threads")
log="$root/build/windows/test-windows.log"

if [[ ${1:-} == --heap ]]; then
  WINEDEBUG=warn+heap OMBRIX_STORM_CALLS=500 bash "$root/scripts/test-windows.sh" "${storm[@]}" >/dev/null
  status=$?
  warnings=$(grep -c ':heap:' "$log")
  echo "storm under WINEDEBUG=warn+heap: exit $status, $warnings heap warnings"
  ((status == 0 && warnings == 0))
  exit
fi

runs=${1:-50}
for ((run = 1; run <= runs; ++run)); do
  if ! bash "$root/scripts/test-windows.sh" "${storm[@]}" >/dev/null; then
    echo "storm run $run of $runs failed:"
    cat "$log"
    exit 1
  fi
  echo "storm run $run of $runs: passed"
done
echo "storm under Wine: $runs of $runs runs passed"
