#!/usr/bin/env bash
# Cross-builds Pictova for 64-bit Windows on Debian 12, in one command:
#
#   scripts/windows/build.sh          cross tools, libraries, Qt, Pictova,
#                                     build-windows/Pictova/ (portable) and
#                                     build-windows/Pictova-<version>-win64-setup.exe
#   scripts/windows/build.sh --test   the same, then the test suite under Wine
#
# The third-party libraries and Qt are built from Debian's own source
# packages into a cache outside the checkout, one folder per library named
# after its Debian version and its recipe below, so a second run skips them.
#   PICTOVA_WINDOWS_CACHE   the cache (default ~/.cache/pictova-windows)
#   PICTOVA_JOBS            parallel jobs (default: all cores)
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
cache=${PICTOVA_WINDOWS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/pictova-windows}
out=$root/build-windows
jobs=${PICTOVA_JOBS:-$(nproc)}
host=x86_64-w64-mingw32
run_tests=0
[ "${1:-}" = --test ] && run_tests=1

started=$SECONDS
stage() { printf '[windows %5ds] %s\n' $((SECONDS - started)) "$*" >&2; }

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"

install_tools() {
  local packages=(
    g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix mingw-w64-tools
    wine64 wine nsis nasm
    autoconf automake libtool autopoint gettext
    build-essential cmake ninja-build pkg-config dpkg-dev xz-utils xvfb xauth
  ) missing=() refresh=0
  for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
  done
  # Source packages come from a deb-src entry beside the existing deb one.
  local sources=/etc/apt/sources.list.d/debian.sources
  if [ -f "$sources" ] && grep -q '^Types: deb$' "$sources"; then
    $sudo sed -i 's/^Types: deb$/Types: deb deb-src/' "$sources"
    refresh=1
  fi
  if [ ${#missing[@]} -gt 0 ] || [ $refresh = 1 ] \
     || [ -z "$(apt-cache showsrc x265 2>/dev/null)" ]; then
    $sudo apt-get -o DPkg::Lock::Timeout=900 update -qq
  fi
  if [ ${#missing[@]} -gt 0 ]; then
    echo "Installing: ${missing[*]}" >&2
    DEBIAN_FRONTEND=noninteractive $sudo apt-get -o DPkg::Lock::Timeout=900 install -y -qq \
      --no-install-recommends "${missing[@]}" >/dev/null
  fi
  # std::thread and std::mutex need the posix thread model of the compilers.
  for tool in gcc g++; do
    $sudo update-alternatives --set "$host-$tool" "/usr/bin/$host-$tool-posix" >/dev/null
  done
}

# ---------------------------------------------------------------------------
# Third-party libraries. Each build_NAME runs in a fresh folder holding the
# unpacked source package in src/ and installs into the folder given as $1;
# $deps lists the folders of the libraries it builds on.

# cross_cmake SOURCE PREFIX ARGS...: configures ./build for Windows, builds
# it, and installs into PREFIX unless that is "-".
cross_cmake() {
  local src=$1 prefix=$2 pc=""; shift 2
  for d in $deps; do pc+="$d/lib/pkgconfig:"; done
  PKG_CONFIG_LIBDIR=$pc cmake -S "$src" -B build -G Ninja -Wno-dev \
    -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_SYSTEM_PROCESSOR=AMD64 \
    -DCMAKE_C_COMPILER=$host-gcc-posix -DCMAKE_CXX_COMPILER=$host-g++-posix \
    -DCMAKE_RC_COMPILER=$host-windres -DCMAKE_ASM_NASM_COMPILER=nasm \
    -DCMAKE_FIND_ROOT_PATH="/usr/$host;${deps// /;}" \
    -DCMAKE_FIND_ROOT_PATH_MODE_PROGRAM=NEVER -DCMAKE_FIND_ROOT_PATH_MODE_LIBRARY=ONLY \
    -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=ONLY -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=ONLY \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" \
    -DCMAKE_INSTALL_LIBDIR="$prefix/lib" "$@" >cmake.log
  cmake --build build --parallel "$jobs" >build.log
  [ "$prefix" = - ] || cmake --install build >install.log
}

# cross_configure PREFIX ARGS...: the same for an autotools project in ./
cross_configure() {
  local prefix=$1; shift
  ./configure --host=$host --prefix="$prefix" --disable-shared --enable-static \
    CC=$host-gcc-posix CXX=$host-g++-posix "$@" >configure.log
  make -j"$jobs" >build.log
  make install >install.log
}

# Qt 5 base only, as lean as the program allows: Core, Gui, Widgets, Test
# and Network (a second start hands its files over a local socket), the
# Windows and offscreen platforms (the offscreen one, which the tests run on,
# draws its text with FreeType). Debian's tarball drops the wintab headers,
# hence no tablet events.
build_qt() {
  local prefix=$1
  mkdir build && cd build
  ../src/configure -xplatform win32-g++ -device-option CROSS_COMPILE=$host- \
    -prefix "$prefix" -opensource -confirm-license -release -shared -strip \
    -nomake examples -nomake tests \
    -no-opengl -no-dbus -no-icu -no-openssl -no-fontconfig -no-direct2d \
    -no-feature-sql -no-feature-xml -no-feature-concurrent -no-feature-printer \
    -no-feature-tabletevent -no-feature-vulkan \
    -qt-zlib -qt-libpng -qt-libjpeg -qt-pcre -qt-harfbuzz -qt-freetype >configure.log
  make -j"$jobs" >build.log
  make install >install.log
}

# One static x265 with the 8-, 10- and 12-bit encoders, as Debian's is: the
# tests make their high-bit-depth photos with it.
build_x265() {
  local prefix=$1 src=$PWD/src/source
  local common=(-DENABLE_SHARED=OFF -DENABLE_CLI=OFF -DENABLE_PIC=OFF)
  mkdir b12 b10 b8
  (cd b12 && cross_cmake "$src" - "${common[@]}" -DHIGH_BIT_DEPTH=ON -DMAIN12=ON -DEXPORT_C_API=OFF)
  (cd b10 && cross_cmake "$src" - "${common[@]}" -DHIGH_BIT_DEPTH=ON -DEXPORT_C_API=OFF)
  cp b12/build/libx265.a b8/libx265_main12.a
  cp b10/build/libx265.a b8/libx265_main10.a
  (cd b8 && cross_cmake "$src" "$prefix" "${common[@]}" -DLINKED_10BIT=ON -DLINKED_12BIT=ON \
    -DEXTRA_LIB="x265_main10.a;x265_main12.a" -DEXTRA_LINK_FLAGS="-L$PWD/b8")
  (cd b8 && $host-ar -M <<MRI
CREATE $prefix/lib/libx265.a
ADDLIB build/libx265.a
ADDLIB libx265_main10.a
ADDLIB libx265_main12.a
SAVE
END
MRI
  )
}

build_libde265() {
  cross_cmake src "$1" -DBUILD_SHARED_LIBS=OFF -DENABLE_SDL=OFF \
    -DENABLE_DECODER=OFF -DENABLE_ENCODER=OFF
}

# libjpeg-turbo writes CMAKE_INSTALL_LIBDIR into its .pc files as given, so
# it must be absolute (cross_cmake passes it so).
build_libjpeg() {
  cross_cmake src "$1" -DENABLE_SHARED=OFF -DWITH_TURBOJPEG=OFF -DREQUIRE_SIMD=ON
}

build_lcms2() {
  (cd src && cross_configure "$1" --without-jpeg --without-tiff --without-zlib)
}

build_libexif() {
  (cd src && autoreconf -fi >/dev/null 2>&1 && cross_configure "$1" --disable-docs --disable-nls)
}

# libheif with libde265 for decoding and x265 for the tests' photos, all
# built in; no plugins are loaded at run time.
build_libheif() {
  cross_cmake src "$1" -DBUILD_SHARED_LIBS=OFF -DENABLE_PLUGIN_LOADING=OFF \
    -DWITH_EXAMPLES=OFF -DBUILD_TESTING=OFF -DWITH_LIBDE265=ON -DWITH_X265=ON \
    -DWITH_DAV1D=OFF -DWITH_AOM_DECODER=OFF -DWITH_AOM_ENCODER=OFF \
    -DWITH_SvtEnc=OFF -DWITH_RAV1E=OFF
}

# ---------------------------------------------------------------------------
# component NAME SOURCE-PACKAGE [DEPENDENCY...]: sets NAME_prefix to the cache
# folder holding NAME built from the newest source package apt can fetch,
# building it there first unless an earlier run did. The folder's name holds
# the Debian version and a hash of the recipe, so a changed recipe or a new
# Debian upload builds again.
component() {
  local name=$1 pkg=$2; shift 2
  local deps="" d
  for d in "$@"; do deps+="$(eval echo "\$${d}_prefix") "; done
  local recipe functions="build_$name" version upstream prefix work
  declare -f "build_$name" | grep -q cross_cmake && functions+=" cross_cmake"
  declare -f "build_$name" | grep -q cross_configure && functions+=" cross_configure"
  recipe=$(declare -f $functions | sha1sum | cut -c1-10)
  mkdir -p "$cache/src"
  # The newest version first; a mirror may list an upload it cannot serve yet.
  for version in $(apt-cache showsrc --only-source "$pkg" | awk '/^Version:/ {print $2}' | sort -rV); do
    upstream=${version#*:}
    prefix=$cache/$name-$upstream-$recipe
    if [ ! -f "$prefix/.built" ]; then
      (cd "$cache/src" && { [ -f "${pkg}_$upstream.dsc" ] \
        || apt-get source --download-only -qq "$pkg=$version" >/dev/null 2>&1; }) || continue
      stage "building $name $upstream"
      work=$cache/work/$name
      rm -rf "$work" "$prefix" && mkdir -p "$work"
      dpkg-source -x --no-check "$cache/src/${pkg}_$upstream.dsc" "$work/src" >/dev/null
      (cd "$work" && "build_$name" "$prefix") || {
        echo "building $name failed; its logs are in $work" >&2; exit 1; }
      touch "$prefix/.built"
      rm -rf "$work"
    fi
    stage "$name $upstream ready"
    printf -v "${name}_prefix" %s "$prefix"
    return
  done
  echo "no source package $pkg could be fetched (is deb-src set up?)" >&2
  exit 1
}

install_tools
stage "cross tools ready"
component qt qtbase-opensource-src
component x265 x265
component libde265 libde265
component libjpeg libjpeg-turbo
component lcms2 lcms2
component libexif libexif
component libheif libheif x265 libde265
prefixes="$x265_prefix;$libde265_prefix;$libjpeg_prefix;$lcms2_prefix;$libexif_prefix;$libheif_prefix"

# FFmpeg's HEVC decoder (libavcodec), with the recipe the Linux build uses:
# its own script caches it the same way.
if [ -x "$root/scripts/ffmpeg/build.sh" ]; then
  stage "libavcodec"
  ffmpeg_prefix=$("$root/scripts/ffmpeg/build.sh" --cross-prefix $host- --target-os mingw32 \
                  --arch x86_64 --cc $host-gcc-posix --jobs "$jobs" | tail -n 1)
  prefixes+=";$ffmpeg_prefix"
fi

# ---------------------------------------------------------------------------
# Pictova, with the toolchain file kept beside this script.
stage "building Pictova"
# A build made against other library folders (a new Debian upload, a changed
# recipe) starts again: CMake would keep the old folders it found.
if [ -f "$out/build/CMakeCache.txt" ] \
   && [ "$(cat "$out/build/pictova-libraries" 2>/dev/null)" != "$qt_prefix;$prefixes" ]; then
  rm -rf "$out/build"
fi
cmake -S "$root" -B "$out/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_TOOLCHAIN_FILE="$root/scripts/windows/mingw-w64-x86_64.cmake" \
  -DPICTOVA_WINDOWS_QT="$qt_prefix" -DPICTOVA_WINDOWS_PREFIXES="$prefixes" >/dev/null
echo "$qt_prefix;$prefixes" >"$out/build/pictova-libraries"
cmake --build "$out/build" --parallel "$jobs"
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$out/build/CMakeCache.txt")

# The portable folder: the install, plus every DLL the programs and Qt's
# plugins import from Qt or the compiler, found by walking their imports.
stage "portable folder"
portable=$out/Pictova
rm -rf "$portable"
cmake --install "$out/build" --prefix "$portable" --strip >/dev/null
for plugin in platforms/qwindows styles/qwindowsvistastyle imageformats/qjpeg imageformats/qico; do
  mkdir -p "$portable/${plugin%/*}"
  cp "$qt_prefix/plugins/$plugin.dll" "$portable/$plugin.dll"
done
dll_dirs=("$qt_prefix/bin" "$(dirname "$($host-g++-posix -print-file-name=libstdc++-6.dll)")" "/usr/$host/lib")
copy_imports() {
  local dll dir
  for dll in $($host-objdump -p "$1" | sed -n 's/^\tDLL Name: //p'); do
    [ -e "$portable/$dll" ] && continue
    for dir in "${dll_dirs[@]}"; do
      if [ -e "$dir/$dll" ]; then
        cp "$dir/$dll" "$portable/$dll"
        copy_imports "$portable/$dll"
        break
      fi
    done
  done
}
while read -r binary; do copy_imports "$binary"; done < <(find "$portable" -name '*.exe' -o -name '*.dll')
$host-strip --strip-unneeded "$portable"/lib*.dll

# The installer, with the list of what its uninstaller removes again.
stage "installer"
files=$out/installer-files.nsh
(cd "$portable"
 find . -type f | sort | sed 's|^\./||; s|/|\\|g; s|.*|Delete "$INSTDIR\\&"|'
 find . -mindepth 1 -type d | sort -r | sed 's|^\./||; s|/|\\|g; s|.*|RMDir "$INSTDIR\\&"|') >"$files"
setup=$out/Pictova-$version-win64-setup.exe
makensis -V2 -DVERSION="$version" -DSOURCE="$portable" -DFILES="$files" \
  -DICON="$out/build/resources/generated/pictova.ico" -DOUTFILE="$setup" \
  "$root/scripts/windows/installer.nsi" >&2
stage "made $portable and $setup"

[ $run_tests = 1 ] || exit 0

# ---------------------------------------------------------------------------
# The test suite under Wine (each test in a copy of the build's prefix, see
# wine-run.sh), on a virtual display when there is none.
stage "tests under Wine"
cd "$out/build"
if [ -n "${DISPLAY:-}" ]; then
  ctest --output-on-failure --parallel "$jobs"
else
  xvfb-run -a -s "-screen 0 1280x800x24" ctest --output-on-failure --parallel "$jobs"
fi
stage "tests done"
