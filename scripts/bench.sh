#!/usr/bin/env bash
# Installs what is missing, builds the benchmarks (Release, own build
# directory) and runs them: the library's draggers beside osgManipulator's
# stock draggers, in one run. Prints the table of medians and ratios that
# docs/performance.md shows. Extra arguments go to the benchmark binary
# (e.g. --benchmark_filter=Press). Build output and the raw benchmark report go
# to stderr, the machine and the table to stdout.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh >&2
build_dir=${BUILD_DIR:-build-bench}
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=Release -DRKDRAGGER_BUILD_BENCHMARKS=ON \
    -DRKDRAGGER_BUILD_TESTS=OFF -DRKDRAGGER_BUILD_DEMO=OFF >/dev/null
cmake --build "$build_dir" -j2 --target rkDraggerBench >&2

results="$build_dir/bench-results.json"
QT_QPA_PLATFORM=offscreen "$build_dir/bench/rkDraggerBench" \
    --benchmark_repetitions="${BENCH_REPETITIONS:-5}" \
    --benchmark_min_time="${BENCH_MIN_TIME:-0.1}" \
    --benchmark_report_aggregates_only=true \
    --benchmark_out="$results" --benchmark_out_format=json "$@" >&2

echo
echo "Machine: $(lscpu | sed -n 's/^Model name: *//p'), $(nproc) cores"
echo "Results: $results"
echo
python3 scripts/benchTable.py "$results"
