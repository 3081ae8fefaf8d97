#!/usr/bin/python3
"""kcm from the shell: output modes, exit statuses, strict flags, batch input.

    kcm_test.py KCM VERSION

Expected values come from outside the library: Python's math module (libm's
erfc), exact arithmetic (a Cholesky factor with integer entries), CPython's
random module (an independent MT19937) and the exports' documented
contracts. Standard library only.
"""
import json
import math
import random
import subprocess
import sys

KCM, VERSION = sys.argv[1], sys.argv[2]
failures = []
checks = 0


def kcm(args, stdin=None):
    return subprocess.run([KCM, *args], input=stdin, capture_output=True, text=True, timeout=300)


def check(what, ok, r):
    global checks
    checks += 1
    if not ok:
        failures.append(f"{what}\n  exit {r.returncode}\n  stdout: {r.stdout!r}\n"
                        f"  stderr: {r.stderr!r}")


def close(a, b, rel):
    return abs(a - b) <= rel * abs(b)


def uniforms(seed, first, count):
    """GenerateRandomUniform on [0, 1): the raw 32-bit outputs over 2^32."""
    random.seed(seed)
    words = [random.getrandbits(32) for _ in range(first + count)]
    return [w / 2 ** 32 for w in words[first:]]


def dice(seed, count):
    """RandomUniformInteger on [1, 7): floor(1 + 6 w / 2^32)."""
    random.seed(seed)
    return [math.floor(1 + 6 * random.getrandbits(32) / 2 ** 32) for _ in range(count)]


def as_json(r):
    return json.loads(r.stdout)


UPPER_1_96 = math.erfc(1.96 / math.sqrt(2)) / 2  # P(Z > 1.96)
CHOLESKY = ["3", "3", "4,2,2,2,5,3,2,3,6"]       # [4 2 2; 2 5 3; 2 3 6] = L L^T
L = [[2, 0, 0], [1, 2, 0], [1, 1, 2]]


def lower(a):
    return [[a[i][j] for j in range(i + 1)] for i in range(len(a))]


