#!/bin/sh
# Installs everything the build, tests and benchmarks need from Debian's
# packages on a Debian 12 machine. Run as root; safe to run again.
set -eu

export DEBIAN_FRONTEND=noninteractive

# MKL lives in the non-free component: add it to every deb822 source of the
# archive the machine already uses (and to a classic sources.list if present).
for f in /etc/apt/sources.list.d/debian.sources; do
    [ -f "$f" ] || continue
    if ! grep -q '^Components:.*non-free\( \|$\)' "$f"; then
        sed -i 's/^Components: main$/Components: main non-free non-free-firmware/' "$f"
    fi
done
if [ -f /etc/apt/sources.list ] && grep -q '^deb .*debian' /etc/apt/sources.list \
   && ! grep -q 'non-free' /etc/apt/sources.list; then
    sed -i '/^deb .*debian/ s/ main$/ main non-free non-free-firmware/' /etc/apt/sources.list
fi

# Nothing is left to recommends (installed with --no-install-recommends):
# - MKL's and L-BFGS-B's static archives come with their -dev packages and are
#   linked into the library; at run time it needs libgomp1 (with gcc) and
#   libgfortran5 (with liblbfgsb-dev);
# - liblapack3 and libblas3: the reference LAPACK that the crowded-host test
#   puts beside the library;
# - mono-mcs and mono-runtime: the managed host of the host tests;
# - llvm-14: llvm-symbolizer, without which the sanitizers print bare
#   addresses and their suppressions, which name functions, match nothing;
# - python3-pip, python3-venv, python3-setuptools, python3-wheel: `pip install .`
#   of the Python binding, offline, into a throw-away environment;
# - python3-dask, python3-distributed: the binding's arrays on a local cluster.
packages="build-essential cmake pkg-config ninja-build git
  libboost-dev libmkl-dev liblbfgsb-dev libgfortran5 liblapack3 libblas3
  libgtest-dev libgmock-dev libbenchmark-dev
  r-mathlib
  python3 python3-numpy python3-scipy python3-pytest
  python3-pip python3-venv python3-setuptools python3-wheel
  python3-dask python3-distributed
  mono-mcs mono-runtime
  clang libclang-rt-14-dev llvm-14 valgrind binutils"

missing=""
for p in $packages; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' \
        || missing="$missing $p"
done
if [ -n "$missing" ]; then
    # MKL's package asks whether to make it the default BLAS/LAPACK: keep the answer "no".
    echo "libmkl-rt libmkl-rt/use-as-default-blas-lapack boolean false" | debconf-set-selections
    apt-get update -qq
    apt-get install -y -qq --no-install-recommends $missing
fi
