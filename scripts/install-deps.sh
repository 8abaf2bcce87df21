#!/usr/bin/env bash
# Installs the Debian 12 packages Pictova needs to build, test and benchmark.
# Does nothing when they are all present already.
set -euo pipefail

packages=(
  build-essential cmake pkg-config ninja-build
  qtbase5-dev qtbase5-dev-tools libqt5svg5-dev
  libheif-dev libheif-examples libde265-dev libx265-dev libavcodec-dev
  libjpeg62-turbo-dev libturbojpeg0-dev liblcms2-dev libexif-dev
  xvfb xauth libimage-exiftool-perl libvips-tools time
  fonts-open-sans libxcb1-dev
  help2man lintian appstream appstream-util desktop-file-utils
  dosfstools fusefat
  nasm dpkg-dev  # scripts/ffmpeg/build.sh: FFmpeg's assembly and Debian's source package
)
if [ "${PICTOVA_FUZZ:-0}" = 1 ]; then
  packages+=(clang libclang-rt-14-dev)
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
echo "Installing: ${missing[*]}"
$sudo apt-get -o DPkg::Lock::Timeout=900 update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get -o DPkg::Lock::Timeout=900 install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
