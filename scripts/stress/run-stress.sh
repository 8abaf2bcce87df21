#!/usr/bin/env bash
# Staying-power runs of pictova-convert and the engine. Run by hand before a
# release; the quick variant of 'files' is in CTest already (test_cli).
#
#   scripts/stress/run-stress.sh [SCENARIO...]
#
# Scenarios (default: all): files readonly diskfull deleted interrupt together
# hostile asan tsan
# The mount scenarios need root and skip without it. PICTOVA_BUILD names the
# plain build folder (default build/); asan and tsan build build-asan/ and
# build-tsan/ as scripts/build.sh does.
set -uo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
build=${PICTOVA_BUILD:-$root/build}
convert=$build/bin/pictova-convert
work=$(mktemp -d /tmp/pictova-stress.XXXXXX)
mounts=()
passed=0 failed=0 skipped=0

cleanup() {
  for m in "${mounts[@]}"; do umount -l "$m" 2>/dev/null; done
  rm -rf "$work"
}
trap cleanup EXIT

say() { printf '%s\n' "$*" >&2; }
pass() { say "PASS  $1"; passed=$((passed + 1)); }
fail() { say "FAIL  $1: $2"; failed=$((failed + 1)); }
skip() { say "SKIP  $1: $2"; skipped=$((skipped + 1)); }
is_root() { [ "$(id -u)" = 0 ]; }

# A noisy 600x400 photo: its JPEG is about 290 KB, so a small disk fills fast.
photo=$work/noise.heic
make_photo() {
  [ -f "$photo" ] && return 0
  vips gaussnoise "$work/noise.png" 600 400 >/dev/null && heif-enc -q 60 "$work/noise.png" -o "$photo" >/dev/null
}

# make_photos FOLDER COUNT: COUNT copies named p0000.heic...
make_photos() {
  mkdir -p "$1"
  for ((i = 0; i < $2; i++)); do cp "$photo" "$(printf '%s/p%04d.heic' "$1" "$i")"; done
}

# check_output FOLDER: only whole JPEGs, nothing half-written, no temporary
# file of an interrupted save. Prints the number of JPEGs.
check_output() {
  local n=0 f
  [ -d "$1" ] || { echo 0; return 0; }
  while IFS= read -r -d '' f; do
    case $f in
      *.jpg) vips avg "$f[fail]" >/dev/null 2>&1 || { say "  broken JPEG: $f"; return 1; } ;;
      *) say "  stray file: $f"; return 1 ;;
    esac
    n=$((n + 1))
  done < <(find "$1" -mindepth 1 -print0)
  echo "$n"
}

# run_convert LOG ARGS...: runs the converter with a time limit, so a hang is
# a failure and not a stuck script. Leaves the exit status in $status.
run_convert() {
  local log=$1; shift
  timeout 300 "$convert" "$@" >"$log.out" 2>"$log.err"
  status=$?
}

scenario_files() {
  PICTOVA_STRESS_FILES=500 QT_QPA_PLATFORM=offscreen \
    timeout 900 "$build/bin/test_cli" brokenPhotosAmongGoodOnes >"$work/files.log" 2>&1 \
    && pass "files: 500 photos, 1 in 10 broken" \
    || { tail -n 30 "$work/files.log" >&2; fail files "test_cli brokenPhotosAmongGoodOnes failed"; }
}

scenario_readonly() {
  is_root || { skip readonly "needs root to mount"; return; }
  local d=$work/ro src=$work/ro-src n
  make_photos "$src" 60
  mkdir -p "$d" && mount -t tmpfs -o size=64m,ro tmpfs "$d" && mounts+=("$d") || { skip readonly "cannot mount tmpfs"; return; }
  run_convert "$work/ro1" -o "$d" "$src"
  if [ $status != 1 ] || ! grep -q "cannot write into the folder $d: Read-only file system; nothing was converted" "$work/ro1.err"; then
    fail readonly "read-only -o folder: status $status, said: $(cat "$work/ro1.err")"; return
  fi
  # Photos on a read-only card, written beside themselves: each fails with
  # the reason, before any is decoded.
  mount -o remount,rw "$d" && make_photos "$d/card" 5 && mount -o remount,ro "$d"
  run_convert "$work/ro2" "$d/card"
  if [ $status != 1 ] || [ "$(grep -c "cannot write into the folder $d/card: Read-only file system" "$work/ro2.err")" != 10 ]; then
    fail readonly "read-only card: status $status, said: $(cat "$work/ro2.err")"; return
  fi
  # Read-only in the middle of the run: a writer may be busy, so try again
  # until the remount takes (the disk is large enough not to fill first).
  mount -o remount,rw "$d" && rm -rf "$d/card"
  make_photos "$work/ro-many" 300
  timeout 300 "$convert" -j 2 -o "$d/out" "$work/ro-many" >"$work/ro3.out" 2>"$work/ro3.err" &
  local pid=$!
  sleep 0.5
  for _ in $(seq 100); do mount -o remount,ro "$d" 2>/dev/null && break; sleep 0.02; done
  wait $pid; status=$?
  n=$(check_output "$d/out") || { fail readonly "partial output after turning read-only"; return; }
  if [ $status != 1 ] || ! grep -q "Read-only file system" "$work/ro3.err" \
     || ! grep -q "pictova-convert: $n converted, $((300 - n)) failed" "$work/ro3.err"; then
    fail readonly "mid-run: status $status, $n written, said: $(tail -n 3 "$work/ro3.err")"; return
  fi
  pass "readonly: clear message before and during the run ($n of 300 written, all whole)"
}

