# Run by CPack before it packs: gives every file of the package one time, so that the package's bytes do not tell
# when it was built.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    return()
endif()
find_program(TOUCH touch)
if(TOUCH)
    file(GLOB_RECURSE entries LIST_DIRECTORIES true ${CPACK_TEMPORARY_DIRECTORY}/*)
    foreach(entry IN LISTS entries ITEMS ${CPACK_TEMPORARY_DIRECTORY})
        execute_process(COMMAND ${TOUCH} -h -d @$ENV{SOURCE_DATE_EPOCH} ${entry} COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
endif()
