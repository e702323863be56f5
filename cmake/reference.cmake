# `cmake --build build/release --target reference`: pages on all public headers, in the build's folder
# reference/. Nothing else needs doxygen, so it is looked for only here.
find_program(NOLT_DOXYGEN doxygen)
mark_as_advanced(NOLT_DOXYGEN)
if(NOLT_DOXYGEN)
  get_property(headers GLOBAL PROPERTY nolt_headers)
  list(JOIN headers " " NOLT_REFERENCE_INPUT)
  configure_file(cmake/Doxyfile.in "${PROJECT_BINARY_DIR}/Doxyfile" @ONLY)
  add_custom_target(reference
    COMMAND "${NOLT_DOXYGEN}" "${PROJECT_BINARY_DIR}/Doxyfile"
    COMMAND "${CMAKE_COMMAND}" -E echo "The reference is ${PROJECT_BINARY_DIR}/reference/index.html"
    WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}" VERBATIM)
else()
  add_custom_target(reference
    COMMAND "${CMAKE_COMMAND}" -E echo "The reference needs doxygen: install it and configure again"
    COMMAND "${CMAKE_COMMAND}" -E false)
endif()