scenario_diskfull() {
  is_root || { skip diskfull "needs root to mount"; return; }
  local d=$work/full n failed later
  make_photos "$work/full-src" 100
  mkdir -p "$d" && mount -t tmpfs -o size=2m tmpfs "$d" && mounts+=("$d") || { skip diskfull "cannot mount tmpfs"; return; }
  run_convert "$work/full" -o "$d" "$work/full-src"
  n=$(check_output "$d") || { fail diskfull "partial output on a full disk"; return; }
  # Only the photos in hand when the disk filled may fail; no new one starts.
  failed=$(grep -c '^  .*: No space left on device$' "$work/full.err")
  later=$(grep -c '^  .*: not started, the disk is full$' "$work/full.err")
  if [ $status != 1 ] || [ "$n" -lt 1 ] || [ "$failed" -lt 1 ] || [ "$failed" -gt 4 ] \
     || [ $((n + failed + later)) != 100 ] \
     || ! grep -q "pictova-convert: $n converted, $failed failed, $later skipped" "$work/full.err"; then
    fail diskfull "status $status, $n written, $failed failed, $later not started, said: $(tail -n 3 "$work/full.err")"; return
  fi
  pass "diskfull: $n of 100 written whole on a 2 MB disk, $failed failed, $later never started"
}

scenario_deleted() {
  local src=$work/del-src out=$work/del-out n
  make_photos "$src" 300
  timeout 300 "$convert" -j 2 -o "$out" "$src" >"$work/del.out" 2>"$work/del.err" &
  local pid=$!
  sleep 0.3
  for ((i = 299; i >= 150; i -= 2)); do rm -f "$(printf '%s/p%04d.heic' "$src" "$i")"; done
  wait $pid; status=$?
  n=$(check_output "$out") || { fail deleted "partial output"; return; }
  local gone; gone=$(grep -c -E '^  .*: (no such file|cannot open .*)$' "$work/del.err")
  if [ $status != 1 ] || [ "$gone" -lt 1 ] || [ $((n + gone)) != 300 ]; then
    fail deleted "status $status, $n written, $gone vanished, said: $(tail -n 3 "$work/del.err")"; return
  fi
  pass "deleted: $gone sources removed mid-run reported, $n written whole"
}

scenario_interrupt() {
  local src=$work/int-src n round hung=0 stopped=0 quit=0 stops=(INT TERM HUP) start whole
  make_photos "$src" 80
  # The signals land anywhere in the time a whole run takes on this machine
  # now (an idle machine converts the 80 photos in half a second, a busy one
  # in several).
  start=$(date +%s%N)
  "$convert" -o "$work/int-whole" "$src" >/dev/null 2>&1
  whole=$(( ($(date +%s%N) - start) / 1000000 ))
  rm -rf "$work/int-whole"
  for round in $(seq 1 50); do
    local out=$work/int-out$round
    timeout 120 "$convert" -o "$out" "$src" >"$work/int.out" 2>"$work/int.err" &
    local pid=$!
    sleep "$(awk -v r=$RANDOM -v ms="$whole" 'BEGIN { printf "%.3f", r / 32768 * ms / 1000 }')"
    # Ctrl-C, a polite kill, or the terminal closing: all stop a run alike.
    kill -"${stops[round % 3]}" $pid 2>/dev/null
    # Every fifth round a second Ctrl-C quits at once: the photos in hand
    # are dropped, and so are their temporary files.
    if [ $((round % 5)) = 0 ]; then sleep 0.15; kill -INT $pid 2>/dev/null; fi
    wait $pid; status=$?
    [ $status = 124 ] && { hung=1; break; }
    n=$(check_output "$out") || { fail interrupt "round $round left a partial or temporary file"; return; }
    if [ $status = 130 ] && [ $((round % 5)) = 0 ]; then
      quit=$((quit + 1))
    elif [ $status -gt 128 ] && [ ! -s "$work/int.err" ] && [ "$n" = 0 ]; then
      # Still loading, before the handlers were in place: the signal's own
      # action ended it, and nothing could have been written yet.
      stopped=$((stopped + 1))
    elif [ $status = 130 ]; then
      stopped=$((stopped + 1))
      grep -q "^pictova-convert: interrupted" "$work/int.err" \
        && grep -q "^pictova-convert: $n converted, 0 failed, $((80 - n)) skipped" "$work/int.err" \
        || { fail interrupt "round $round: summary wrong ($n written): $(grep -v '^/' "$work/int.err" | head -n 12)"; return; }
    elif [ $status != 0 ] || [ "$n" != 80 ]; then
      fail interrupt "round $round: status $status with $n written"; return
    fi
    rm -rf "$out"
  done
  [ $hung = 1 ] && { fail interrupt "a run did not end after Ctrl-C"; return; }
  [ $stopped -ge 20 ] || { fail interrupt "only $stopped of 40 runs were still going when stopped"; return; }
  pass "interrupt: 50 Ctrl-Cs, SIGTERMs and SIGHUPs at random moments ($stopped mid-run, $quit quit at once by a second Ctrl-C), only whole JPEGs, no temporary file"
}

