#!/usr/bin/python3
"""Mutation testing of the library against its own tests (standard library only).

    tools/mutants.py [--tree DIR] [--seed N] [--count N] [--jobs N] [--report PREFIX]
    tools/mutants.py --list                  the sample, without running it
    tools/mutants.py --only M017 M042 ...    run chosen mutants of the sample
    tools/mutants.py --compare OLD.json      then print OLD and this run side by side

It finds mutation sites in src/ (comparisons swapped or negated, + and -, * and
/ swapped, integer constants moved by one, && and || swapped, a condition
negated, an errno assignment removed, an early return removed), draws a fixed
sample spread over the families (the folders of src/), and for each mutant:
applies it in a scratch copy of the tree, rebuilds incrementally, runs the
family's test program (src/<family>/ is tested by the ctest test <family>;
src/interface/ by all of them) with a time limit, and records it as killed,
survived, timed out or not built. The score of a family is killed / (killed +
survived + timed out). The scratch builds use Release flags, ccache and MKL's
single dynamic library (a relink of the library takes a second instead of a
static link of MKL); the unmutated tree must pass every test there first.
"""
import argparse
import json
import os
import random
import re
import shutil
import subprocess
import sys
import time
from collections import Counter, defaultdict
from concurrent.futures import ThreadPoolExecutor

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SCRATCH = os.environ.get("KCM_MUTANTS_SCRATCH", "/var/tmp/kcm-mutants")
FAMILY_TESTS = ["special", "continuous", "discrete", "empirical", "multcomp", "linalg", "random", "optim"]
ALL_TESTS = FAMILY_TESTS + ["nothrow", "concurrency"]
CMAKE_FLAGS = ["-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", "-DKCM_MKL_LINKING=rt",
               "-DKCM_BUILD_BENCHMARKS=OFF", "-DKCM_BUILD_PYTHON=OFF", "-DKCM_BUILD_CLI=OFF",
               "-DKCM_BUILD_CONSUMER_TEST=OFF", "-DKCM_BUILD_HOST_TESTS=OFF",
               "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache", "-DCMAKE_C_COMPILER_LAUNCHER=ccache"]

# ---- Finding the sites -----------------------------------------------------------

SWAPS = {"<": ["<=", ">"], "<=": ["<", ">"], ">": [">=", "<"], ">=": [">", "<"],
         "==": ["!="], "!=": ["=="], "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"],
         "&&": ["||"], "||": ["&&"]}
# A binary operator is written with a space on each side here; template brackets,
# pointers, unary minus and increments are not.
OPERATOR = re.compile(r"(?<=[\w)\]] )(<=|>=|==|!=|&&|\|\||[<>+\-*/])(?= [\w(!\-.:])")
NUMBER = re.compile(r"(?<![\w.])\d+(?:\.\d*)?(?:[eE][+-]?\d+)?[uUlLfF]*(?![\w.])")
CONDITION = re.compile(r"\b(if|while) \(")
ERRNO = re.compile(r"\berrno = [^;]+;")
EARLY_RETURN = re.compile(r"^(\s*if \(.*\)) (return\b[^;]*;)\s*$")


def blank_comments_and_strings(lines):
    """The lines with comments, string and character literals and preprocessor
    lines replaced by spaces (columns kept)."""
    out, in_block = [], False
    for line in lines:
        chars, i = list(line), 0
        if not in_block and line.lstrip().startswith("#"):
            out.append(" " * len(line))
            continue
        while i < len(chars):
            two = line[i:i + 2]
            if in_block:
                if two == "*/":
                    chars[i] = chars[i + 1] = " "
                    in_block, i = False, i + 2
                    continue
                chars[i] = " "
            elif two == "//":
                chars[i:] = " " * (len(chars) - i)
                break
            elif two == "/*":
                chars[i] = chars[i + 1] = " "
                in_block, i = True, i + 2
                continue
            elif line[i] in "\"'":
                quote, j = line[i], i + 1
                while j < len(line) and line[j] != quote:
                    j += 2 if line[j] == "\\" else 1
                chars[i:j + 1] = " " * (min(j + 1, len(chars)) - i)
                i = j
            i += 1
        out.append("".join(chars))
    return out


