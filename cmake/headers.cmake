# What no layer writes: the number of the version, and the header of all public headers.
configure_file(cmake/nolt_version.h.in "${PROJECT_BINARY_DIR}/include/nolt/nolt_version.h" @ONLY)

get_property(headers GLOBAL PROPERTY nolt_headers)
set(NOLT_INCLUDES "")
foreach(header ${headers})
  string(APPEND NOLT_INCLUDES "#include \"${header}\"\n")
endforeach()
configure_file(cmake/nolt.h.in "${PROJECT_BINARY_DIR}/include/nolt/nolt.h" @ONLY)
