#!/bin/sh
# Sets up a Debian 12 machine, builds everything and runs the whole test suite.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/tools/setup.sh"
"$root/tools/build.sh"
cd "$root/build" && ctest --output-on-failure -j "$(nproc)"
