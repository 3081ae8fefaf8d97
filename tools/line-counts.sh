#!/bin/sh
# Lines of test code against lines of product code, and their ratio (aim:
# 0.25 to 0.33). Every git-tracked line counts, blank and comment lines too.
#   tests:   tests/ but its reference data (tests/data) and their generators
#            (tests/gen), python/tests, fuzz/ but its seed corpus;
#   product: src, include, cli, python/ but its tests.
set -eu
cd "$(dirname "$0")/.."
lines() { git ls-files -z -- "$@" | xargs -0 cat | wc -l; }
tests=$(lines tests ':!tests/data' ':!tests/gen' python/tests fuzz ':!fuzz/corpus')
product=$(lines src include cli python ':!python/tests')
printf 'tests   %6d\nproduct %6d\nratio   %6.3f\n' "$tests" "$product" \
    "$(echo "$tests $product" | awk '{print $1 / $2}')"
