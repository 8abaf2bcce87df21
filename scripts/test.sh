#!/usr/bin/env bash
# Installs what is missing, builds, and runs the whole test suite offscreen.
#   PICTOVA_SANITIZE=1 scripts/test.sh   the same under ASan + UBSan
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
dir=$("$root/scripts/build.sh" | tail -n 1)
export QT_QPA_PLATFORM=offscreen
if [ "${PICTOVA_SANITIZE:-0}" = 1 ]; then
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:strict_string_checks=1
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
  export LSAN_OPTIONS=suppressions=$root/tests/lsan.supp:print_suppressions=0
fi
if [ "${PICTOVA_TSAN:-0}" = 1 ]; then
  export TSAN_OPTIONS="suppressions=$root/tests/tsan.supp halt_on_error=1 second_deadlock_stack=1"
fi
cd "$dir"
ctest --output-on-failure --parallel "$(nproc)" "$@"
