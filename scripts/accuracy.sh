#!/usr/bin/env bash
# The accuracy report: builds the library, measures every export against the
# committed high-precision references (computing any that are missing) and
# the peers, and writes docs/accuracy.md with its plot.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
sudo=""; [ "$(id -u)" -ne 0 ] && sudo="sudo"
for p in python3-scipy python3-matplotlib libgsl-dev r-mathlib; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" ||
    { $sudo apt-get update -qq; $sudo apt-get install -y -qq --no-install-recommends "$p"; }
done
"$root/scripts/build.sh" --target QuillonCoreMath
/usr/bin/python3 "$root/tools/accuracy/accuracy.py" --library "$root/build/libQuillon.Core.Math.so" "$@"
echo "wrote $root/docs/accuracy.md"
