#!/usr/bin/env bash
# Builds the heif2jpg libFuzzer target with clang into build-fuzz/ and runs it
# for SECONDS (default 600) on one core, seeded with the photo corpus and the
# regression inputs (whose reference graphs the target's own mutator,
# decodex/fuzz/ReferenceMutator.cpp, rewires), with the box names of
# decodex/fuzz/heif.dict. New inputs go to build-fuzz/corpus so a rerun continues
# where the last one stopped; crashes land in build-fuzz/crashes/ and must be
# kept in tests/decodex/data/ once fixed. The run's summary (executions, new
# coverage, crashes) is the tail of build-fuzz/fuzz-<date>.log.
# Do not pause the fuzzer (kill -STOP) to free the machine for timings: its
# per-input timeout runs on wall-clock time, so the input in hand when it is
# resumed is reported as a timeout. Stop it and start it again instead.
#   bench/fuzz.sh [SECONDS] [CORPUS_DIR]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-600}
corpus=${2:-$root/../shared/corpus}
build=$root/build-fuzz

CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPICTOVA_FUZZ=ON -DPICTOVA_BUILD_TESTS=OFF \
  -DPICTOVA_BUILD_GUI=OFF >/dev/null
cmake --build "$build" --target decodex_fuzzer --parallel "$(nproc)" >&2
fuzzer=$(find "$build" -type f -name decodex_fuzzer -perm -u+x | head -1)

mkdir -p "$build/corpus" "$build/crashes"
seeds=("$root/tests/decodex/data")
for d in "$corpus"/*/; do [ -d "$d" ] && seeds+=("$d"); done
log=$build/fuzz-$(date +%Y%m%d-%H%M%S).log
echo "fuzzing for ${seconds}s, log $log" >&2
# Leak checks stay on: a leak on a bad input is a finding too. The RSS limit
# is above what a 50 MP photo (its 300 MB output bound, mostly untouched, and
# the decode) needs. Inputs are
# capped at MAX_LEN (default 128 kB): a whole 12 MP photo takes about half a
# second under the sanitizers, so the fuzzer would run twice a second on the
# big seeds; cut short they still exercise every parser, and the small
# corpus photos still decode fully.
set +e
"$fuzzer" "$build/corpus" "${seeds[@]}" -max_total_time="$seconds" -dict="$root/decodex/fuzz/heif.dict" \
  -max_len="${MAX_LEN:-131072}" -rss_limit_mb=4096 -timeout=30 \
  -artifact_prefix="$build/crashes/" -print_final_stats=1 >"$log" 2>&1
rc=$?
set -e
grep -E '^(#[0-9]+ *DONE|stat::|Done )' "$log" >&2 || tail -5 "$log" >&2
ls "$build/crashes" >&2
exit $rc
