#!/usr/bin/env bash
# Makes the benchmark photos the corpus lacks, from its one phone photo, into
# OUTDIR (default /var/tmp/pictova-bench); photos already there are kept.
#   cam50-420.heic, cam50-422.heic   8640x5760 10-bit camera pictures (one HEVC
#                                    picture each), camera-like noise, q55
#   cam33-smooth-420-irot.heic       7008x4672 10-bit, q50, turned by an 'irot'
#   cam33-q20-irot.heic              the same at q20 (its JPEG is ~40x the file)
#   small16s-pq.heic                 2400x1600 10-bit 4:2:2 PQ, BT.2020, limited range
#   small16s-hlg.heic                the same picture 4:2:0 HLG
#   phone200-thumbnail.heic          a 200 MP grid of 768 tiles with a thumbnail
#   IMG_3578-portrait.heic           the phone photo as a portrait grid ('irot' 3)
# Camera pictures are coded by libheif's heif-enc (x265, preset fast); the
# others by build/bin/make-bench-fixtures (the tests' HeifBuilder).
#   bench/fixtures.sh [OUTDIR] [BUILD_DIR]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
out=${1:-/var/tmp/pictova-bench}
build=${2:-$root/build}
phone=$root/../shared/corpus/real/IMG_3578.heic
maker=$build/bin/make-bench-fixtures
[ -x "$maker" ] || { echo "build first: $maker missing" >&2; exit 1; }
[ -f "$phone" ] || { echo "no $phone" >&2; exit 1; }
export QT_QPA_PLATFORM=offscreen
mkdir -p "$out"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
heif-convert -q 100 "$phone" "$work/phone.png" >/dev/null

# A 16-bit PNG of the phone photo at WIDTHxHEIGHT, with noise of SIGMA levels
# (in 8-bit units) as a camera sensor leaves it.
picture() { # width height sigma out.png
  vips resize "$work/phone.png" "$work/big.v" "$(echo "$1 / 4032" | bc -l)" --vscale "$(echo "$2 / 3024" | bc -l)"
  if [ "$3" != 0 ]; then
    for band in 1 2 3; do # each channel its own noise, as a sensor's
      vips gaussnoise "$work/noise$band.v" "$1" "$2" --sigma "$3" --mean 0 --seed "$band"
    done
    vips bandjoin "$work/noise1.v $work/noise2.v $work/noise3.v" "$work/noise.v"
    vips add "$work/big.v" "$work/noise.v" "$work/sum.v"
  else
    cp "$work/big.v" "$work/sum.v"
  fi
  vips linear "$work/sum.v" "$work/scaled.v" 257 0
  vips cast "$work/scaled.v" "$4" ushort
  # The phone's EXIF would become an item in the file's 'mdat', which
  # make-bench-fixtures takes whole as the picture's coded data.
  exiftool -q -EXIF:All= -overwrite_original "$4"
}
camera() { # name quality chroma source.png
  [ -f "$out/$1.heic" ] || heif-enc -b 10 -q "$2" -p chroma="$3" -p preset=fast -o "$out/$1.heic" "$4" >/dev/null
}

if [ ! -f "$out/cam50-420.heic" ] || [ ! -f "$out/cam50-422.heic" ]; then
  picture 8640 5760 2.5 "$work/cam50.png"
  camera cam50-420 55 420 "$work/cam50.png"
  camera cam50-422 55 422 "$work/cam50.png"
fi
if [ ! -f "$out/cam33-smooth-420-irot.heic" ] || [ ! -f "$out/cam33-q20-irot.heic" ]; then
  picture 7008 4672 0 "$work/cam33.png"
  camera cam33-smooth-420 50 420 "$work/cam33.png"
  camera cam33-q20 20 420 "$work/cam33.png"
  "$maker" "$out" "$out/cam33-smooth-420.heic" "$out/cam33-q20.heic"
  rm -f "$out/cam33-smooth-420.heic" "$out/cam33-q20.heic"
fi
if [ ! -f "$out/small16s-pq.heic" ] || [ ! -f "$out/small16s-hlg.heic" ]; then
  picture 2400 1600 1 "$work/small16s.png"
  "$maker" "$out" "$work/small16s.png"
fi
if [ ! -f "$out/phone200-thumbnail.heic" ] || [ ! -f "$out/IMG_3578-portrait.heic" ]; then
  cp "$work/phone.png" "$work/IMG_3578.png"
  "$maker" "$out" --phone "$work/IMG_3578.png"
fi
ls -l "$out"
