#!/usr/bin/env bash
# Builds the libFuzzer harnesses under fuzz/ with clang, AddressSanitizer
# (leak checking included) and UndefinedBehaviorSanitizer, and runs each for
# a fixed time from its seed corpus. A crash, a sanitizer report or a broken
# property stops the run with the reproducer in the build directory.
# FUZZ_SECONDS sets the time per harness (default 60). FUZZ_SEED (default 1)
# fixes libFuzzer's random choices, so that a CI run repeats the same inputs
# and stays green unless the code changed; explore with other seeds.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
build_dir=${FUZZ_BUILD_DIR:-build-fuzz}
seconds=${FUZZ_SECONDS:-60}
seed=${FUZZ_SEED:-1}
# The library gets coverage feedback; the harnesses link libFuzzer itself.
flags="-fsanitize=address,undefined,fuzzer-no-link -fno-omit-frame-pointer"

export ASAN_OPTIONS=detect_leaks=1
export LSAN_OPTIONS="suppressions=$PWD/scripts/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
export QT_QPA_PLATFORM=offscreen

cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang \
    -DCMAKE_CXX_FLAGS="$flags" \
    -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined" \
    -DCMAKE_SHARED_LINKER_FLAGS="-fsanitize=address,undefined" \
    -DRKDRAGGER_BUILD_TESTS=OFF -DRKDRAGGER_BUILD_DEMO=OFF \
    -DRKDRAGGER_BUILD_BENCHMARKS=OFF -DRKDRAGGER_BUILD_FUZZERS=ON >/dev/null
cmake --build "$build_dir" -j2 --target rkEventSequenceFuzzer rkImageDraggerFuzzer

run_fuzzer() {
    local name=$1 seeds=$2
    local corpus="$build_dir/corpus-$name" log="$build_dir/$name.log"
    mkdir -p "$corpus" "$build_dir/artifacts"
    echo "Fuzzing $name for ${seconds}s (log: $log)"
    if ! "$build_dir/fuzz/$name" "$corpus" "$seeds" -max_total_time="$seconds" -seed="$seed" \
        -max_len=4096 -timeout=20 -rss_limit_mb=3072 -print_final_stats=1 \
        -artifact_prefix="$build_dir/artifacts/$name-" >"$log" 2>&1; then
        tail -n 80 "$log"
        echo "$name FAILED; the input that broke it is in $build_dir/artifacts/"
        return 1
    fi
    grep -E '^(Done|stat::number_of_executed_units|stat::peak_rss_mb)' "$log"
}
run_fuzzer rkEventSequenceFuzzer fuzz/corpus/events
run_fuzzer rkImageDraggerFuzzer fuzz/corpus/image
