include(CMakePackageConfigHelpers)

# Three components: who runs programs needs the library, who writes them the development files, and the tool.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(TARGETS QorTexsmith QorTexsmithStatic EXPORT QorTexsmithTargets
    RUNTIME COMPONENT library
    LIBRARY COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
if(TEXSMITH_TOOL)
    install(TARGETS texsmith COMPONENT tool)
endif()
if(MINGW)
    install(FILES ${TEXSMITH_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/ DESTINATION examples COMPONENT development)
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/QorTexsmith)
install(EXPORT QorTexsmithTargets NAMESPACE qor:: DESTINATION ${package_dir} COMPONENT development)
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
set(TEXSMITH_PC_CODECS)
if(TEXSMITH_HAS_PNG)
    string(APPEND TEXSMITH_PC_CODECS " -lpng")
    if(TEXSMITH_HAS_DEFLATE)
        string(APPEND TEXSMITH_PC_CODECS " -ldeflate")
    endif()
endif()
if(TEXSMITH_HAS_JPEG)
    string(APPEND TEXSMITH_PC_CODECS " -ljpeg")
endif()
if(TEXSMITH_HAS_TIFF)
    string(APPEND TEXSMITH_PC_CODECS " -ltiff")
endif()
if(TEXSMITH_HAS_GIF)
    string(APPEND TEXSMITH_PC_CODECS " -lgif")
endif()
if(TEXSMITH_HAS_EXR)
    string(APPEND TEXSMITH_PC_CODECS " -lOpenEXR -lIex -lImath")
endif()
# The .pc file finds its own prefix, so that an installed tree can be moved.
configure_file(${CMAKE_CURRENT_LIST_DIR}/qortexsmith.pc.in ${PROJECT_BINARY_DIR}/qortexsmith.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qortexsmith.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
