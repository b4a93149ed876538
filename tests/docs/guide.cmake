# Runs the programs of the guide: the host twice, and those whose output the guide shows in a block "```text". With
# INSTALL_FROM they are first built by the project of the guide, against the installed package.
#
#   cmake -DROOT=<project> -DSUFFIX=<.exe or nothing> [-DEMULATOR=<program>] -DPROGRAMS=<folder> -P guide.cmake
#   cmake -DROOT=<project> -DSUFFIX=<.exe or nothing> [-DEMULATOR=<program>] -DINSTALL_FROM=<build folder>
#         -DWORK=<scratch folder> [-DTOOLCHAIN=<file>] -DCOMPILER=<c++ compiler> -P guide.cmake
include(${CMAKE_CURRENT_LIST_DIR}/document.cmake)

function(step)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed (${result}): ${ARGV}\n${output}")
    endif()
endfunction()

if(INSTALL_FROM)
    file(REMOVE_RECURSE ${WORK})
    step(${CMAKE_COMMAND} --install ${INSTALL_FROM} --prefix ${WORK}/install)
    set(options -G Ninja -S ${ROOT}/examples/guide -B ${WORK}/build -DCMAKE_PREFIX_PATH=${WORK}/install)
    if(TOOLCHAIN)
        list(APPEND options --toolchain ${TOOLCHAIN})
    else()
        list(APPEND options -DCMAKE_CXX_COMPILER=${COMPILER})
    endif()
    step(${CMAKE_COMMAND} ${options})
    step(${CMAKE_COMMAND} --build ${WORK}/build)
    set(PROGRAMS ${WORK}/build)
endif()

set(state ${PROGRAMS}/guide-state)
file(REMOVE ${state})
foreach(expected IN ITEMS "new\nnew\n" "unchanged\nunchanged\n")
    execute_process(COMMAND ${EMULATOR} ${PROGRAMS}/my_host${SUFFIX} ${PROGRAMS}/my_importer${SUFFIX} ${state}
        RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE error)
    string(REPLACE "\r" "" output "${output}")
    if(NOT result EQUAL 0 OR NOT output STREQUAL expected)
        message(FATAL_ERROR "expected:\n${expected}got (${result}):\n${output}${error}")
    endif()
endforeach()

file(READ ${ROOT}/docs/importer-guide.md guide)
foreach(program IN ITEMS my_properties my_common_properties)
    execute_process(COMMAND ${EMULATOR} ${PROGRAMS}/${program}${SUFFIX}
        RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE error)
    string(REPLACE "\r" "" output "${output}")
    string(FIND "${guide}" "```text\n${output}```\n" shown)
    if(NOT result EQUAL 0 OR output STREQUAL "" OR shown EQUAL -1)
        message(FATAL_ERROR "the guide does not show what ${program} prints (${result}):\n${output}${error}")
    endif()
endforeach()
