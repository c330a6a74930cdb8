# One GoogleTest program, each of its tests a CTest test with a process of its own, and the scripts.

file(GLOB_RECURSE zel_test_sources CONFIGURE_DEPENDS
    tests/*_test.cpp tests/*_test.c tests/support/*.cpp)
find_package(GTest QUIET)
if(NOT GTest_FOUND)
    message(STATUS "GoogleTest not found: no unit tests")
elseif(zel_test_sources)
    zel_program(zel_tests bin ${zel_test_sources})
    target_include_directories(zel_tests PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(zel_tests PRIVATE GTest::gtest_main)
    # The compiler spends most of its time in the macros of the tests, which gain nothing from it. At
    # this level gcc 12 warns of strings that it has not seen through.
    target_compile_options(zel_tests PRIVATE $<$<CONFIG:Release>:-O1>
        $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds$<SEMICOLON>-Wno-stringop-overflow>)
    target_precompile_headers(zel_tests PRIVATE
        $<$<COMPILE_LANGUAGE:CXX>:<gtest/gtest.h$<ANGLE-R>>)
    target_compile_definitions(zel_tests PRIVATE
        $<$<BOOL:${ZEL_COVERAGE}>:ZEL_TEST_COVERAGE>)
    set_source_files_properties(tests/support/places.cpp PROPERTIES
        COMPILE_DEFINITIONS ZEL_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
    include(GoogleTest)
    gtest_discover_tests(zel_tests
        DISCOVERY_MODE PRE_TEST
        DISCOVERY_TIMEOUT 120
        NO_PRETTY_VALUES # a test keeps the name that its author chose
        PROPERTIES TIMEOUT 300)
endif()

find_package(Python3 QUIET COMPONENTS Interpreter)
if(NOT Python3_FOUND)
    message(STATUS "Python 3 not found: no whole-process tests and no house check")
else()
    file(GLOB_RECURSE zel_test_scripts CONFIGURE_DEPENDS
        RELATIVE ${PROJECT_SOURCE_DIR}/tests tests/*_test.py)
    list(FILTER zel_test_scripts EXCLUDE REGEX "^(gdal|notebook|python)/") # in a Python with packages
    if(ZEL_COVERAGE) # these tests make writes fail, those of the coverage counts too
        list(FILTER zel_test_scripts EXCLUDE REGEX "tool/failing_")
    endif()
    set(zel_test_environment
        ZEL_COMBINE=${PROJECT_BINARY_DIR}/bin/zel_combine
        ZEL_SOURCE_DIR=${PROJECT_SOURCE_DIR}
        ZEL_BUILD_DIR=${PROJECT_BINARY_DIR}
        ZEL_BIN_DIR=${PROJECT_BINARY_DIR}/bin
        PYTHONDONTWRITEBYTECODE=1)
    foreach(script IN LISTS zel_test_scripts)
        cmake_path(REMOVE_EXTENSION script OUTPUT_VARIABLE name)
        add_test(NAME ${name} COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/tests/${script})
        set_tests_properties(${name} PROPERTIES
            SKIP_RETURN_CODE 77
            TIMEOUT 900
            ENVIRONMENT "${zel_test_environment}")
    endforeach()
endif()

# Both forms of the sum that the command zel makes of headers and files.
if(TARGET zel_tool)
    zel_program(sha256_forms bin tests/zel/sha256_forms.cpp
        src/zel/base/sha256.cpp src/zel/base/sha256_blocks.cpp src/zel/base/text.cpp)
    target_include_directories(sha256_forms PRIVATE src/zel)
endif()

if(TARGET gdal_ZEL)
    include(cmake/gdal_tests.cmake)
endif()
if(TARGET zel_python)
    include(cmake/python_tests.cmake)
endif()

# Preloaded into the tool by a test. The sanitizers' libraries must come first in a program.
if(CMAKE_SYSTEM_NAME STREQUAL Linux AND NOT ZEL_SANITIZE)
    add_library(failing_calls MODULE tests/support/failing_calls.c)
    set_target_properties(failing_calls PROPERTIES
        LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
endif()

# Installs into an empty directory and builds a C program against the installed files.
string(REPLACE ";" " " zel_consumer_flags "${zel_instrumentation}")
add_test(NAME install_consumer COMMAND sh ${PROJECT_SOURCE_DIR}/tests/install/install_consumer.sh)
set(zel_consumer_environment
    CMAKE=${CMAKE_COMMAND}
    CMAKE_GENERATOR=${CMAKE_GENERATOR}
    CC=${CMAKE_C_COMPILER}
    CXX=${CMAKE_CXX_COMPILER}
    ZEL_BUILD_DIR=${PROJECT_BINARY_DIR}
    ZEL_CONSUMER_FLAGS=${zel_consumer_flags})
set_tests_properties(install_consumer PROPERTIES
    TIMEOUT 300
    ENVIRONMENT "${zel_consumer_environment}")