def matching_paren(code, start):
    depth = 0
    for i in range(start, len(code)):
        depth += {"(": 1, ")": -1}.get(code[i], 0)
        if depth == 0:
            return i
    return None


def sites_of_line(code, raw):
    """(kind, column, original, replacement) of each mutation of one line."""
    for m in OPERATOR.finditer(code):
        for new in SWAPS[m.group(1)]:
            kind = "logic" if m.group(1) in ("&&", "||") else (
                "arithmetic" if m.group(1) in "+-*/" else "comparison")
            yield kind, m.start(1), m.group(1), new
    for m in NUMBER.finditer(code):
        digits = m.group(0).rstrip("uUlL")
        if digits.isdigit():
            n = int(digits)
            for new in ([n + 1, n - 1] if n > 0 else [n + 1]):
                yield "constant", m.start(), m.group(0), str(new) + m.group(0)[len(digits):]
    for m in CONDITION.finditer(code):
        end = matching_paren(code, m.end() - 1)
        if end is not None:
            inner = raw[m.end():end]
            yield "condition", m.end(), inner, f"!({inner})"
    for m in ERRNO.finditer(code):
        yield "errno", m.start(), raw[m.start():m.end()], "(void)0;"
    m = EARLY_RETURN.match(code)
    if m:
        yield "return", m.start(2), raw[m.start(2):m.end(2)], "{}"


def find_sites(tree):
    sites = []
    src = os.path.join(tree, "src")
    for folder, _, files in sorted(os.walk(src)):
        for name in sorted(files):
            if not name.endswith((".cpp", ".hpp")):
                continue
            path = os.path.join(folder, name)
            rel = os.path.relpath(path, tree)
            raw = open(path).read().split("\n")
            for number, (code, line) in enumerate(zip(blank_comments_and_strings(raw), raw), 1):
                for kind, column, old, new in sites_of_line(code, line):
                    sites.append(dict(file=rel, family=rel.split("/")[1], line=number, column=column,
                                      kind=kind, original=old, mutated=new))
    return sites


def draw_sample(sites, count, seed, minimum=8):
    """A seeded sample: at least `minimum` per family, the rest in proportion to
    the family's sites."""
    by_family = defaultdict(list)
    for s in sites:
        by_family[s["family"]].append(s)
    rng = random.Random(seed)
    quota = {f: min(len(v), minimum) for f, v in by_family.items()}
    rest = count - sum(quota.values())
    total = sum(len(v) for v in by_family.values())
    for f, v in by_family.items():
        quota[f] = min(len(v), quota[f] + round(rest * len(v) / total))
    sample = []
    for f in sorted(by_family):
        sample += rng.sample(by_family[f], quota[f])
    sample.sort(key=lambda s: (s["file"], s["line"], s["column"], s["kind"], s["mutated"]))
    for i, s in enumerate(sample, 1):
        s["id"] = f"M{i:03d}"
    return sample


def key(m):
    return (m["file"], m["line"], m["column"], m["kind"], m["original"], m["mutated"])

# ---- Running them ----------------------------------------------------------------


def run(cmd, cwd, timeout=None):
    try:
        p = subprocess.run(cmd, cwd=cwd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                           text=True, timeout=timeout)
        return p.returncode, p.stdout
    except subprocess.TimeoutExpired:
        return None, ""


