#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the reference-data
# generators need. Quick when everything is present already.
set -euo pipefail
packages=(build-essential cmake pkg-config libboost-math-dev libopenblas-openmp-dev
          libgtest-dev libgmock-dev libbenchmark-dev r-mathlib libgsl-dev python3 python3-mpmath)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
