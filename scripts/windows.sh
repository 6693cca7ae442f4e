#!/usr/bin/env bash
# One command from a fresh Debian machine to the 64-bit Windows DLL and its
# test suite run under wine:
#   1. installs the cross compilers, wine and the build tools (apt-get, only
#      what is missing),
#   2. adds a deb-src entry for the machine's own Debian mirror if there is
#      none, and fetches Debian's LAPACK source package with apt-get source,
#   3. cross-builds Quillon.Core.Math.dll, the LAPACK subset and the tests
#      into build-win/,
#   4. starts the wine server, creates the wine prefix, and runs the suite
#      through CTest with wine as the emulator.
# Arguments are passed to the CMake configure step. QCM_JOBS sets the build
# and test parallelism (default 2).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build-win"
jobs=${QCM_JOBS:-2}
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
apt_opts=(-y -q -o DPkg::Lock::Timeout=900 --no-install-recommends)
export DEBIAN_FRONTEND=noninteractive

# 1. Packages.
packages=(cmake make dpkg-dev g++-mingw-w64-x86-64-posix gfortran-mingw-w64-x86-64-posix
          binutils-mingw-w64-x86-64 wine64 libboost-math-dev googletest)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
updated=no
if [ ${#missing[@]} -gt 0 ]; then
  $sudo apt-get update -qq -o DPkg::Lock::Timeout=900
  updated=yes
  $sudo apt-get install "${apt_opts[@]}" "${missing[@]}"
fi

# 2. Debian's LAPACK source, through a deb-src entry for the mirror that the
#    machine already uses.
lapack_dir=$(find "$build/lapack-source" -mindepth 1 -maxdepth 1 -type d -name 'lapack-[0-9]*' 2>/dev/null | head -n 1 || true)
if [ -z "$lapack_dir" ]; then
  if ! grep -rqsE '^(Types:.*deb-src|deb-src )' /etc/apt/sources.list /etc/apt/sources.list.d/; then
    codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
    mirror=$(grep -hsE '^URIs:' /etc/apt/sources.list.d/*.sources | awk '{print $2}' \
               | grep -v -- '-security' | grep -m1 debian || true)
    if [ -z "$mirror" ]; then
      mirror=$(grep -hsE "^deb +(\[[^]]*\] +)?[a-z]+://[^ ]+ +$codename " /etc/apt/sources.list \
                 /etc/apt/sources.list.d/*.list | grep -v -- '-security' | head -n 1 \
                 | sed -E 's/^deb +(\[[^]]*\] +)?([^ ]+).*/\2/' || true)
    fi
    [ -n "$mirror" ] || { echo "no Debian mirror found in the apt sources" >&2; exit 1; }
    keyring=/usr/share/keyrings/debian-archive-keyring.gpg
    printf 'Types: deb-src\nURIs: %s\nSuites: %s\nComponents: main\nSigned-By: %s\n' \
      "$mirror" "$codename" "$keyring" | $sudo tee /etc/apt/sources.list.d/qcm-deb-src.sources >/dev/null
    updated=no
  fi
  [ "$updated" = yes ] || $sudo apt-get update -qq -o DPkg::Lock::Timeout=900
  mkdir -p "$build/lapack-source"
  (cd "$build/lapack-source" && apt-get source -qq lapack)
  lapack_dir=$(find "$build/lapack-source" -mindepth 1 -maxdepth 1 -type d -name 'lapack-[0-9]*' | head -n 1)
fi

# 3. Cross build.
start=$(date +%s)
cmake -S "$root" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" \
  -DCMAKE_BUILD_TYPE=Release -DQCM_WERROR=ON -DQCM_BUILD_TOOLS=OFF -DQCM_BUILD_BENCH=OFF \
  -DQCM_LAPACK_SOURCE_DIR="$lapack_dir" "$@" >/dev/null
cmake --build "$build" -j "$jobs"
built=$(date +%s)

# 4. The suite under wine (headless, its own prefix inside build-win/).
export WINEPREFIX="$build/wineprefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe=d"
unset DISPLAY WAYLAND_DISPLAY
"$build/wine-run.sh" --warm-up
cd "$build"
rc=0
ctest --output-on-failure -j "$jobs" || rc=$?
"$build/wine-run.sh" --stop
tested=$(date +%s)
echo "windows: build $((built - start)) s, tests $((tested - built)) s"
exit $rc
