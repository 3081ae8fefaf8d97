"""Every example of the API pages, evaluated against the library.

The pages under docs/api write examples as C calls followed by the value they
return, e.g. ``StudentTICDF(0.025, 10, 1)   /* = 2.228138851986275 */``,
``InverseErf(1)  /* = inf, errno 34 */`` or ``LogXplus1(-1)  /* throws
std::overflow_error */``. This test makes each call through the library's
non-throwing layer (errno cleared first) and checks the documented value, errno and exception, so the
documentation cannot drift from the code.
"""
import ctypes
import math
import re
from pathlib import Path

import pytest

from korvane_core_math import _native

DOCS = Path(__file__).resolve().parents[2] / "docs" / "api"
LINE = re.compile(r"^\s*(\w+)\(([^()]*)\)\s*;?\s*/\*\s*(=|throws)\s*(.*?)\s*\*/\s*$")
CODES = {ctypes.c_double: "d", ctypes.c_ubyte: "b", ctypes.c_int32: "i"}
LITERALS = {"INFINITY": math.inf, "-INFINITY": -math.inf, "NAN": math.nan}


def examples():
    found = []
    for page in sorted(DOCS.glob("*.md")):
        in_c = False
        for number, line in enumerate(page.read_text().splitlines(), 1):
            if line.startswith("```"):
                in_c = line.strip() == "```c"
                continue
            m = in_c and LINE.match(line)
            # Examples with array arguments (the multiple-comparison lambdas)
            # are explained in prose and checked by the family's tests.
            if m and all(t in CODES for t in _native.PROTOTYPES.get(m.group(1), (0, [None]))[1]):
                found.append(pytest.param(m.groups(), id=f"{page.stem}:{number}:{m.group(1)}"))
    return found


def evaluate(name, args_text):
    restype, argtypes = _native.PROTOTYPES[name]
    words = [w.strip() for w in args_text.split(",")]
    assert len(words) == len(argtypes), "argument count"
    args = []
    for w, t in zip(words, argtypes):
        v = LITERALS[w] if w in LITERALS else float(w)
        args.append(int(v) if t in (ctypes.c_ubyte, ctypes.c_int32) else v)
    status = _native.CallStatus()
    value = _native.call(name, status, *args)
    return value, status


def parse_value(text):
    return {"nan": math.nan, "inf": math.inf, "-inf": -math.inf}.get(text) if text in (
        "nan", "inf", "-inf") else float(text)


@pytest.mark.parametrize("example", examples())
def test_documented_example(example):
    name, args_text, kind, claim = example
    if not _native.available(name):
        pytest.skip(f"library lacks {name}")
    assert "?" not in claim, "example value not filled in"
    value, status = evaluate(name, args_text)
    if kind == "throws":
        assert status.thrown, f"returned {value!r} instead of throwing"
        assert status.type.decode() == claim
        return
    assert not status.thrown, status.message.decode()
    text, _, errno_text = claim.partition(", errno ")
    want = parse_value(text)
    if math.isnan(want):
        assert math.isnan(value)
    elif math.isinf(want) or want == 0.0:
        assert value == want
    else:
        # abs=0: approx's default absolute tolerance (1e-12) would pass any
        # example smaller than that, whatever value it documents.
        assert value == pytest.approx(want, rel=1e-14, abs=0)
    want_errno = int(errno_text) if errno_text else 0
    assert status.errno_value == want_errno or (
        want_errno == 0 and status.errno_value == 34 and abs(value) < 2.3e-308)


def test_the_pages_have_examples():
    assert len(examples()) > 100
