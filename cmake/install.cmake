# What `cmake --install` puts in place: libraries and headers, a CMake package and a pkg-config file
# for other programs, the commands with their man pages, the documentation. The same goes into the
# packages of `cpack`.
include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/nolt")
get_property(libraries GLOBAL PROPERTY nolt_installed)
install(TARGETS ${libraries}
  EXPORT noltTargets
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT library NAMELINK_COMPONENT development)
install(EXPORT noltTargets NAMESPACE nolt:: DESTINATION "${package_dir}" COMPONENT development)
configure_package_config_file(cmake/noltConfig.cmake.in "${PROJECT_BINARY_DIR}/noltConfig.cmake"
  INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/noltConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/noltConfig.cmake"
  "${PROJECT_BINARY_DIR}/noltConfigVersion.cmake"
  cmake/FindBDWgc.cmake
  DESTINATION "${package_dir}" COMPONENT development)

# Appended, since an absolute folder takes the place of the prefix.
set(include_dir "\${CMAKE_INSTALL_PREFIX}")
cmake_path(APPEND include_dir "${CMAKE_INSTALL_INCLUDEDIR}" nolt)
get_property(headers GLOBAL PROPERTY nolt_headers)
install(CODE "
  set(SOURCE \"${PROJECT_SOURCE_DIR}\")
  set(GENERATED \"${PROJECT_BINARY_DIR}/include/nolt\")
  set(WORK \"${PROJECT_BINARY_DIR}/installed-headers\")
  set(HEADERS \"${headers}\")
  set(DESTINATION \"${include_dir}\")
  include(\"${PROJECT_SOURCE_DIR}/cmake/install-headers.cmake\")"
  COMPONENT development)

# The way back from the file itself, so that an installed tree can be moved.
cmake_path(APPEND CMAKE_INSTALL_PREFIX "${CMAKE_INSTALL_LIBDIR}" pkgconfig OUTPUT_VARIABLE pc_dir)
file(RELATIVE_PATH NOLT_PC_PREFIX "${pc_dir}" "${CMAKE_INSTALL_PREFIX}")
set(NOLT_PC_LIBDIR "\${prefix}")
cmake_path(APPEND NOLT_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
set(NOLT_PC_INCLUDEDIR "\${prefix}")
cmake_path(APPEND NOLT_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
set(NOLT_PC_LIBS "-lnolt")
if(NOT BUILD_SHARED_LIBS)
  set(NOLT_PC_LIBS "-lnolt_wdb -lnolt_images -lnolt_math -lnolt_base -lnolt_std")
endif()
configure_file(cmake/nolt.pc.in "${PROJECT_BINARY_DIR}/nolt.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/nolt.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

# nolt_gzip(FILE NAME COMPONENT): packs it into the build folder at the installation; the same bytes each time.
find_program(NOLT_GZIP gzip)
mark_as_advanced(NOLT_GZIP)
function(nolt_gzip file name component)
  install(CODE "
    file(MAKE_DIRECTORY \"${PROJECT_BINARY_DIR}/packed\")
    execute_process(COMMAND \"${NOLT_GZIP}\" -9nc \"${file}\"
      OUTPUT_FILE \"${PROJECT_BINARY_DIR}/packed/${name}\" COMMAND_ERROR_IS_FATAL ANY)"
    COMPONENT ${component})
endfunction()

if(NOLT_BUILD_TOOLS)
  get_property(commands GLOBAL PROPERTY nolt_commands)
  install(TARGETS ${commands} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
  install(PROGRAMS tools/pcat DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
  foreach(command ${commands} pcat)
    set(page "${PROJECT_SOURCE_DIR}/docs/man/${command}.1")
    if(NOLT_GZIP)
      nolt_gzip("${page}" "${command}.1.gz" tools)
      set(page "${PROJECT_BINARY_DIR}/packed/${command}.1.gz")
    endif()
    install(FILES "${page}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tools)
    install(FILES tools/completion/nolt.bash RENAME ${command}
      DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT tools)
  endforeach()
endif()

install(FILES README.md CHANGELOG.md CONTRIBUTING.md
  DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT documentation)
install(FILES docs/nolt.supp DESTINATION "${CMAKE_INSTALL_DATADIR}/nolt" COMPONENT development)
install(FILES bench/README.md DESTINATION "${CMAKE_INSTALL_DOCDIR}/bench" COMPONENT documentation)
install(DIRECTORY docs DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT documentation
  FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN man EXCLUDE)
install(DIRECTORY examples DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT documentation
  FILES_MATCHING PATTERN "*.cc" PATTERN CMakeLists.txt)

if(PROJECT_IS_TOP_LEVEL)
  include(cmake/package.cmake)
endif()
