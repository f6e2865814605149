# Objects compiled for AVX2 share no function with others. Of functions that several objects have, inline ones
# or templates, the linker keeps any one: the one for AVX2 would then run on machines without it.
#   cmake -DNM=... -DOBJECT_LIST=... -P avx2_objects_test.cmake
cmake_minimum_required(VERSION 3.25)
file(STRINGS ${OBJECT_LIST} OBJECTS)
set(WIDE ${OBJECTS})
list(FILTER WIDE INCLUDE REGEX "_avx2\\.cpp\\.")
list(FILTER OBJECTS EXCLUDE REGEX "_avx2\\.cpp\\.")

# Lists the functions that the linker may take from any object: in nm's words, the weak ones.
function(shared_functions result)
    execute_process(COMMAND ${NM} -C --defined-only ${ARGN}
        OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
    string(REPLACE ";" "," symbols "${symbols}")
    string(REGEX MATCHALL " W [^\n]+" functions "${symbols}")
    list(REMOVE_DUPLICATES functions)
    set(${result} "${functions}" PARENT_SCOPE)
endfunction()

shared_functions(WIDE_FUNCTIONS ${WIDE})
shared_functions(OTHER_FUNCTIONS ${OBJECTS})
list(LENGTH WIDE_FUNCTIONS WIDE_COUNT)
list(LENGTH OTHER_FUNCTIONS OTHER_COUNT)
if(WIDE_COUNT EQUAL 0 OR OTHER_COUNT EQUAL 0)
    message(FATAL_ERROR "no shared functions were found at all: ${WIDE_COUNT}, ${OTHER_COUNT}")
endif()
foreach(function IN LISTS WIDE_FUNCTIONS)
    if(function IN_LIST OTHER_FUNCTIONS)
        message(SEND_ERROR "compiled for AVX2 and for all machines:${function}")
    endif()
endforeach()
