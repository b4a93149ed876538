# Installs a build, builds the consumer with the installed package, and runs it.
#   cmake -DBUILD=<build folder> -DSOURCE=<this folder> -DWORK=<scratch folder> [-DTOOLCHAIN=<file>] [-DEMULATOR=<program>]
#         -DCOMPILER=<c++ compiler> -DFLAGS=<c++ flags> -P run.cmake
cmake_minimum_required(VERSION 3.25)

function(step)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed (${result}): ${ARGV}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK})
step(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/install)
set(options -G Ninja -S ${SOURCE} -B ${WORK}/build -DCMAKE_PREFIX_PATH=${WORK}/install -DCMAKE_CXX_FLAGS=${FLAGS})
if(TOOLCHAIN)
    list(APPEND options --toolchain ${TOOLCHAIN})
else()
    list(APPEND options -DCMAKE_CXX_COMPILER=${COMPILER})
endif()
step(${CMAKE_COMMAND} ${options})
step(${CMAKE_COMMAND} --build ${WORK}/build)

if(EMULATOR)
    step(${EMULATOR} ${WORK}/build/consumer.exe)
else()
    step(${WORK}/build/consumer)
endif()
string(STRIP "${output}" output)
if(NOT output STREQUAL "the package works")
    message(FATAL_ERROR "the consumer printed: ${output}")
endif()
