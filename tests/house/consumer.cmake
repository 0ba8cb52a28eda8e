# Installs the build into a folder of its own, and there builds and runs a project that finds it.
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN} failed:\n${output}")
    endif()
endfunction()

file(REMOVE_RECURSE "${WORK}")
set(flags)
if(SANITIZE)
    set(flags "-DCMAKE_CXX_FLAGS=-fsanitize=address,undefined")
endif()
run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${WORK}/installed")
run("${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${SOURCE}" -B "${WORK}/build" "-DCMAKE_CXX_COMPILER=${CXX}"
    "-DCMAKE_PREFIX_PATH=${WORK}/installed" ${flags})
run("${CMAKE_COMMAND}" --build "${WORK}/build")
run("${WORK}/build/consumer")
