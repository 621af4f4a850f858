#!/usr/bin/env bash
# A short fuzz run of one target over its seed corpus, for the test suite:
#   smoke.sh FUZZ-BUILD TARGET SEED-KIND RUNS [DICTIONARY]
# The seeds are made from the vendor descriptions and the test fixtures on
# first use; the run's own findings go to a scratch folder, never to the seeds.
set -euo pipefail
build=$1 target=$2 kind=$3 runs=$4 dict=${5:-}
here=$(cd "$(dirname "$0")" && pwd)
seeds="$build/seeds/$kind"
# Made again when the seed maker changed (the cache layout may have).
if [ ! -d "$seeds" ] || [ "$build/make_seeds" -nt "$seeds" ]; then
  rm -rf "$seeds" "$seeds.tmp"
  mkdir -p "$seeds.tmp"
  "$build/make_seeds" "$kind" "$seeds.tmp" "$here"/../../shared/genicam-xml/*.xml \
    "$here"/../tests/genapi/fixtures/*.xml >/dev/null
  mv "$seeds.tmp" "$seeds"
fi
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
args=(-runs="$runs" -timeout=20 -rss_limit_mb=3072 -max_len=1048576 -print_final_stats=1
      -artifact_prefix="$scratch/")
[ -n "$dict" ] && args+=(-dict="$here/$dict")
status=0
corpora=("$scratch" "$seeds")
[ -d "$here/regressions/$target" ] && corpora+=("$here/regressions/$target")
"$build/fuzz_$target" "${args[@]}" "${corpora[@]}" >"$scratch/log" 2>&1 || status=$?
if [ $status -ne 0 ]; then
  tail -40 "$scratch/log"
  for finding in "$scratch"/crash-* "$scratch"/leak-* "$scratch"/timeout-* "$scratch"/oom-*; do
    [ -e "$finding" ] && echo "finding: $finding (keep it in fuzz/regressions/$target/ once fixed)"
  done
  exit $status
fi
grep -E '^#[0-9]+ +DONE|stat::number_of_executed_units' "$scratch/log" || true