# (arguments, exit status, check of the completed process): one call each.
CALLS = [
    # Value mode: the number alone, 17 significant digits.
    (["--value", "NormalICDF", "0.975", "0", "1", "0"], 0,
     lambda r: r.stdout == "1.959963984540054\n"),
    (["NormalICDF", "0.975", "0", "1", "0"], 0,
     lambda r: r.stdout == "NormalICDF = 1.959963984540054\nerrno = 0\n"),
    (["--json", "NormalCDF", "1.96", "0", "1", "1"], 0,
     lambda r: as_json(r)["export"] == "NormalCDF" and as_json(r)["args"] == ["1.96", "0", "1", "1"]
     and close(as_json(r)["value"], UPPER_1_96, 1e-14) and as_json(r)["errno"] == 0),
    (["--value", "NormalCDF", "1.96", "0", "1", "true"], 0,
     lambda r: close(float(r.stdout), UPPER_1_96, 1e-14)),
    (["--value", "NormalCDF", "1.96", "0", "1", "false"], 0,
     lambda r: close(float(r.stdout), 1 - UPPER_1_96, 1e-15)),
    # errno: status 1, the value still printed; NaN and inf as JSON strings.
    (["--json", "NormalPDF", "0", "0", "-1"], 1,
     lambda r: as_json(r)["value"] == "nan" and as_json(r)["errno"] == 33),
    (["--value", "NormalPDF", "0", "0", "-1"], 1, lambda r: r.stdout == "nan\n"),
    (["--json", "ChiSquaredPDF", "0", "1"], 1,
     lambda r: as_json(r)["value"] == "inf" and as_json(r)["errno"] == 34),
    # An exception: status 2, its type without Boost's wrapper, no value.
    (["--json", "LogXplus1", "-1.5"], 2,
     lambda r: as_json(r)["exception"]["type"] == "std::domain_error"
     and "log1p" in as_json(r)["exception"]["message"] and "value" not in as_json(r)),
    (["LogXplus1", "-1.5"], 2, lambda r: r.stdout.startswith("exception std::domain_error: ")),
    (["--value", "LogXplus1", "-1.5"], 2,
     lambda r: r.stdout == "" and "std::domain_error" in r.stderr),
    # Usage errors: 64, on standard error, naming the argument.
    (["NoSuchExport", "1"], 64, lambda r: "NoSuchExport" in r.stderr and r.stdout == ""),
    (["NormalCDF", "1.96", "0", "1", "256"], 64, lambda r: "upper" in r.stderr and r.stdout == ""),
    (["NormalCDF", "1.96", "0", "1", "2"], 64, lambda r: "upper" in r.stderr),
    (["NormalCDF", "1.96", "0", "1", "-1"], 64, lambda r: "upper" in r.stderr),
    (["KolmogorovCDF", "0.1", "10", "256"], 64, lambda r: "upper" in r.stderr),
    (["MCaCDF", "3", "4", "20", "0.7071", "2"], 64, lambda r: "upper" in r.stderr),
    (["NormalCDF", "1.96", "0", "one", "1"], 64, lambda r: "sd" in r.stderr),
    (["NormalCDF", "1.96", "0", "1"], 64, lambda r: "expected 4 arguments" in r.stderr),
    (["--value", "--json", "Erf", "1"], 64, lambda r: r.stdout == ""),
    (["--frobnicate", "Erf", "1"], 64, lambda r: "--frobnicate" in r.stderr),
    ([], 64, lambda r: r.stdout == ""),
    # Selectors are not flags: any 32-bit integer passes.
    (["--value", "BinomialPS", "0.025", "7", "40", "2"], 0, lambda r: r.stdout == "-1\n"),
    # R qbinom(0.95, 20, 0.3) = 9 (rounded up; 8 rounded down).
    (["--value", "BinomialICDF", "0.95", "20", "0.3", "0", "256"], 0, lambda r: r.stdout == "9\n"),
    (["--version"], 0, lambda r: r.stdout == f"kcm {VERSION}\n"),
    (["--help"], 0, lambda r: "--batch" in r.stdout and "64" in r.stdout),
    # A matrix: the factor row by row in JSON, the lower triangle exact.
    (["--json", "Cholesky", "0", *CHOLESKY], 0,
     lambda r: lower(as_json(r)["values"]["A"]) == lower(L) and as_json(r)["codes"] == {"info": 0}),
    (["--value", "Cholesky", "0", *CHOLESKY], 0,
     lambda r: lower([[float(v) for v in r.stdout.split()[3 * i:3 * i + 3]] for i in range(3)])
     == lower(L)),
    # MKL reports the illegal argument on stdout itself: kept out of the answers.
    (["--json", "Cholesky", "1", *CHOLESKY], 1, lambda r: as_json(r)["codes"] == {"info": -1}),
    (["Cholesky", "256", *CHOLESKY], 64, lambda r: "upper" in r.stderr),
    (["SolveTriangularSystem", "2", "2", "1,0,0,1", "0", "2", "2", "1", "1,1"], 64,
     lambda r: "transpose" in r.stderr),
    # Streams against an independent MT19937.
    (["--json", "GenerateRandomUniform", "42", "5", "0", "1"], 0,
     lambda r: as_json(r)["values"]["values"] == uniforms(42, 0, 5)
     and as_json(r)["codes"] == {"status": 0}),
    (["--json", "GenerateRandomUniform", "42", "2", "0", "1", "4"], 0,
     lambda r: as_json(r)["values"]["values"] == uniforms(42, 4, 2)),
    (["--value", "RandomUniformInteger", "7", "12", "1", "7"], 0,
     lambda r: r.stdout.split() == [str(d) for d in dice(7, 12)]),
    (["--json", "RandomUniformInteger", "7", "12", "5", "5"], 1,
     lambda r: as_json(r)["codes"]["status"] < 0 and "values" not in as_json(r)),
    # The optimiser loop: Rosenbrock's minimum (1, 1), or (0.5, 0.25) under x <= 0.5.
    (["--json", "LBFGSBStep", "5", "1e7", "1e-5", "-inf,-inf", "inf,inf", "-1.2,1"], 0,
     lambda r: as_json(r)["codes"] == {"code": 3}
     and all(abs(x - 1) < 1e-5 for x in as_json(r)["values"]["x"])
     and [t["iteration"] for t in as_json(r)["trace"]]
     == list(range(1, as_json(r)["values"]["iterations"] + 1))),
    (["--value", "LBFGSBStep", "5", "1e7", "1e-5", "-2,-1", "0.5,2", "-1.2,1"], 0,
     lambda r: [float(v) for v in r.stdout.split()[1:3]] == [0.5, 0.25]),
    (["--json", "LBFGSBStep", "5", "1e7", "1e-5", "1,-1", "0,2", "0.5,0.5"], 1,
     lambda r: as_json(r)["codes"] == {"code": 5}),
]

for args, status, ok in CALLS:
    r = kcm(args)
    try:
        good = r.returncode == status and ok(r)
    except (ValueError, KeyError, TypeError, IndexError) as e:
        good = False
        r.stderr += f" [check raised {e!r}]"
    check(f"kcm {' '.join(args)}: expected exit {status}", good, r)

