#!/usr/bin/env bash
# The installer's round trip, in fresh Wine prefixes:
#   test-installer.sh SETUP.exe CORPUS_DIR [LINUX_PICTOVA_CONVERT]
#
# 1. A silent install for the current user (/S /CURRENTUSER): the program
#    folder, the Start-menu shortcut, the Add/Remove entry, "Open with" and
#    "Convert to JPEG" for .heic, .heif and .hif and for folders.
# 2. The photos of CORPUS_DIR converted through the folder's "Convert to
#    JPEG" command exactly as registered; with the Linux converter given,
#    every JPEG must have the bytes the Linux build writes.
# 3. A silent uninstall that leaves nothing of ours and keeps another
#    program's association of .heic.
# 4. The same install and uninstall elevated, for all users.
# Exits 77 (skipped) when there is no installer or no corpus.
set -euo pipefail
setup=$1 corpus=$2 linux=${3:-}
[ -f "$setup" ] || { echo "no installer at $setup: scripts/windows/build.sh makes it"; exit 77; }
[ -d "$corpus" ] || { echo "no photos at $corpus"; exit 77; }

work=$(mktemp -d)
trap 'WINEPREFIX=$work/prefix wineserver -k 2>/dev/null || true; rm -rf "$work"' EXIT
export WINEPREFIX=$work/prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
failures=0
check() { # check DESCRIPTION COMMAND...
  if "${@:2}"; then echo "ok   $1"; else echo "FAIL $1"; failures=$((failures + 1)); fi
}
reg_value() { # reg_value KEY [VALUE]: the data, or nothing when absent
  local args=(/ve)
  [ -n "${2:-}" ] && args=(/v "$2")
  wine reg query "$1" "${args[@]}" 2>/dev/null | tr -d '\r' | sed -n 's/.*REG_[A-Z_]*[[:space:]]*//p'
}
has_key() { wine reg query "$1" >/dev/null 2>&1; }
no_key() { ! has_key "$1"; }
contains() { [[ $1 == *"$2"* ]]; }

wine wineboot --init >/dev/null 2>&1
wineserver -w
user_dir=$WINEPREFIX/drive_c/users/$(id -un)
wine reg add 'HKCU\Software\Classes\.heic' /ve /d OtherViewer.heic /f >/dev/null

# 1. Per-user install.
wine "$setup" /S /CURRENTUSER
wineserver -w
dir=$user_dir/AppData/Local/Programs/Pictova
classes='HKCU\Software\Classes'
for f in Pictova.exe pictova-convert.exe Decodex.dll uninstall.exe Version.ini platforms/qwindows.dll; do
  check "installed $f" test -f "$dir/$f"
done
check "Start-menu shortcut" test -f "$user_dir/AppData/Roaming/Microsoft/Windows/Start Menu/Programs/Vantora/Vantora Pictova/Vantora Pictova.lnk"
check "Add/Remove entry" contains "$(reg_value 'HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Pictova' UninstallString)" 'uninstall.exe'
check "open command" contains "$(reg_value "$classes\\Pictova.HEIF\\shell\\open\\command")" 'Pictova.exe" "%1"'
for ending in .heic .heif .hif; do
  check "Open with Pictova on $ending" has_key "$classes\\$ending\\OpenWithProgids"
  check "Convert to JPEG on $ending" contains "$(reg_value "$classes\\SystemFileAssociations\\$ending\\shell\\Pictova.Convert\\command")" 'pictova-convert.exe" "%1"'
done
check "another program's .heic kept" test "$(reg_value "$classes\\.heic")" = OtherViewer.heic

# 2. "Convert to JPEG" on a folder, run as Explorer would run it.
command=$(reg_value "$classes\\Directory\\shell\\Pictova.Convert\\command")
check "Convert to JPEG on folders" contains "$command" 'pictova-convert.exe'
photos="$work/my photos"
mkdir -p "$photos"
find "$corpus" -maxdepth 2 -type f -name '*.heic' ! -path '*/bad/*' -exec cp {} "$photos/" \;
windows_photos="Z:${photos//\//\\}"
printf '@%s\r\n' "${command//%1/$windows_photos}" >"$work/convert.bat"
wine cmd /c "Z:${work//\//\\}\\convert.bat" </dev/null >"$work/convert.log" 2>&1 || true
count=$(find "$photos" -name '*.heic' | wc -l)
check "a JPEG beside each of $count photos" test "$(find "$photos" -name '*.jpg' | wc -l)" -eq "$count"
if [ -n "$linux" ] && [ -x "$linux" ]; then
  "$linux" -o "$work/linux" "$photos"/*.heic >/dev/null 2>&1 || true
  same=0
  for jpeg in "$photos"/*.jpg; do
    cmp -s "$jpeg" "$work/linux/${jpeg##*/}" && same=$((same + 1))
  done
  check "$same of $count JPEGs byte for byte as the Linux build's" test "$same" -eq "$count"
fi

# 3. Silent uninstall: the uninstaller copies itself away and finishes after
# the first process has gone, hence waiting for the whole prefix.
wine "$dir/uninstall.exe" /S
wineserver -w
check "program folder removed" test ! -e "$dir"
check "Start-menu folder removed" test ! -e "$user_dir/AppData/Roaming/Microsoft/Windows/Start Menu/Programs/Vantora"
check "Add/Remove entry removed" no_key 'HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Pictova'
for key in Pictova.HEIF Applications\\Pictova.exe Directory\\shell\\Pictova.Convert \
           SystemFileAssociations\\.heic .hif .heif; do
  check "removed $key" no_key "$classes\\$key"
done
check "another program's .heic still kept" test "$(reg_value "$classes\\.heic")" = OtherViewer.heic

# 4. Elevated (Wine's user is an administrator): all users.
wine "$setup" /S
wineserver -w
dir="$WINEPREFIX/drive_c/Program Files/Pictova"
check "all users: installed in Program Files" test -f "$dir/Pictova.exe"
check "all users: machine-wide Convert to JPEG" has_key 'HKLM\Software\Classes\SystemFileAssociations\.hif\shell\Pictova.Convert\command'
wine "$dir/uninstall.exe" /S
wineserver -w
check "all users: program folder removed" test ! -e "$dir"
check "all users: entries removed" no_key 'HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\Pictova'

echo "$failures failed"
[ "$failures" -eq 0 ]
