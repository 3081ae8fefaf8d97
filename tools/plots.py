#!/usr/bin/python3
"""Draw the pictures of docs/accuracy.md and docs/benchmarks.md into docs/img.

Accuracy: every row of the reference tables in tests/data is evaluated through
the Python binding, as tools/accuracy.py does, and its error is plotted across
the export's domain, one panel per export: in units in the last place (ulp)
of the reference for the special functions and the distributions, relative
for the Kolmogorov distribution, absolute for the multiple-comparison
probabilities (the figures the tests and the tables on the accuracy page use).
The quantile searches of the Kolmogorov and multiple-comparison distributions
stop at a 24-bit bracket; their panels compare each quantile with the root of
the library's own distribution function found to the last bit by bisection,
which isolates the search from the distribution function's own error.

Benchmarks: the ratio export / peer of every benchmark in docs/data/kcm_bench.json
that has a peer (same name with _Boost, _Rmath, _MKL, ... for _Export, same
arguments), from one run of build/bench/kcm_bench with --benchmark_format=json.

    PYTHONPATH=python /usr/bin/python3 tools/plots.py

Needs matplotlib (python3-matplotlib, installed by tools/setup-oracles.sh) and
a built library. R's standalone math library (libRmath, r-mathlib), where
present, adds R's ptukey to the picture of the df = 1000 step. The figures the
accuracy page quotes for that step and for the 24-bit quantile searches are
printed on standard output.
"""
import csv
import ctypes
import ctypes.util
import json
import math
import re
import sys
from collections import defaultdict
from pathlib import Path

import io

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402
from matplotlib.ticker import LogLocator, NullFormatter  # noqa: E402
from PIL import Image  # noqa: E402 (matplotlib's own dependency)

sys.path.insert(0, str(Path(__file__).resolve().parent))
import accuracy  # noqa: E402
import korvane_core_math as kcm  # noqa: E402

ROOT = Path(__file__).resolve().parent.parent
DATA = ROOT / "tests" / "data"
IMG = ROOT / "docs" / "img"
BENCH_JSON = ROOT / "docs" / "data" / "kcm_bench.json"

DPI = 96
ULP_FLOOR = 0.5      # errors below half an ulp (exact results) are drawn here
ULP_CEILING = 1e17   # NaN or infinite results are drawn here
REL_FLOOR = 1e-17    # the same for the relative and absolute error panels
TOL_24_BITS = 2.0 ** -23  # relative bracket width at which the quantile searches stop

# (picture, title, [(table, oracle label)]) for the tables of one shape.
ULP_FIGURES = [
    ("accuracy-erf-normal.png", "Error function and normal distribution",
     [("erf_normal.csv", "mpmath, 50 digits")]),
    ("accuracy-gamma-beta.png", "Gamma and beta functions",
     [("gamma_beta.csv", "mpmath, 45 digits")]),
    ("accuracy-continuous.png", "Continuous distributions",
     [("continuous.csv", "R 4.2 nmath"), ("noncentral_t.csv", "mpmath, 20 digits")]),
    ("accuracy-discrete.png", "Discrete distributions",
     [("discrete_probability.csv", "R 4.2")]),
]

# The argument drawn along the horizontal axis: the first of these names in
# the export's declaration, else its first argument.
AXIS_NAMES = ("x", "p", "q", "k")


def save(fig, picture):
    """Write the figure as a palette PNG (a third of the size of a full-colour one)."""
    buf = io.BytesIO()
    fig.savefig(buf, dpi=DPI, format="png")
    plt.close(fig)
    buf.seek(0)
    image = Image.open(buf).convert("RGB").quantize(colors=256, method=Image.MEDIANCUT)
    image.save(IMG / picture, optimize=True)


def declarations():
    """Argument names of each export, from the public header."""
    text = (ROOT / "include" / "korvane" / "core_math.h").read_text()
    names = {}
    for m in re.finditer(r"KCM_API\s+\w+\s+(\w+)\(([^)]*)\)", text):
        names[m.group(1)] = [a.split()[-1].lstrip("*") for a in m.group(2).split(",") if a.strip()]
    return names


