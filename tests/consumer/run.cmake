# cmake -DBUILD=<our build> -DSOURCE=<this folder> -DWORK=<scratch> -DGENERATOR=<as ours>
#       -DCOMPILER=<c++> -DCMAKE_CTEST_COMMAND=<ctest> -P run.cmake
#
# Installs the library into a scratch folder, then builds and runs the outside project against it.

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}\n${output}")
    endif()
endfunction()

file(REMOVE_RECURSE "${WORK}")
run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${WORK}/prefix")
if(EXISTS "${WORK}/prefix/include/cel/cel/detail")
    message(FATAL_ERROR "cel/detail was installed")
endif()
run("${CMAKE_COMMAND}" -S "${SOURCE}" -B "${WORK}/build" -G "${GENERATOR}" "-DCMAKE_PREFIX_PATH=${WORK}/prefix"
    "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCEL_EXAMPLES=${SOURCE}/../../examples")
run("${CMAKE_COMMAND}" --build "${WORK}/build")
run("${CMAKE_CTEST_COMMAND}" --test-dir "${WORK}/build" --output-on-failure --no-tests=error)
