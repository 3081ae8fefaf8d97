# How the library takes in Intel MKL and L-BFGS-B: the imported target
# kcm::math_libraries, linked privately by the library (and by the benchmarks,
# which call MKL directly beside the library's exports).
#
# KCM_MKL_LINKING=static (the default) links MKL's static archives (LP64
# interface, GNU OpenMP threading layer, core) and L-BFGS-B's archive into the
# shared object, and the library's link makes every symbol of theirs local
# (-Wl,--exclude-libs,ALL). Then
# - MKL loads nothing at run time, so the library works however a host loads
#   it, dlopen(RTLD_LOCAL) included (MKL's dynamic kernel libraries resolve
#   MKL's core symbols through the global scope, which a privately loaded
#   library's dependencies are not in);
# - the library and the L-BFGS-B solver call one BLAS/LAPACK, MKL's, bound
#   when the library is linked: a BLAS or LAPACK the host already has neither
#   interposes on those calls nor sees MKL's;
# - MKL's threads are GNU OpenMP's (libgomp), the runtime a GCC-built host
#   already has, so a host's own parallel regions and MKL share one pool.
# The run-time dependencies are the C and C++ runtimes, libgomp and libgfortran.
#
# KCM_MKL_LINKING=rt links MKL's single dynamic library (libmkl_rt, which picks
# its threading layer at run time) and L-BFGS-B's shared library, whose BLAS
# calls then go wherever the dynamic linker finds dcopy_ and ddot_ first. It is
# kept to measure the two ways side by side (docs/install.md).
set(KCM_MKL_LINKING static CACHE STRING "How MKL and L-BFGS-B are linked: static or rt")
set_property(CACHE KCM_MKL_LINKING PROPERTY STRINGS static rt)

find_path(MKL_INCLUDE_DIR mkl.h PATH_SUFFIXES mkl REQUIRED)
add_library(kcm::math_libraries INTERFACE IMPORTED)
target_include_directories(kcm::math_libraries SYSTEM INTERFACE ${MKL_INCLUDE_DIR})

if(KCM_MKL_LINKING STREQUAL "static")
  foreach(part mkl_intel_lp64 mkl_gnu_thread mkl_core lbfgsb)
    find_library(KCM_${part}_ARCHIVE NAMES lib${part}.a REQUIRED)
  endforeach()
  # Runtimes of the archives: the versioned names, which the runtime packages
  # ship (the unversioned development links come with gfortran).
  find_library(KCM_GOMP_LIBRARY NAMES gomp libgomp.so.1 REQUIRED)
  find_library(KCM_GFORTRAN_LIBRARY NAMES gfortran libgfortran.so.5 REQUIRED)
  # L-BFGS-B first: its BLAS references are resolved by the MKL group after it.
  target_link_libraries(kcm::math_libraries INTERFACE
    ${KCM_lbfgsb_ARCHIVE}
    -Wl,--start-group ${KCM_mkl_intel_lp64_ARCHIVE} ${KCM_mkl_gnu_thread_ARCHIVE}
                      ${KCM_mkl_core_ARCHIVE} -Wl,--end-group
    ${KCM_GOMP_LIBRARY} ${KCM_GFORTRAN_LIBRARY} pthread m dl)
elseif(KCM_MKL_LINKING STREQUAL "rt")
  find_library(KCM_MKL_RT_LIBRARY NAMES mkl_rt REQUIRED)
  find_library(KCM_LBFGSB_LIBRARY NAMES lbfgsb REQUIRED)
  target_link_libraries(kcm::math_libraries INTERFACE
    ${KCM_LBFGSB_LIBRARY} ${KCM_MKL_RT_LIBRARY} pthread m dl)
else()
  message(FATAL_ERROR "KCM_MKL_LINKING must be static or rt, not '${KCM_MKL_LINKING}'")
endif()