def signed_log(x):
    """sign(x)·log10(1 + |x|): a symmetric log axis that is linear near 0 and
    takes ±1e300 (matplotlib's own symlog overflows there)."""
    return math.copysign(math.log10(1.0 + abs(x)), x) if math.isfinite(x) else x


def axis_transform(values):
    """The horizontal axis that shows the spread of the values: the values
    unchanged on a linear or log axis, or passed through signed_log."""
    v = np.asarray([x for x in values if math.isfinite(x)])
    if v.size == 0:
        return "linear", lambda x: x
    big, small = np.abs(v).max(), np.abs(v[v != 0]).min(initial=np.inf)
    decades = math.log10(big) - math.log10(small) if 0 < small < np.inf else 0.0
    if v.min() > 0 and decades > 3:
        return "log", lambda x: x
    if v.min() <= 0 and big > 100 and decades > 3:
        return "signed", signed_log
    return "linear", lambda x: x


def style_x_axis(ax, kind, values):
    if kind == "log":
        decades = math.log10(max(values)) - math.log10(min(values))
        ax.set_xscale("log")
        step = next(n for n in (1, 2, 3, 5, 10, 20, 30, 50, 60, 100, 150) if n * 6 >= decades)
        ax.xaxis.set_major_locator(LogLocator(base=10.0 ** step, numticks=8))
        ax.xaxis.set_minor_formatter(NullFormatter())
    elif kind == "signed":
        kn = math.ceil(math.log10(-min(values))) if min(values) < -1 else -1
        kp = math.ceil(math.log10(max(values))) if max(values) > 1 else -1
        step = max(1, math.ceil((kn + kp + 2) / 6))
        ticks = [-k for k in range(0, kn + 1, step)] + [0] + list(range(0, kp + 1, step))
        ax.set_xticks([math.copysign(math.log10(1 + 10.0 ** abs(k)), k) if k else 0.0
                       for k in sorted(set(ticks))])
        ax.set_xticklabels(["0" if k == 0 else (f"$-10^{{{-k}}}$" if k < 0 else f"$10^{{{k}}}$")
                            for k in sorted(set(ticks))])


def ulp_panel_style(ax, worst):
    """Log scale from half an ulp to a decade above the worst error (at least 1000 ulp)."""
    top = 10.0 ** (math.ceil(math.log10(max(worst, 1e3))) + 0.3)
    ax.set_yscale("log")
    ax.set_ylim(ULP_FLOOR / 2, top)
    ax.yaxis.set_major_locator(LogLocator(base=10.0 ** max(1, math.ceil(math.log10(top) / 6)),
                                          numticks=8))
    ax.yaxis.set_minor_formatter(NullFormatter())
    if worst > accuracy.FAR_ULPS:
        ax.axhline(accuracy.FAR_ULPS, color="0.6", lw=0.8, ls=":")
    ax.grid(True, which="major", alpha=0.3)


