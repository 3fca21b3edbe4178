#!/usr/bin/env bash
# Installs what is missing, builds the demo and opens its window. Without a
# display it runs under Xvfb instead and writes a screenshot, saying where.
# Extra arguments go to the demo (see: scripts/demo.sh --help).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
build_dir=${BUILD_DIR:-build}
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build_dir" -j2 --target rkDraggerDemo rkJogPanelImage
demo="$build_dir/apps/draggerDemo/rkDraggerDemo"

if [[ -n "${DISPLAY:-}" || "$*" == *--help* ]]; then
    exec "$demo" "$@"
fi

screenshot=${SCREENSHOT:-$PWD/$build_dir/rkDraggerDemo.png}
echo "No display: running the demo under Xvfb and saving a screenshot."
QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1280x1024x24" \
    "$demo" --screenshot "$screenshot" "$@"
