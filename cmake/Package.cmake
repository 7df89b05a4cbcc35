# cpack makes a ZIP of the install tree, whose bytes depend on the sources alone. CPack's own ZIP files do not: they hold
# the order and times in which the files were written, and who wrote them.
set(CPACK_GENERATOR External)
set(CPACK_EXTERNAL_ENABLE_STAGING ON)
set(CPACK_EXTERNAL_PACKAGE_SCRIPT ${PROJECT_SOURCE_DIR}/cmake/PackageZip.cmake)
set(CPACK_SOURCE_DIR ${PROJECT_SOURCE_DIR})
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-win32)
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
