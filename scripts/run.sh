#!/usr/bin/env bash
# Installs what is missing, builds, and starts Pictova.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
dir=$("$root/scripts/build.sh" | tail -n 1)
if [ -x "$dir/bin/Pictova" ]; then
  exec "$dir/bin/Pictova" "$@"
fi
# Until the desktop window lands, show the converter working on a sample photo.
sample="$root/../shared/corpus/real/IMG_3578.heic"
out=$(mktemp -d)
if [ $# -eq 0 ] && [ -f "$sample" ]; then set -- "$sample"; fi
exec "$dir/bin/pictova-convert" -o "$out" "$@"
