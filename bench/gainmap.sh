#!/usr/bin/env bash
# What keeping the HDR gain map costs: converts each photo through the
# library with and without the map, alternating run by run, and prints the
# best wall time, the median CPU time (user + system) and the JPEG sizes.
#   bench/gainmap.sh REPETITIONS QUALITY PHOTO_WITH_GAIN_MAP.heic... [BUILD=dir]
# The photos of each kind phones write: build/bin/make-gainmap-photo IN.heic DIR
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
reps=${1:?repetitions}
quality=${2:?quality}
shift 2
build=${BUILD:-$root/build}
driver=$build/bin/heif2jpg-file
[ -x "$driver" ] || { echo "build first: $driver missing" >&2; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

echo "machine: $(nproc) cores, load $(cut -d' ' -f1-3 /proc/loadavg); quality $quality, $reps runs each, alternating"
min() { sort -n | head -1; }
median() { sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }
# One run: prints "wall_ms cpu_ms".
run() {
  local s e
  s=$(date +%s%N)
  /usr/bin/time -f "%U %S" -o "$work/t" "$driver" -q "$quality" "$@" >/dev/null
  e=$(date +%s%N)
  echo "$(((e - s) / 1000000)) $(awk '{printf "%d", ($1 + $2) * 1000}' "$work/t")"
}
echo "| photo | map | best wall ms | median CPU ms | JPEG bytes |"
echo "| --- | --- | ---: | ---: | ---: |"
for photo in "$@"; do
  : >"$work/with"; : >"$work/without"
  for ((i = 0; i < reps; i++)); do
    run "$photo" "$work/with.jpg" >>"$work/with"
    run --no-gain-map "$photo" "$work/without.jpg" >>"$work/without"
  done
  name=$(basename "$photo" .heic)
  for kind in without with; do
    wall=$(cut -d' ' -f1 "$work/$kind" | min); cpu=$(cut -d' ' -f2 "$work/$kind" | median)
    echo "| $name | $kind | $wall | $cpu | $(stat -c %s "$work/$kind.jpg") |"
  done
done
