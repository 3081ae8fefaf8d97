# Installation: the shared library (versioned, with soname), the public header,
# the `kcm` tool, a CMake package (find_package(KorvaneCoreMath) gives the
# imported target KorvaneCoreMath::KorvaneCoreMath) and a pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(KCM_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/KorvaneCoreMath
    CACHE STRING "Where the CMake package files are installed, relative to the prefix")

install(TARGETS KorvaneCoreMath KorvaneCoreMathNoThrow EXPORT KorvaneCoreMathTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
          COMPONENT Runtime NAMELINK_COMPONENT Development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/korvane/core_math.h
              ${KCM_GENERATED}/korvane/core_math_nothrow.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/korvane COMPONENT Development)
# The .NET declarations, for a host project to compile in.
install(FILES ${KCM_GENERATED}/dotnet/KorvaneCoreMath.cs
  DESTINATION ${CMAKE_INSTALL_DATADIR}/korvane/dotnet COMPONENT Development)
if(TARGET kcm)
  set_target_properties(kcm PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS kcm RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime)
endif()

install(EXPORT KorvaneCoreMathTargets NAMESPACE KorvaneCoreMath::
  DESTINATION ${KCM_INSTALL_CMAKEDIR} COMPONENT Development)
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/KorvaneCoreMathConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KorvaneCoreMathConfig.cmake
  INSTALL_DESTINATION ${KCM_INSTALL_CMAKEDIR})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/KorvaneCoreMathConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KorvaneCoreMathConfig.cmake
              ${PROJECT_BINARY_DIR}/KorvaneCoreMathConfigVersion.cmake
  DESTINATION ${KCM_INSTALL_CMAKEDIR} COMPONENT Development)

# pkg-config: the library is self-contained (MKL and L-BFGS-B are linked into
# it), so a consumer needs nothing but -lKorvaneCoreMath.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(KCM_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
else()
  set(KCM_PC_LIBDIR "\${exec_prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(KCM_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
else()
  set(KCM_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
set(KCM_INSTALL_PREFIX "@KCM_INSTALL_PREFIX@")  # kept for the install step below
configure_file(${PROJECT_SOURCE_DIR}/cmake/KorvaneCoreMath.pc.in
               ${PROJECT_BINARY_DIR}/KorvaneCoreMath.pc.gen @ONLY)
# The prefix is substituted at install time so that `cmake --install --prefix`
# yields a file that points at the tree it was installed into.
install(CODE "
  file(READ \"${PROJECT_BINARY_DIR}/KorvaneCoreMath.pc.gen\" _kcm_pc)
  string(REPLACE \"@KCM_INSTALL_PREFIX@\" \"\${CMAKE_INSTALL_PREFIX}\" _kcm_pc \"\${_kcm_pc}\")
  file(WRITE \"${PROJECT_BINARY_DIR}/KorvaneCoreMath.pc\" \"\${_kcm_pc}\")
" COMPONENT Development)
install(FILES ${PROJECT_BINARY_DIR}/KorvaneCoreMath.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
