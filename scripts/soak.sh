#!/usr/bin/env bash
# Soak run: builds the soak program and sends a million random events through
# a frame dragger and its dialog, printing the resident memory after a
# warm-up and at the end. Fails when memory grows. Extra argument: the number
# of events (default 1000000).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
build_dir=${BUILD_DIR:-build}
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build_dir" -j2 --target rkDraggerSoak
QT_QPA_PLATFORM=offscreen "$build_dir/tests/rkDraggerSoak" "$@"
