enable_language(RC)

# qz_version_info(TARGET DLL|APP DESCRIPTION): gives the binary the version resource that the system shows as its
# properties.
function(qz_version_info target type description)
  if(type STREQUAL "DLL")
    set(file ${target}${CMAKE_SHARED_LIBRARY_SUFFIX})
  else()
    set(file ${target}${CMAKE_EXECUTABLE_SUFFIX})
  endif()
  configure_file(cmake/version.rc.in ${PROJECT_BINARY_DIR}/${target}.rc @ONLY)
  target_sources(${target} PRIVATE ${PROJECT_BINARY_DIR}/${target}.rc)
endfunction()

qz_version_info(qzSOAP DLL "qzSOAP remote procedure calls")
qz_version_info(qzcall APP "qzSOAP calls from the command line")
qz_version_info(qzgateway APP "qzSOAP demonstration gateway")
