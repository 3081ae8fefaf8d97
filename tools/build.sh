#!/bin/sh
# Configures and builds everything (library, kcm, tests, benchmarks) in build/.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
# KCM_WERROR=ON (set by .ci/run) makes compiler warnings errors.
cmake -S "$root" -B "$root/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DKCM_WERROR="${KCM_WERROR:-OFF}" >/dev/null
cmake --build "$root/build" -j "$(nproc)"
