# A code block "```cpp file=PATH" of a document holds that file of the project, byte for byte.
#   cmake -DDOCUMENTS=<files> -DROOT=<project> -P code.cmake
include(${CMAKE_CURRENT_LIST_DIR}/document.cmake)

set(printed)
foreach(document IN LISTS DOCUMENTS)
    file(READ ${document} text)
    string(REGEX MATCHALL "\n```[a-z]+ file=[^\n]+\n" heads "${text}")
    foreach(head IN LISTS heads)
        string(REGEX MATCH "file=([^\n]+)" path "${head}")
        set(path ${CMAKE_MATCH_1})
        file(READ ${ROOT}/${path} code)
        string(FIND "${text}" "${head}${code}```\n" at)
        if(at EQUAL -1)
            message(FATAL_ERROR "${document} does not print ${path} as it is")
        endif()
        list(APPEND printed ${path})
    endforeach()
endforeach()

# All of them are printed, so that no program is forgotten.
file(GLOB_RECURSE programs RELATIVE ${ROOT} ${ROOT}/examples/*.cpp ${ROOT}/examples/*.txt)
list(SORT printed)
list(SORT programs)
if(NOT printed STREQUAL programs)
    message(FATAL_ERROR "the documents print\n  ${printed}\nexamples/ has\n  ${programs}")
endif()