def ulp_figure(picture, title, tables, names):
    series = defaultdict(list)  # export -> [(oracle, x, error in ulps)]
    for table, oracle in tables:
        for name, args, got, want in accuracy.evaluate(DATA / table):
            arg_names = names.get(name, [])
            pick = next((arg_names.index(a) for a in AXIS_NAMES if a in arg_names), 0)
            e = min(max(accuracy.ulps(got, want), ULP_FLOOR), ULP_CEILING)
            series[name].append((oracle, float(args[pick]), e, arg_names[pick] if arg_names else "x"))
    exports = sorted(series, key=lambda n: list(series).index(n))
    cols = 4
    rows = math.ceil(len(exports) / cols)
    fig, axes = plt.subplots(rows, cols, figsize=(13, 2.4 * rows + 0.75), squeeze=False)
    colours = {oracle: c for (_, oracle), c in zip(tables, ("tab:blue", "tab:orange"))}
    for ax, name in zip(axes.flat, exports):
        pts = series[name]
        raw = [x for _, x, _, _ in pts if math.isfinite(x)]
        kind, move = axis_transform(raw)
        for oracle in colours:
            xs = [move(x) for o, x, _, _ in pts if o == oracle]
            ys = [e for o, _, e, _ in pts if o == oracle]
            if xs:
                ax.scatter(xs, ys, s=9, color=colours[oracle], alpha=0.7,
                           marker="o" if oracle == tables[0][1] else "^", label=oracle)
        style_x_axis(ax, kind, raw)
        worst = max(e for *_, e, _ in pts)
        ulp_panel_style(ax, worst)
        ax.set_title(f"{name}  (worst {worst:.3g} ulp)" if worst > ULP_FLOOR
                     else f"{name}  (all within half an ulp)", fontsize=9)
        ax.set_xlabel(pts[0][3], fontsize=8, labelpad=1)
        ax.tick_params(labelsize=7)
    for ax in axes.flat[len(exports):]:
        ax.set_visible(False)
    for ax in axes[:, 0]:
        ax.set_ylabel("error (ulp)", fontsize=8)
    handles = [plt.Line2D([], [], ls="", marker="o" if o == tables[0][1] else "^", color=c, label=o)
               for o, c in colours.items()]
    if any(e > accuracy.FAR_ULPS for pts in series.values() for *_, e, _ in pts):
        handles.append(plt.Line2D([], [], ls=":", color="0.6", label="1e6 ulp (far-tail rows)"))
    fig.legend(handles=handles, loc="upper right", fontsize=8, ncol=len(handles),
               title="oracle", title_fontsize=8, frameon=False)
    fig.suptitle(f"{title}: error in ulps against the oracle, every row of the reference table\n"
                 f"(results within half an ulp are drawn on the bottom line)", x=0.01,
                 ha="left", fontsize=10)
    fig.tight_layout(rect=(0, 0, 1, 1 - 0.3 / fig.get_figheight()))
    save(fig, picture)


def read_table(path):
    lines = [l for l in path.read_text().splitlines() if l and not l.startswith("#")]
    return list(csv.DictReader(lines))


def relative(got, want):
    if want == 0:
        return 0.0 if got == 0 else abs(got)
    return abs(got - want) / abs(want)


def bisect_root(f, lo, hi):
    """The root of an increasing f on [lo, hi], to adjacent doubles."""
    flo = f(lo)
    for _ in range(2000):
        mid = lo + (hi - lo) / 2
        if mid <= lo or mid >= hi:
            break
        if (f(mid) < 0) == (flo < 0):
            lo = mid
        else:
            hi = mid
    return lo + (hi - lo) / 2


