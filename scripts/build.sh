#!/usr/bin/env bash
# Configures and builds into build/ (or build-asan/ with PICTOVA_SANITIZE=1,
# build-tsan/ with PICTOVA_TSAN=1). Prints the build folder on the last line.
# HEVC is decoded with the system's libavcodec, as the Debian package does;
# PICTOVA_FFMPEG=ours links our static HEVC-only build instead
# (scripts/ffmpeg/build.sh, built once and cached).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir="$root/build"
flags=(-G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo)
if [ "${PICTOVA_SANITIZE:-0}" = 1 ]; then
  dir="$root/build-asan"; flags+=(-DPICTOVA_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug)
elif [ "${PICTOVA_TSAN:-0}" = 1 ]; then
  dir="$root/build-tsan"; flags+=(-DPICTOVA_TSAN=ON -DCMAKE_BUILD_TYPE=Debug)
fi
ffmpeg=""
[ "${PICTOVA_FFMPEG:-system}" = ours ] && ffmpeg=$("$root/scripts/ffmpeg/build.sh" | tail -n 1)
flags+=(-DPICTOVA_FFMPEG_PREFIX="$ffmpeg")
cmake -S "$root" -B "$dir" "${flags[@]}" >/dev/null
cmake --build "$dir" --parallel "$(nproc)" >&2
echo "$dir"
