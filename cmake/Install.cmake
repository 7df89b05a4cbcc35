# The install tree: the DLL finds configuration/ and Logs/ from its own place in it.
install(TARGETS qzSOAP RUNTIME DESTINATION bin ARCHIVE DESTINATION lib)
install(TARGETS zlib1 qzcall qzgateway RUNTIME DESTINATION bin)
install(DIRECTORY include/ DESTINATION include FILES_MATCHING PATTERN "*.h")
install(DIRECTORY DESTINATION configuration)
install(DIRECTORY DESTINATION Logs)

# Everything that is installed, and nothing else.
add_custom_target(product)
add_dependencies(product qzSOAP zlib1 qzcall qzgateway)
