# qz_report_assets(OUT): writes a source file with the style and the script of the report's page, byte by byte, and the
# digests by which the page allows them and nothing else.
function(qz_report_assets out)
  set(source "#include \"Tools/qzcall/ReportAssets.h\"\n\nnamespace qzcall {\n\n")
  foreach(asset kPageStyle:page.css kPageScript:page.js)
    string(REPLACE ":" ";" parts ${asset})
    list(GET parts 0 name)
    list(GET parts 1 file)
    set(path ${CMAKE_CURRENT_SOURCE_DIR}/report/${file})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${path})
    file(READ ${path} bytes HEX)
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
    execute_process(COMMAND openssl dgst -sha256 -binary ${path}
                    COMMAND openssl base64
                    OUTPUT_VARIABLE hash OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    string(APPEND source "static constexpr char ${name}Bytes[] = {${bytes}};\n"
                         "const Asset ${name} = {{${name}Bytes, sizeof ${name}Bytes}, \"sha256-${hash}\"};\n\n")
  endforeach()
  file(CONFIGURE OUTPUT ${out} CONTENT "${source}}  // namespace qzcall\n" @ONLY)
endfunction()
