#!/bin/sh
# `pip install .` of the source tree into a throw-away environment, against the
# library just built; then the installed package, imported from outside the
# source tree, must load its own copy of the library and answer.
set -eu
src=$1 build=$2 venv=$2/pip-venv
rm -rf "$venv"
/usr/bin/python3 -m venv --system-site-packages "$venv"
env -u KCM_LIBRARY -u KCM_NOTHROW -u PYTHONPATH KCM_BUILD_DIR="$build" \
    "$venv/bin/pip" install -q --no-build-isolation --no-index --no-deps "$src"
cd /
env -u KCM_LIBRARY -u KCM_NOTHROW -u PYTHONPATH "$venv/bin/python" - "$venv" <<'PY'
import sys
import korvane_core_math as kcm
from korvane_core_math import _native
for path in (kcm.__file__, _native.lib_path, _native.nothrow_path):
    assert path.startswith(sys.argv[1] + "/lib/"), path
assert kcm.student_t_icdf(0.975, 10) == 2.2281388519862744
assert list(kcm.normal_cdf([0.0, 1.0], upper=True)) == [0.5, 0.15865525393145705]
PY
