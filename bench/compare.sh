#!/usr/bin/env bash
# Times the conversion of the corpus photos by our library (bench driver
# heif2jpg-file), by pictova-convert when it is built, by heif-convert and by
# vips, all at the same quality, and prints min/median wall time, the ratio
# to heif-convert, peak memory and PSNR against heif-convert's output.
#   bench/compare.sh [CORPUS_DIR|PHOTO] [REPETITIONS] [QUALITY] [BUILD_DIR]
# A single PHOTO instead of the corpus folder times just that file.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
corpus=${1:-$root/../shared/corpus}
reps=${2:-5}
quality=${3:-100}
build=${4:-$root/build}
driver=$build/bin/heif2jpg-file
psnr=$build/bin/jpeg-psnr
[ -x "$driver" ] || { echo "build first: $driver missing" >&2; exit 1; }
export QT_QPA_PLATFORM=offscreen
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

echo "machine: $(nproc) cores, $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | xargs), load $(cut -d' ' -f1-3 /proc/loadavg)"
echo "quality: $quality, repetitions: $reps (runs alternate between tools), times in ms"
inputs=()
[ -f "$corpus" ] && inputs=("$corpus")
[ -f "$corpus" ] || for f in "$corpus"/real/*.heic "$corpus"/nokia/*.heic; do [ -f "$f" ] && inputs+=("$f"); done
[ ${#inputs[@]} -gt 0 ] || { echo "no photos in $corpus" >&2; exit 1; }

tools=(decodex heif-convert vips)
[ -x "$build/bin/pictova-convert" ] && tools+=(pictova-convert)

run() { # tool input output
  case $1 in
    decodex) "$driver" -q "$quality" "$2" "$3" ;;
    heif-convert) heif-convert -q "$quality" "$2" "$3" >/dev/null ;;
    vips) vips copy "$2" "$3[Q=$quality]" ;;
    pictova-convert) "$build/bin/pictova-convert" -q "$quality" -o "$work/pc" "$2" >/dev/null ;;
  esac
}

stats() { sort -n | awk '{a[NR]=$1} END {printf "%d %d", a[1], a[int((NR+1)/2)]}'; }

printf "%-34s %-16s %8s %8s %7s %9s %6s\n" input tool min median ratio peak_MB psnr
for input in "${inputs[@]}"; do
  name=$(basename "$input")
  declare -A times=() peaks=()
  rm -rf "$work"/*.jpg "$work/pc"
  ok=1
  for ((r = 0; r < reps; r++)); do
    for tool in "${tools[@]}"; do
      out="$work/$tool.jpg"
      start=$(date +%s%N)
      if ! /usr/bin/time -f %M -o "$work/mem" bash -c "$(declare -f run); driver='$driver' quality='$quality' work='$work' build='$build' run '$tool' '$input' '$out'" 2>/dev/null; then
        ok=0; continue
      fi
      times[$tool]+="$(( ($(date +%s%N) - start) / 1000000 )) "
      peaks[$tool]=$(tail -1 "$work/mem")
    done
  done
  # pictova-convert names its output itself; compare it like the others.
  pc=$(find "$work/pc" -name '*.jpg' 2>/dev/null | head -1)
  [ -n "$pc" ] && cp "$pc" "$work/pictova-convert.jpg"
  # heif-convert numbers its outputs when a file holds several images.
  [ -f "$work/heif-convert.jpg" ] || cp "$work/heif-convert-1.jpg" "$work/heif-convert.jpg" 2>/dev/null || true
  [ -n "${times[heif-convert]:-}" ] || { echo "$name: heif-convert failed, skipped"; continue; }
  read -r refmin refmed <<<"$(tr ' ' '\n' <<<"${times[heif-convert]}" | grep . | stats)"
  for tool in "${tools[@]}"; do
    [ -n "${times[$tool]:-}" ] || { printf "%-34s %-16s failed\n" "$name" "$tool"; continue; }
    read -r min med <<<"$(tr ' ' '\n' <<<"${times[$tool]}" | grep . | stats)"
    p="-"
    if [ "$tool" != heif-convert ] && [ -f "$work/$tool.jpg" ]; then p=$("$psnr" "$work/$tool.jpg" "$work/heif-convert.jpg" 2>/dev/null || echo "-"); fi
    printf "%-34s %-16s %8d %8d %7.2f %9.1f %6s\n" "$name" "$tool" "$min" "$med" \
      "$(awk -v a="$med" -v b="$refmed" 'BEGIN{print (b>0)?a/b:0}')" \
      "$(awk -v k="${peaks[$tool]}" 'BEGIN{print k/1024}')" "$p"
  done
  unset times peaks
  [ $ok = 1 ] || true
done
