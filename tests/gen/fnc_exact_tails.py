#!/usr/bin/python3
"""Far tails of Fisher's noncentral hypergeometric distribution, exactly.

For the urn n = 40, m = 70, N = 150 with odds ratio 5/2 every probability is
a ratio of integers (w = 5/2 is exact), so the tails are computed in rational
arithmetic and rounded once:
  P(X <= x) = sum_{y <= x} C(m, y) C(N - m, n - y) w^y / sum_y C(m, y) C(N - m, n - y) w^y
Prints the rows of FncIdentities.EachTailIsSummedFromItsOwnEnd
(tests/discrete/fnc_hypergeometric_test.cpp).
Run: /usr/bin/python3 tests/gen/fnc_exact_tails.py
"""
from fractions import Fraction
from math import comb

N_SAMPLE, MARKED, URN, ODDS = 40, 70, 150, Fraction(5, 2)
LOWER_X = (0, 5, 8, 12)   # far below the mean (about 25): P(X <= x)
UPPER_X = (35, 38, 39)    # far above it: P(X > x)

support = range(max(0, N_SAMPLE + MARKED - URN), min(N_SAMPLE, MARKED) + 1)
weight = {y: comb(MARKED, y) * comb(URN - MARKED, N_SAMPLE - y) * ODDS**y for y in support}
total = sum(weight.values())
for x in LOWER_X:
    print(f"{{{x}, 0, {float(sum(v for y, v in weight.items() if y <= x) / total)!r}}},")
for x in UPPER_X:
    print(f"{{{x}, 1, {float(sum(v for y, v in weight.items() if y > x) / total)!r}}},")
