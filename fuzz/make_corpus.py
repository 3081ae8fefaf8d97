#!/usr/bin/python3
"""Writes the seed corpus of the fuzz targets (fuzz/corpus/<target>/), in the
byte format that fuzz/decode.h reads: a few ordinary calls per export, so
that fuzzing starts from inputs that reach every export's evaluation."""
import hashlib
import os
import struct
import sys

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus")


def real(v):
    """A real field: 8 raw bytes (tag 255) for the exact value."""
    return bytes([255]) + struct.pack("<d", v)


def integer(v):
    """An integer field: -64 ... 63 in one byte, otherwise an int16."""
    if -64 <= v <= 63:
        return bytes([v + 64])
    return bytes([128]) + struct.pack("<h", v)


def byte(v):
    return bytes([v])


# fuzz_scalar: the export's index in kEntries, then its arguments.
SCALAR_ARITY = [
    "r", "r", "r", "r", "rrr", "rrrf", "rrrf",                      # erf, normal
    "r", "r", "rr", "rr", "rr", "rr", "rr", "rr", "rr", "r",        # gamma family
    "rr", "rrr", "rrr", "rrr", "rrr", "rrr",                        # beta family
    "rr", "rrf", "rrf", "rr", "rrf", "rrf", "rrr", "rrrf", "rrrf",  # t, chi-squared, F
    "rrr", "rrrf", "rrrf", "rrr", "rrrf", "rrrf",                   # gamma, beta distributions
    "rrr", "rrrf", "rrrf",                                          # noncentral t
    "rrr", "rrrf", "rrrfi", "rrri", "rr", "rrf", "rrfi",            # binomial, Poisson
    "rrrr", "rrrrf", "rrrrf",                                       # hypergeometric
    "iiiirfr", "riiirfr", "rri", "rri",                             # FNC, Kolmogorov
]
VALUES = {"r": [0.3, 2.5, 7.0, 0.2], "f": [0, 1], "i": [3, 10, 15, 40]}


def scalar_seeds():
    seeds = []
    for index, arity in enumerate(SCALAR_ARITY):
        for variant in range(2):
            out = byte(index)
            for k, kind in enumerate(arity):
                pool = VALUES[kind]
                v = pool[(k + variant) % len(pool)]
                out += real(v) if kind == "r" else byte(v) if kind == "f" else integer(v)
            seeds.append(out)
    base = len(SCALAR_ARITY)
    for index in (base, base + 1):  # InverseBetaRegularized2, InverseBetaRegularizedC2
        seeds.append(byte(index) + real(2.0) + real(3.0) + real(0.4) + byte(1))
    seeds.append(byte(base + 2) + integer(10) + integer(15) + integer(40) + real(2.0))
    lam = real(0.7071067811865476) * 3
    for j in range(6):  # MCaCDF ... MCcICDF
        p = 0.9 if j % 2 else 2.5
        seeds.append(byte(base + 3 + j) + real(p) + integer(3) + real(12.0) + byte(0) + lam)
    return seeds


def matrix(values):
    return b"".join(real(v) for v in values)


def descriptor(offset, ld, rows, cols):
    return integer(offset) + integer(ld) + integer(rows) + integer(cols)


def linalg_seeds():
    spd = [4, 1, 0.5, 1, 3, 0.2, 0.5, 0.2, 2]
    seeds = []
    for which in range(13):
        d = byte(which) + descriptor(1, 3, 3, 3) + descriptor(0, 3, 3, 2) + descriptor(0, 3, 3, 3)
        d += integer(0) + matrix(spd + [1, 2, 3, 4, 5, 6, 7, 8, 9, 10])
        seeds.append(d)
    return seeds


def arrays_seeds():
    seeds = [byte(0) + integer(5) + matrix([3, 1, 2, float("nan"), -1]) + byte(1),
             byte(0) + integer(3) + matrix([5, 6, 7]) + byte(0) + integer(3)
             + integer(2) + integer(0) + integer(1) + matrix([5, 6, 7])]
    for which in range(6):
        seeds.append(byte(1) + integer(42) + byte(which) + integer(10) + real(0.0) + real(1.0)
                     + (integer(3) if which == 5 else b""))
    seeds.append(byte(2) + integer(2) + integer(5)
                 + real(-1) + real(1) + integer(2) + real(-1) + real(1) + integer(2)
                 + real(1e7) + real(1e-5) + real(0.5) + real(-0.5) + byte(0) + byte(30))
    return seeds


def main():
    for target, seeds in (("fuzz_scalar", scalar_seeds()), ("fuzz_linalg", linalg_seeds()),
                          ("fuzz_arrays", arrays_seeds())):
        folder = os.path.join(ROOT, target)
        os.makedirs(folder, exist_ok=True)
        for name in os.listdir(folder):
            os.remove(os.path.join(folder, name))
        for s in seeds:
            with open(os.path.join(folder, hashlib.sha1(s).hexdigest()[:16]), "wb") as f:
                f.write(s)
        print(f"{target}: {len(seeds)} seeds", file=sys.stderr)


if __name__ == "__main__":
    main()
