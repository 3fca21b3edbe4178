#!/usr/bin/env bash
# Checks librkDragger as an outside application sees it: installs a finished
# build into a temporary prefix, checks what was installed (versioned
# libraries, no build-machine paths in the CMake package), builds and runs the
# consumer example once through find_package(RkDragger) and once through
# pkg-config, and makes the Debian package.
#
# Usage: scripts/consumer-check.sh [BUILD_DIR]   (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
source_dir=$(pwd)
build_dir=$(realpath "${1:-build}")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}

fail() {
    echo "consumer-check: $*" >&2
    exit 1
}

echo "== install into $prefix"
cmake --install "$build_dir" --prefix "$prefix" >/dev/null
libdir=$(dirname "$(find "$prefix" -name 'librkDragger.so' -print -quit)")
[[ -d "$libdir" ]] || fail "librkDragger.so not installed"
for library in rkDragger rkHost; do
    soname=$(objdump -p "$libdir/lib$library.so" | awk '/SONAME/ {print $2}')
    [[ "$soname" =~ ^lib$library\.so\.[0-9]+$ ]] || fail "lib$library.so has SONAME '$soname'"
done
for header in rkComposite3DDragger.h rkDraggerReceiver.h rkPlugin.h; do
    [[ -f "$prefix/include/rkDragger/$header" ]] || fail "header $header not installed"
done
if [[ -f "$source_dir/toolkits/src/guiCommon/dragger/rkDraggerDlg.ui" ]]; then
    [[ -f "$prefix/include/rkDragger/ui_rkDraggerDlg.h" ]] || fail "ui_rkDraggerDlg.h not installed"
fi
package_dir="$libdir/cmake/RkDragger"
if grep -n -e "$build_dir" -e "$source_dir" -e 'libosg' "$package_dir"/*.cmake; then
    fail "the CMake package names paths of the build machine"
fi

echo "== consumer through find_package(RkDragger)"
cmake -S examples/consumer -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$work/consumer" -j2 >/dev/null
"$work/consumer/rkConsumer"

echo "== consumer through pkg-config"
export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046 # the flags are meant to split
c++ -std=c++17 -fPIC examples/consumer/main.cpp -o "$work/rkConsumerPkgConfig" \
    $(pkg-config --cflags --libs rkDragger)
LD_LIBRARY_PATH="$libdir" "$work/rkConsumerPkgConfig" >/dev/null

echo "== Debian package"
(cd "$work" && cpack -G DEB --config "$build_dir/CPackConfig.cmake" >/dev/null)
deb=$(find "$work" -maxdepth 1 -name '*.deb' -print -quit)
[[ -n "$deb" ]] || fail "cpack made no .deb"
dpkg-deb --contents "$deb" | grep -E 'usr/lib/librkDragger\.so\.[0-9]+\.[0-9]+\.[0-9]+$' >/dev/null || fail "no librkDragger in $deb"
dpkg-deb --field "$deb" Package Version Depends
echo "consumer-check: passed"
