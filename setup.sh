#!/usr/bin/env bash
# Installs what is missing (Debian packages only), builds, and then either starts the configurator
# in the standalone host against the simulated device ("run") or runs the whole suite ("test").
set -euo pipefail

mode=${1:-}
case "$mode" in
run | test) ;;
*)
    echo "usage: bash setup.sh run|test" >&2
    exit 2
    ;;
esac

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=${ZORVA_BUILD_DIR:-$here/build}
packages=(cmake make g++ pkg-config qtbase5-dev libqt5serialport5-dev libcpp-httplib-dev)
if [ "$mode" = run ] && [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    packages+=(xvfb xauth)
fi

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "Installing: ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" -j "$(nproc)"

if [ "$mode" = test ]; then
    cd "$build"
    QT_QPA_PLATFORM=offscreen ctest -j2 --output-on-failure
    exit
fi

host=("$build/stage/bin/zorva-host" --simulate)
if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    echo "No display: the host runs on a virtual X display (xvfb-run)."
    exec xvfb-run -a -s "-screen 0 1400x950x24" "${host[@]}"
fi
exec "${host[@]}"
