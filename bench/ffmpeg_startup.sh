#!/usr/bin/env bash
# What linking libavcodec costs every process that starts: a program that
# opens an HEVC decoder and exits (bench/avcodec_startup.c), built against
# Debian's shared libavcodec (libavcodec-dev) and against our static
# HEVC-only build (scripts/ffmpeg/build.sh), beside an empty C program. Runs
# alternate; prints the median wall and CPU time (user + system) per process
# and the peak resident memory of one.
#   bench/ffmpeg_startup.sh [RUNS]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
runs=${1:-300}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
minimal=$("$root/scripts/ffmpeg/build.sh" | tail -1)
echo 'int main(void) { return 0; }' >"$work/empty.c"
cc -O2 "$work/empty.c" -o "$work/empty"
cc -O2 "$root/bench/avcodec_startup.c" -o "$work/debian" $(pkg-config --cflags --libs libavcodec)
cc -O2 "$root/bench/avcodec_startup.c" -o "$work/minimal" \
  $(PKG_CONFIG_PATH="$minimal/lib/pkgconfig" pkg-config --static --cflags --libs libavcodec)
echo "machine: $(nproc) cores, load $(cut -d' ' -f1-3 /proc/loadavg); $runs runs each, alternating"
echo "debian:  $(ldd "$work/debian" | wc -l) shared libraries, $(stat -c %s "$work/debian") bytes"
echo "minimal: $(ldd "$work/minimal" | wc -l) shared libraries, $(stat -c %s "$work/minimal") bytes"
# Each batch of 20 starts is timed as one, so the clock's resolution and
# the timing command's own start do not swamp a process of a millisecond.
declare -A wall=() cpu=()
kinds=(empty debian minimal)
for ((r = 0; r < runs / 20; r++)); do
  for kind in "${kinds[@]}"; do
    start=$(date +%s%N)
    /usr/bin/time -f "%U %S" -o "$work/t" bash -c "for i in {1..20}; do '$work/$kind'; done"
    wall[$kind]+="$(( ($(date +%s%N) - start) / 20000 )) "
    cpu[$kind]+="$(awk '{printf "%d", ($1 + $2) * 1e6 / 20}' "$work/t") "
  done
done
median() { tr ' ' '\n' | grep -v '^$' | sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }
printf "%-8s %14s %14s %12s\n" program "wall us/start" "cpu us/start" "peak RSS kB"
for kind in "${kinds[@]}"; do
  /usr/bin/time -f %M -o "$work/m" "$work/$kind"
  printf "%-8s %14s %14s %12s\n" "$kind" "$(echo "${wall[$kind]}" | median)" "$(echo "${cpu[$kind]}" | median)" "$(cat "$work/m")"
done
