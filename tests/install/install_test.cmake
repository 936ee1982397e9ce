# Installs the build into a folder of its own and builds and runs the consumer against it in both ways.
set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${prefix} ${WORK_DIR}/by-cmake)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed (${result}): ${ARGN}\n${output}")
    endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${CONSUMER_DIR} -B ${WORK_DIR}/by-cmake -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_CXX_FLAGS=${CXX_FLAGS})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/by-cmake)
run(${WORK_DIR}/by-cmake/consumer)

set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
execute_process(COMMAND pkg-config --cflags --libs orvelvis OUTPUT_VARIABLE flags RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "pkg-config does not find orvelvis")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
separate_arguments(CXX_FLAGS UNIX_COMMAND "${CXX_FLAGS}")
run(${CXX} -std=c++20 ${CXX_FLAGS} ${CONSUMER_DIR}/main.cpp -o ${WORK_DIR}/by-pkg-config ${flags}
    -Wl,-rpath,${prefix}/${LIBDIR})
run(${WORK_DIR}/by-pkg-config)
