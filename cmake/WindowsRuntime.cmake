# All programs and the DLL in one folder, with the compiler's run-time DLLs beside them: one copy of the run-time
# library for all modules, so that exceptions may pass between them. Debian's have their symbols in them, which
# would be four fifths of what is shipped.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

set(TEXSMITH_RUNTIME_DLLS)
foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
        OUTPUT_VARIABLE dll OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT EXISTS ${dll})
        message(FATAL_ERROR "${CMAKE_CXX_COMPILER} has no ${name}")
    endif()
    set(stripped ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name})
    if(${dll} IS_NEWER_THAN ${stripped})
        file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
        execute_process(COMMAND ${CMAKE_STRIP} -o ${stripped} ${dll} COMMAND_ERROR_IS_FATAL ANY)
    endif()
    list(APPEND TEXSMITH_RUNTIME_DLLS ${stripped})
endforeach()
add_link_options(LINKER:--no-insert-timestamp) # so that equal sources give equal files
