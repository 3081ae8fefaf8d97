#!/bin/sh
# The demonstration: a handful of typical requests through kcm, one family per
# file in demo/. Lines starting with '#' are printed as headings.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
kcm=${1:-$root/build/kcm}
for script in "$root"/demo/*.kcm; do
    while IFS= read -r line || [ -n "$line" ]; do
        case "$line" in
            '') ;;
            '#'*) printf '\n%s\n' "$line" ;;
            *) printf '$ kcm %s\n' "$line"
               # shellcheck disable=SC2086
               "$kcm" $line | sed 's/^/  /' ;;
        esac
    done < "$script"
done
