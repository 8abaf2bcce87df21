#!/usr/bin/env bash
# Peak resident memory of pictova-convert (default jobs, quality 100) on
# folders of SMALL and LARGE copies of one phone photo, from /usr/bin/time -v,
# against the budget "one decoded picture per worker (3 bytes a pixel) +
# 100 MB", workers being the default (one a core). Flat memory means the
# LARGE run peaks no higher than the SMALL one: nothing grows with the
# number of files.
#   bench/memory.sh [PHOTO] [SMALL] [LARGE] [BUILD_DIR]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
photo=${1:-$root/../shared/corpus/real/IMG_3578.heic}
small=${2:-20}
large=${3:-200}
build=${4:-$root/build}
convert=$build/bin/pictova-convert
workers=$(nproc) # pictova-convert's default: one a core
[ -x "$convert" ] || { echo "build first: $convert missing" >&2; exit 1; }
export QT_QPA_PLATFORM=offscreen
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

read -r width height <<<"$(heif-info "$photo" | sed -n 's/.*image: \([0-9]*\)x\([0-9]*\).*/\1 \2/p' | head -1)"
budget_kb=$(( (workers * width * height * 3) / 1024 + 100 * 1024 ))
echo "machine: $(nproc) cores, $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | xargs), load $(cut -d' ' -f1-3 /proc/loadavg)"
echo "input: copies of $(basename "$photo") (${width}x${height}), quality 100"
echo "command: /usr/bin/time -v $convert -q 100 -o OUT IN/   (default $workers jobs)"
echo "budget: $workers x ${width}x${height}x3 bytes + 100 MB = $((budget_kb / 1024)) MB"

measure() { # count -> prints peak RSS in kB and wall seconds
  rm -rf "$work/in" "$work/out"; mkdir -p "$work/in" "$work/out"
  for ((i = 1; i <= $1; i++)); do cp "$photo" "$(printf '%s/in/photo_%03d.heic' "$work" "$i")"; done
  /usr/bin/time -v -o "$work/time" "$convert" -q 100 -o "$work/out" "$work/in" >/dev/null 2>&1
  made=$(find "$work/out" -name '*.jpg' | wc -l)
  [ "$made" = "$1" ] || { echo "wrote $made of $1 JPEGs" >&2; exit 1; }
  echo "$(sed -n 's/.*Maximum resident set size (kbytes): //p' "$work/time") $(sed -n 's/.*Elapsed (wall clock) time.*: //p' "$work/time")"
}

read -r small_kb small_wall <<<"$(measure "$small")"
read -r large_kb large_wall <<<"$(measure "$large")"
printf "%-8s %10s %12s %14s\n" files wall peak_RSS_MB "of budget"
printf "%-8s %10s %12.1f %13.0f%%\n" "$small" "$small_wall" "$(awk -v k="$small_kb" 'BEGIN{print k/1024}')" "$(awk -v k="$small_kb" -v b="$budget_kb" 'BEGIN{print 100*k/b}')"
printf "%-8s %10s %12.1f %13.0f%%\n" "$large" "$large_wall" "$(awk -v k="$large_kb" 'BEGIN{print k/1024}')" "$(awk -v k="$large_kb" -v b="$budget_kb" 'BEGIN{print 100*k/b}')"
printf "flatness: peak after %d files / after %d files = %.3f (flat: at most 1, within a few MB of allocator noise)\n" \
  "$large" "$small" "$(awk -v a="$large_kb" -v b="$small_kb" 'BEGIN{print a/b}')"
