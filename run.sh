#!/usr/bin/env bash
# Installs what is missing, builds Release and runs the main job.
set -euo pipefail
cd "$(dirname "$0")"
source scripts/deps.sh
quillon_ensure_packages

build=build/release
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DQUILLON_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j "$(nproc)"
exec "$build/host/quillon" "$@"
