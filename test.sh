#!/usr/bin/env bash
# Installs what is missing, builds with AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs every test. Exits non-zero on any failure.
set -euo pipefail
cd "$(dirname "$0")"
source scripts/deps.sh
quillon_ensure_packages

build=build/asan
jobs=$(nproc)
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Debug -DQUILLON_SANITIZE=ON -DQUILLON_BUILD_BENCH=ON >/dev/null
cmake --build "$build" -j "$jobs"
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
ctest --test-dir "$build" --output-on-failure -j "$jobs"
