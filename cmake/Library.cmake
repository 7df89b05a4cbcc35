# The DLL: both faces over the parts below them.
add_library(qzSOAP SHARED)
set_target_properties(qzSOAP PROPERTIES PREFIX "")
set(QZ_PARTS qz_toolkit qz_flat qz_rpc qz_inet qz_log qz_platform)
set(QZ_SYSTEM_LIBRARIES wininet oleaut32 ole32 uuid user32 advapi32 ws2_32 version shlwapi)
target_link_libraries(qzSOAP PRIVATE ${QZ_PARTS} qz_wire zlib_static ${QZ_SYSTEM_LIBRARIES})
target_include_directories(qzSOAP INTERFACE ${PROJECT_SOURCE_DIR}/include)
# The flat face loads zlib from beside the library.
add_dependencies(qzSOAP zlib1)
qz_check_image(qzSOAP)
qz_check_image(zlib1)

# The same parts linked into a program, for tests that look inside.
add_library(qz_inside INTERFACE)
target_compile_definitions(qz_inside INTERFACE QZSOAP_STATIC)
target_link_libraries(qz_inside INTERFACE ${QZ_PARTS} qz_wire zlib_static ${QZ_SYSTEM_LIBRARIES})
foreach(part ${QZ_PARTS})
  target_sources(qz_inside INTERFACE $<TARGET_OBJECTS:${part}>)
endforeach()

# Every public header stands on its own: a source file made of nothing but it compiles with the install tree's view.
file(GLOB public_headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/include/*.h)
set(public_header_checks)
foreach(header ${public_headers})
  set(check ${PROJECT_BINARY_DIR}/public_headers/${header}.cpp)
  file(CONFIGURE OUTPUT ${check} CONTENT "#include \"@header@\"\n" @ONLY)
  list(APPEND public_header_checks ${check})
endforeach()
add_library(public_headers OBJECT ${public_header_checks})
target_include_directories(public_headers PRIVATE ${PROJECT_SOURCE_DIR}/include)
target_link_libraries(public_headers PRIVATE qz_warnings)
