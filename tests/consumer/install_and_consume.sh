#!/bin/sh
# install_and_consume.sh BUILD_DIR PROJECT_DIR SCRATCH CMAKE GENERATOR CC CXX
#
# 1. `cmake --install` the build tree into SCRATCH/prefix;
# 2. check the installed layout: versioned library with its soname, header,
#    CMake package, pkg-config file;
# 3. configure and build PROJECT_DIR against the prefix with find_package and
#    run its C and C++ programs;
# 4. compile the same two sources with plain compiler lines fed by pkg-config
#    and run them.
set -eu
build=$1 project=$2 scratch=$3 cmake=$4 generator=$5 cc=$6 cxx=$7
prefix=$scratch/prefix

rm -rf "$scratch"
mkdir -p "$scratch"
"$cmake" --install "$build" --prefix "$prefix" >"$scratch/install.log"

fail() { echo "FAIL: $*" >&2; exit 1; }

# -- layout ------------------------------------------------------------------
lib=$(find "$prefix" -name 'libKorvaneCoreMath.so.*.*.*' -type f | head -n 1)
[ -n "$lib" ] || fail "no versioned libKorvaneCoreMath.so.X.Y.Z installed"
libdir=$(dirname "$lib")
[ -L "$libdir/libKorvaneCoreMath.so" ] || fail "development symlink missing"
soname=$(readelf -d "$lib" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
[ "$soname" = "libKorvaneCoreMath.so.1" ] || fail "soname is '$soname'"
[ -L "$libdir/$soname" ] || fail "soname symlink $soname missing"
[ -f "$prefix/include/korvane/core_math.h" ] || fail "header not installed"
[ -f "$libdir/cmake/KorvaneCoreMath/KorvaneCoreMathConfig.cmake" ] || fail "CMake package missing"
[ -f "$libdir/cmake/KorvaneCoreMath/KorvaneCoreMathConfigVersion.cmake" ] || fail "version file missing"
[ -f "$libdir/pkgconfig/KorvaneCoreMath.pc" ] || fail "pkg-config file missing"
echo "installed: $lib (soname $soname)"
"$prefix/bin/kcm" NormalICDF 0.975 0 1 0 | grep -q '^NormalICDF = 1.9599639845400' \
    || fail "installed kcm does not run"

run() {  # run PROGRAM: it must print its checks and exit 0
    "$1" || fail "$1 exited with $?"
    needed=$(readelf -d "$1" | sed -n 's/.*(NEEDED).*\[\(libKorvaneCoreMath[^]]*\)\]/\1/p')
    [ "$needed" = "$soname" ] || fail "$1 needs '$needed', not the soname"
}

# -- find_package --------------------------------------------------------------
"$cmake" -S "$project" -B "$scratch/cmake-build" -G "$generator" \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
    -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF \
    >"$scratch/configure.log" || { cat "$scratch/configure.log"; fail "consumer configure"; }
"$cmake" --build "$scratch/cmake-build" >"$scratch/build.log" 2>&1 \
    || { cat "$scratch/build.log"; fail "consumer build"; }
run "$scratch/cmake-build/consumer_c"
run "$scratch/cmake-build/consumer_cxx"

# -- pkg-config ----------------------------------------------------------------
export PKG_CONFIG_PATH="$libdir/pkgconfig"
unset PKG_CONFIG_LIBDIR 2>/dev/null || true
pkg-config --exists --print-errors "KorvaneCoreMath >= 1" || fail "pkg-config cannot find the package"
cflags=$(pkg-config --cflags KorvaneCoreMath)
libs=$(pkg-config --libs KorvaneCoreMath)
rpath=$(pkg-config --variable=libdir KorvaneCoreMath)
[ "$rpath" = "$libdir" ] || fail "pkg-config libdir '$rpath' is not '$libdir'"
mkdir -p "$scratch/pc-build"
# shellcheck disable=SC2086
"$cc" -std=c99 -Wall -Wextra -Werror $cflags "$project/consumer.c" -o "$scratch/pc-build/consumer_c" \
    $libs -lm -Wl,-rpath,"$rpath" || fail "pkg-config C build"
# shellcheck disable=SC2086
"$cxx" -std=c++17 -Wall -Wextra -Werror $cflags "$project/consumer.cpp" -o "$scratch/pc-build/consumer_cxx" \
    $libs -Wl,-rpath,"$rpath" || fail "pkg-config C++ build"
run "$scratch/pc-build/consumer_c"
run "$scratch/pc-build/consumer_cxx"


# -- Python ----------------------------------------------------------------------
python=${KCM_PYTHON:-/usr/bin/python3}
pkgdir=$(find "$prefix" -type d -name korvane_core_math | head -n 1)
[ -n "$pkgdir" ] || fail "Python package not installed"
[ -f "$pkgdir/_exports.py" ] || fail "Python prototypes not installed beside the package"
[ -f "$libdir/libKorvaneCoreMathNoThrow.so.1" ] || fail "non-throwing layer not installed"
[ -f "$prefix/include/korvane/core_math_nothrow.h" ] || fail "non-throwing header not installed"
if "$python" -c 'import numpy' 2>/dev/null; then
    (cd "$scratch" && env -u KCM_LIBRARY -u KCM_PYSHIM PYTHONPATH="$(dirname "$pkgdir")" "$python" -c '
import korvane_core_math as kcm, sys
assert kcm.library_path.startswith(sys.argv[1]), kcm.library_path
assert abs(kcm.normal_icdf(0.975) - 1.959963984540054) < 1e-15
print("installed Python package: ok,", kcm.library_path)
' "$prefix") || fail "installed Python package"
fi
echo "install_and_consume: four C/C++ consumers and the Python package ran against the installed tree"
