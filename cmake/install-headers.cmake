# Puts the public headers below DESTINATION. There they include one another by relative paths: no
# folder of the program's own that is called `math` or `std` can come between.
#
# SOURCE, GENERATED: the folders that hold HEADERS and the generated ones. WORK: a folder for drafts.
foreach(header ${HEADERS})
  file(READ "${SOURCE}/${header}" text)
  string(REGEX REPLACE "#include \"(std|base|math|images|wdb)/" "#include \"../\\1/" text "${text}")
  file(WRITE "${WORK}/${header}" "${text}")
  get_filename_component(folder "${header}" DIRECTORY)
  file(INSTALL "${WORK}/${header}" DESTINATION "${DESTINATION}/${folder}")
endforeach()
file(INSTALL "${GENERATED}/nolt.h" "${GENERATED}/nolt_version.h" DESTINATION "${DESTINATION}")