def kolmogorov_figure():
    fig, axes = plt.subplots(1, 3, figsize=(13, 4.8))
    markers = {"R": "o", "durbin": "s", "smirnov": "D", "scipy": "^"}
    region_labels = {"one": "1 exactly (n x² ≥ 18)", "closed": "closed forms",
                     "durbin": "Durbin matrix", "pomeranz": "Pomeranz",
                     "onesided": "one-sided sum", "onesided_asymptotic": "one-sided asymptotic",
                     "pelzgood": "Pelz–Good series"}
    source_labels = {"R": "R (exact)", "durbin": "mpmath, matrix at 60 digits",
                     "smirnov": "mpmath, one-sided sum", "scipy": "SciPy kstwo"}
    regions = set()
    rows = [(r, "R") for r in read_table(DATA / "kolmogorov_r.csv")]
    rows += [(r, r["source"]) for r in read_table(DATA / "kolmogorov_py.csv")]
    for r, _ in rows:
        regions.add(r["region"])
    colour = {reg: plt.cm.tab10(i) for i, reg in enumerate(r for r in region_labels if r in regions)}
    for tail, ax in enumerate(axes[:2]):
        for r, source in rows:
            if int(r["upper"]) != tail:
                continue
            n, x, want = float(r["n"]), float(r["x"]), float(r["expected"])
            got = kcm.kolmogorov_cdf(x, n, upper=bool(tail))
            ax.scatter(n, max(relative(got, want), REL_FLOOR), s=14, color=colour[r["region"]],
                       marker=markers.get(source, "o"), alpha=0.75)
        ax.set_xscale("log")
        ax.set_yscale("log")
        ax.set_ylim(REL_FLOOR / 3, 1e-3)
        ax.grid(True, alpha=0.3)
        ax.set_xlabel("sample size n")
        ax.set_ylabel("relative error")
        ax.set_title("KolmogorovCDF, " + ("upper tail P(D ≥ x)" if tail else "lower tail P(D ≤ x)"),
                     fontsize=10)
    handles = [plt.Line2D([], [], ls="", marker="o", color=c, label=region_labels[reg])
               for reg, c in colour.items()]
    handles += [plt.Line2D([], [], ls="", marker=m, color="0.3", label=source_labels[s])
                for s, m in markers.items()]
    fig.legend(handles=handles, fontsize=8, ncol=6, loc="lower left", frameon=False,
               title="colour: the method the library uses for (n, x); marker: the oracle",
               title_fontsize=8)
    # The quantile: deviation from the root of the library's own CDF.
    ax = axes[2]
    worst = []
    for i, n in enumerate((10, 100, 1000, 10000, 100000)):
        ps, devs = [], []
        for p in (0.01, 0.05, 0.1, 0.25, 0.5, 0.75, 0.9, 0.95, 0.99):
            x = kcm.kolmogorov_icdf(p, n)
            root = bisect_root(lambda t: kcm.kolmogorov_cdf(t, n) - p, 0.5 / n, 1.0)
            ps.append(p)
            devs.append(max(relative(x, root), REL_FLOOR))
            worst.append((devs[-1], n, p, x, root))
        ax.plot(ps, devs, marker="o", ms=4, lw=0.8, label=f"n = {n}", color=plt.cm.viridis(i / 4))
    ax.axhline(TOL_24_BITS / 2, color="tab:red", ls="--", lw=0.9, label="2⁻²⁴ (half the bracket)")
    ax.set_yscale("log")
    ax.set_ylim(REL_FLOOR / 3, 1e-5)
    ax.set_xlabel("p (lower tail)")
    ax.set_ylabel("relative deviation")
    ax.set_title("KolmogorovICDF vs the CDF inverted to the last bit", fontsize=10)
    ax.legend(fontsize=7)
    ax.grid(True, alpha=0.3)
    fig.suptitle("Kolmogorov distribution: error against R's exact distribution, mpmath and SciPy, "
                 "and the 24-bit quantile search", x=0.01, ha="left", fontsize=10)
    fig.tight_layout(rect=(0, 0.14, 1, 1))
    save(fig, "accuracy-kolmogorov.png")
    d, n, p, x, root = max(worst)
    print("KolmogorovICDF against the CDF inverted by bisection (lower tail):")
    print(f"  largest relative deviation {d:.2g} at n = {n}, p = {p}: "
          f"ICDF {x!r}, root {root!r}")


def lambdas(text, k):
    lam = [float(v) for v in text.split(";")]
    return lam + [math.sqrt(0.5)] * (k - len(lam))


def rmath():
    name = ctypes.util.find_library("Rmath")
    if not name:
        return None
    lib = ctypes.CDLL(name)
    lib.ptukey.restype = ctypes.c_double
    lib.ptukey.argtypes = [ctypes.c_double] * 4 + [ctypes.c_int] * 2
    lib.qtukey.restype = ctypes.c_double
    lib.qtukey.argtypes = [ctypes.c_double] * 4 + [ctypes.c_int] * 2
    return lib


