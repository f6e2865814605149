# Installs the build tree into a fresh folder, and uses it from there: through the CMake package with the shared
# and the static library, and through the .pc file where pkg-config is found. A cross build gives its toolchain file
# and what runs its programs.
# cmake -DBUILD_DIR= -DWORK_DIR= -DSOURCE_DIR= [-DTOOLCHAIN_FILE= -DEMULATOR=] -P install_test.cmake

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

file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/install -B ${WORK_DIR}/build -G Ninja
    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
if(TOOLCHAIN_FILE)
    file(GLOB dlls ${prefix}/bin/*.dll) # Windows looks for them beside the program
    file(COPY ${dlls} DESTINATION ${WORK_DIR}/build)
    try_program(${WORK_DIR}/build/consumer_texsmith.exe)
    try_program(${WORK_DIR}/build/consumer_texsmith_static.exe)
    run(${EMULATOR} ${prefix}/bin/texsmith.exe info ${WORK_DIR}/back.tga)
    return()
endif()
run(${WORK_DIR}/build/plugin_host ${WORK_DIR}/build/plugin.so)
try_program(${WORK_DIR}/build/consumer_texsmith)
run(${prefix}/bin/texsmith info ${WORK_DIR}/back.tga)
try_program(${WORK_DIR}/build/consumer_texsmith_static)

find_program(PKG_CONFIG pkg-config)
if(NOT PKG_CONFIG)
    message(STATUS "pkg-config is not there: the .pc file was not tried")
    return()
endif()
file(GLOB_RECURSE pc_file ${prefix}/*/qortexsmith.pc)
get_filename_component(pc_dir ${pc_file} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs qortexsmith OUTPUT_VARIABLE flags
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags)
get_filename_component(library_dir ${pc_dir} DIRECTORY)
run(c++ -std=c++17 ${SOURCE_DIR}/tests/install/consumer.cpp -o ${WORK_DIR}/consumer_pc ${flags}
    -Wl,-rpath,${library_dir})
try_program(${WORK_DIR}/consumer_pc)
