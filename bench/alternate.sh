#!/usr/bin/env bash
# Whole-process time of pictova-convert against heif-convert -q 100 on each
# PHOTO, runs alternating between the tools (and an optional older build of
# pictova-convert given as BASE=/path, and the floor: build/bin/heif-floor,
# libavcodec and libjpeg-turbo alone on the same pictures), so a busy machine
# slows all alike. Prints per tool the median CPU time (perf stat's
# task-clock when perf is there, which counts to the microsecond; otherwise
# user + system), the best and median wall time and the peak RSS, then the
# ratios: CPU and best wall against heif-convert, CPU against the floor.
#   [BASE=/old/pictova-convert] [BUILD=build] bench/alternate.sh REPS PHOTO...
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD:-$root/build}
reps=$1; shift
export QT_QPA_PLATFORM=offscreen
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
perf=""
perf stat -x, -e task-clock -o /dev/null true 2>/dev/null && perf=perf
tools=(ours heif-convert)
[ -x "$build/bin/heif-floor" ] && tools+=(floor)
[ -n "${BASE:-}" ] && tools+=(base)
median() { tr ' ' '\n' | grep -v '^$' | sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }
least() { tr ' ' '\n' | grep -v '^$' | sort -n | head -1; }
most() { tr ' ' '\n' | grep -v '^$' | sort -n | tail -1; }
echo "machine: $(nproc) cores, load $(cut -d' ' -f1-3 /proc/loadavg); $reps runs each, alternating; ms, MB; cpu: $([ -n "$perf" ] && echo "perf task-clock" || echo "user + system")"
printf "%-26s %-12s %7s %8s %8s %7s %8s %9s %9s\n" photo tool cpu wall_min wall_med rss cpu/hc wall/hc cpu/floor
for photo in "$@"; do
  declare -A wall=() cpu=() rss=()
  for ((r = 0; r < reps; r++)); do
    for tool in "${tools[@]}"; do
      rm -rf "$work/out"; mkdir -p "$work/out"
      case $tool in
        ours) cmd=("$build/bin/pictova-convert" -q 100 -o "$work/out" "$photo") ;;
        base) cmd=("$BASE" -q 100 -o "$work/out" "$photo") ;;
        heif-convert) cmd=(heif-convert -q 100 "$photo" "$work/out/h.jpg") ;;
        floor) cmd=("$build/bin/heif-floor" -q 100 "$photo" "$work/out/f.jpg") ;;
      esac
      [ -n "$perf" ] && cmd=(perf stat -x, -e task-clock -o "$work/p" "${cmd[@]}")
      start=$(date +%s%N)
      /usr/bin/time -f "%U %S %M" -o "$work/t" "${cmd[@]}" >/dev/null 2>&1
      wall[$tool]+="$(( ($(date +%s%N) - start) / 1000000 )) "
      if [ -n "$perf" ]; then
        cpu[$tool]+="$(awk -F, '/task-clock/ {printf "%d", $1}' "$work/p") "
      else
        cpu[$tool]+="$(awk '{printf "%d", ($1 + $2) * 1000}' "$work/t") "
      fi
      rss[$tool]+="$(awk '{printf "%d", $3 / 1024}' "$work/t") "
    done
  done
  hc=$(echo "${cpu[heif-convert]}" | median); hw=$(echo "${wall[heif-convert]}" | least)
  fc=$(echo "${cpu[floor]:-}" | median)
  for tool in "${tools[@]}"; do
    c=$(echo "${cpu[$tool]}" | median); w=$(echo "${wall[$tool]}" | least)
    printf "%-26s %-12s %7s %8s %8s %7s %8.2f %9.2f %9s\n" "$(basename "$photo")" "$tool" "$c" "$w" \
      "$(echo "${wall[$tool]}" | median)" "$(echo "${rss[$tool]}" | most)" \
      "$(echo "$c / $hc" | bc -l)" "$(echo "$w / $hw" | bc -l)" \
      "$([ -n "$fc" ] && [ "$fc" -gt 0 ] && printf "%.2f" "$(echo "$c / $fc" | bc -l)" || echo -)"
  done
  unset wall cpu rss
done
