include(GoogleTest)

# qz_objects(NAME SOURCES file... [LIBRARIES target...])
# One part of the DLL, compiled once: the DLL and the tests of its inside link the same object files.
function(qz_objects name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
  add_library(${name} OBJECT ${arg_SOURCES})
  target_compile_definitions(${name} PRIVATE QZSOAP_BUILDING)
  target_link_libraries(${name} PRIVATE qz_options PUBLIC ${arg_LIBRARIES})
endfunction()

# qz_program(NAME SOURCES file... [LIBRARIES target...] [HTTPLIB])
# A program; HTTPLIB if it includes httplib.h.
function(qz_program name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "HTTPLIB" "" "SOURCES;LIBRARIES")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE $<IF:$<BOOL:${arg_HTTPLIB}>,qz_options_httplib,qz_options> ${arg_LIBRARIES})
endfunction()

# qz_compile_together(TARGET GROUP file...)
# Compiles these sources of a target as one. Each would compile a large header of other people again, which takes many
# times longer than they do themselves.
function(qz_compile_together target group)
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
  set_source_files_properties(${ARGN} PROPERTIES UNITY_GROUP ${group})
endfunction()

# qz_test_program(NAME SOURCES file... [LIBRARIES target...] [HTTPLIB] [OWN_LOG | OWN_TREE] [TIMEOUT seconds])
# A GoogleTest program whose tests run one by one under CTest, labelled with the program's name. Unless each has a log of
# its own (OWN_LOG), no two run at the same time: they read the log of their tree, and under Wine a line can get lost when
# two processes append to a file at once. A program that lies in an install tree of its own (OWN_TREE), beside copies of
# the DLLs, need not wait for those of other programs.
function(qz_test_program name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "HTTPLIB;OWN_LOG;OWN_TREE" "TIMEOUT" "SOURCES;LIBRARIES")
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 60)
  endif()
  set(httplib)
  if(arg_HTTPLIB)
    set(httplib HTTPLIB)
  endif()
  qz_program(${name} SOURCES ${arg_SOURCES} LIBRARIES test_main ${arg_LIBRARIES} ${httplib})
  # Built often and run for milliseconds: what is under test is optimised, the tests are not.
  target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O0>)
  target_precompile_headers(${name} REUSE_FROM test_main)
  set(lock RESOURCE_LOCK log)
  if(arg_OWN_LOG)
    set(lock)
  elseif(arg_OWN_TREE)
    set(lock RESOURCE_LOCK ${name})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${name}/bin)
    add_custom_command(TARGET ${name} POST_BUILD COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:qzSOAP>
                       $<TARGET_FILE:zlib1> $<TARGET_FILE_DIR:${name}>)
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
                       PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS ${name} ${lock})
endfunction()

# qz_check_image(TARGET): a test that the binary imports nothing but system DLLs and the project's own.
function(qz_check_image target)
  add_test(NAME Image.${target}
           COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-image ${CMAKE_OBJDUMP} $<TARGET_FILE:${target}>)
  set_tests_properties(Image.${target} PROPERTIES TIMEOUT 30 LABELS image)
endfunction()
