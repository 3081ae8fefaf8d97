"""Builds the package of `pip install .`: the binding, the ctypes prototypes
generated from src/exports.table, and the library it loads.

The library and its non-throwing layer come from, in this order:
- the CMake build tree named by KCM_BUILD_DIR (copied into the package);
- the libraries installed on the machine, found by pkg-config (loaded where
  they are);
- a build of the two libraries alone, made here with CMake (copied into the
  package).
"""
import os
import shutil
import subprocess
import sys
import tempfile

from setuptools import setup
from setuptools.command.build_py import build_py
from setuptools.dist import Distribution

ROOT = os.path.dirname(os.path.abspath(__file__))
LIBRARY, NOTHROW = "libKorvaneCoreMath.so.1", "libKorvaneCoreMathNoThrow.so.1"


def installed_libdir():
    try:
        libdir = subprocess.run(["pkg-config", "--variable=libdir", "KorvaneCoreMath"], check=True,
                                capture_output=True, text=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return None
    return libdir if all(os.path.exists(os.path.join(libdir, f)) for f in (LIBRARY, NOTHROW)) else None


def cmake_build(build_dir):
    off = ["TESTS", "BENCHMARKS", "CLI", "PYTHON", "CONSUMER_TEST", "HOST_TESTS"]
    subprocess.run(["cmake", "-S", ROOT, "-B", build_dir, "-DCMAKE_BUILD_TYPE=Release"]
                   + [f"-DKCM_BUILD_{o}=OFF" for o in off], check=True)
    subprocess.run(["cmake", "--build", build_dir, "--target", "KorvaneCoreMath", "KorvaneCoreMathNoThrow",
                    "-j", str(os.cpu_count() or 1)], check=True)
    return build_dir


class BuildWithLibrary(build_py):
    def run(self):
        super().run()
        package = os.path.join(self.build_lib, "korvane_core_math")
        with tempfile.TemporaryDirectory() as generated:
            subprocess.run([sys.executable, os.path.join(ROOT, "tools", "gen_exports.py"),
                            os.path.join(ROOT, "src", "exports.table"), generated], check=True)
            shutil.copy(os.path.join(generated, "python", "_exports.py"), package)
        build_dir = os.environ.get("KCM_BUILD_DIR")
        libdir = None if build_dir else installed_libdir()
        if libdir:
            where = {name: repr(os.path.join(libdir, name)) for name in (LIBRARY, NOTHROW)}
        else:
            build_base = self.get_finalized_command("build").build_base
            build_dir = build_dir or cmake_build(os.path.join(os.path.abspath(build_base), "cmake"))
            shutil.copy(os.path.join(build_dir, LIBRARY), package)
            shutil.copy(os.path.join(build_dir, "nothrow", NOTHROW), package)
            where = {name: f"os.path.join(os.path.dirname(os.path.abspath(__file__)), {name!r})"
                     for name in (LIBRARY, NOTHROW)}
        with open(os.path.join(package, "_installed.py"), "w") as f:
            f.write(f"# Written by setup.py.\nimport os\nLIBRARY = {where[LIBRARY]}\nNOTHROW = {where[NOTHROW]}\n")


class WithLibrary(Distribution):
    def has_ext_modules(self):
        return True  # the package carries a shared library: a platform wheel


setup(package_dir={"": "python"}, packages=["korvane_core_math"],
      cmdclass={"build_py": BuildWithLibrary}, distclass=WithLibrary,
      options={"build": {"build_base": "build/python-package"}})
