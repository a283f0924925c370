# Sourced by the end-to-end test scripts: named checks that keep going after
# a failure, and a closing line that test runners read.
passed=0
failed=0

check() {  # check <name> <command...>
  local name=$1
  shift
  if "$@"; then
    echo "ok - $name"
    passed=$((passed + 1))
  else
    echo "not ok - $name"
    failed=$((failed + 1))
  fi
}

finish() {  # finish <label>: the summary, and the exit status
  echo "$1: $passed passed, $failed failed"
  ((failed == 0))
}
