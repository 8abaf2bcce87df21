#!/usr/bin/env bash
# Whole-process time of pictova-convert against heif-convert -q 100 on each
# PHOTO, runs alternating between the tools (and an optional older build of
# pictova-convert given as BASE=/path), so a busy machine slows all alike.
# Prints the median wall time and the median CPU time (user + system) of
# each, and our ratio to heif-convert for both.
#   [BASE=/old/pictova-convert] bench/alternate.sh REPS PHOTO...
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
reps=$1; shift
export QT_QPA_PLATFORM=offscreen
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tools=(ours heif-convert)
[ -n "${BASE:-}" ] && tools+=(base)
median() { tr ' ' '\n' | grep -v '^$' | sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }
echo "machine: $(nproc) cores, load $(cut -d' ' -f1-3 /proc/loadavg); $reps runs each, alternating; ms"
printf "%-28s %-13s %9s %9s %10s %10s\n" photo tool wall cpu wall_ratio cpu_ratio
for photo in "$@"; do
  declare -A wall=() cpu=()
  for ((r = 0; r < reps; r++)); do
    for tool in "${tools[@]}"; do
      rm -rf "$work/out"; mkdir -p "$work/out"
      case $tool in
        ours) cmd=("$root/build/bin/pictova-convert" -q 100 -o "$work/out" "$photo") ;;
        base) cmd=("$BASE" -q 100 -o "$work/out" "$photo") ;;
        heif-convert) cmd=(heif-convert -q 100 "$photo" "$work/out/h.jpg") ;;
      esac
      start=$(date +%s%N)
      /usr/bin/time -f "%U %S" -o "$work/t" "${cmd[@]}" >/dev/null 2>&1
      wall[$tool]+="$(( ($(date +%s%N) - start) / 1000000 )) "
      cpu[$tool]+="$(awk '{printf "%d", ($1 + $2) * 1000}' "$work/t") "
    done
  done
  hw=$(echo "${wall[heif-convert]}" | median); hc=$(echo "${cpu[heif-convert]}" | median)
  for tool in "${tools[@]}"; do
    w=$(echo "${wall[$tool]}" | median); c=$(echo "${cpu[$tool]}" | median)
    printf "%-28s %-13s %9s %9s %10.2f %10.2f\n" "$(basename "$photo")" "$tool" "$w" "$c" \
      "$(echo "$w / $hw" | bc -l)" "$(echo "$c / $hc" | bc -l)"
  done
  unset wall cpu
done
