"""Shared helpers of the binding's tests.

Each family's tests are skipped while the loaded library lacks that family's
exports (a partial build); with the full library nothing is skipped.
"""
import os
import re

import pytest

import korvane_core_math as kcm

HEADER = os.path.join(os.path.dirname(__file__), "..", "..", "include", "korvane", "core_math.h")


def needs(*exports):
    """Skip unless the loaded library defines every export named."""
    missing = [e for e in exports if not kcm.available(e)]
    return pytest.mark.skipif(bool(missing), reason="library lacks " + ", ".join(missing))


def header_exports():
    text = open(HEADER).read()
    return re.findall(r"KCM_API\s+[\w\s\*]+?\b(\w+)\s*\(", text)
