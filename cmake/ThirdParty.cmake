# What other people wrote, as scripts/setup lays it out: sources in build/deps, GoogleTest's in /usr/src/googletest.

set(QZ_DEPS_DIR ${PROJECT_SOURCE_DIR}/build/deps CACHE PATH "Third-party sources and headers, made by scripts/setup")
set(QZ_GOOGLETEST_DIR /usr/src/googletest CACHE PATH "GoogleTest's source tree")
foreach(wanted ${QZ_DEPS_DIR}/zlib-1.2.3/zlib.h ${QZ_DEPS_DIR}/include/httplib.h
        ${QZ_GOOGLETEST_DIR}/googletest/src/gtest-all.cc)
  if(NOT EXISTS ${wanted})
    message(FATAL_ERROR "${wanted} is missing; run scripts/setup first")
  endif()
endforeach()

# Header-only libraries: CLI/CLI.hpp, nlohmann/json.hpp, tl/expected.hpp, httplib.h.
add_library(deps_headers INTERFACE)
target_include_directories(deps_headers SYSTEM INTERFACE ${QZ_DEPS_DIR}/include)

set(zlib_dir ${QZ_DEPS_DIR}/zlib-1.2.3)
set(zlib_files)
foreach(name adler32 compress crc32 deflate infback inffast inflate inftrees trees uncompr zutil)
  list(APPEND zlib_files ${zlib_dir}/${name}.c)
endforeach()

add_library(zlib_static STATIC ${zlib_files})
target_include_directories(zlib_static SYSTEM PUBLIC ${zlib_dir})
target_compile_options(zlib_static PRIVATE -w)

if(WIN32)
  add_library(zlib1 SHARED ${zlib_files} ${PROJECT_SOURCE_DIR}/cmake/zlib1.def)
  set_target_properties(zlib1 PROPERTIES PREFIX "")
  target_compile_options(zlib1 PRIVATE -w)
  target_include_directories(zlib1 SYSTEM PUBLIC ${zlib_dir})
endif()

# Built from the two amalgamations: the tree's own build files add warnings as errors of their own.
find_package(Threads REQUIRED)
add_library(gtest STATIC ${QZ_GOOGLETEST_DIR}/googletest/src/gtest-all.cc ${QZ_GOOGLETEST_DIR}/googlemock/src/gmock-all.cc)
target_include_directories(gtest SYSTEM PUBLIC ${QZ_GOOGLETEST_DIR}/googletest/include ${QZ_GOOGLETEST_DIR}/googlemock/include
                           PRIVATE ${QZ_GOOGLETEST_DIR}/googletest ${QZ_GOOGLETEST_DIR}/googlemock)
target_compile_options(gtest PRIVATE -w $<$<CONFIG:Release>:-O0>)
target_link_libraries(gtest PUBLIC Threads::Threads)
