# How this project's own code is compiled. Third-party code does not use these targets.
#   qz_base     where headers are found; passed on to users of a library
#   qz_options  warnings, sanitizers, Windows version; stays with the target itself
#   qz_options_httplib   the same for sources that include httplib.h, which asks for a newer Windows

add_library(qz_base INTERFACE)
target_include_directories(qz_base INTERFACE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR})

add_library(qz_warnings INTERFACE)
target_compile_options(qz_warnings INTERFACE -Wall -Wextra -Wconversion)
# GCC 12 sees an overlapping copy in `"literal" + std::string` where there is none.
target_compile_options(qz_warnings INTERFACE -Wno-restrict)
target_compile_options(qz_warnings INTERFACE $<$<BOOL:${QZ_WARNINGS_AS_ERRORS}>:-Werror>)
if(QZ_SANITIZE)
  set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(qz_warnings INTERFACE ${sanitizers})
  target_link_options(qz_base INTERFACE ${sanitizers})
endif()
if(WIN32)
  target_compile_definitions(qz_warnings INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN)
endif()

add_library(qz_options INTERFACE)
target_link_libraries(qz_options INTERFACE qz_base qz_warnings)
add_library(qz_options_httplib INTERFACE)
target_link_libraries(qz_options_httplib INTERFACE qz_base qz_warnings)
if(WIN32)
  target_compile_definitions(qz_options INTERFACE _WIN32_WINNT=0x0601 WINVER=0x0601)
  target_compile_definitions(qz_options_httplib INTERFACE _WIN32_WINNT=0x0A00 WINVER=0x0A00)
  target_link_libraries(qz_options_httplib INTERFACE ws2_32 crypt32)
endif()
