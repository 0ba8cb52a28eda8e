# Settings of the whole build: language level, warnings, sanitizers, where products lie.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, Debug or RelWithDebInfo" FORCE)
endif()

set(VNX_SANITIZE OFF CACHE STRING "ON: address and undefined-behaviour sanitizers; thread: thread sanitizer")
option(VNX_FUZZ "Link the fuzz targets with libFuzzer and watch coverage; needs clang" OFF)
option(VNX_COVERAGE "Count what the tests run of the library; needs gcc" OFF)
option(VNX_WERROR "Warnings are errors" ${PROJECT_IS_TOP_LEVEL})
set(VNX_UNITY OFF CACHE STRING "Compile sources of a target as one, for clean builds: OFF, tests (only theirs) or ON")

if(VNX_UNITY STREQUAL "ON")
    set(CMAKE_UNITY_BUILD ON)
endif()
if(NOT CMAKE_UNITY_BUILD_BATCH_SIZE)
    set(CMAKE_UNITY_BUILD_BATCH_SIZE 8)
endif()

find_program(VNX_CCACHE ccache)
if(VNX_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${VNX_CCACHE}")
    set(CMAKE_C_COMPILER_LAUNCHER "${VNX_CCACHE}")
endif()

add_library(vnx_options INTERFACE)
target_compile_options(vnx_options INTERFACE
    -Wall -Wextra -Wconversion -Wshadow -Wcast-qual -Wpointer-arith
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wduplicated-cond -Wlogical-op>
    # GCC 12 takes a literal added ahead of a string for an overlapping copy.
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>
    # Sources that are compiled as one look to GCC as if they were headers, which have no anonymous namespaces.
    $<$<AND:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>,$<COMPILE_LANG_AND_ID:CXX,GNU>>:-Wno-subobject-linkage>
    $<$<BOOL:${VNX_WERROR}>:-Werror>)
# Boost's geometry still includes headers that Boost calls deprecated.
target_compile_definitions(vnx_options INTERFACE BOOST_ALLOW_DEPRECATED_HEADERS)
if(VNX_SANITIZE STREQUAL "thread")
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer -g1 -O1)
    add_link_options(-fsanitize=thread)
elseif(VNX_SANITIZE)
    # Not vptr: an add-on may know the interfaces by their slots alone, and its objects are then of types
    # that the check doesn't know.
    add_compile_options(-fsanitize=address,undefined -fno-sanitize=vptr -fno-sanitize-recover=all
                        -fno-omit-frame-pointer -g1 -O1)
    # Clang's function: the types of an add-on's callbacks are others to it than those of the library.
    # The indicator: the same class, hidden in a program and in the library that it loads, is no violation.
    add_compile_options($<$<COMPILE_LANG_AND_ID:CXX,Clang>:-fno-sanitize=function>
                        $<$<C_COMPILER_ID:Clang>:-fsanitize-address-use-odr-indicator>)
    add_link_options(-fsanitize=address,undefined)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND NOT VNX_FUZZ)
        # As GCC does: the sanitizers are a library, so what a test puts in the place of a function is found first.
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-runtime-dir
                        OUTPUT_VARIABLE runtime OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
        add_link_options(-shared-libasan "LINKER:-rpath,${runtime}")
        set(VNX_SANITIZER_LINKING "-shared-libasan -Wl,-rpath,${runtime}") # for a project elsewhere
        # What GCC does unasked.
        add_compile_definitions(__SANITIZE_ADDRESS__)
        add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fsized-deallocation>)
    endif()
endif()
if(VNX_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(VNX_COVERAGE)
    # All of what sdk/CMakeLists.txt makes the library of. Of an inline function the linker keeps any one copy,
    # and so whatever else is compiled counts those of the library's headers.
    set(folders "^${PROJECT_SOURCE_DIR}/(command|expressions|filedata|hostapi|include|proxy|query|socket)/")
    target_compile_options(vnx_options INTERFACE --coverage -fprofile-abs-path -fprofile-update=atomic
        "-fprofile-filter-files=${folders}$<IF:$<BOOL:$<TARGET_PROPERTY:VNX_IN_LIBRARY>>,.,.*[.]h$>")
    add_link_options(--coverage)
endif()
