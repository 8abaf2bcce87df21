#!/usr/bin/env bash
# Builds the libavcodec that Decodex decodes HEVC with: FFmpeg's HEVC decoder
# and nothing else, LGPL (no --enable-gpl), static and position independent,
# from Debian's `ffmpeg` source package. The same recipe serves the Linux
# build and the Windows cross-build; only the toolchain differs.
#
#   scripts/ffmpeg/build.sh [--cross-prefix PREFIX] [--target-os OS] [--arch ARCH]
#                           [--cc CC] [--jobs N]
#     --cross-prefix x86_64-w64-mingw32-   tools of a cross toolchain
#     --target-os mingw32 --arch x86_64    FFmpeg's names for the target
#
# The result is cached outside the checkout, keyed by the source version, the
# target, the toolchain and this script's own contents, so a CI machine or a
# second worktree builds it once:
# $PICTOVA_FFMPEG_CACHE (default ~/.cache/pictova/ffmpeg)/KEY.
# The last line printed is that folder (include/, lib/libavcodec.a,
# lib/libavutil.a, lib/pkgconfig/); everything else goes to stderr.
#
# Needs: apt-get with a deb-src entry (added beside the deb one when missing),
# dpkg-source (dpkg-dev), make, nasm for x86 targets, and the C compiler.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
cross_prefix="" target_os="" arch="" cc="" jobs=$(nproc)
while [ $# -gt 0 ]; do
  case $1 in
    --cross-prefix) cross_prefix=$2; shift 2 ;;
    --target-os) target_os=$2; shift 2 ;;
    --arch) arch=$2; shift 2 ;;
    --cc) cc=$2; shift 2 ;;
    --jobs) jobs=$2; shift 2 ;;
    *) echo "unknown option $1" >&2; exit 2 ;;
  esac
done

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"

# Debian's own sources only: apt-get source needs a deb-src line beside the
# deb one.
ensure_deb_src() {
  apt-cache showsrc ffmpeg 2>/dev/null | grep -q '^Version:' && return
  local list=/etc/apt/sources.list.d/debian.sources
  if [ -f "$list" ] && ! grep -q '^Types:.*deb-src' "$list"; then
    echo "adding deb-src to $list" >&2
    $sudo sed -i 's/^Types: deb$/Types: deb deb-src/' "$list"
  fi
  $sudo apt-get -o DPkg::Lock::Timeout=900 update -qq >&2
}
ensure_deb_src
version=$(apt-cache showsrc ffmpeg | sed -n 's/^Version: //p' | sort -V | tail -1)
[ -n "$version" ] || { echo "no ffmpeg source package known to apt" >&2; exit 1; }
upstream=${version#*:}

target=${target_os:-native}-${arch:-$(uname -m)}
recipe=$( (cat "$here/build.sh"; echo "$cross_prefix $cc") | sha256sum | cut -c1-12)
cache=${PICTOVA_FFMPEG_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/pictova/ffmpeg}
prefix=$cache/$upstream-$target-$recipe
if [ -f "$prefix/lib/libavcodec.a" ] && [ -f "$prefix/lib/pkgconfig/libavcodec.pc" ]; then
  echo "$prefix"
  exit 0
fi

mkdir -p "$cache"
exec 9>"$cache/.lock"
flock 9 # two builds of one tree at once would trip over each other
if [ -f "$prefix/lib/libavcodec.a" ]; then
  echo "$prefix"
  exit 0
fi

# The unpacked source (Debian's patches applied) is shared by every target.
source=$cache/src-$upstream
if [ ! -x "$source/configure" ]; then
  download=$(mktemp -d "$cache/download.XXXXXX")
  (cd "$download" && apt-get source --download-only "ffmpeg=$version" >&2 \
     && dpkg-source --no-check -x ./*.dsc unpacked >&2)
  rm -rf "$source"
  mv "$download/unpacked" "$source"
  rm -rf "$download"
fi

flags=(
  --prefix="$prefix" --enable-static --disable-shared --enable-pic
  --disable-everything --enable-decoder=hevc
  --disable-programs --disable-doc --disable-network --disable-autodetect
  --disable-avdevice --disable-avformat --disable-avfilter --disable-swscale
  --disable-swresample --disable-postproc
)
# Threads are among what --disable-autodetect turns off; the decoder's slice
# and frame threads need them back.
case $target_os in
  mingw32|mingw64|win32|win64) flags+=(--enable-w32threads) ;;
  *) flags+=(--enable-pthreads) ;;
esac
[ -n "$cross_prefix" ] && flags+=(--enable-cross-compile --cross-prefix="$cross_prefix")
[ -n "$target_os" ] && flags+=(--target-os="$target_os")
[ -n "$arch" ] && flags+=(--arch="$arch")
[ -n "$cc" ] && flags+=(--cc="$cc")

work=$(mktemp -d "$cache/build.XXXXXX")
trap 'rm -rf "$work"' EXIT
echo "building FFmpeg $upstream ($target) into $prefix" >&2
(cd "$work" && "$source/configure" "${flags[@]}" >&2 && make -j"$jobs" >&2 && make install >&2)
echo "$prefix"
