"""Shared helpers of the binding's tests."""
import os
import re

HEADER = os.path.join(os.path.dirname(__file__), "..", "..", "include", "korvane", "core_math.h")


def header_exports():
    return re.findall(r"KCM_API\s+[\w\s\*]+?\b(\w+)\s*\(", open(HEADER).read())
