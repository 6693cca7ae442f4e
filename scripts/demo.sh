#!/usr/bin/env bash
# Fresh machine to the qcm demo: install, build, run.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh" --target qcm
"$root/build/tools/qcm/qcm" demo
