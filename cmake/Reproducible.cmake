# The same sources give the same bytes, wherever they lie and whenever they are built. A build for the debugger keeps the
# whole paths, by which the debugger finds the sources.
add_compile_options($<$<AND:$<CONFIG:Release>,$<COMPILE_LANGUAGE:C,CXX>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>)
if(WIN32)
  add_link_options(-Wl,--no-insert-timestamp)
  # What Debian's runtime libraries bring along of their own sources; the symbols of functions stay.
  add_link_options($<$<CONFIG:Release>:-Wl,--strip-debug>)
endif()
