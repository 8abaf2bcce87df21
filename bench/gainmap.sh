#!/usr/bin/env bash
# What keeping the HDR gain map costs: converts one photo with a gain map
# through the library with and without the map, alternating, and prints
# min/median wall time and the JPEG sizes.
#   bench/gainmap.sh PHOTO_WITH_GAIN_MAP.heic [REPETITIONS] [QUALITY] [BUILD_DIR]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
photo=${1:?photo with a gain map}
reps=${2:-9}
quality=${3:-100}
build=${4:-$root/build}
driver=$build/bin/heif2jpg-file
[ -x "$driver" ] || { echo "build first: $driver missing" >&2; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

echo "machine: $(nproc) cores, load $(cut -d' ' -f1-3 /proc/loadavg); quality $quality, $reps runs each, alternating"
ms() { local s e; s=$(date +%s%N); "$@"; e=$(date +%s%N); echo $(((e - s) / 1000000)); }
stats() { sort -n | awk '{a[NR]=$1} END {printf "%d %d\n", a[1], a[int((NR+1)/2)]}'; }
"$driver" -q "$quality" "$photo" "$work/with.jpg"
"$driver" -q "$quality" --no-gain-map "$photo" "$work/without.jpg"
with=() without=()
for ((i = 0; i < reps; i++)); do
  with+=("$(ms "$driver" -q "$quality" "$photo" "$work/with.jpg")")
  without+=("$(ms "$driver" -q "$quality" --no-gain-map "$photo" "$work/without.jpg")")
done
read -r wmin wmed < <(printf '%s\n' "${with[@]}" | stats)
read -r omin omed < <(printf '%s\n' "${without[@]}" | stats)
wsize=$(stat -c %s "$work/with.jpg"); osize=$(stat -c %s "$work/without.jpg")
echo "| | min ms | median ms | JPEG bytes |"
echo "| --- | ---: | ---: | ---: |"
echo "| without the gain map | $omin | $omed | $osize |"
echo "| with the gain map | $wmin | $wmed | $wsize |"
awk -v a="$wmed" -v b="$omed" -v c="$wsize" -v d="$osize" \
  'BEGIN {printf "time: %+.1f %% (median), size: %+.1f %%\n", (a / b - 1) * 100, (c / d - 1) * 100}'
