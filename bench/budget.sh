#!/usr/bin/env bash
# Peak resident memory and wall time of pictova-convert on COPIES copies of
# one big photo, for each set of options given, the runs alternating between
# the option sets so a busy machine slows them all alike.
#   bench/budget.sh PHOTO COPIES REPS "OPTIONS" ["OPTIONS"...]
# An OPTIONS set may start with CONVERT=/path/to/pictova-convert to time
# another build (for instance the one before a change).
#   bench/budget.sh cam50.heic 8 2 "-j 8 --memory 1500" "-j 4"
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
photo=$1 copies=$2 reps=$3
shift 3
export QT_QPA_PLATFORM=offscreen
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/in"
for ((i = 1; i <= copies; i++)); do cp "$photo" "$(printf '%s/in/photo_%02d.heic' "$work" "$i")"; done
echo "machine: $(nproc) cores, load $(cut -d' ' -f1-3 /proc/loadavg); $copies copies of $(basename "$photo"), quality 100"
declare -A walls=() peaks=()
for ((r = 0; r < reps; r++)); do
  for set in "$@"; do
    convert=$root/build/bin/pictova-convert
    options=$set
    if [[ $set == CONVERT=* ]]; then
      convert=${set%% *}; convert=${convert#CONVERT=}; options=${set#* }
    fi
    rm -rf "$work/out"
    start=$(date +%s%N)
    # shellcheck disable=SC2086
    /usr/bin/time -f %M -o "$work/mem" "$convert" -q 100 $options -o "$work/out" "$work/in" >/dev/null 2>&1
    walls[$set]+="$(( ($(date +%s%N) - start) / 1000000 )) "
    peaks[$set]+="$(( $(tail -1 "$work/mem") / 1024 )) "
  done
done
printf "%-60s %-24s %s\n" options "wall ms (each run)" "peak RSS MB (each run)"
for set in "$@"; do printf "%-60s %-24s %s\n" "$set" "${walls[$set]}" "${peaks[$set]}"; done
