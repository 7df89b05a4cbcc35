# What cpack runs once the install tree is staged. The files of the ZIP are in the order of their names, and have the time
# in SOURCE_DATE_EPOCH or that of the last commit, neither owner nor group, and the permissions that everybody gives.
find_program(ZIP_PROGRAM zip)
if(NOT ZIP_PROGRAM)
  message(FATAL_ERROR "The program zip is missing; run scripts/setup first")
endif()

set(epoch $ENV{SOURCE_DATE_EPOCH})
if(NOT epoch)
  execute_process(COMMAND git -C ${CPACK_SOURCE_DIR} log -1 --format=%ct
                  OUTPUT_VARIABLE epoch OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT epoch MATCHES "^[0-9]+$")
  message(FATAL_ERROR "The package needs a time: set SOURCE_DATE_EPOCH, as the sources are in no git repository")
endif()

get_filename_component(stage ${CPACK_TEMPORARY_DIRECTORY} DIRECTORY)
get_filename_component(tree ${CPACK_TEMPORARY_DIRECTORY} NAME)
set(zip ${CPACK_PACKAGE_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}.zip)
file(REMOVE ${zip})
file(GLOB_RECURSE entries LIST_DIRECTORIES true RELATIVE ${stage} ${stage}/${tree}/*)
list(SORT entries)
list(JOIN entries "\n" lines)
file(WRITE ${stage}/entries.txt "${lines}\n")
# A ZIP holds local times, here those of UTC. The user's own options of zip are left out.
set(ENV{TZ} UTC)
unset(ENV{ZIPOPT})
unset(ENV{ZIP})
file(CHMOD_RECURSE ${stage}/${tree} DIRECTORY_PERMISSIONS
     OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
execute_process(COMMAND touch -d @${epoch} -- ${entries} WORKING_DIRECTORY ${stage} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${ZIP_PROGRAM} -q -X -9 ${zip} -@ INPUT_FILE ${stage}/entries.txt WORKING_DIRECTORY ${stage}
                COMMAND_ERROR_IS_FATAL ANY)
set(CPACK_EXTERNAL_BUILT_PACKAGES ${zip})
