# What `cmake --install` puts under the prefix, in GNUInstallDirs locations: the library
# (libqv_imageproc.so.1.x.y, SONAME libqv_imageproc.so.1, and the development link), the public
# header, a pkg-config file (qv-imageproc.pc) and a CMake package (find_package(QvImageProc),
# imported target QvImageProc::qv_imageproc). qv-convert and the GStreamer plugin install themselves
# from their own directories.
include(CMakePackageConfigHelpers)

install(TARGETS qv_imageproc EXPORT QvImageProcTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/qv_imageproc.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(QV_CMAKE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/QvImageProc)
install(EXPORT QvImageProcTargets NAMESPACE QvImageProc:: DESTINATION ${QV_CMAKE_PACKAGE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QvImageProcConfig.cmake.in
  ${PROJECT_BINARY_DIR}/QvImageProcConfig.cmake INSTALL_DESTINATION ${QV_CMAKE_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QvImageProcConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QvImageProcConfig.cmake ${PROJECT_BINARY_DIR}/QvImageProcConfigVersion.cmake
        DESTINATION ${QV_CMAKE_PACKAGE_DIR})

# pkg-config. The prefix is found from the file's own place (${pcfiledir}), so the file stays
# right whatever prefix `cmake --install --prefix` is given; absolute directories are kept as given.
# The library links Google Highway privately: named through its own pkg-config module when
# there is one, as a plain -lhwy otherwise.
file(RELATIVE_PATH QV_PC_UP /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" QV_PC_UP "${QV_PC_UP}")
set(QV_PC_PREFIX "\${pcfiledir}/${QV_PC_UP}")
foreach(kind LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}}")
    set(QV_PC_${kind} "${CMAKE_INSTALL_${kind}}")
    set(QV_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
  else()
    set(QV_PC_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
  endif()
endforeach()
find_package(PkgConfig QUIET)
if(PKG_CONFIG_FOUND)
  pkg_check_modules(QV_PC_HWY QUIET libhwy)
endif()
set(QV_PC_LIBS_PRIVATE "-lstdc++ -lm -lpthread")
if(QV_PC_HWY_FOUND)
  set(QV_PC_REQUIRES_PRIVATE "libhwy")
else()
  set(QV_PC_REQUIRES_PRIVATE "")
  string(PREPEND QV_PC_LIBS_PRIVATE "-lhwy ")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/qv-imageproc.pc.in ${PROJECT_BINARY_DIR}/qv-imageproc.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qv-imageproc.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Install into a temporary prefix and build and run consumers through pkg-config and find_package
# (not with the sanitizers, whose libraries a plain consumer does not link, nor in a cross build,
# whose consumers do not run on the build machine).
if(QV_BUILD_TESTS AND NOT QV_SANITIZE AND NOT CMAKE_CROSSCOMPILING)
  set(QV_INSTALL_CHECK bash ${PROJECT_SOURCE_DIR}/tests/install/check_install.sh ${PROJECT_BINARY_DIR}
      ${PROJECT_SOURCE_DIR})
  if(TARGET qv_host_example)
    list(APPEND QV_INSTALL_CHECK $<TARGET_FILE:qv_host_example>)
  endif()
  add_test(NAME install_and_consumers COMMAND ${QV_INSTALL_CHECK})
  # Alone: the install reads the whole build tree, which other tests write output files into.
  set_tests_properties(install_and_consumers PROPERTIES RUN_SERIAL TRUE
    ENVIRONMENT "CC=${CMAKE_C_COMPILER};CFLAGS=${CMAKE_C_FLAGS}")
endif()
