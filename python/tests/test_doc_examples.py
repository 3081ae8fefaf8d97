"""Every example of the API pages, evaluated against the library.

The pages under docs/api write examples as a C call and what it gives:
``StudentTICDF(0.025, 10, 1)   /* = 2.228138851986275 */``, ``InverseErf(1)
/* = inf, errno 34 */`` or ``LogXplus1(-1)  /* throws std::overflow_error */``.
Each is called through the non-throwing layer (errno cleared first), so the
pages cannot drift from the code."""
import ctypes
import math
import re
from pathlib import Path

import pytest

from korvane_core_math import _native

DOCS = Path(__file__).resolve().parents[2] / "docs" / "api"
LINE = re.compile(r"^\s*(\w+)\(([^()]*)\)\s*;?\s*/\*\s*(=|throws)\s*(.*?)\s*\*/\s*$")
SCALARS = (ctypes.c_double, ctypes.c_ubyte, ctypes.c_int32)
LITERALS = {"INFINITY": math.inf, "-INFINITY": -math.inf, "NAN": math.nan, "nan": math.nan, "inf": math.inf,
            "-inf": -math.inf}


def examples():
    found = []
    for page in sorted(DOCS.glob("*.md")):
        in_c = False
        for number, line in enumerate(page.read_text().splitlines(), 1):
            if line.startswith("```"):
                in_c = line.strip() == "```c"
            # Calls with array arguments are checked by the family's tests.
            elif (m := in_c and LINE.match(line)) and all(t in SCALARS for t in _native.PROTOTYPES[m.group(1)][1]):
                found.append(pytest.param(m.groups(), id=f"{page.stem}:{number}:{m.group(1)}"))
    return found


@pytest.mark.parametrize("example", examples())
def test_documented_example(example):
    name, args_text, kind, claim = example
    argtypes = _native.PROTOTYPES[name][1]
    words = [w.strip() for w in args_text.split(",")]
    assert len(words) == len(argtypes) and "?" not in claim
    args = [LITERALS.get(w, None) if w in LITERALS else float(w) for w in words]
    args = [int(v) if t is not ctypes.c_double else v for v, t in zip(args, argtypes)]
    status = _native.CallStatus()
    value = _native.call(name, status, *args)
    if kind == "throws":
        assert status.thrown and status.type.decode() == claim, f"returned {value!r}"
        return
    assert not status.thrown, status.message.decode()
    text, _, errno_text = claim.partition(", errno ")
    want = LITERALS[text] if text in LITERALS else float(text)
    assert (math.isnan(value) if math.isnan(want) else value == pytest.approx(want, rel=1e-14, abs=0))
    want_errno = int(errno_text) if errno_text else 0
    # A subnormal result may carry glibc's underflow report.
    assert status.errno_value == want_errno or (want_errno == 0 and status.errno_value == 34 and abs(value) < 2.3e-308)


def test_the_pages_have_examples():
    assert len(examples()) > 100
