# Several sources compiled as one, which takes half the time. What a source keeps in an unnamed namespace may bear the
# name of something in another one: the NAMES here are then made different, all others have to be.
#   texsmith_unity_build(TARGET BATCH_SIZE [NAMES ...])
function(texsmith_unity_build target batch_size)
    cmake_parse_arguments(UNITY "" "" "NAMES" ${ARGN})
    set(before "#define TEXSMITH_JOIN(a, b) a##b\n#define TEXSMITH_NAME(a, b) TEXSMITH_JOIN(a, b)\n")
    set(after)
    foreach(name IN LISTS UNITY_NAMES)
        string(APPEND before "#define ${name} TEXSMITH_NAME(${name}_, TEXSMITH_SOURCE_ID)\n")
        string(APPEND after "#undef ${name}\n")
    endforeach()
    set_target_properties(${target} PROPERTIES
        UNITY_BUILD_BATCH_SIZE ${batch_size}
        UNITY_BUILD_UNIQUE_ID TEXSMITH_SOURCE_ID
        UNITY_BUILD_CODE_BEFORE_INCLUDE "${before}"
        UNITY_BUILD_CODE_AFTER_INCLUDE "${after}")
    if(CMAKE_UNITY_BUILD AND NOT MSVC)
        target_compile_options(${target} PRIVATE -Wno-shadow) # of what another source has
    endif()
endfunction()
