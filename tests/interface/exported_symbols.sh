#!/bin/sh
# Lists the dynamic symbols the shared library defines and fails on any that is
# not one of the exports declared in the public header (Boost, MKL or libstdc++
# symbols must not leak out). Reports how many of the declared exports exist.
set -eu
library=$1
header=$2

declared=$(sed -n 's/^KCM_API [^(]*[ *]\([A-Za-z_0-9]*\)(.*/\1/p' "$header" | sort -u)
defined=$(nm -D --defined-only "$library" | awk '{print $3}' | sed 's/@.*//' | sort -u)

unexpected=$(printf '%s\n' "$defined" | grep -vxF "$declared" || true)
present=$(printf '%s\n' "$defined" | grep -cxF "$declared" || true)
total=$(printf '%s\n' "$declared" | wc -l)

echo "exports defined: $present of $total declared"
if [ -n "$unexpected" ]; then
    echo "symbols exported that are not in the public header:"
    printf '  %s\n' $unexpected
    exit 1
fi
[ "$total" -eq 91 ] || { echo "the header declares $total exports, not 91"; exit 1; }
