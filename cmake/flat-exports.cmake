# cmake -D EXPORTS=FILE -D RESULT=FILE -D LIBRARY=NAME -P flat-exports.cmake
# Keeps of a linker's list of exports the functions with plain names. They are bound by name: ordinals may change.
file(STRINGS ${EXPORTS} lines REGEX "^ +[A-Za-z_][A-Za-z0-9_]* ")
set(functions)
foreach(line IN LISTS lines)
  string(REGEX REPLACE "^ +([A-Za-z_][A-Za-z0-9_]*).*" "\\1" name "${line}")
  if(NOT name MATCHES "^_Z")
    string(APPEND functions "  ${name}\n")
  endif()
endforeach()
if(NOT functions)
  message(FATAL_ERROR "${EXPORTS} lists no flat functions")
endif()
file(WRITE ${RESULT} "LIBRARY ${LIBRARY}\nEXPORTS\n${functions}")
