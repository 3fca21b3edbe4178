#!/usr/bin/env bash
# Static checks of the project's own C++ sources: clang-format (the layout of
# .clang-format) and clang-tidy (the checks of .clang-tidy) on the libraries
# and the example. clang-tidy reads the compile commands of a configured build
# directory; generated moc and uic files are never checked.
#
# Usage: scripts/lint.sh [BUILD_DIR]   (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=${1:-build}
jobs=2

mapfile -t formatted < <(git ls-files '*.h' '*.cpp')
echo "clang-format: ${#formatted[@]} files"
clang-format --dry-run -Werror "${formatted[@]}"

if [[ ! -f "$build_dir/compile_commands.json" ]]; then
    echo "lint: no $build_dir/compile_commands.json; configure the build first" >&2
    exit 1
fi
# The libraries' translation units; their headers are checked through them.
mapfile -t checked < <(git ls-files 'toolkits/src/*.cpp')
echo "clang-tidy: ${#checked[@]} files"
printf '%s\n' "${checked[@]}" |
    xargs -P "$jobs" -n 1 clang-tidy --quiet -p "$build_dir" 2> >(grep -v -E '^[0-9]+ warnings? generated' >&2)
echo "lint: clean"
