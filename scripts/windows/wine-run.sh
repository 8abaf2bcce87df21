#!/usr/bin/env bash
# Runs a Windows program of the cross build under Wine, the way the tests and
# the build's own tools start it (CMAKE_CROSSCOMPILING_EMULATOR):
#   wine-run.sh [--dlls=DIR:DIR...] [--plugins=DIR] PROGRAM.exe ARGS...
# The DLL folders (Qt's, the compiler's) go on Wine's search path and the Qt
# plugins are taken from their own folder, so nothing is copied beside the
# programs. WINEPREFIX defaults to one prefix in the build cache; tests get
# a copy each (below).
set -euo pipefail
dlls="" plugins=""
while :; do
  case "${1:-}" in
    --dlls=*) dlls=${1#--dlls=} ;;
    --plugins=*) plugins=${1#--plugins=} ;;
    *) break ;;
  esac
  shift
done
windows_path() { local p=${1//\//\\}; printf 'Z:%s' "$p"; }
path=""
IFS=: read -ra dirs <<<"$dlls"
for d in "${dirs[@]}"; do
  [ -n "$d" ] && path+="$(windows_path "$d");"
done
export WINEPATH="$path${WINEPATH:-}"
[ -n "$plugins" ] && export QT_PLUGIN_PATH="$(windows_path "$plugins")"
export WINEPREFIX=${WINEPREFIX:-${PICTOVA_WINDOWS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/pictova-windows}/wine}
export WINEDEBUG=${WINEDEBUG:--all}
# No Mono or Gecko installer dialogs when a prefix is made.
export WINEDLLOVERRIDES="mscoree,mshtml=${WINEDLLOVERRIDES:+;$WINEDLLOVERRIDES}"
# Under Wine, Qt would write its messages (Qt Test's results included) to the
# debugger channel.
export QT_FORCE_STDERR_LOGGING=1
# Wine keeps the Unix QT_* variables away from Windows programs (they are
# meant for a Linux Qt) unless they come as WINEQT_*; these are meant for them.
for name in $(compgen -e); do
  case $name in QT_*) export "WINE$name=${!name}" ;; esac
done

# The prefix, made once. Its user folders become plain folders: Wine links
# them to the Unix home's Desktop and Documents, where no test may write.
if [ ! -f "$WINEPREFIX/.pictova-ready" ]; then
  mkdir -p "$(dirname "$WINEPREFIX")"
  (
    flock 9
    if [ ! -f "$WINEPREFIX/.pictova-ready" ]; then
      wine wineboot --init >/dev/null 2>&1
      wineserver -w
      for link in "$WINEPREFIX"/drive_c/users/*/*; do
        if [ -L "$link" ]; then rm "$link"; mkdir "$link"; fi
      done
      touch "$WINEPREFIX/.pictova-ready"
    fi
  ) 9>"$WINEPREFIX.lock"
fi

# A test (PICTOVA_WINE_PRIVATE_PREFIX=1, set by CTest) runs in a copy of the
# prefix of its own: Windows takes the desktop and the other user folders
# from the registry, not from the environment, so a throwaway profile is the
# only way to keep a test's desktop, registry and named objects apart from
# every other test's. The test learns it from PICTOVA_TEST_PRIVATE_PREFIX.
if [ "${PICTOVA_WINE_PRIVATE_PREFIX:-0}" = 1 ]; then
  private=$(mktemp -d)
  cp -a "$WINEPREFIX" "$private/prefix"
  export WINEPREFIX=$private/prefix PICTOVA_TEST_PRIVATE_PREFIX=1
  status=0
  wine "$@" || status=$?
  wineserver -k 2>/dev/null || true
  rm -rf "$private"
  exit $status
fi
exec wine "$@"
