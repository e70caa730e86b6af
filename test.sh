#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs what is missing, builds with warnings as errors and runs all tests, then again under the address and
# undefined-behaviour sanitizers.
#   --long  run the kill, fault, fuzz and monkey suites whole instead of a sample; their counts go to docs/
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")"
. scripts/common.sh

for word in "$@"; do
    case $word in
    --long) export BRAMBURY_LONG=1 ;;
    *)
        echo "test.sh: unknown option $word (there is --long)" >&2
        exit 2
        ;;
    esac
done

install_packages build run test
use_ccache

# The tests meet none of the user's own things: no display, no session, no program folder, no proxy.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -m 700 "$scratch/runtime"
export XDG_RUNTIME_DIR=$scratch/runtime
unset DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM BRAMBURY_HOME BRAMBURY_OFFLINE http_proxy HTTP_PROXY https_proxy \
    HTTPS_PROXY all_proxy ALL_PROXY

for preset in dev asan; do
    echo "== $preset"
    cmake --preset $preset
    cmake --build --preset $preset -j2
    ctest --preset $preset
done
echo "All tests passed."
