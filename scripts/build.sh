#!/usr/bin/env bash
# Configures and builds into build/ (or build-asan/ with PICTOVA_SANITIZE=1,
# build-tsan/ with PICTOVA_TSAN=1). Prints the build folder on the last line.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir="$root/build"
flags=(-G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo)
if [ "${PICTOVA_SANITIZE:-0}" = 1 ]; then
  dir="$root/build-asan"; flags+=(-DPICTOVA_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug)
elif [ "${PICTOVA_TSAN:-0}" = 1 ]; then
  dir="$root/build-tsan"; flags+=(-DPICTOVA_TSAN=ON -DCMAKE_BUILD_TYPE=Debug)
fi
cmake -S "$root" -B "$dir" "${flags[@]}" >/dev/null
cmake --build "$dir" --parallel "$(nproc)" >&2
echo "$dir"