def multcomp_figure():
    fig, axes = plt.subplots(2, 2, figsize=(13, 8.4))
    sqrt2 = math.sqrt(2.0)
    tukey = read_table(DATA / "multcomp_tukey.csv")

    # (a) MCaCDF against R's ptukey: worst over the five q rows of each (k, df).
    ax = axes[0, 0]
    worst = defaultdict(dict)
    for r in tukey:
        if r["function"] != "MCaCDF":
            continue
        k, df = int(r["k"]), float(r["df"])
        e = abs(kcm.mca_cdf(float(r["x"]), k, df) - float(r["expected"]))
        worst[k][df] = max(worst[k].get(df, 0.0), e)
    for i, k in enumerate(sorted(worst)):
        colour = plt.cm.viridis(i / (len(worst) - 1))
        for part in ([d for d in sorted(worst[k]) if d < 1000], [d for d in sorted(worst[k]) if d >= 1000]):
            ax.plot(part, [max(worst[k][d], REL_FLOOR) for d in part], marker="o", ms=3, lw=0.8,
                    color=colour, label=f"k = {k}" if part[0] < 1000 else None)
    ax.axvline(1000, color="0.5", ls=":", lw=0.9)
    ax.text(900, 1e-12, "known variance\nfrom df = 1000 →", fontsize=7, color="0.3", ha="right")
    ax.set(xscale="log", yscale="log", ylim=(1e-20, 1e-1), xlabel="degrees of freedom df",
           ylabel="absolute error (worst of 5 q)")
    ax.set_title("MCaCDF vs R ptukey (df = ∞ from 1000 on)", fontsize=10)
    ax.legend(fontsize=7, ncol=5, loc="lower center")

    # (b) MCbCDF and MCcCDF against nested adaptive quadrature and mvtnorm.
    ax = axes[0, 1]
    for fname, colour, call in (("MCbCDF", "tab:blue", kcm.mcb_cdf),
                                ("MCcCDF", "tab:orange", kcm.mcc_cdf)):
        for table, marker, oracle in (("multcomp_quad.csv", "o", "quadrature"),
                                      ("multcomp_mvtnorm.csv", "^", "mvtnorm")):
            xs, ys = [], []
            for r in read_table(DATA / table):
                if r["function"] != fname:
                    continue
                k, df = int(r["k"]), float(r["df"])
                got = call(float(r["x"]), k, df, lambdas=lambdas(r["lambda"], k))
                xs.append(df)
                ys.append(max(abs(got - float(r["expected"])), REL_FLOOR))
            if xs:
                ax.scatter(xs, ys, s=12, marker=marker, color=colour, alpha=0.6,
                           label=f"{fname} vs {oracle}")
    ax.set(xscale="log", yscale="log", ylim=(REL_FLOOR / 3, 1e-1), xlabel="degrees of freedom df",
           ylabel="absolute error")
    ax.set_title("MCbCDF (Hsu), MCcCDF (Dunnett) vs SciPy quadrature and R mvtnorm", fontsize=10)
    ax.legend(fontsize=7)

    # (c) Quantiles: against the oracle's root, and against the root of the
    # library's own CDF (the 24-bit search alone).
    ax = axes[1, 0]
    xs_o, ys_o, xs_s, ys_s = [], [], [], []
    search_worst = []
    for r in tukey:
        if r["function"] != "MCaICDF":
            continue
        p, k, df = float(r["x"]), int(r["k"]), float(r["df"])
        try:
            x = kcm.mca_icdf(p, k, df)
        except kcm.KcmError:
            continue
        xs_o.append(df)
        ys_o.append(max(relative(x, float(r["expected"])), REL_FLOOR))
        if k > 2 and df in (10, 120, 1000):
            root = bisect_root(lambda t: kcm.mca_cdf(t, k, df) - p, 0.5 * x, 2.0 * x)
            xs_s.append(df * 1.1)
            ys_s.append(max(relative(x, root), REL_FLOOR))
            search_worst.append((ys_s[-1], p, k, df, x, root, float(r["expected"]), r["qtukey"]))
    ax.scatter(xs_o, ys_o, s=10, color="tab:blue", alpha=0.6,
               label="vs the root of R's ptukey (to 1e-13): the CDF's error and the search's")
    ax.scatter(xs_s, ys_s, s=14, marker="s", color="tab:purple", alpha=0.8,
               label="vs its own CDF inverted to the last bit: the 24-bit search alone")
    ax.axhline(TOL_24_BITS / 2, color="tab:red", ls="--", lw=0.9, label="2⁻²⁴ (half the 24-bit bracket)")
    ax.set(xscale="log", yscale="log", ylim=(REL_FLOOR / 3, 1e-1), xlabel="degrees of freedom df",
           ylabel="relative error")
    ax.set_title("Quantile MCaICDF (p = 0.5, 0.9, 0.95, 0.99; k = 2 … 100)", fontsize=10)
    ax.legend(fontsize=7, loc="upper right")

    # (d) The step at df = 1000.
    ax = axes[1, 1]
    rlib = rmath()
    dfs = np.concatenate([np.geomspace(100, 999.999, 60), np.geomspace(1000, 20000, 40)])
    steps = []
    for i, (k, p) in enumerate(((3, 0.95), (10, 0.95), (3, 0.5))):
        q = kcm.mca_icdf(p, k, 1000.0)  # the known-variance quantile
        known = kcm.mca_cdf(q, k, 1000.0)
        below = [kcm.mca_cdf(q, k, d) - known for d in dfs[dfs < 1000]]
        above = [kcm.mca_cdf(q, k, d) - known for d in dfs[dfs >= 1000]]
        c = plt.cm.tab10(i)
        label = f"k = {k}, q = {q:.4f} (p = {p} at df ≥ 1000)"
        ax.plot(dfs[dfs < 1000], below, color=c, lw=1.4, label="MCaCDF, " + label)
        ax.plot(dfs[dfs >= 1000], above, color=c, lw=1.4)
        if rlib is not None:
            rvals = [rlib.ptukey(q * sqrt2, 1, k, d, 1, 0) - rlib.ptukey(q * sqrt2, 1, k, math.inf, 1, 0)
                     for d in dfs]
            ax.plot(dfs, rvals, color=c, lw=0.8, ls="--")
    if rlib is not None:
        ax.plot([], [], color="0.4", ls="--", lw=0.8, label="R ptukey (same k, q), minus its df = ∞ value")
    ax.axvline(1000, color="0.5", ls=":", lw=0.9)
    ax.set_xscale("log")
    ax.set_xlabel("degrees of freedom df")
    ax.set_ylabel("CDF(q; df) − CDF(q; df ≥ 1000)")
    ax.set_title("The step at df = 1000: the variance is taken as known from there on", fontsize=10)
    ax.legend(fontsize=7, loc="lower right")
    ax.grid(True, alpha=0.3)
    for a in axes.flat[:3]:
        a.grid(True, alpha=0.3)
    fig.suptitle("Multiple comparisons: error against R 4.2 ptukey/qtukey, SciPy nested quadrature "
                 "and R mvtnorm", x=0.01, ha="left", fontsize=10)
    fig.tight_layout()
    save(fig, "accuracy-multcomp.png")

    print("\nMCaCDF at df = 999.999 and at df = 1000 (step = difference):")
    print("| k | q | df = 999.999 | df = 1000 | step | R ptukey, df 999.999 → ∞ |")
    print("|---|---|---|---|---|---|")
    for k in (3, 5, 10, 20):
        for p in (0.5, 0.95, 0.99):
            q = kcm.mca_icdf(p, k, 1000.0)
            q = float(f"{q:.4g}")
            a, b = kcm.mca_cdf(q, k, 999.999), kcm.mca_cdf(q, k, 1000.0)
            rs = "—"
            if rlib is not None:
                rs = f"{rlib.ptukey(q * sqrt2, 1, k, 999.999, 1, 0) - rlib.ptukey(q * sqrt2, 1, k, math.inf, 1, 0):.3g}"
            print(f"| {k} | {q} | {a:.9f} | {b:.9f} | {a - b:.3g} | {rs} |")
            steps.append(abs(a - b))
    print(f"largest step {max(steps):.3g}")
    if rlib is not None:
        print("R ptukey at df minus at df = inf, at the known-variance 0.95 point:")
        for k in (3, 20):
            q = kcm.mca_icdf(0.05, k, 1000.0, upper=True) * sqrt2
            print(f"  k = {k}: " + ", ".join(
                f"df {d:g}: {rlib.ptukey(q, 1, k, d, 1, 0) - rlib.ptukey(q, 1, k, math.inf, 1, 0):.2g}"
                for d in (1000.0, 2000.0, 10000.0)))
    print("Upper 5 % critical values at df = 999.999 and 1000:")
    for name, call, k in (("MCaICDF", kcm.mca_icdf, 3), ("MCaICDF", kcm.mca_icdf, 20),
                          ("MCcICDF", kcm.mcc_icdf, 5), ("MCbICDF", kcm.mcb_icdf, 5),
                          ("MCaICDF", kcm.mca_icdf, 2)):
        a, b = call(0.05, k, 999.999, upper=True), call(0.05, k, 1000.0, upper=True)
        print(f"  {name} k = {k}: {a:.6f} -> {b:.6f} ({100 * (b - a) / a:+.2f} %)")
    for df in (1000.0, 10000.0):
        q = kcm.mca_icdf(0.95, 2, df)
        print(f"  k = 2, df = {df:g}: MCaCDF(MCaICDF(0.95)) - 0.95 = {kcm.mca_cdf(q, 2, df) - 0.95:.2g}")

    print("\nMCaICDF against the root of its own CDF found by bisection (k > 2, df 10, 120, 1000):")
    search_worst.sort(reverse=True)
    print(f"  {len(search_worst)} quantiles; largest relative deviation {search_worst[0][0]:.2g}, "
          f"median {search_worst[len(search_worst) // 2][0]:.2g}")
    print("| p | k | df | MCaICDF | own CDF inverted | root of R ptukey | R qtukey/√2 |")
    print("|---|---|---|---|---|---|---|")
    for d, p, k, df, x, root, want, qt in search_worst[:4]:
        print(f"| {p} | {k} | {df:g} | {x:.12f} | {root:.12f} | {want:.12f} | {float(qt):.12f} |")


