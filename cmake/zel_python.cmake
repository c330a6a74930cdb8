# The Python package zel: an extension on top of the library, and modules beside it. Only the
# extension needs pybind11 and Python's headers.

set(ZEL_PYTHON AUTO CACHE STRING "Build the Python package: AUTO (where its packages are), ON, OFF")
set_property(CACHE ZEL_PYTHON PROPERTY STRINGS AUTO ON OFF)
set(ZEL_PYTHON_EXECUTABLE "" CACHE FILEPATH "The Python that the package is for; empty: the first that has the packages")

# What a Python says of itself: where headers are, and how extensions are named.
set(zel_python_question [=[
import os, sysconfig, numpy, pybind11
headers = sysconfig.get_path("include")
assert os.path.exists(os.path.join(headers, "Python.h"))
print(headers, pybind11.get_include(), sysconfig.get_config_var("EXT_SUFFIX"), sep=";", end="")
]=])

set(zel_python)
if(NOT ZEL_PYTHON STREQUAL OFF AND NOT ZEL_FUZZ)
    # Debian's first: the packages that are needed are its packages, as a rule.
    set(zel_python_candidates ${ZEL_PYTHON_EXECUTABLE})
    if(NOT zel_python_candidates)
        set(zel_python_candidates /usr/bin/python3 python3)
    endif()
    foreach(candidate IN LISTS zel_python_candidates)
        if(NOT zel_python)
            execute_process(COMMAND ${candidate} -c "${zel_python_question}"
                RESULT_VARIABLE zel_python_result OUTPUT_VARIABLE zel_python_answer ERROR_QUIET)
            if(zel_python_result EQUAL 0)
                set(zel_python ${candidate})
            endif()
        endif()
    endforeach()
    if(NOT zel_python AND ZEL_PYTHON STREQUAL ON)
        message(FATAL_ERROR "The Python package needs a Python with headers, numpy and pybind11; ZEL_PYTHON=OFF builds without it")
    elseif(NOT zel_python)
        message(STATUS "No Python with headers, numpy and pybind11: the Python package is not built")
    endif()
endif()

if(zel_python)
    list(GET zel_python_answer 0 1 zel_python_includes)
    list(GET zel_python_answer 2 zel_python_suffix)
    set(zel_python_package ${PROJECT_BINARY_DIR}/python/zel)
    file(GLOB zel_python_sources CONFIGURE_DEPENDS python/src/*.cpp embed/*.cpp)
    # Names in expressions are understood, and values are prepared, by parts of the command zel.
    foreach(part base/text formula/reading formula/uses formula/vocabulary scene/made_channel scene/names)
        list(APPEND zel_python_sources src/zel/${part}.cpp)
    endforeach()
    add_library(zel_python MODULE ${zel_python_sources})
    zel_own_target(zel_python)
    target_include_directories(zel_python PRIVATE ${PROJECT_SOURCE_DIR} src/zel)
    target_include_directories(zel_python SYSTEM PRIVATE ${zel_python_includes})
    target_link_libraries(zel_python PRIVATE zel)
    # Python looks for one name. The library's own stay inside: GDAL's plugin in the same process has
    # a library, too.
    target_link_options(zel_python PRIVATE
        "LINKER:--version-script=${PROJECT_SOURCE_DIR}/python/src/exports.map")
    set_target_properties(zel_python PROPERTIES
        PREFIX ""
        OUTPUT_NAME _core
        SUFFIX ${zel_python_suffix}
        CXX_VISIBILITY_PRESET hidden
        LINK_DEPENDS ${PROJECT_SOURCE_DIR}/python/src/exports.map
        LIBRARY_OUTPUT_DIRECTORY ${zel_python_package})

    # The modules beside it, so that PYTHONPATH=build/python finds all of the package.
    file(GLOB_RECURSE zel_python_modules CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/python/zel
        python/zel/*.py python/zel/*.pyi python/zel/*.yaml python/zel/py.typed)
    foreach(module IN LISTS zel_python_modules)
        add_custom_command(OUTPUT ${zel_python_package}/${module}
            COMMAND ${CMAKE_COMMAND} -E copy ${PROJECT_SOURCE_DIR}/python/zel/${module}
                ${zel_python_package}/${module}
            DEPENDS python/zel/${module} VERBATIM)
        list(APPEND zel_python_outputs ${zel_python_package}/${module})
    endforeach()
    add_custom_target(zel_python_modules ALL DEPENDS ${zel_python_outputs})
    add_dependencies(zel_python zel_python_modules)

    # What an installed package has: by this xarray and Satpy find the engine and the reader.
    set(zel_python_info ${PROJECT_BINARY_DIR}/python/zel-${PROJECT_VERSION}.dist-info)
    file(CONFIGURE OUTPUT ${zel_python_info}/METADATA
        CONTENT "Metadata-Version: 2.1\nName: zel\nVersion: @PROJECT_VERSION@\n" @ONLY)
    configure_file(python/entry_points.txt ${zel_python_info}/entry_points.txt COPYONLY)
endif()
