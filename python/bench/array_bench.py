#!/usr/bin/python3
"""Time array calls of the binding against a plain C loop over the same export
and against SciPy's equivalent, on the same arguments.

    PYTHONPATH=python /usr/bin/python3 python/bench/array_bench.py [--n 1000000] [--runs 5]

The C loop (c_loop.c, beside this script) is compiled here with the system's
C compiler against the built library (build/, or $KCM_LIBRARY and the
header of include/). The three are run in turn, --runs times (so a
change of the machine's load touches all three alike), and each figure is the
median of its runs; the table is
printed as Markdown, ready for docs/benchmarks.md. Keep the machine otherwise
idle: this is a benchmark, not a test.
"""
import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time

import numpy as np
from scipy import stats

import korvane_core_math as kcm

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.path.dirname(os.path.dirname(HERE))


def arguments(export, n):
    """The arguments, formed exactly as c_loop.c forms them."""
    i = np.arange(n)
    if export == "NormalCDF":
        return -6.0 + (12 * i).astype(np.float64) / float(n - 1)
    if export == "BinomialCDF":
        return (i % 101).astype(np.float64)
    return (i + 0.5) / float(n)


# export: (binding call, SciPy call, SciPy's name)
CASES = {
    "NormalCDF": (lambda x: kcm.normal_cdf(x), lambda x: stats.norm.cdf(x), "norm.cdf"),
    "StudentTICDF": (lambda p: kcm.student_t_icdf(p, 10.0), lambda p: stats.t.ppf(p, 10.0),
                     "t.ppf"),
    "BetaCDF": (lambda x: kcm.beta_cdf(x, 2.5, 3.5), lambda x: stats.beta.cdf(x, 2.5, 3.5),
                "beta.cdf"),
    "BinomialCDF": (lambda k: kcm.binomial_cdf(k, 100.0, 0.37),
                    lambda k: stats.binom.cdf(k, 100, 0.37), "binom.cdf"),
}


def timed(call):
    start = time.perf_counter()
    out = call()
    return time.perf_counter() - start, out


def build_c_loop(folder):
    library = os.environ.get("KCM_LIBRARY") or os.path.join(SOURCE, "build",
                                                            "libKorvaneCoreMath.so")
    exe = os.path.join(folder, "c_loop")
    subprocess.run(["cc", "-O2", "-std=c99", "-D_POSIX_C_SOURCE=199309L",
                    "-I", os.path.join(SOURCE, "include"), os.path.join(HERE, "c_loop.c"),
                    library, "-Wl,-rpath," + os.path.dirname(os.path.abspath(library)),
                    "-o", exe], check=True)
    return exe


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--n", type=int, default=1_000_000)
    parser.add_argument("--runs", type=int, default=5)
    opts = parser.parse_args()
    rows = []
    with tempfile.TemporaryDirectory() as folder:
        c_loop = build_c_loop(folder)
        for export, (binding, scipy_call, scipy_name) in CASES.items():
            x = arguments(export, opts.n)
            c_times, b_times, s_times = [], [], []
            for _ in range(opts.runs):
                c_out = subprocess.run([c_loop, export, str(opts.n), "1"], check=True,
                                       capture_output=True, text=True).stdout.split()
                c_times.append(float(c_out[0]))
                b_time, b_out = timed(lambda: binding(x))
                b_times.append(b_time)
                s_times.append(timed(lambda: scipy_call(x))[0])
                if not np.isclose(b_out.sum(), float(c_out[1]), rtol=1e-12):
                    sys.exit(f"{export}: the binding's results differ from the C loop's")
            c_time, b_time, s_time = map(statistics.median, (c_times, b_times, s_times))
            rows.append((export, scipy_name, c_time, b_time, s_time))
            print(f"{export}: C {c_time:.3f} s, binding {b_time:.3f} s, SciPy {s_time:.3f} s",
                  file=sys.stderr)
    print(f"| export ({opts.n:.0e} elements) | C loop (s) | binding (s) | SciPy (s) "
          f"| binding / C | binding / SciPy |")
    print("|---|---|---|---|---|---|")
    for export, scipy_name, c, b, s in rows:
        print(f"| `{export}` (SciPy `{scipy_name}`) | {c:.3f} | {b:.3f} | {s:.3f} "
              f"| {b / c:.2f} | {b / s:.2f} |")


if __name__ == "__main__":
    main()