def prepare_slot(tree, slot):
    """A copy of the tree's files (as git sees them, edits included) and its build."""
    copy = os.path.join(SCRATCH, f"slot{slot}")
    files = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                           cwd=tree, stdout=subprocess.PIPE, check=True).stdout.decode().split("\0")
    shutil.rmtree(os.path.join(copy, "tree"), ignore_errors=True)
    for rel in filter(None, files):
        source = os.path.join(tree, rel)
        if os.path.isfile(source):
            target = os.path.join(copy, "tree", rel)
            os.makedirs(os.path.dirname(target), exist_ok=True)
            shutil.copy2(source, target)
    build = os.path.join(copy, "build")
    if not os.path.exists(os.path.join(build, "build.ninja")):
        code, out = run(["cmake", "-S", os.path.join(copy, "tree"), "-B", build] + CMAKE_FLAGS, copy)
        if code != 0:
            sys.exit(f"cmake failed in {copy}:\n{out}")
    code, out = run(["ninja", "-C", build, "-j", "1"], copy)
    if code != 0:
        sys.exit(f"the unmutated tree does not build in {copy}:\n{out[-3000:]}")
    return copy


def tests_of(family):
    return ALL_TESTS if family == "interface" else [family]


def run_tests(copy, tests, timeout):
    build = os.path.join(copy, "build")
    pattern = "^(" + "|".join(tests) + ")$"
    start = time.time()
    code, out = run(["ctest", "--test-dir", build, "-R", pattern, "--timeout", str(int(timeout)),
                     "--stop-on-failure"], copy, timeout=timeout * len(tests) + 60)
    if code is None or "***Timeout" in out:
        return "timed out", time.time() - start
    return ("survived" if code == 0 else "killed"), time.time() - start


def baseline_times(copy):
    times = {}
    for t in ALL_TESTS:
        status, seconds = run_tests(copy, [t], 900)
        if status != "survived":
            sys.exit(f"the unmutated tree fails the test {t}: fix it before measuring mutants")
        times[t] = seconds
    return times


def run_mutant(copy, m, times):
    path = os.path.join(copy, "tree", m["file"])
    original = open(path).read()
    lines = original.split("\n")
    line = lines[m["line"] - 1]
    assert line[m["column"]:m["column"] + len(m["original"])] == m["original"], m["id"]
    lines[m["line"] - 1] = line[:m["column"]] + m["mutated"] + line[m["column"] + len(m["original"]):]
    start = time.time()
    try:
        with open(path, "w") as f:
            f.write("\n".join(lines))
        tests = tests_of(m["family"])
        targets = ["KorvaneCoreMath"] + [f"test_{t}" for t in tests]
        code, _ = run(["ninja", "-C", os.path.join(copy, "build"), "-j", "1"] + targets, copy, timeout=900)
        if code != 0:
            status = "not built"
        else:
            limit = max(30, 5 * max(times[t] for t in tests))
            status, _ = run_tests(copy, tests, limit)
    finally:
        with open(path, "w") as f:
            f.write(original)
    return status, round(time.time() - start, 1)


def execute(tree, sample, jobs):
    os.makedirs(SCRATCH, exist_ok=True)
    with ThreadPoolExecutor(jobs) as pool:
        copies = list(pool.map(lambda s: prepare_slot(tree, s), range(jobs)))
    times = baseline_times(copies[0])
    print("baseline test times:", {t: round(s, 1) for t, s in times.items()}, flush=True)
    # One queue per slot, a file's mutants kept together so that a slot
    # recompiles as few files as it can.
    by_file = defaultdict(list)
    for m in sample:
        by_file[m["file"]].append(m)
    queues = [[] for _ in copies]
    for group in sorted(by_file.values(), key=len, reverse=True):
        min(queues, key=len).extend(group)

    def work(slot):
        for m in queues[slot]:
            m["status"], m["seconds"] = run_mutant(copies[slot], m, times)
            print(f"{m['id']} {m['status']:9} {m['seconds']:6.1f}s  {m['file']}:{m['line']} "
                  f"{m['kind']} {m['original']!r} -> {m['mutated']!r}", flush=True)

    with ThreadPoolExecutor(jobs) as pool:
        list(pool.map(work, range(jobs)))
    return times

# ---- Reports ---------------------------------------------------------------------


def scores(mutants):
    table = defaultdict(Counter)
    for m in mutants:
        table[m["family"]][m["status"]] += 1
        table["overall"][m["status"]] += 1
    return table


