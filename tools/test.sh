#!/bin/sh
# Sets up a Debian 12 machine, builds everything and runs the whole test suite,
# then the quick hardening checks (the test suite under ASan + UBSan and a
# 20-second run of every fuzz target; tools/hardening.sh).
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/tools/setup.sh"
"$root/tools/build.sh"
(cd "$root/build" && ctest --output-on-failure -j "$(nproc)")
"$root/tools/hardening.sh" --quick
