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
add_link_options(LINKER:--gc-sections) # leaves out functions of headers that nothing calls any more

# The linker makes an import library with an object of seven sections for each symbol. The short form, which Visual
# C++ makes and all linkers read, is a third of its size; LLVM's tool makes it of the linker's list of exports.
find_program(TEXSMITH_LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14 llvm-dlltool-15 llvm-dlltool-16)
mark_as_advanced(TEXSMITH_LLVM_DLLTOOL)
function(texsmith_short_import_library target)
    if(NOT TEXSMITH_LLVM_DLLTOOL)
        message(STATUS "llvm-dlltool was not found: the import library is the linker's own")
        return()
    endif()
    set(exports ${CMAKE_CURRENT_BINARY_DIR}/${target}.def)
    target_link_options(${target} PRIVATE LINKER:--output-def,${exports})
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${TEXSMITH_LLVM_DLLTOOL} -m i386:x86-64 -d ${exports} -D $<TARGET_FILE_NAME:${target}>
            -l $<TARGET_LINKER_FILE:${target}>
        VERBATIM)
endfunction()

# The object files of DLL and static library are the same, and name what the DLL exports. Without that, programs which
# link the static library export nothing.
function(texsmith_without_export_marks target)
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_OBJCOPY} --enable-deterministic-archives --remove-section=.drectve $<TARGET_FILE:${target}>
        VERBATIM)
endfunction()
