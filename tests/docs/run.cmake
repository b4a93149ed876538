# Runs the guide's host twice, as the guide tells its reader to, and the program whose output it shows.
#   cmake -DHOST=<program> -DIMPORTER=<program> -DPROPERTIES=<program> -DGUIDE=<importer-guide.md> [-DEMULATOR=<program>] -P run.cmake
cmake_minimum_required(VERSION 3.25)

set(state ${CMAKE_CURRENT_BINARY_DIR}/guide-state)
file(REMOVE ${state})
foreach(expected IN ITEMS "new\nnew\n" "unchanged\nunchanged\n")
    execute_process(COMMAND ${EMULATOR} ${HOST} ${IMPORTER} ${state}
        RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE error)
    string(REPLACE "\r" "" output "${output}")
    if(NOT result EQUAL 0 OR NOT output STREQUAL expected)
        message(FATAL_ERROR "expected:\n${expected}got (${result}):\n${output}${error}")
    endif()
endforeach()

execute_process(COMMAND ${EMULATOR} ${PROPERTIES} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE error)
string(REPLACE "\r" "" output "${output}")
file(READ ${GUIDE} guide)
string(FIND "${guide}" "```text\n${output}```\n" shown)
if(NOT result EQUAL 0 OR output STREQUAL "" OR shown EQUAL -1)
    message(FATAL_ERROR "the guide does not show this output (${result}):\n${output}${error}")
endif()
