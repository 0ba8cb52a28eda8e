# vnx_library(NAME name SOURCES ... USES ...)
# A folder's code as the static library vnx_<name> with the alias varnox::<name>. Its objects join
# libvnxsdkbase.so, so nothing in it is exported unless its source says so. USES names every target
# it needs; that list is the architecture.
function(vnx_library)
    cmake_parse_arguments(ARG "" "NAME" "SOURCES;USES" ${ARGN})
    add_library(vnx_${ARG_NAME} STATIC ${ARG_SOURCES})
    add_library(varnox::${ARG_NAME} ALIAS vnx_${ARG_NAME})
    target_include_directories(vnx_${ARG_NAME} PUBLIC "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>")
    target_link_libraries(vnx_${ARG_NAME} PUBLIC varnox::headers ${ARG_USES}
                          PRIVATE $<BUILD_INTERFACE:vnx_options>)
endfunction()

# Where a clean build shall soon be there. Between the checks of a sanitizer Clang's optimiser takes most of the time, and
# GCC's doesn't. Of an inline function the linker keeps any one copy, and so those of the libraries may be slow, too: a
# target with much to compute is VNX_OPTIMISED.
set(VNX_SOON_THERE
    "$<$<AND:$<CXX_COMPILER_ID:Clang>,$<NOT:$<BOOL:$<TARGET_PROPERTY:VNX_OPTIMISED>>>>:-O0>")

function(vnx_sanitizer_options target)
    if(VNX_SANITIZE STREQUAL "thread")
        target_sources(${target} PRIVATE "${PROJECT_SOURCE_DIR}/cmake/ThreadSanitizer.c")
    endif()
endfunction()

# vnx_program(NAME name SOURCES ... USES ...): a program in bin/. It reads a command line and talks: what has to
# be fast stands in libraries, and the parsing of options takes long to optimise.
function(vnx_program)
    cmake_parse_arguments(ARG "" "NAME" "SOURCES;USES" ${ARGN})
    add_executable(${ARG_NAME} ${ARG_SOURCES})
    target_include_directories(${ARG_NAME} PRIVATE "${PROJECT_SOURCE_DIR}")
    target_compile_options(${ARG_NAME} PRIVATE $<$<CONFIG:Release>:-O1>)
    if(VNX_UNITY AND VNX_SANITIZE)
        target_compile_options(${ARG_NAME} PRIVATE ${VNX_SOON_THERE})
    endif()
    target_link_libraries(${ARG_NAME} PRIVATE varnox::headers ${ARG_USES} vnx_options)
    vnx_sanitizer_options(${ARG_NAME})
endfunction()

# vnx_addon(NAME name SOURCES ... USES ...): a loader add-on, lib/<name>.so. Its host API symbols stay
# undefined; the process that loads it provides them. Of libraries that it takes in it shows nothing.
function(vnx_addon)
    cmake_parse_arguments(ARG "" "NAME" "SOURCES;USES" ${ARGN})
    add_library(${ARG_NAME} MODULE ${ARG_SOURCES})
    set_target_properties(${ARG_NAME} PROPERTIES PREFIX "")
    target_link_options(${ARG_NAME} PRIVATE "LINKER:--exclude-libs,ALL")
    target_include_directories(${ARG_NAME} PRIVATE "${PROJECT_SOURCE_DIR}")
    target_link_libraries(${ARG_NAME} PRIVATE varnox::headers ${ARG_USES} vnx_options)
endfunction()

# vnx_test(NAME name SOURCES ... USES ... [ALONE ...] [LABELS ...] [TIMEOUT seconds])
# The test program vnx_<name>_tests in bin/; each of its tests is a ctest named
# <name>.<suite>.<test> with the label <name>. Where coverage is counted, a program is one test, and
# those that VNX_COVERAGE_TESTS names have the label coverage. ALONE: those of SOURCES that use a name of another
# one, and are compiled alone also where sources are compiled as one.
function(vnx_test)
    cmake_parse_arguments(ARG "" "NAME;TIMEOUT" "SOURCES;USES;ALONE;LABELS" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    set(target vnx_${ARG_NAME}_tests)
    add_executable(${target} ${ARG_SOURCES})
    # What is tested is compiled as users get it. The tests themselves needn't be fast, but soon there.
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O1>)
    # An add-on that a test loads finds the host API in the test program.
    set_target_properties(${target} PROPERTIES ENABLE_EXPORTS ON UNITY_BUILD OFF)
    if(VNX_UNITY)
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON)
        set_source_files_properties(${ARG_ALONE} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
        if(VNX_SANITIZE)
            # Between the checks of a sanitizer, GCC takes more for uninitialised than it does elsewhere.
            target_compile_options(${target} PRIVATE
                $<$<CXX_COMPILER_ID:GNU>:-Og -Wno-error=maybe-uninitialized> ${VNX_SOON_THERE})
        endif()
    endif()
    target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}")
    target_compile_definitions(${target} PRIVATE
        VNX_SOURCE_DIR="${PROJECT_SOURCE_DIR}" VNX_BIN_DIR="${CMAKE_RUNTIME_OUTPUT_DIRECTORY}"
        VNX_LIB_DIR="${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
    target_link_libraries(${target} PRIVATE varnox::headers ${ARG_USES} vnx_options
                          GTest::gmock GTest::gtest GTest::gtest_main)
    vnx_sanitizer_options(${target})
    if(VNX_COVERAGE)
        add_test(NAME ${ARG_NAME} COMMAND ${target} --gtest_brief=1)
        if(ARG_NAME IN_LIST VNX_COVERAGE_TESTS)
            set_tests_properties(${ARG_NAME} PROPERTIES LABELS coverage TIMEOUT 300)
            add_dependencies(coverage_tests ${target})
        endif()
        return()
    endif()
    gtest_discover_tests(${target} TEST_PREFIX "${ARG_NAME}." DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES
                         DISCOVERY_TIMEOUT 60
                         PROPERTIES LABELS "${ARG_NAME};${ARG_LABELS}" TIMEOUT ${ARG_TIMEOUT})
endfunction()
