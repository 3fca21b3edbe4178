#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test with ctest.
# Rendering tests need an X display: without one, the run goes under Xvfb.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
build_dir=${BUILD_DIR:-build}
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build_dir" -j2

run_ctest=(ctest --test-dir "$build_dir" --output-on-failure -j2)
if [[ -z "${DISPLAY:-}" ]]; then
    xvfb-run -a -s "-screen 0 1280x1024x24" "${run_ctest[@]}"
else
    "${run_ctest[@]}"
fi

# Sanitizer build of the whole suite, then a timed run of each fuzzer.
scripts/sanitize.sh
scripts/fuzz.sh
