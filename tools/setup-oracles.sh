#!/bin/sh
# Installs the independent oracles that generate the reference tables in
# tests/data, and matplotlib for the pictures of the accuracy and benchmark
# pages (tools/plots.py); none of it is needed to build or test. Run as root
# after tools/setup.sh.
set -eu
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends r-base-core r-mathlib \
    python3-scipy python3-mpmath python3-numpy r-cran-biasedurn r-cran-mvtnorm \
    python3-matplotlib
