if(MSVC AND MSVC_VERSION LESS 1930)
    # Earlier ones fuse products and sums where they compile for AVX2, and so give other bits.
    message(FATAL_ERROR "libQorTexsmith needs Visual C++ 2022 or later.")
endif()

# Options for the project's own targets; none of them reaches a user of the installed library.
function(texsmith_target_options target)
    target_compile_features(${target} PRIVATE cxx_std_20)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON)
    if(MSVC)
        # C4251: exported classes have private members of the standard library. C4324: lanes are aligned, and
        # records of them padded, on purpose.
        target_compile_options(${target} PRIVATE /W4 /wd4251 /wd4324 /utf-8 /fp:precise /permissive-)
        if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
            target_compile_options(${target} PRIVATE /clang:-ffp-contract=off) # as below
        endif()
        target_compile_definitions(${target} PRIVATE NOMINMAX _CRT_SECURE_NO_WARNINGS)
    else()
        # Contraction is off everywhere: the same source must give the same bits on every machine.
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -ffp-contract=off)
        if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
            # GCC has neither among the options above: texts that a check hands on, and int to unsigned.
            target_compile_options(${target} PRIVATE -Wno-format-security -Wno-sign-conversion)
        endif()
        if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 12.3)
            # It sees overlaps in what std::string does that cannot be (GCC bug 105329).
            target_compile_options(${target} PRIVATE -Wno-restrict)
        endif()
    endif()
    if(TEXSMITH_WERROR)
        set_target_properties(${target} PROPERTIES COMPILE_WARNING_AS_ERROR ON)
    endif()
    if(TEXSMITH_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${TEXSMITH_SANITIZE} -fno-omit-frame-pointer)
        if(TEXSMITH_SANITIZE MATCHES "undefined")
            target_compile_options(${target} PRIVATE -fno-sanitize-recover=undefined)
        endif()
        if(TEXSMITH_SANITIZE MATCHES "address")
            # The address sanitizer sees these by itself, and they take a fifth of the time to compile.
            target_compile_options(${target} PRIVATE -fno-sanitize=null,object-size,vptr)
        endif()
        target_link_options(${target} PRIVATE -fsanitize=${TEXSMITH_SANITIZE})
    endif()
endfunction()

# Marks files for AVX2, which is chosen at run time; elsewhere they find nothing to compile. Source properties
# belong to the folder, so that this is called where the target is made.
function(texsmith_avx2_files)
    string(TOLOWER "${CMAKE_SYSTEM_PROCESSOR}" processor)
    if(NOT processor MATCHES "^(x86_64|amd64)$" OR TEXSMITH_SCALAR)
        return()
    endif()
    if(MSVC)
        set(options /arch:AVX2)
    else()
        # On Windows the compiler does not align the stack for wide vectors: only unaligned moves are safe.
        set(options -mavx2 -mf16c $<$<BOOL:${MINGW}>:-Wa,-muse-unaligned-vector-move>)
    endif()
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "${options}" SKIP_PRECOMPILE_HEADERS ON)
endfunction()
