# Sanitizer and fuzzing builds (clang from Debian: clang, libclang-rt-14-dev).
#
#   cmake -S . -B build-asan -G Ninja -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DKCM_SANITIZE=address
#   cmake -S . -B build-tsan -G Ninja -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DKCM_SANITIZE=thread
#   cmake -S . -B build-fuzz -G Ninja -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DKCM_FUZZ=ON
#
# KCM_SANITIZE=address instruments everything (library, tests, kcm) with
# AddressSanitizer and UndefinedBehaviorSanitizer, any UB report fatal;
# KCM_SANITIZE=thread with ThreadSanitizer. KCM_FUZZ=ON builds the libFuzzer
# targets of fuzz/ over an ASan + UBSan library. Each belongs in a build
# directory of its own. tools/hardening.sh drives all three.

set(KCM_SANITIZE "" CACHE STRING "Sanitizer build: address (ASan + UBSan) or thread (TSan); empty for none")
set_property(CACHE KCM_SANITIZE PROPERTY STRINGS "" address thread)
option(KCM_FUZZ "Build the libFuzzer targets in fuzz/ (ASan + UBSan)" OFF)

if(KCM_SANITIZE STREQUAL "" AND NOT KCM_FUZZ)
  return()
endif()

if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang" OR NOT CMAKE_C_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "KCM_SANITIZE and KCM_FUZZ need clang: configure with "
                      "-DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++")
endif()

set(_kcm_asan_ubsan -fsanitize=address,undefined -fno-sanitize-recover=undefined
                    -fno-omit-frame-pointer)
if(KCM_FUZZ)
  if(NOT KCM_SANITIZE STREQUAL "" AND NOT KCM_SANITIZE STREQUAL "address")
    message(FATAL_ERROR "KCM_FUZZ=ON combines only with KCM_SANITIZE=address")
  endif()
  # The library and everything else carry libFuzzer's coverage hooks; only the
  # fuzz targets link libFuzzer's main (-fsanitize=fuzzer, in fuzz/).
  set(_kcm_flags ${_kcm_asan_ubsan} -fsanitize=fuzzer-no-link)
elseif(KCM_SANITIZE STREQUAL "address")
  set(_kcm_flags ${_kcm_asan_ubsan})
elseif(KCM_SANITIZE STREQUAL "thread")
  set(_kcm_flags -fsanitize=thread -fno-omit-frame-pointer)
else()
  message(FATAL_ERROR "KCM_SANITIZE must be address or thread, not '${KCM_SANITIZE}'")
endif()
add_compile_options(${_kcm_flags})
add_link_options(${_kcm_flags})
# A C program linking the instrumented C++ library needs the C++ parts of the
# sanitizer runtime too (UBSan's vptr checks).
add_link_options($<$<LINK_LANGUAGE:C>:-fsanitize-link-c++-runtime> $<$<LINK_LANGUAGE:C>:-lstdc++>)

# clang links the sanitizer runtime into executables only, so an instrumented
# shared library has undefined __asan_*/__tsan_* references until it is loaded:
# -Wl,--no-undefined cannot hold for it.
set(KCM_LINK_NO_UNDEFINED "")

# Targets that make no sense in an instrumented build:
# - benchmarks: timings of instrumented code measure the sanitizer;
# - the Python binding: /usr/bin/python3 is not instrumented and cannot load
#   an instrumented library without preloading the runtime;
# - the install-and-consume test: it builds a consumer project with the
#   default compiler flags, which cannot link the instrumented library;
# - the host tests: Python, Mono and a plain dlopen cannot load an
#   instrumented library without preloading the sanitizer's runtime.
set(KCM_BUILD_BENCHMARKS OFF)
set(KCM_BUILD_PYTHON OFF)
set(KCM_BUILD_CONSUMER_TEST OFF)
set(KCM_BUILD_HOST_TESTS OFF)
# The fuzzing build is for the fuzz targets only; the test suite has its own
# KCM_SANITIZE=address build.
if(KCM_FUZZ)
  set(KCM_BUILD_TESTS OFF)
  set(KCM_BUILD_CLI OFF)
endif()
