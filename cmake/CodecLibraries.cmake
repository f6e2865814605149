# Sets TEXSMITH_HAS_NAME for each codec by an outside library: whether it is built.
# On Windows there are none of these: the cross compiler's machine has such libraries for itself only, and the
# system has a component of its own.
function(texsmith_find_codec name)
    set(found FALSE)
    if(TEXSMITH_${name} AND NOT WIN32)
        find_package(${ARGN})
        list(GET ARGN 0 package)
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
texsmith_find_codec(JPEG JPEG)
texsmith_find_codec(TIFF TIFF 4.5)
texsmith_find_codec(GIF GIF 5.2)
texsmith_find_codec(EXR OpenEXR 3.1 CONFIG)

# It has no CMake package everywhere.
find_path(TEXSMITH_DEFLATE_INCLUDE libdeflate.h)
find_library(TEXSMITH_DEFLATE_LIBRARY deflate)
mark_as_advanced(TEXSMITH_DEFLATE_INCLUDE TEXSMITH_DEFLATE_LIBRARY)
set(TEXSMITH_HAS_DEFLATE FALSE)
if(TEXSMITH_DEFLATE AND TEXSMITH_HAS_PNG AND TEXSMITH_DEFLATE_INCLUDE AND TEXSMITH_DEFLATE_LIBRARY)
    set(TEXSMITH_HAS_DEFLATE TRUE)
endif()
