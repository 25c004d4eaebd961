#!/usr/bin/env bash
# Builds the benchmarks and runs them one after another, keeping only each
# one's closing table (peer time / our time) and the max-error lines that
# stand beside the ratios.  Run it on a quiet machine: the ratios are taken
# within one run, but other load still shows in them.
#   bash scripts/bench.sh                 every benchmark
#   bash scripts/bench.sh random gaussian the named ones
set -euo pipefail
cd "$(dirname "$0")/.."
log=$(mktemp)
bash scripts/build.sh -DQLM_BUILD_BENCH=ON >"$log" 2>&1 || { cat "$log"; exit 1; }
rm -f "$log"
names=("$@")
if [ ${#names[@]} -eq 0 ]; then
    for f in bench/*.cpp; do
        n=$(basename "$f" .cpp)
        [ "$n" = bench_support ] || names+=("$n")
    done
fi
for n in "${names[@]}"; do
    echo "== bench_$n"
    "build/bin/bench_$n" --benchmark_min_time=0.2 2>/dev/null | sed 's/\x1b\[[0-9;]*m//g' |
        awk '/max error/ {print; next} /^ours / {table = 1} table && NF {print}'
done
