#!/usr/bin/env bash
# Batch throughput: COUNT copies of one phone photo (distinct names, one
# folder) converted by pictova-convert with its default jobs (and an older
# build given as BASE=/path), by heif-convert two at a time (xargs -P 2) and
# by vips the same way, all at quality 100. Runs alternate between the
# tools; prints min/median wall time, median CPU time (user + system of the
# whole pipeline), photos per second, the ratios to heif-convert -P2 and each
# run's peak RSS (for the xargs pipelines that is the largest single
# converter process).
#   [BASE=/old/pictova-convert] bench/batch.sh [PHOTO] [COUNT] [REPETITIONS] [BUILD_DIR]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
photo=${1:-$root/../shared/corpus/real/IMG_3578.heic}
count=${2:-40}
reps=${3:-3}
build=${4:-$root/build}
convert=$build/bin/pictova-convert
[ -x "$convert" ] || { echo "build first: $convert missing" >&2; exit 1; }
[ -f "$photo" ] || { echo "no photo $photo" >&2; exit 1; }
export QT_QPA_PLATFORM=offscreen
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir -p "$work/in"
for ((i = 1; i <= count; i++)); do cp "$photo" "$(printf '%s/in/photo_%03d.heic' "$work" "$i")"; done

echo "machine: $(nproc) cores, $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | xargs), load $(cut -d' ' -f1-3 /proc/loadavg)"
echo "input: $count copies of $(basename "$photo") ($(stat -c %s "$photo") bytes), quality 100, repetitions $reps (alternating), times in ms"
echo "commands:"
echo "  pictova-convert: $convert -q 100 -o OUT IN/"
echo "  heif-convert -P2: ls IN/*.heic | xargs -P 2 -I{} heif-convert -q 100 {} OUT/{}.jpg"
echo "  vips -P2:         ls IN/*.heic | xargs -P 2 -I{} vips copy {} 'OUT/{}.jpg[Q=100]'"

run() { # tool outdir
  case $1 in
    pictova-convert) "$convert" -q 100 -o "$2" "$work/in" >/dev/null 2>&1 ;;
    base) "$BASE" -q 100 -o "$2" "$work/in" >/dev/null 2>&1 ;;
    heif-convert-P2) (cd "$work/in" && ls -- *.heic | xargs -P 2 -I{} heif-convert -q 100 {} "$2/{}.jpg" >/dev/null) ;;
    vips-P2) (cd "$work/in" && ls -- *.heic | xargs -P 2 -I{} vips copy {} "$2/{}.jpg[Q=100]") ;;
  esac
}
stats() { sort -n | awk '{a[NR]=$1} END {printf "%d %d", a[1], a[int((NR+1)/2)]}'; }

tools=(pictova-convert heif-convert-P2 vips-P2)
[ -n "${BASE:-}" ] && tools+=(base)
declare -A times=() peaks=() cpus=()
for ((r = 0; r < reps; r++)); do
  for tool in "${tools[@]}"; do
    rm -rf "$work/out"; mkdir -p "$work/out"
    start=$(date +%s%N)
    /usr/bin/time -f "%M %U %S" -o "$work/mem" bash -c "$(declare -f run); convert='$convert' BASE='${BASE:-}' work='$work' run '$tool' '$work/out'"
    times[$tool]+="$(( ($(date +%s%N) - start) / 1000000 )) "
    peaks[$tool]+="$(tail -1 "$work/mem" | cut -d' ' -f1) "
    cpus[$tool]+="$(tail -1 "$work/mem" | awk '{printf "%d", ($2 + $3) * 1000}') "
    made=$(find "$work/out" -name '*.jpg' | wc -l)
    [ "$made" = "$count" ] || { echo "$tool wrote $made of $count JPEGs" >&2; exit 1; }
  done
done

read -r refmin refmed <<<"$(tr ' ' '\n' <<<"${times[heif-convert-P2]}" | grep . | stats)"
read -r _ refcpu <<<"$(tr ' ' '\n' <<<"${cpus[heif-convert-P2]}" | grep . | stats)"
printf "%-16s %8s %8s %8s %9s %18s %10s %12s\n" tool min median cpu photos/s "speed vs heif-P2" "cpu/heif" peak_RSS_MB
for tool in "${tools[@]}"; do
  read -r min med <<<"$(tr ' ' '\n' <<<"${times[$tool]}" | grep . | stats)"
  read -r _ cpu <<<"$(tr ' ' '\n' <<<"${cpus[$tool]}" | grep . | stats)"
  peak=$(tr ' ' '\n' <<<"${peaks[$tool]}" | grep . | sort -n | tail -1)
  printf "%-16s %8d %8d %8d %9.2f %17.2fx %10.2f %12.1f\n" "$tool" "$min" "$med" "$cpu" \
    "$(awk -v n="$count" -v t="$med" 'BEGIN{print n*1000/t}')" \
    "$(awk -v a="$refmed" -v b="$med" 'BEGIN{print a/b}')" \
    "$(awk -v a="$cpu" -v b="$refcpu" 'BEGIN{print a/b}')" \
    "$(awk -v k="$peak" 'BEGIN{print k/1024}')"
done
echo "(speed = heif-convert -P2 median time / tool median time; above 1 is faster; cpu/heif = median CPU time over heif-convert -P2's)"
