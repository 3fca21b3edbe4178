#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test with ctest,
# then runs the linters, then builds and tests again against Qt 5.15.
# Rendering tests need an X display: without one, the runs go under Xvfb.
#
# Environment: BUILD_DIR (default build), BUILD_DIR_QT5 (default build-qt5),
# RKDRAGGER_SKIP_QT5=1 skips the Qt 5 build.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
build_dir=${BUILD_DIR:-build}
build_dir_qt5=${BUILD_DIR_QT5:-build-qt5}

run_ctest() {
    local run=(ctest --test-dir "$1" --output-on-failure -j2)
    if [[ -z "${DISPLAY:-}" ]]; then
        xvfb-run -a -s "-screen 0 1280x1024x24" "${run[@]}"
    else
        "${run[@]}"
    fi
}

# The main build: the newest Qt present (Qt 6), with the API reference.
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build_dir" -j2
run_ctest "$build_dir"
scripts/lint.sh "$build_dir"

# The same libraries and tests against Qt 5.15; benchmarks and the reference
# do not depend on the Qt version and are left to the main build.
if [[ "${RKDRAGGER_SKIP_QT5:-0}" != 1 ]]; then
    cmake -S . -B "$build_dir_qt5" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DRKDRAGGER_QT_MAJOR=5 \
        -DRKDRAGGER_BUILD_BENCHMARKS=OFF -DRKDRAGGER_BUILD_DOCS=OFF
    cmake --build "$build_dir_qt5" -j2
    run_ctest "$build_dir_qt5"
fi

# Sanitizer build of the whole suite, then a timed run of each fuzzer.
scripts/sanitize.sh
scripts/fuzz.sh
