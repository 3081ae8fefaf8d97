#!/bin/sh
# one_blas.sh LIBRARY CROWDED_HOST
#
# Shows which BLAS/LAPACK the library and its L-BFGS-B solver run, three ways:
# 1. the shared object needs no BLAS, LAPACK, MKL, OpenMP-other-than-GNU or
#    L-BFGS-B library at all;
# 2. it leaves no BLAS, LAPACK or solver symbol for the dynamic linker: every
#    undefined symbol it has is a versioned one of the C, C++, GNU OpenMP or
#    Fortran runtimes, so its calls to dpotrf_, ddot_ or setulb_ were bound
#    inside it (to MKL) when it was linked;
# 3. in a host that already has the reference LAPACK in its global scope and
#    runs GNU OpenMP, with every binding resolved at load (LD_BIND_NOW), the
#    dynamic linker binds nothing of the library's to that LAPACK or BLAS, and
#    an illegal argument is reported by MKL's error handler (reference
#    LAPACK's would have printed its own message and ended the process).
set -eu
library=$1 host=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "FAIL: $*"; exit 1; }

needed=$(readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
echo "needed:" $needed
echo "$needed" | grep -E 'blas|lapack|mkl|lbfgsb|iomp|omp5|openblas' \
    && fail "the library needs a BLAS, LAPACK, MKL, L-BFGS-B or non-GNU OpenMP library"

# Undefined, non-weak, without a symbol version: what any library in the
# process could provide.
loose=$(nm -D --undefined-only "$library" | awk '$1 == "U" && $2 !~ /@/ {print $2}')
[ -z "$loose" ] || fail "symbols left for the dynamic linker to find anywhere: $loose"
echo "undefined symbols: all versioned ($(nm -D --undefined-only "$library" | sed -n 's/.*@\([A-Z]*\).*/\1/p' | sort -u | tr '\n' ' '))"

LD_BIND_NOW=1 LD_DEBUG=bindings LD_DEBUG_OUTPUT="$scratch/ld" "$host" "$library" >"$scratch/out" 2>&1 \
    || { cat "$scratch/out"; fail "the crowded host failed"; }
grep -q 'passed, 0 failed' "$scratch/out" || { cat "$scratch/out"; fail "the crowded host did not finish"; }
grep -q 'MKL ERROR: Parameter 1 was incorrect on entry to DPOTRF' "$scratch/out" \
    || { cat "$scratch/out"; fail "Cholesky's illegal argument was not reported by MKL"; }
name=$(basename "$library")
cat "$scratch"/ld.* >"$scratch/bindings"
from_library=$(grep "binding file [^ ]*$name" "$scratch/bindings" || true)
[ -n "$from_library" ] || fail "no binding of the library was reported"
stray=$(echo "$from_library" | grep -E 'to [^ ]*(blas|lapack|mkl|lbfgsb|omp5)' || true)
[ -z "$stray" ] || fail "the library was bound to another BLAS/LAPACK: $stray"
host_lapack=$(grep -c "binding file $host .* to [^ ]*liblapack" "$scratch/bindings" || true)
[ "$host_lapack" -gt 0 ] || fail "the host's own LAPACK was not in use (the check would prove nothing)"
echo "bindings of $name: $(echo "$from_library" | wc -l), none to a BLAS or LAPACK;" \
     "the host's dpotrf_ bound to its own LAPACK"
echo "one_blas: MKL inside the library serves the library and its L-BFGS-B solver"
