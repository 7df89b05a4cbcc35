# Manual pages of the programs, made from what the programs themselves say with --help.

# qz_man_page(TARGET): the page TARGET.1, built with everything else and installed under share/man/man1.
function(qz_man_page target)
  set(page ${PROJECT_BINARY_DIR}/man/${target}.1)
  set(script ${PROJECT_SOURCE_DIR}/scripts/make-man-page)
  add_custom_command(OUTPUT ${page} COMMAND ${script} $<TARGET_FILE:${target}> ${page} DEPENDS ${target} ${script}
                     COMMENT "Describing ${target}" VERBATIM)
  add_custom_target(${target}_man ALL DEPENDS ${page})
  add_dependencies(${target}_man qzSOAP zlib1)
  add_dependencies(product ${target}_man)
  install(FILES ${page} DESTINATION share/man/man1)
endfunction()

qz_man_page(qzcall)
qz_man_page(qzgateway)
