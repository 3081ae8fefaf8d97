#!/bin/sh
# Installs the independent oracles that generate the reference tables in
# tests/data (not needed to build or test). Run as root after tools/setup.sh.
set -eu
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends r-base-core r-mathlib \
    python3-scipy python3-mpmath python3-numpy r-cran-biasedurn r-cran-mvtnorm
