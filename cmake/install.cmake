# What `cmake --install` puts in place: libraries and headers, a CMake package and
# a pkg-config file for other programs, the commands and their man pages.
include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/nolt")
install(TARGETS nolt_std nolt_base nolt_math nolt_images nolt_wdb
  EXPORT noltTargets
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/nolt")
install(EXPORT noltTargets NAMESPACE nolt:: DESTINATION "${package_dir}")
configure_package_config_file(cmake/noltConfig.cmake.in "${PROJECT_BINARY_DIR}/noltConfig.cmake"
  INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/noltConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/noltConfig.cmake"
  "${PROJECT_BINARY_DIR}/noltConfigVersion.cmake"
  cmake/FindBDWgc.cmake
  DESTINATION "${package_dir}")

# The way back from the file itself, so that an installed tree can be moved.
file(RELATIVE_PATH NOLT_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/nolt.pc.in "${PROJECT_BINARY_DIR}/nolt.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/nolt.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

install(TARGETS nolt_sphere_world nolt_fromvrml RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(PROGRAMS tools/pcat DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(FILES docs/man/nolt_sphere_world.1 docs/man/nolt_fromvrml.1 docs/man/pcat.1
  DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
