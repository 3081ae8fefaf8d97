#!/bin/sh
# The demonstration: a handful of typical requests through kcm, one family per
# file in demo/. Lines starting with '#' are printed as headings. What the
# library prints itself (MKL's argument-error reports, on kcm's standard
# error) is shown in place, and a nonzero exit status after the answer.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
kcm=${1:-$root/build/kcm}
for script in "$root"/demo/*.kcm; do
    while IFS= read -r line || [ -n "$line" ]; do
        case "$line" in
            '') ;;
            '#'*) printf '\n%s\n' "$line" ;;
            *) printf '$ kcm %s\n' "$line"
               status=0
               # shellcheck disable=SC2086
               out=$("$kcm" $line 2>&1) || status=$?
               printf '%s\n' "$out" | sed 's/^/  /'
               [ "$status" -eq 0 ] || printf '  (exit status %d)\n' "$status" ;;
        esac
    done < "$script"
done
