# `cpack` in a build folder makes nolt_..._.deb and nolt-....tar.gz of all that is installed.
set(CPACK_GENERATOR "TGZ;DEB")
set(CPACK_PACKAGE_NAME nolt)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "world database of placed shapes, for C++ programs")
# Whoever gives packages to others says who they are.
set(NOLT_PACKAGE_CONTACT "The nolt developers <nolt@nolt.invalid>"
  CACHE STRING "Maintainer of the packages")
set(CPACK_PACKAGE_CONTACT "${NOLT_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_VENDOR nolt)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
# gzip, which the reader runs, is essential there: a package does not name it.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libgc-dev")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "\
A library that holds a world of nodes with triangle and line lists, levels of
detail, materials, textures, cameras and lights, finds what a camera shows or
what is under the mouse, and reads and writes scene files.

Commands check scenes, draw them, convert VRML, and make a world of spheres.")
if(NOLT_GZIP)
  # As Debian has it: one entry for this version; what has changed stands in CHANGELOG.md.
  string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  file(WRITE "${PROJECT_BINARY_DIR}/changelog"
    "nolt (${PROJECT_VERSION}) unstable; urgency=low\n\n"
    "  * Version ${PROJECT_VERSION}. See CHANGELOG.md.\n\n"
    " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
  nolt_gzip("${PROJECT_BINARY_DIR}/changelog" changelog.gz documentation)
  install(FILES "${PROJECT_BINARY_DIR}/packed/changelog.gz"
    DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT documentation)
endif()
file(WRITE "${PROJECT_BINARY_DIR}/lintian-overrides"
  "# Why it goes by way of -Wp stands in cmake/nolt.pc.in.\n"
  "nolt: pkg-config-bad-directive *\n")
install(FILES "${PROJECT_BINARY_DIR}/lintian-overrides" RENAME nolt
  DESTINATION "${CMAKE_INSTALL_DATADIR}/lintian/overrides" COMPONENT documentation)
get_property(packages GLOBAL PROPERTY nolt_tool_packages)
# The libraries that the binaries name, in their least versions, and the renewal of the loader's list:
# where the tools for it are there.
find_program(NOLT_DPKG_SHLIBDEPS dpkg-shlibdeps)
find_program(NOLT_FILE file)
mark_as_advanced(NOLT_DPKG_SHLIBDEPS NOLT_FILE)
if(NOLT_DPKG_SHLIBDEPS AND NOLT_FILE)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}")
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
else()
  foreach(package ${packages})
    string(APPEND CPACK_DEBIAN_PACKAGE_DEPENDS ", ${package}")
  endforeach()
endif()
include(CPack)
