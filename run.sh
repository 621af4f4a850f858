#!/usr/bin/env bash
# Installs what is missing, builds Release and runs the main job.
set -euo pipefail
cd "$(dirname "$0")"
source scripts/deps.sh
quillon_ensure_packages

build=build/release
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DQUILLON_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j "$(nproc)"
# With the browser window built, the main job also saves a picture of it.
if [ $# -eq 0 ] && [ -e "$build/browser/libquillon_gui.a" ]; then
  "$build/host/quillon"
  echo
  exec "$build/host/quillon" --screenshot "$build/quillon.png"
fi
exec "$build/host/quillon" "$@"
