# Installs the build tree into a fresh folder, and uses it from there: through the CMake package with the shared
# and the static library, and through the .pc file where pkg-config is found. A cross build gives its toolchain file
# and what runs its programs.
# cmake -DBUILD_DIR= -DWORK_DIR= -DSOURCE_DIR= -DHAS_PNG= -DSUFFIX= [-DTOOLCHAIN_FILE= -DEMULATOR=]
#     -P install_test.cmake

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}\nreturned ${result}:\n${output}")
    endif()
endfunction()

# Converts a picture there and back, twice; the two pictures that come back must be equal.
function(try_program program)
    set(picture ${SOURCE_DIR}/samples/moon.tga)
    run(${EMULATOR} ${program} ${picture} ${WORK_DIR}/once.vxf)
    run(${EMULATOR} ${program} ${WORK_DIR}/once.vxf ${WORK_DIR}/back.tga)
    file(SIZE ${WORK_DIR}/back.tga bytes)
    math(EXPR expected "18 + 4 * 203 * 149")
    if(NOT bytes EQUAL expected)
        message(FATAL_ERROR "back.tga has ${bytes} bytes, not ${expected}")
    endif()
    run(${EMULATOR} ${program} ${WORK_DIR}/back.tga ${WORK_DIR}/twice.vxf)
    run(${EMULATOR} ${program} ${WORK_DIR}/twice.vxf ${WORK_DIR}/again.tga)
    run(${CMAKE_COMMAND} -E compare_files ${WORK_DIR}/back.tga ${WORK_DIR}/again.tga)
endfunction()

# Asks for the static library alone, in vain.
function(expect_refusal folder message)
    execute_process(COMMAND ${configure} -B ${WORK_DIR}/${folder} -DCOMPONENTS=static ${ARGN}
        RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE output)
    string(REGEX REPLACE "[ \n]+" " " output "${output}")
    if(result EQUAL 0 OR NOT output MATCHES "${message}")
        message(FATAL_ERROR "it is not told that ${message}:\n${output}")
    endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
set(build ${WORK_DIR}/build)
set(configure ${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/install -G Ninja
    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
run(${configure} -B ${build})
run(${CMAKE_COMMAND} --build ${build})
file(GLOB dlls ${prefix}/bin/*.dll) # Windows looks for them beside the program
file(COPY ${dlls} DESTINATION ${build})
try_program(${build}/consumer_texsmith${SUFFIX})
try_program(${build}/consumer_texsmith_static${SUFFIX})
run(${EMULATOR} ${prefix}/bin/texsmith${SUFFIX} info ${WORK_DIR}/back.tga)
file(GLOB_RECURSE static_targets ${prefix}/*/QorTexsmithStaticTargets.cmake)
file(RENAME ${static_targets} ${static_targets}.away)
expect_refusal(not_installed "qor::texsmith_static is not installed: ")
file(RENAME ${static_targets}.away ${static_targets})
if(TOOLCHAIN_FILE)
    return() # what follows is for this machine
endif()
run(${build}/plugin_host ${build}/plugin.so)

# Where something is missing, the shared library is there all the same, and who asks for the static one is told.
if(HAS_PNG)
    run(${configure} -B ${WORK_DIR}/without -DCMAKE_DISABLE_FIND_PACKAGE_PNG=ON)
    run(${CMAKE_COMMAND} --build ${WORK_DIR}/without)
    try_program(${WORK_DIR}/without/consumer_texsmith)
    expect_refusal(told "qor::texsmith_static needs libraries that were not found: PNG\\."
        -DCMAKE_DISABLE_FIND_PACKAGE_PNG=ON)
endif()

find_program(PKG_CONFIG pkg-config)
if(NOT PKG_CONFIG)
    message(STATUS "pkg-config is not there: the .pc file was not tried")
    return()
endif()
file(GLOB_RECURSE pc_file ${prefix}/*/qortexsmith.pc)
get_filename_component(pc_dir ${pc_file} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
get_filename_component(library_dir ${pc_dir} DIRECTORY)
foreach(static "" --static)
    execute_process(COMMAND ${PKG_CONFIG} ${static} --cflags --libs qortexsmith OUTPUT_VARIABLE flags
        OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    if(static) # of this library alone: not everybody has the others as archives
        string(REPLACE "-lQorTexsmith" "-l:libQorTexsmith.a" flags "${flags}")
    endif()
    separate_arguments(flags)
    run(c++ -std=c++17 ${SOURCE_DIR}/tests/install/consumer.cpp -o ${WORK_DIR}/consumer_pc${static} ${flags}
        -Wl,-rpath,${library_dir})
    try_program(${WORK_DIR}/consumer_pc${static})
endforeach()
