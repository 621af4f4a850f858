#!/usr/bin/env bash
# Installs what is missing, builds Release and runs the main job.
set -euo pipefail
cd "$(dirname "$0")"
source scripts/deps.sh
quillon_ensure_packages

build=build/release
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DQUILLON_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j "$(nproc)"
# The main job: the quillon host loads libquillon.so and shows the browser
# over the simulated system, or over a camera (./run.sh --camera ID). Without
# a display it prints the feature tree and saves the window as
# build/release/quillon.png.
host_options() { [ $# -eq 0 ] || { [ "$1" = --camera ] || [ "$1" = --xml ]; } && [[ " $* " != *" --image "* ]]; }
if host_options "$@" && [ -e "$build/controller/libquillon.so" ]; then
  exec "$build/host/quillon" "$@" --image "$build/quillon.png"
fi
exec "$build/host/quillon" "$@"
