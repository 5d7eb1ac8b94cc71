#!/usr/bin/env bash
# Installs what is missing (Debian packages only), builds, and then either starts the configurator
# in the standalone host against the simulated device ("run"), runs the whole suite ("test"), or
# fuzzes every parser for a while ("fuzz"), or checks the sources' formatting ("format").
#   bash setup.sh test --sanitize   the suite built with AddressSanitizer and UndefinedBehaviorSanitizer
#                                   (also ZORVA_SANITIZE=1), in its own build folder (build-asan)
#   bash setup.sh fuzz [SECONDS]    each libFuzzer target for SECONDS (default 20) from its corpus,
#                                   built with clang in build-fuzz
#   bash setup.sh format            every C++ source formatted as .clang-format says
set -euo pipefail

mode=${1:-}
case "$mode" in
run | test | fuzz | format) ;;
*)
    echo "usage: bash setup.sh run | test [--sanitize] | fuzz [SECONDS] | format" >&2
    exit 2
    ;;
esac
sanitize=${ZORVA_SANITIZE:-0}
fuzz_seconds=20
if [ "$mode" = test ] && [ "${2:-}" = --sanitize ]; then
    sanitize=1
elif [ "$mode" = fuzz ] && [ -n "${2:-}" ]; then
    fuzz_seconds=$2
elif [ $# -gt 1 ]; then
    echo "unknown option: $2" >&2
    exit 2
fi

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=${ZORVA_BUILD_DIR:-$here/build}
packages=(cmake make g++ pkg-config qtbase5-dev libqt5serialport5-dev libcpp-httplib-dev libbenchmark-dev)
if [ "$mode" = format ]; then
    packages=(clang-format git)
fi
if [ "$mode" = run ] && [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    packages+=(xvfb xauth)
fi
if [ "$mode" = fuzz ]; then
    # libFuzzer ships in clang's runtime package.
    packages+=(clang libclang-rt-14-dev)
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

if [ "$mode" = format ]; then
    exec bash "$here/tools/check-format"
fi

if [ "$mode" = fuzz ]; then
    build=${ZORVA_FUZZ_BUILD_DIR:-$here/build-fuzz}
    CC=clang CXX=clang++ cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZORVA_FUZZ=ON
    cmake --build "$build" -j "$(nproc)" --target fuzz_targets
    exec bash "$here/tests/fuzz/run-fuzzers" "$build/fuzz" "$fuzz_seconds"
fi

if [ "$sanitize" = 1 ]; then
    # Light optimisation keeps the instrumented build and its run short; every report is fatal.
    build=${ZORVA_SANITIZE_BUILD_DIR:-$here/build-asan}
    cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g1" \
        -DZORVA_SANITIZE=ON
    export ASAN_OPTIONS=${ASAN_OPTIONS:-abort_on_error=1}
    export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
    export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$here/tests/sanitizer/lsan.supp}
else
    cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
fi
cmake --build "$build" -j "$(nproc)"

if [ "$mode" = test ]; then
    cd "$build"
    QT_QPA_PLATFORM=offscreen ctest -j "${ZORVA_CTEST_JOBS:-2}" --output-on-failure
    exit
fi

host=("$build/stage/bin/zorva-host" --simulate)
if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    echo "No display: the host runs on a virtual X display (xvfb-run)."
    exec xvfb-run -a -s "-screen 0 1400x950x24" "${host[@]}"
fi
exec "${host[@]}"
