# Run by CPack before it packs.
if(CMAKE_HOST_WIN32)
    return()
endif()
set(folder ${CPACK_TEMPORARY_DIRECTORY})

# What Debian asks of packages: each says its terms and its changes, these in Debian's own form, the tool's also the
# terms of the headers that are compiled into it; changes and manual pages are packed.
if(CPACK_GENERATOR STREQUAL "DEB")
    foreach(component IN LISTS CPACK_COMPONENTS_ALL)
        string(TOUPPER ${component} upper)
        set(documents ${folder}/${component}/usr/share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
        file(MAKE_DIRECTORY ${documents})
        file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/debian-copyright.txt ${documents}/copyright)
        file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/../CHANGELOG.md ${documents}/CHANGELOG.md)
        string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC) # of SOURCE_DATE_EPOCH
        file(WRITE ${documents}/changelog "${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * CHANGELOG.md.gz has the changes.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
        if(component STREQUAL "tool")
            foreach(headers libcli11-dev nlohmann-json3-dev)
                if(EXISTS /usr/share/doc/${headers}/copyright)
                    file(COPY_FILE /usr/share/doc/${headers}/copyright ${documents}/copyright.${headers})
                endif()
            endforeach()
        endif()
    endforeach()
    set(documents ${folder}/*/usr/share/doc/*)
    file(GLOB texts ${folder}/*/usr/share/man/man1/*.1 ${documents}/changelog ${documents}/CHANGELOG.md)
    foreach(text IN LISTS texts)
        execute_process(COMMAND gzip -9nf ${text} COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
endif()

# The bytes of a package must not tell when, where and by whom it was made: its files get one time and the usual
# rights, whatever the umask was. scripts/package sees to their owner.
execute_process(COMMAND chmod -R u=rwX,go=rX ${folder} COMMAND_ERROR_IS_FATAL ANY)
if(DEFINED ENV{SOURCE_DATE_EPOCH})
    execute_process(COMMAND find ${folder} -exec touch -h -d @$ENV{SOURCE_DATE_EPOCH} {} +
        COMMAND_ERROR_IS_FATAL ANY)
endif()
