# The install tree: the DLL finds configuration/ and Logs/ from its own place in it. No file knows where the tree lies.
include(CMakePackageConfigHelpers)
set(package_dir ${PROJECT_BINARY_DIR}/package)
configure_file(cmake/qzSOAPConfig.cmake.in ${package_dir}/qzSOAPConfig.cmake @ONLY)
configure_file(cmake/qzSOAP.pc.in ${package_dir}/qzSOAP.pc @ONLY)
write_basic_package_version_file(${package_dir}/qzSOAPConfigVersion.cmake COMPATIBILITY SameMajorVersion
                                 ARCH_INDEPENDENT)

install(TARGETS qzSOAP RUNTIME DESTINATION bin ARCHIVE DESTINATION lib)
install(TARGETS zlib1 qzcall qzgateway RUNTIME DESTINATION bin)
install(DIRECTORY include/ DESTINATION include FILES_MATCHING PATTERN "*.h")
install(FILES ${QZ_FLAT_LIB} ${QZ_FLAT_DEF} DESTINATION lib)
install(FILES ${package_dir}/qzSOAPConfig.cmake ${package_dir}/qzSOAPConfigVersion.cmake DESTINATION lib/cmake/qzSOAP)
install(FILES ${package_dir}/qzSOAP.pc DESTINATION lib/pkgconfig)
install(FILES README.md CHANGELOG.md DESTINATION share/doc/qzSOAP)
install(FILES cmake/third-party-licenses.txt DESTINATION share/doc/qzSOAP)
install(DIRECTORY docs Examples DESTINATION share/doc/qzSOAP
        FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "*.svg" PATTERN "*.cpp")
install(DIRECTORY DESTINATION configuration)
install(DIRECTORY DESTINATION Logs)

# Everything that is installed, and nothing else.
add_custom_target(product)
add_dependencies(product qzSOAP zlib1 qzcall qzgateway import_library)
