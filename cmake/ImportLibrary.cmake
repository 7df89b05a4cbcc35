# An import library for linkers that do not read MinGW's. It holds the flat functions, which any compiler can call: the
# classes have the names of the compiler that built the library. The list of functions is taken from the linker, which
# says what the DLL exports.
set(QZ_EXPORTS ${PROJECT_BINARY_DIR}/exports.def)
set(QZ_FLAT_DEF ${PROJECT_BINARY_DIR}/qzSOAP.def)
set(QZ_FLAT_LIB ${PROJECT_BINARY_DIR}/qzSOAP.lib)
set(flat_exports ${PROJECT_SOURCE_DIR}/cmake/flat-exports.cmake)
target_link_options(qzSOAP PRIVATE -Wl,--output-def,${QZ_EXPORTS})
# Both lists come with the DLL: where one of them is missing, it is linked again.
set_property(TARGET qzSOAP APPEND PROPERTY LINK_DEPENDS ${flat_exports})
add_custom_command(
  TARGET qzSOAP POST_BUILD
  COMMAND ${CMAKE_COMMAND} -D EXPORTS=${QZ_EXPORTS} -D RESULT=${QZ_FLAT_DEF} -D LIBRARY=$<TARGET_FILE_NAME:qzSOAP>
          -P ${flat_exports}
  BYPRODUCTS ${QZ_EXPORTS} ${QZ_FLAT_DEF}
  VERBATIM)
# dlltool writes the paths that it is given into the library, hence those relative to the build directory, and names
# members after its temporary files. It does not mark them as fit for images with safe exception handlers, which MSVC's
# linker makes unless told otherwise.
add_custom_command(
  OUTPUT ${QZ_FLAT_LIB}
  COMMAND ${CMAKE_DLLTOOL} --machine i386 --deterministic-libraries --temp-prefix qzSOAP
          --input-def qzSOAP.def --output-lib qzSOAP.lib
  COMMAND ${CMAKE_OBJCOPY} --enable-deterministic-archives --add-symbol @feat.00=1,local qzSOAP.lib
  WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
  DEPENDS ${QZ_FLAT_DEF}
  COMMENT "Making qzSOAP.lib"
  VERBATIM)
add_custom_target(import_library ALL DEPENDS ${QZ_FLAT_LIB})
