#!/usr/bin/env bash
# Whole processes against each other: `quillon tree --xml FILE` (from the
# node-map cache, and parsing the file) and Aravis loading the same file and
# walking its features (bench/aravis_tree.c), run alternately so that both
# meet the same load of the machine. Prints the median, the fastest and the
# slowest wall time of each, the ratios of the medians, and peak memory.
#
#   bench/compare_aravis.sh [BUILD_DIR] [FILE.xml] [RUNS]
#
# BASELINE=/path/to/another/quillon adds that build's tree (with its own
# cache) and --help to the same runs, for before-and-after figures.
#
# BUILD_DIR defaults to build/release (configure it with
# -DCMAKE_BUILD_TYPE=Release; aravis_tree is built when libaravis-dev is
# installed). Needs only bash and GNU time (/usr/bin/time, package "time").
set -euo pipefail

build=${1:-build/release}
file=${2:-../shared/genicam-xml/Basler_a2A2600-20gmBAS.xml}
runs=${3:-40}
quillon=$build/host/quillon
aravis=$build/bench/aravis_tree
for program in "$quillon" "$aravis" /usr/bin/time; do
    [[ -x $program ]] || { echo "compare_aravis: $program is missing" >&2; exit 2; }
done

cache=$(mktemp -d)
trap 'rm -rf "$cache"' EXIT
baseline=${BASELINE:-}

# Each command as the arguments of env, for GNU time to measure the program itself.
declare -A commands=(
    [cached]="GENICAM_CACHE_V3_4=$cache $quillon tree --xml $file"
    [parsed]="GENICAM_CACHE_V3_4= $quillon tree --xml $file"
    [startup]="$quillon --help"
    [walk]="$aravis $file"
)
names=(cached parsed startup walk)
labels=("quillon tree --xml (cache)" "quillon tree --xml (parse)" "quillon --help" "aravis_tree")
if [[ -n $baseline ]]; then
    mkdir "$cache/baseline"
    commands[base_cached]="GENICAM_CACHE_V3_4=$cache/baseline $baseline tree --xml $file"
    commands[base_parsed]="GENICAM_CACHE_V3_4= $baseline tree --xml $file"
    commands[base_startup]="$baseline --help"
    names+=(base_cached base_parsed base_startup)
    labels+=("baseline tree --xml (cache)" "baseline tree --xml (parse)" "baseline --help")
fi
run() { # started straight from the shell, as a user would
    case $1 in
    cached) GENICAM_CACHE_V3_4=$cache "$quillon" tree --xml "$file" ;;
    parsed) GENICAM_CACHE_V3_4= "$quillon" tree --xml "$file" ;;
    startup) "$quillon" --help ;;
    walk) "$aravis" "$file" ;;
    base_cached) GENICAM_CACHE_V3_4=$cache/baseline "$baseline" tree --xml "$file" ;;
    base_parsed) GENICAM_CACHE_V3_4= "$baseline" tree --xml "$file" ;;
    base_startup) "$baseline" --help ;;
    esac >/dev/null
}

# The cache written, both programs' files in the page cache.
for name in "${names[@]}"; do run "$name"; done

declare -A times
for ((i = 0; i < runs; ++i)); do
    for name in "${names[@]}"; do
        start=$EPOCHREALTIME
        run "$name"
        end=$EPOCHREALTIME
        times[$name]+="$(awk -v a="$start" -v b="$end" 'BEGIN { printf "%.3f", (b - a) * 1000 }') "
    done
done

median() { tr ' ' '\n' | sed '/^$/d' | sort -n | awk '{ v[NR] = $1 } END {
    m = NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2
    printf "%.2f %.2f %.2f", m, v[1], v[NR] }'; }
peak() { # the median of five runs' peak resident size, KiB
    for _ in 1 2 3 4 5; do /usr/bin/time -f %M env ${commands[$1]} 2>&1 >/dev/null | tail -1; done |
        sort -n | sed -n 3p; }

echo "$(basename "$file"), $runs alternating runs each; $(nproc) cores, $(lscpu | sed -n 's/^Model name: *//p'), load $(cut -d' ' -f1-3 /proc/loadavg)"
printf '%-30s %10s %10s %10s %12s\n' "" "median ms" "fastest" "slowest" "peak KiB"
declare -A med
for i in "${!names[@]}"; do
    read -r m lo hi <<<"$(median <<<"${times[${names[$i]}]}")"
    med[${names[$i]}]=$m
    printf '%-30s %10s %10s %10s %12s\n' "${labels[$i]}" "$m" "$lo" "$hi" "$(peak "${names[$i]}")"
done
awk -v w="${med[walk]}" -v c="${med[cached]}" -v p="${med[parsed]}" 'BEGIN {
    printf "aravis_tree / quillon tree (cache): %.1f times\n", w / c
    printf "aravis_tree / quillon tree (parse): %.1f times\n", w / p }'