scenario_together() {
  local src=$work/tog-src out=$work/tog-out n a b
  make_photos "$src" 150
  timeout 300 "$convert" -j 2 -o "$out" "$src" >"$work/tog1.out" 2>"$work/tog1.err" &
  a=$!
  timeout 300 "$convert" -j 2 -o "$out" "$src" >"$work/tog2.out" 2>"$work/tog2.err" &
  b=$!
  wait $a; local sa=$?
  wait $b; local sb=$?
  n=$(check_output "$out") || { fail together "partial output or a temporary file left"; return; }
  if [ $sa != 0 ] || [ $sb != 0 ] || [ "$n" != 150 ] \
     || ! grep -q "pictova-convert: 150 converted, 0 failed" "$work/tog1.err" \
     || ! grep -q "pictova-convert: 150 converted, 0 failed" "$work/tog2.err"; then
    fail together "status $sa and $sb, $n written, said: $(tail -n 2 "$work/tog1.err" "$work/tog2.err")"; return
  fi
  pass "together: two runs of 150 photos into one folder, both complete, 150 whole JPEGs"
}

scenario_hostile() {
  local d=$work/hostile maker=$build/bin/make-hostile-files start end said
  [ -x "$maker" ] || { skip hostile "no $maker"; return; }
  mkdir -p "$d"
  QT_QPA_PLATFORM=offscreen "$maker" "$d" >/dev/null && QT_QPA_PLATFORM=offscreen "$maker" "$d/large" --large >/dev/null \
    || { fail hostile "cannot make the files"; return; }
  make_photos "$d/good" 4
  start=$(date +%s)
  run_convert "$work/hostile" -j 2 -o "$work/hostile-out" -r "$d"
  end=$(date +%s)
  local damaged; damaged=$(find "$d" -name 'damaged-*.heic' | wc -l)
  said=$(grep -c '^  .*: damaged or incomplete HEIF file$' "$work/hostile.err")
  if [ $status != 1 ] || [ "$said" != "$damaged" ] || [ $((end - start)) -gt 60 ] \
     || ! grep -q "pictova-convert: 6 converted, $damaged failed" "$work/hostile.err"; then
    fail hostile "status $status in $((end - start)) s, $said of $damaged refused, said: $(tail -n 3 "$work/hostile.err")"; return
  fi
  pass "hostile: $damaged damaged files (loops, 10,000 nested grids, a 16 MP picture named 400 times) refused in $((end - start)) s, the 6 photos beside them converted"
}

# sanitizer_build VAR: builds with scripts/build.sh and prints the folder.
sanitizer_build() {
  env "$1=1" "$root/scripts/build.sh" 2>"$work/$1.build.log" | tail -n 1
}

scenario_asan() {
  local dir; dir=$(sanitizer_build PICTOVA_SANITIZE) || { fail asan "build failed"; return; }
  (cd "$dir" && PICTOVA_STRESS_FILES=500 QT_QPA_PLATFORM=offscreen \
    ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    LSAN_OPTIONS=suppressions=$root/tests/lsan.supp:print_suppressions=0 \
    ctest -R 'test_cli|test_convert_thread|test_engine_parts' --output-on-failure >"$work/asan.log" 2>&1) \
    && pass "asan: CLI (500 photos), queue and workers under ASan+UBSan" \
    || { tail -n 40 "$work/asan.log" >&2; fail asan "see above"; }
}

scenario_tsan() {
  local dir; dir=$(sanitizer_build PICTOVA_TSAN) || { fail tsan "build failed"; return; }
  (cd "$dir" && QT_QPA_PLATFORM=offscreen \
    TSAN_OPTIONS="suppressions=$root/tests/tsan.supp halt_on_error=1 second_deadlock_stack=1" \
    ctest -R 'test_cli|test_convert_thread|test_engine_parts' --output-on-failure >"$work/tsan.log" 2>&1) \
    && pass "tsan: queue, workers and CLI under ThreadSanitizer" \
    || { tail -n 40 "$work/tsan.log" >&2; fail tsan "see above"; }
}

[ -x "$convert" ] || { say "no $convert: build first (scripts/build.sh)"; exit 2; }
make_photo || { say "cannot make a test photo (vips and heif-enc are needed)"; exit 2; }
scenarios=("$@")
[ ${#scenarios[@]} = 0 ] && scenarios=(files readonly diskfull deleted interrupt together hostile asan tsan)
for s in "${scenarios[@]}"; do
  declare -F "scenario_$s" >/dev/null || { say "unknown scenario $s"; exit 2; }
  "scenario_$s"
done
say "stress: $passed passed, $failed failed, $skipped skipped"
[ $failed = 0 ]