# Peers of an `_Export` benchmark: the same name with one of these in its place.
EXPORT_ROLES = ("Export", "SortDoubleArray")
PEER_LABELS = {"Boost": "Boost.Math", "Rmath": "R nmath", "MKL": "MKL", "MKL_Dgeqp3": "MKL",
               "MKL_Dgelsy": "MKL", "StdMt19937": "std:: / libc", "StdSort": "std:: / libc",
               "LibcQsort": "std:: / libc", "SetulbDirect": "L-BFGS-B setulb"}
BENCH_NAME = re.compile(r"^(?P<fam>.+?)_(?P<role>%s)(?P<tpl><[^>]*>)?(?P<args>/.*)?$"
                        % "|".join(sorted(EXPORT_ROLES + tuple(PEER_LABELS), key=len, reverse=True)))
PEER_DETAIL = {"MKL_Dgeqp3": "DGEQP3+DORMQR+DTRSM", "MKL_Dgelsy": "DGELSY", "StdMt19937": "std::",
               "StdSort": "std::sort", "LibcQsort": "qsort", "SetulbDirect": "setulb"}


# Sections of the chart, in the order of the benchmark page, and the
# benchmark families (the part of the name before _Export) in each.
BENCH_SECTIONS = [
    ("special functions", ("NormalCDF", "NormalICDF", "ErfC", "GammaRegularized",
                           "InverseGammaRegularized", "BetaRegularized", "InverseBetaRegularized")),
    ("continuous", ("StudentTICDF", "ChiSquaredICDF", "FisherFCDF", "NoncentralTCDF")),
    ("discrete", ("BinomialCDF", "PoissonICDF", "HypergeometricCDF")),
    ("sorting", ("Sort",)),
    ("multiple comparisons", ("MCaCDF", "MCaICDF")),
    ("linear algebra", ("Cholesky", "CholeskySolve", "SolveTriangularSystem", "QR", "QRP", "QR_Q",
                        "QR_Qy", "LS", "OLS", "Xb", "EigenSymmetric", "SVD")),
    ("random streams, L-BFGS-B", ("Normal", "Uniform", "LbfgsbStep")),
]
BENCH_ALIASES = {"SVD<false>": "ThinSVD", "SVD<true>": "FullSVD", "Sort": "SortDoubleArray",
                 "Normal": "GenerateRandomNormal", "Uniform": "GenerateRandomUniform",
                 "LbfgsbStep": "LBFGSBStep"}


