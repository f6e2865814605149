# All programs and the DLL in one folder, with the compiler's run-time DLLs beside them.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

set(TEXSMITH_RUNTIME_DLLS)
foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
        OUTPUT_VARIABLE dll OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT EXISTS ${dll})
        message(FATAL_ERROR "${CMAKE_CXX_COMPILER} has no ${name}")
    endif()
    list(APPEND TEXSMITH_RUNTIME_DLLS ${dll})
endforeach()
file(COPY ${TEXSMITH_RUNTIME_DLLS} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
