#!/bin/sh
# Configures and builds everything (library, kcm, tests, benchmarks) in build/.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
cmake -S "$root" -B "$root/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$root/build" -j "$(nproc)"