def score(c):
    judged = c["killed"] + c["survived"] + c["timed out"]
    return 100.0 * c["killed"] / judged if judged else float("nan")


def markdown(result):
    rows = ["| family | mutants | killed | survived | timed out | not built | score |",
            "|---|---:|---:|---:|---:|---:|---:|"]
    table = scores(result["mutants"])
    for f in sorted(table, key=lambda f: (f == "overall", f)):
        c = table[f]
        rows.append(f"| {f} | {sum(c.values())} | {c['killed']} | {c['survived']} | {c['timed out']} | "
                    f"{c['not built']} | {score(c):.1f} % |")
    survivors = [f"- {m['id']} `{m['file']}:{m['line']}` {m['kind']}: `{m['original']}` → `{m['mutated']}`"
                 for m in result["mutants"] if m["status"] == "survived"]
    meta = result["meta"]
    return "\n".join([f"# Mutation report: {meta['label']}", "",
                      f"Commit {meta['commit']}, seed {meta['seed']}, {len(result['mutants'])} mutants "
                      f"drawn from {meta['sites']} sites, {meta['minutes']:.0f} minutes with "
                      f"{meta['jobs']} jobs.", ""] + rows + ["", "## Survivors", ""] + survivors) + "\n"


def compare(old, new):
    old_by, new_by = {key(m): m for m in old["mutants"]}, {key(m): m for m in new["mutants"]}
    to, tn = scores(old["mutants"]), scores(new["mutants"])
    print(f"{'family':12} {old['meta']['label']:>22} {new['meta']['label']:>22}")
    for f in sorted(set(to) | set(tn), key=lambda f: (f == "overall", f)):
        print(f"{f:12} {score(to[f]):21.1f}% {score(tn[f]):21.1f}%")
    lost = [new_by[k] for k in new_by if k in old_by and old_by[k]["status"] == "killed"
            and new_by[k]["status"] != "killed"]
    print(f"\nkilled before, not now: {len(lost)}")
    for m in lost:
        print(f"  {m['id']} {m['file']}:{m['line']} {m['kind']} {m['original']!r} -> {m['mutated']!r}: {m['status']}")
    unmatched = len(set(new_by) - set(old_by))
    if unmatched:
        print(f"{unmatched} mutants of this run are not in the old sample (the source changed)")


def main(argv):
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--tree", default=ROOT)
    ap.add_argument("--seed", type=int, default=2026)
    ap.add_argument("--count", type=int, default=160)
    ap.add_argument("--jobs", type=int, default=2)
    ap.add_argument("--list", action="store_true")
    ap.add_argument("--only", nargs="+")
    ap.add_argument("--report", help="write PREFIX.json and PREFIX.md")
    ap.add_argument("--label", default="run")
    ap.add_argument("--compare", help="a JSON report to print this run against")
    args = ap.parse_args(argv)
    tree = os.path.abspath(args.tree)
    sites = find_sites(tree)
    sample = draw_sample(sites, args.count, args.seed)
    if args.only:
        sample = [m for m in sample if m["id"] in args.only]
    if args.list:
        for m in sample:
            print(f"{m['id']} {m['file']}:{m['line']} {m['kind']} {m['original']!r} -> {m['mutated']!r}")
        print(f"{len(sample)} mutants of {len(sites)} sites:",
              dict(Counter(m["family"] for m in sample)))
        return 0
    start = time.time()
    execute(tree, sample, args.jobs)
    commit = subprocess.run(["git", "rev-parse", "--short", "HEAD"], cwd=tree, stdout=subprocess.PIPE,
                            text=True).stdout.strip()
    result = dict(meta=dict(label=args.label, commit=commit, seed=args.seed, count=args.count,
                            sites=len(sites), jobs=args.jobs, minutes=(time.time() - start) / 60),
                  mutants=sample)
    text = markdown(result)
    print(text)
    if args.report:
        json.dump(result, open(args.report + ".json", "w"), indent=1)
        open(args.report + ".md", "w").write(text)
    if args.compare:
        compare(json.load(open(args.compare)), result)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