def bench_label(fam, tpl, args, peer):
    name = BENCH_ALIASES.get(fam + tpl, BENCH_ALIASES.get(fam, fam + tpl))
    parts = [a for a in args.split("/") if a]
    if any(":" in a for a in parts):
        shown = " ".join(a.replace(":", " = ") for a in parts)
    else:
        shown = "×".join(parts)  # matrix sizes m×n, or n
    return f"{name} {shown}".strip() + f"  vs {PEER_DETAIL.get(peer, PEER_LABELS[peer])}"


def benchmark_figure():
    if not BENCH_JSON.exists():
        print(f"\n{BENCH_JSON} not found: benchmark chart not drawn")
        return
    run = json.loads(BENCH_JSON.read_text())
    times, exports = {}, []
    # With --benchmark_repetitions the medians, otherwise the single runs.
    medians = any(b.get("aggregate_name") == "median" for b in run["benchmarks"])
    for b in run["benchmarks"]:
        if medians and b.get("aggregate_name") != "median":
            continue
        m = BENCH_NAME.match(b.get("run_name", b["name"]))
        if not m:
            continue
        key = (m["fam"], m["tpl"] or "", m["args"] or "")
        times[(key, m["role"])] = b["cpu_time"]
        if m["role"] in EXPORT_ROLES:
            exports.append((key, m["role"]))
    section_of = {fam: i for i, (_, fams) in enumerate(BENCH_SECTIONS) for fam in fams}
    exports.sort(key=lambda e: (section_of.get(e[0][0], len(BENCH_SECTIONS)),
                                BENCH_SECTIONS[section_of[e[0][0]]][1].index(e[0][0])
                                if e[0][0] in section_of else 0))
    bars = []  # (section, label, ratio, peer group)
    for key, role in exports:
        for peer in PEER_LABELS:
            if (key, peer) in times:
                section = section_of.get(key[0], len(BENCH_SECTIONS))
                bars.append((section, bench_label(*key, peer),
                             times[(key, role)] / times[(key, peer)], PEER_LABELS[peer]))
    groups = list(dict.fromkeys(g for *_, g in bars))
    colour = {g: plt.cm.tab10(i) for i, g in enumerate(groups)}
    fig, ax = plt.subplots(figsize=(10, 0.19 * len(bars) + 1.3))
    y = np.arange(len(bars))[::-1]
    ratios = np.array([r for _, _, r, _ in bars])
    # Bars run from 1 to the ratio: right, the export is slower; left, faster.
    ax.barh(y, ratios - 1.0, left=1.0, color=[colour[g] for *_, g in bars], height=0.7)
    ax.set_xscale("log")
    ax.axvline(1.0, color="black", lw=0.8)
    ax.set_yticks(y)
    ax.set_yticklabels([l for _, l, _, _ in bars], fontsize=7)
    ax.set_ylim(-0.7, len(bars) - 0.3)
    ax.set_xlabel("CPU time of the export / CPU time of the peer  (log scale; left of 1: the export is faster)")
    ax.set_xlim(min(0.3, ratios.min() / 1.6), max(3.0, ratios.max() * 1.6))
    for yy, r in zip(y, ratios):
        ax.text(r * 1.04 if r >= 1 else r / 1.04, yy, f"{r:.2f}", va="center",
                ha="left" if r >= 1 else "right", fontsize=6)
    for i, (section, *_rest) in enumerate(bars):
        if i == 0 or bars[i - 1][0] != section:
            ax.axhline(y[i] + 0.5, color="0.5", lw=0.6)
            name = BENCH_SECTIONS[section][0] if section < len(BENCH_SECTIONS) else "other"
            ax.text(ax.get_xlim()[1] / 1.05, y[i] + 0.1, name, ha="right", va="top", fontsize=7,
                    style="italic", color="0.3")
    ax.legend(handles=[plt.Rectangle((0, 0), 1, 1, color=colour[g]) for g in groups], labels=groups,
              fontsize=8, loc="center left", title="peer", title_fontsize=8)
    ax.grid(True, axis="x", which="both", alpha=0.3)
    ctx = run.get("context", {})
    load = ctx.get("load_avg") or [float("nan")]
    ax.set_title(f"CPU time of each export against its peer, same arguments, same process\n"
                 f"(kcm_bench {ctx.get('date', '')[:10]}, {ctx.get('num_cpus', '?')} CPUs, "
                 f"load average {load[0]:.1f}{', median of 3 repetitions' if medians else ''})",
                 fontsize=10)
    fig.tight_layout()
    save(fig, "benchmark-ratios.png")
    print(f"\n{len(bars)} export / peer ratios from {BENCH_JSON.relative_to(ROOT)}")


def main():
    IMG.mkdir(parents=True, exist_ok=True)
    names = declarations()
    for picture, title, tables in ULP_FIGURES:
        ulp_figure(picture, title, tables, names)
    kolmogorov_figure()
    multcomp_figure()
    benchmark_figure()
    print("\npictures in", IMG.relative_to(ROOT))


if __name__ == "__main__":
    main()
