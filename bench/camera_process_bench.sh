#!/usr/bin/env bash
# Whole processes against one GigE Vision camera (Aravis's fake camera on
# 127.0.0.1, in a private network namespace with only loopback): `quillon
# tree --camera ID` against `arv-tool-0.8 -n ID values`, alternating, in one
# run. Prints each side's median wall and CPU time and their ratios.
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

# Alternating runs, each timed by its wall clock and by the CPU time its
# process used (user + system, from wait4): both medians and their ratio.
python3 - "$build/host/quillon" "$camera" "$runs" <<'PYTHON'
import os, statistics, subprocess, sys, time
quillon, camera, runs = sys.argv[1], sys.argv[2], int(sys.argv[3])
commands = {"quillon tree --camera " + camera: [quillon, "tree", "--camera", camera],
            "arv-tool-0.8 -n " + camera + " values": ["arv-tool-0.8", "-n", camera, "values"]}
def run(argv):
    start = time.perf_counter_ns()
    child = subprocess.Popen(argv, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    out = child.stdout.read()
    _, status, usage = os.wait4(child.pid, 0)
    wall = (time.perf_counter_ns() - start) / 1e6
    if status != 0 or b"Width" not in out:
        sys.exit("camera_process_bench: %s printed no tree" % argv[0])
    return wall, (usage.ru_utime + usage.ru_stime) * 1e3
for argv in commands.values():
    run(argv)  # warm both up once
times = {name: [] for name in commands}
for _ in range(runs):
    for name, argv in commands.items():
        times[name].append(run(argv))
print("runs: %d each, alternating; load average: %s" % (runs, " ".join(open("/proc/loadavg").read().split()[:3])))
medians = {}
for name, samples in times.items():
    medians[name] = [statistics.median(s[i] for s in samples) for i in (0, 1)]
    print("%-40s median wall %6.2f ms, cpu %6.2f ms" % (name + ":", *medians[name]))
q, a = medians.values()
print("quillon / arv-tool: wall %.2f, cpu %.2f" % (q[0] / a[0], q[1] / a[1]))
PYTHON
