include(CMakePackageConfigHelpers)

# Three components: who runs programs needs the library, who writes them the development files, and the tool. For
# Windows the static library is a fourth: few want it, and it is larger than all the others together.
set(static_component development)
set(TEXSMITH_STATIC_SOURCE "install the component development of its build")
if(WIN32)
    set(static_component static)
    set(TEXSMITH_WINDOWS_PACKAGE qortexsmith-${PROJECT_VERSION}-windows-x64)
    set(TEXSMITH_STATIC_PACKAGE ${TEXSMITH_WINDOWS_PACKAGE}-static)
    set(TEXSMITH_STATIC_SOURCE "unpack ${TEXSMITH_STATIC_PACKAGE}.zip into the same place")
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(TARGETS QorTexsmith EXPORT QorTexsmithTargets
    RUNTIME COMPONENT library
    LIBRARY COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
# Apart from the other, as it asks for libraries that a user of the shared one need not have.
install(TARGETS QorTexsmithStatic EXPORT QorTexsmithStaticTargets ARCHIVE COMPONENT ${static_component})
if(TEXSMITH_TOOL)
    install(TARGETS texsmith COMPONENT tool)
endif()
if(MINGW)
    install(FILES ${TEXSMITH_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/ DESTINATION examples COMPONENT development
        FILES_MATCHING PATTERN "*.cpp")
    # What is compiled in and shipped along asks for its terms to be shipped too. Debian keeps them here.
    foreach(package libcli11-dev nlohmann-json3-dev gcc-mingw-w64-x86-64-posix-runtime mingw-w64-common)
        install(FILES /usr/share/doc/${package}/copyright DESTINATION notices RENAME ${package}.txt
            COMPONENT library OPTIONAL)
    endforeach()
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/QorTexsmith)
install(EXPORT QorTexsmithTargets NAMESPACE qor:: DESTINATION ${package_dir} COMPONENT development)
install(EXPORT QorTexsmithStaticTargets NAMESPACE qor:: DESTINATION ${package_dir} COMPONENT ${static_component})

# What a program that links the static library has to link as well, by the names that others have for it.
set(known_needs # CMake's target, CMake's package, pkg-config's package or the linker's flag, Debian's package
    "Threads::Threads - -pthread -"
    "PNG::PNG PNG libpng libpng-dev"
    "deflate - libdeflate libdeflate-dev"
    "JPEG::JPEG JPEG libjpeg libjpeg-dev"
    "TIFF::TIFF TIFF libtiff-4 libtiff-dev"
    "GIF::GIF GIF -lgif libgif-dev" # its own release has no .pc file
    "OpenEXR::OpenEXR OpenEXR OpenEXR libopenexr-dev")
set(TEXSMITH_CONFIG_PACKAGES)  # find_package finds them
set(TEXSMITH_CONFIG_LIBRARIES) # find_library does
set(TEXSMITH_PC_PACKAGES)
set(TEXSMITH_PC_LIBRARIES)
set(TEXSMITH_DEBIAN_PACKAGES)
get_target_property(needs QorTexsmithStatic LINK_LIBRARIES)
foreach(need IN LISTS needs)
    set(row ${known_needs})
    list(FILTER row INCLUDE REGEX "^${need} ")
    if(row)
        string(REPLACE " " ";" row "${row}")
    elseif(need MATCHES "::")
        message(FATAL_ERROR "cmake/InstallRules.cmake does not know what ${need} is to users of the static library")
    else()
        set(row ${need} - -l${need} -) # a part of the system
    endif()
    list(POP_FRONT row target cmake_package pc_name debian_package)
    if(NOT cmake_package STREQUAL "-")
        list(APPEND TEXSMITH_CONFIG_PACKAGES ${cmake_package})
    elseif(NOT debian_package STREQUAL "-")
        list(APPEND TEXSMITH_CONFIG_LIBRARIES ${target})
    endif()
    if(pc_name MATCHES "^-")
        list(APPEND TEXSMITH_PC_LIBRARIES ${pc_name})
    else()
        list(APPEND TEXSMITH_PC_PACKAGES ${pc_name})
    endif()
    if(NOT debian_package STREQUAL "-")
        list(APPEND TEXSMITH_DEBIAN_PACKAGES ${debian_package})
    endif()
endforeach()
list(JOIN TEXSMITH_DEBIAN_PACKAGES ", " TEXSMITH_DEBIAN_NEEDS)
foreach(names CONFIG_PACKAGES CONFIG_LIBRARIES PC_PACKAGES PC_LIBRARIES)
    list(JOIN TEXSMITH_${names} " " TEXSMITH_${names})
endforeach()

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/QorTexsmithConfig.cmake.in
    ${PROJECT_BINARY_DIR}/QorTexsmithConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QorTexsmithConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QorTexsmithConfig.cmake ${PROJECT_BINARY_DIR}/QorTexsmithConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT development)

file(RELATIVE_PATH TEXSMITH_PREFIX_FROM_PC
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" TEXSMITH_PREFIX_FROM_PC "${TEXSMITH_PREFIX_FROM_PC}")
# A folder that was given with its whole path stands for itself.
cmake_path(APPEND TEXSMITH_PC_LIBDIR "\${prefix}" "${CMAKE_INSTALL_LIBDIR}")
cmake_path(APPEND TEXSMITH_PC_INCLUDEDIR "\${prefix}" "${CMAKE_INSTALL_INCLUDEDIR}")
# The .pc file finds its own prefix, so that an installed tree can be moved.
configure_file(${CMAKE_CURRENT_LIST_DIR}/qortexsmith.pc.in ${PROJECT_BINARY_DIR}/qortexsmith.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qortexsmith.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
