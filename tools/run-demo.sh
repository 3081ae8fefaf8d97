#!/bin/sh
# Sets up a Debian 12 machine, builds the library and runs the demonstration.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/tools/setup.sh"
"$root/tools/build.sh"
"$root/tools/demo.sh" "$root/build/kcm"
