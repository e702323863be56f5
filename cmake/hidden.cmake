# Symbols of internal classes and namespaces stay inside the shared library.
get_property(hidden GLOBAL PROPERTY nolt_hidden)
set(patterns "")
foreach(class ${hidden} scene_forms str_buffer)
  string(LENGTH ${class} length)
  # As the compilers write the name of a class, and of what stands in it.
  foreach(kind _ZN _ZNK _ZTI _ZTS _ZTV _ZGV _ZTWN _ZTHN)
    string(APPEND patterns "    ${kind}${length}${class}*;\n")
  endforeach()
endforeach()
# Tests look inside.
if(NOT NOLT_BUILD_TESTS)
  file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/nolt.map"
    CONTENT "{\n  global: *;\n  local:\n@patterns@};\n" @ONLY)
  target_link_options(nolt PRIVATE "-Wl,--version-script=${PROJECT_BINARY_DIR}/nolt.map")
  set_target_properties(nolt PROPERTIES LINK_DEPENDS "${PROJECT_BINARY_DIR}/nolt.map")
endif()