# A batch: a bad line in the middle is reported with its number, the rest answered.
BATCH = """# a comment, then a blank line

NormalICDF 0.975 0 1 0
NoSuchExport 1
NormalPDF 0 0 -1
NormalCDF 1.96 0 1 256
   LogXplus1 -1.5
NormalICDF 0.5 0 1 0
"""
r = kcm(["--batch", "--value"], BATCH)
check("batch --value: the good lines answered in order, worst status 64",
      r.returncode == 64 and r.stdout == "1.959963984540054\nnan\n0\n"
      and "line 4:" in r.stderr and "line 6:" in r.stderr and "upper" in r.stderr
      and "line 7: LogXplus1: exception std::domain_error" in r.stderr, r)
r = kcm(["--json", "--batch"], BATCH)
try:
    objects = [json.loads(line) for line in r.stdout.splitlines()]
    got = [(o["line"], o["export"], o["exit_status"]) for o in objects]
except (ValueError, KeyError) as e:
    got = repr(e)
check("batch --json: one object per answered line",
      r.returncode == 64 and got == [(3, "NormalICDF", 0), (5, "NormalPDF", 1),
                                     (7, "LogXplus1", 2), (8, "NormalICDF", 0)], r)
r = kcm(["--batch"], "NormalPDF 0 0 -1\nErf 0\n")
check("batch: the worst status of the lines", r.returncode == 1 and "Erf = 0\n" in r.stdout, r)
r = kcm(["--batch", "Erf", "1"])
check("batch takes no export on the command line", r.returncode == 64, r)

# Every runner in every mode: one batch, run as text, values and JSON. The JSON
# of each call must parse, its numbers ("value", then "values" in order,
# matrices row by row) must be what --value prints, and the three modes must
# agree on the exit status.
RUNNERS = """NormalCDF 1.96 0 1 1
KolmogorovCDF 0.12 100 1
KolmogorovICDF 1.5 100 0
InverseBetaRegularized2 2 3 0.05
FNCHypergeometricMoments 40 70 150 2.5
SortDoubleArray 3,nan,1,2
ExtractSorted 2,0,1 5,6,7
MCaCDF 2.798937 4 20 0.7071067811865476 1
MCcCDF 3 4 0 0.7071067811865476 0
LBFGSBStep 5 1e7 1e-5 -inf,-inf inf,inf -1.2,1
Cholesky 0 3 3 4,2,2,2,5,3,2,3,6
CholeskySolve 0 2 2 2,1,0,1 2 1 4,4
SolveTriangularSystem 2 2 2,1,0,1 0 1 2 1 4,4
QR 3 2 1,2,3,4,5,7
QRP 3 2 1,2,3,4,5,7
QR_Q 3 2 1,2,3,4,5,7
QR_Qy 1 3 2 1,2,3,4,5,7 3 1 1,1,1
LS 5 2 1,1,1,1,1,1,2,3,4,5 5 1 2.1,3.9,6.2,7.8,10.1
OLS 5 2 1,1,1,1,1,1,2,3,4,5 5 1 2.1,3.9,6.2,7.8,10.1 1e-7
Xb 2 2 1,1,1,2 0.5,2 3,5
EigenSymmetric 3 3 2,1,0,1,2,0,0,0,4
FullSVD 3 2 3,0,0,0,4,0
ThinSVD 3 2 3,0,0,0,4,0
CreateRandomStream 42
DeleteRandomStream 42
SkipAheadStream 42 4
GenerateRandomNormal 2024 4 100 15 3
RandomUniformInteger 7 12 1 7
RandomNormalVariable 4 0 1 42
RandomNormalVariables 4 3 0 1 42
DisableMKLThreading
"""


def flatten(o):
    if isinstance(o, list):
        return [x for item in o for x in flatten(item)]
    return [float(o)]


text, values, objects = (kcm([*mode, "--batch"], RUNNERS) for mode in ([], ["--value"], ["--json"]))
try:
    numbers = []
    for line in objects.stdout.splitlines():
        o = json.loads(line)
        if "value" in o:
            numbers += flatten(o["value"])
        numbers += flatten(list(o.get("values", {}).values()))
    printed = [float(v) for v in values.stdout.split()]
    same = len(numbers) == len(printed) and all(
        a == b or (math.isnan(a) and math.isnan(b)) for a, b in zip(numbers, printed))
except (ValueError, KeyError) as e:
    same = False
    objects.stderr += repr(e)
check("every runner: JSON parses and holds the numbers --value prints", same, objects)
check("every runner: one JSON object per call",
      len(objects.stdout.splitlines()) == len(RUNNERS.splitlines()), objects)
check("every runner: the modes agree on the exit status (an exception: 2)",
      text.returncode == values.returncode == objects.returncode == 2 and text.stderr == "", text)

for f in failures:
    print("FAIL:", f)
print(f"{checks - len(failures)} of {checks} checks passed")
sys.exit(1 if failures else 0)
