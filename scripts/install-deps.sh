#!/usr/bin/env bash
# Installs every Debian package that building, testing and running the demo
# need. Quick when everything is already there: apt is only called for what is
# missing.
set -euo pipefail

packages=(
    cmake g++ make pkg-config
    libopenscenegraph-dev openscenegraph
    qt6-base-dev qt6-base-dev-tools libqt6opengl6-dev
    qtbase5-dev qtbase5-dev-tools libqt5opengl5-dev
    libboost-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    xvfb xauth libgl1-mesa-dri libglx-mesa0 fonts-dejavu-core
    clang-format clang-tidy doxygen
    dpkg-dev file
    clang libclang-rt-14-dev
)

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
    [[ "$status" == "install ok installed" ]] || missing+=("$package")
done

if ((${#missing[@]} == 0)); then
    exit 0
fi

echo "Installing: ${missing[*]}"
sudo_cmd=()
if [[ $(id -u) -ne 0 ]]; then
    sudo_cmd=(sudo)
fi
"${sudo_cmd[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null
