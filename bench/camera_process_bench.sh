#!/usr/bin/env bash
# Whole processes against one GigE Vision camera (Aravis's fake camera on
# 127.0.0.1, in a private network namespace with only loopback): `quillon
# tree --camera ID` against `arv-tool-0.8 -n ID values`, alternating, in one
# run. Prints each side's median wall time and their ratio.
#
#   bench/camera_process_bench.sh [BUILD-DIR] [RUNS]   (as root; default build/release, 30)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
runs=${2:-30}
camera=Aravis-Fake-GV01

if [ "${QUILLON_PRIVATE_NETWORK:-}" != 1 ]; then
  if ! command -v arv-tool-0.8 >/dev/null; then
    echo "camera_process_bench: skipped: arv-tool-0.8 is missing (apt-get install aravis-tools-cli)"
    exit 0
  fi
  if [ "$(id -u)" -ne 0 ] || ! unshare --net true 2>/dev/null; then
    echo "camera_process_bench: skipped: a private network namespace needs root (unshare --net)"
    exit 0
  fi
  QUILLON_PRIVATE_NETWORK=1 exec unshare --net -- "$0" "$build" "$runs"
fi

ip link set lo up
"$build/bench/fake_gv_camera" >/dev/null &
server=$!
trap 'kill $server 2>/dev/null' EXIT
sleep 0.3

# One run: "wall cpu" in microseconds (cpu: user + system); the output must
# be the tree.
TIMEFORMAT='%3R %3U %3S'
measure() {
  local out=/tmp/camera_process_bench.$$ times
  times=$( { time "$@" >"$out" 2>/dev/null; } 2>&1 )
  grep -q "Width" "$out" || { echo "camera_process_bench: $1 printed no Width" >&2; exit 1; }
  awk '{printf "%d %d\n", $1 * 1e6, ($2 + $3) * 1e6}' <<<"$times"
}

quillon=() arv=()
"$build/host/quillon" tree --camera "$camera" >/dev/null # warm both up once
arv-tool-0.8 -n "$camera" values >/dev/null
for ((i = 0; i < runs; i++)); do
  quillon+=("$(measure "$build/host/quillon" tree --camera "$camera")")
  arv+=("$(measure arv-tool-0.8 -n "$camera" values)")
done
rm -f /tmp/camera_process_bench.$$

# The median of column $1 of the "wall cpu" pairs that follow.
median() {
  local column=$1
  shift
  printf '%s\n' "$@" | awk -v c="$column" '{print $c}' | sort -n |
    awk '{a[NR] = $1} END {print (NR % 2) ? a[(NR + 1) / 2] : (a[NR / 2] + a[NR / 2 + 1]) / 2}'
}
qw=$(median 1 "${quillon[@]}") qc=$(median 2 "${quillon[@]}")
aw=$(median 1 "${arv[@]}") ac=$(median 2 "${arv[@]}")
echo "runs: $runs each, alternating; load average: $(cut -d' ' -f1-3 /proc/loadavg)"
echo "quillon tree --camera $camera:    median wall $qw us, cpu $qc us"
echo "arv-tool-0.8 -n $camera values: median wall $aw us, cpu $ac us"
awk -v qw="$qw" -v aw="$aw" -v qc="$qc" -v ac="$ac" \
  'BEGIN {printf "quillon / arv-tool: wall %.2f, cpu %.2f\n", qw / aw, qc / ac}'
