#!/usr/bin/python3
"""Measure the library against the reference tables in tests/data.

For every table with a `function` column and an `expected` column, each row
is evaluated through the Python binding (the export named in `function`, its
arguments taken in order from the numeric columns between the two) and the
error is expressed in units in the last place of the expected value. Prints a
Markdown table per file: export, rows, maximum error in ulps, and the
corresponding number of correct significant digits. Rows beyond 1e6 ulps
(about 2e-10 relative: the far-tail rows where Boost itself fails, which the
tests print rather than assert) are counted apart, and the maximum is also
given over the remaining rows.

    PYTHONPATH=python /usr/bin/python3 tools/accuracy.py [tests/data/*.csv]

The tail flag is taken from an `upper` column where there is one. Tables of
another shape are listed as skipped; rows whose export the library lacks, that
take array arguments, or that raise, are not counted.
"""
import csv
import math
import sys
from pathlib import Path

import korvane_core_math as kcm
from korvane_core_math import _native

ROOT = Path(__file__).resolve().parent.parent


# Errors beyond this many ulps are the known failures of the underlying
# evaluation in the far tails, reported apart.
FAR_ULPS = 1e6


def digits(w):
    return "all" if w <= 0.5 else ("0" if math.isinf(w) else f"{max(0.0, 15.65 - math.log10(w)):.1f}")


def ulps(got, want):
    if math.isnan(want) or math.isinf(want):
        return 0.0 if (got == want or (math.isnan(got) and math.isnan(want))) else math.inf
    if math.isnan(got) or math.isinf(got):
        return math.inf
    return abs(got - want) / math.ulp(want if want != 0 else sys.float_info.min)


def evaluate(path):
    """Yield (export, arguments, library value, expected value) for each row of
    a table that has `function` and `expected` columns; None if it has not."""
    lines = [l for l in path.read_text().splitlines() if l and not l.startswith("#")]
    rows = list(csv.DictReader(lines))
    if not rows or "function" not in rows[0] or "expected" not in rows[0]:
        return None
    cols = list(rows[0].keys())
    arg_cols = cols[cols.index("function") + 1:cols.index("expected")]
    return _evaluate_rows(rows, arg_cols)


def _evaluate_rows(rows, arg_cols):
    for row in rows:
        name = row["function"]
        fn = _native.exports.get(name)
        if fn is None or name not in _native.PROTOTYPES:
            continue
        argtypes = _native.PROTOTYPES[name][1]
        try:
            # The tail flag comes from the `upper` column wherever the export
            # takes it; the other arguments from the remaining columns in order.
            values = iter(float(row[c]) for c in arg_cols if c != "upper")
            args = []
            for t in argtypes:
                v = float(row["upper"]) if t is _native.c_ubyte and "upper" in row else next(values)
                args.append(int(v) if t in (_native.c_ubyte, _native.c_int32) else v)
            status = _native.CallStatus()
            got = _native.call(name, status, *args)
            if status.thrown:
                continue
        except (KeyError, ValueError, TypeError, StopIteration):
            continue
        yield name, args, got, float(row["expected"])


def measure(path):
    rows = evaluate(path)
    if rows is None:
        return None
    worst = {}
    for name, _, got, want in rows:
        e = ulps(got, want)
        n, w, k, wk = worst.get(name, (0, 0.0, 0, 0.0))
        far = e > FAR_ULPS
        worst[name] = (n + 1, max(w, e), k + far, wk if far else max(wk, e))
    return worst


def main(paths):
    paths = [Path(p) for p in paths] or sorted((ROOT / "tests" / "data").glob("*.csv"))
    print(f"Library: {kcm.library_path}\n")
    for path in paths:
        worst = measure(path)
        if worst is None:
            print(f"{path.name}: skipped (no function/expected columns)\n")
            continue
        print(f"### {path.name}\n\n| export | rows | max error (ulp) | correct digits "
              f"| rows > 1e6 ulp | max of the others (ulp) | their digits |\n|---|---|---|---|---|---|---|")
        for name, (n, w, k, wk) in sorted(worst.items()):
            print(f"| `{name}` | {n} | {w:.3g} | {digits(w)} | {k} | {wk:.3g} | {digits(wk)} |")
        print()


if __name__ == "__main__":
    main(sys.argv[1:])
