# The options that every target of the project is compiled with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

find_package(Threads REQUIRED)

add_library(velmor_options INTERFACE)
target_compile_options(velmor_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    # At -O3 g++ 12 reports "x" + std::string as an overlapping copy.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    $<$<BOOL:${VELMOR_WERROR}>:-Werror>
    # Both systems must compute the same bits: no fused multiply-add.
    -ffp-contract=off)
if(VELMOR_SANITIZE)
    add_compile_options(-fsanitize=${VELMOR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VELMOR_SANITIZE})
endif()
if(WIN32)
    # Programs and the library contain the compiler's runtime and need no other DLL.
    add_link_options(-static)
    target_compile_definitions(velmor_options INTERFACE UNICODE _UNICODE _WIN32_WINNT=0x0601 NOMINMAX WIN32_LEAN_AND_MEAN)
endif()
