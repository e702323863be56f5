# Finds the conservative garbage collector and offers it as BDWgc::gc.
find_path(BDWgc_INCLUDE_DIR gc.h)
find_library(BDWgc_LIBRARY gc)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(BDWgc REQUIRED_VARS BDWgc_LIBRARY BDWgc_INCLUDE_DIR)

if(BDWgc_FOUND AND NOT TARGET BDWgc::gc)
  add_library(BDWgc::gc UNKNOWN IMPORTED)
  set_target_properties(BDWgc::gc PROPERTIES
    IMPORTED_LOCATION "${BDWgc_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${BDWgc_INCLUDE_DIR}")
endif()
mark_as_advanced(BDWgc_INCLUDE_DIR BDWgc_LIBRARY)
