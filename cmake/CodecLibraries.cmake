# Sets TEXSMITH_HAS_PNG and TEXSMITH_HAS_JPEG: which codecs by outside libraries are built.
# On Windows there are none: the cross compiler's machine has these libraries for itself only.
function(texsmith_find_codec name package)
    set(found FALSE)
    if(TEXSMITH_${name} AND NOT WIN32)
        find_package(${package})
        set(found ${${package}_FOUND})
    endif()
    if(found)
        message(STATUS "${name} files: read and written")
    else()
        message(STATUS "${name} files: no codec")
    endif()
    set(TEXSMITH_HAS_${name} ${found} PARENT_SCOPE)
endfunction()

texsmith_find_codec(PNG PNG)

# It has no CMake package everywhere.
find_path(TEXSMITH_DEFLATE_INCLUDE libdeflate.h)
find_library(TEXSMITH_DEFLATE_LIBRARY deflate)
mark_as_advanced(TEXSMITH_DEFLATE_INCLUDE TEXSMITH_DEFLATE_LIBRARY)
set(TEXSMITH_HAS_DEFLATE FALSE)
if(TEXSMITH_DEFLATE AND TEXSMITH_HAS_PNG AND TEXSMITH_DEFLATE_INCLUDE AND TEXSMITH_DEFLATE_LIBRARY)
    set(TEXSMITH_HAS_DEFLATE TRUE)
endif()

texsmith_find_codec(JPEG JPEG)
